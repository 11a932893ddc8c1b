#include "controller_run.h"

#include <gtest/gtest.h>

#include <chrono>

#include "fake_aoa.h"
#include "wire_header.h"

namespace norvane_test {

namespace {

// A command that is neither an upload nor a status query.
constexpr uint16_t unknown_command = 0x7FFF;

}  // namespace

controller_run::controller_run(norvane::qav_mnt_fwupdate_ctrl_exec_mode& ctrl)
    : thread_([this, &ctrl] {
          const int result = ctrl.execute();
          std::lock_guard<std::mutex> held(lock_);
          result_ = result;
          returned_ = true;
          done_.notify_all();
      })
{
}

controller_run::~controller_run()
{
    if (!joined_) {
        finish(0);
    }
}

bool controller_run::returned() const
{
    std::lock_guard<std::mutex> held(lock_);
    return returned_;
}

bool controller_run::wait_returned_(int timeout_ms)
{
    std::unique_lock<std::mutex> held(lock_);
    return done_.wait_for(held, std::chrono::milliseconds(timeout_ms), [this] { return returned_; });
}

int controller_run::finish(int timeout_ms)
{
    const bool failed_before = ::testing::Test::HasFailure();
    if (!wait_returned_(failed_before ? 0 : timeout_ms)) {
        if (!failed_before) {
            ADD_FAILURE() << "the controller did not end within " << timeout_ms << " ms";
        }
        norvane_fake::fake_aoa::inject(wire_header(1, 0, 0, 0, unknown_command, 0, 0));
    }
    thread_.join();
    joined_ = true;
    return result_;
}

}  // namespace norvane_test
