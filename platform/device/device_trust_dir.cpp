// The trust folder on the device: fixed by the build. Whoever can set the
// program's environment must not be able to choose which keys it trusts.
#include "fwupdate_trust_dir.h"

#ifndef FWUPDATE_TRUST_DIR
#error "FWUPDATE_TRUST_DIR (the build option) must be defined"
#endif

const char* fwupdate_trust_dir(void)
{
    return FWUPDATE_TRUST_DIR;
}
