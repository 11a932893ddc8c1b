// The whole fake platform: one call resets every double between tests.
#ifndef NORVANE_TESTS_FAKE_PLATFORM_H
#define NORVANE_TESTS_FAKE_PLATFORM_H

#include "fake_aoa.h"
#include "fake_os_wrapper.h"
#include "fake_trace.h"
#include "fake_trust_dir.h"
#include "fake_upd.h"

namespace norvane_fake {

class fake_platform {
public:
    static void reset();
};

}  // namespace norvane_fake

#endif
