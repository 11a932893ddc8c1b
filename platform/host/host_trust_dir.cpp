// The trust folder on the host: the environment may move it, so that tests,
// fwpkg and the phone simulator can run the program with or without keys.
#include "fwupdate_trust_dir.h"

#include <cstdlib>

#ifndef FWUPDATE_TRUST_DIR
#error "FWUPDATE_TRUST_DIR (the build option) must be defined"
#endif

const char* fwupdate_trust_dir(void)
{
    const char* value = std::getenv("FWUPDATE_TRUST_DIR");
    return value != nullptr ? value : FWUPDATE_TRUST_DIR;
}
