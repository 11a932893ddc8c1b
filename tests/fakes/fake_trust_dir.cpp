#include "fake_trust_dir.h"

#include "fwupdate_trust_dir.h"

namespace {

std::string& folder_()
{
    static std::string folder;
    return folder;
}

}  // namespace

namespace norvane_fake {

void fake_trust_dir::reset()
{
    folder_().clear();
}

void fake_trust_dir::set(const std::string& folder)
{
    folder_() = folder;
}

}  // namespace norvane_fake

const char* fwupdate_trust_dir(void)
{
    return folder_().c_str();
}
