#include "fake_platform.h"

namespace norvane_fake {

void fake_platform::reset()
{
    fake_os_wrapper::reset();
    fake_aoa::reset();
    fake_upd::reset();
    fake_trace::reset();
    fake_trust_dir::reset();
}

}  // namespace norvane_fake
