// One run of the exec-mode controller on the fake platform: execute() runs
// on a thread of its own while the test's thread plays the phone through the
// fake accessory library. The controller waits on its queue without a time
// limit, so a phone script that fails half way would leave it waiting for
// ever; finishing the run therefore ends a controller that is still waiting
// when the test has failed, or when it does not end in time, by sending it a
// command it does not know (which ends its run).
#ifndef NORVANE_TESTS_CONTROLLER_RUN_H
#define NORVANE_TESTS_CONTROLLER_RUN_H

#include <condition_variable>
#include <mutex>
#include <thread>

#include "qav_mnt_fwupdate_ctrl_exec_mode.h"

namespace norvane_test {

class controller_run {
public:
    // Starts ctrl.execute() on its own thread.
    explicit controller_run(norvane::qav_mnt_fwupdate_ctrl_exec_mode& ctrl);
    // Finishes the run if the test has not.
    ~controller_run();
    controller_run(const controller_run&) = delete;
    controller_run& operator=(const controller_run&) = delete;

    // True once execute() has returned.
    bool returned() const;
    // Waits at most timeout_ms for execute() to return. When the test has
    // already failed, or the time runs out (a failure of its own), a
    // controller still running is sent an unknown command first. Returns
    // execute()'s result.
    int finish(int timeout_ms);

private:
    bool wait_returned_(int timeout_ms);

    mutable std::mutex lock_;
    std::condition_variable done_;
    bool returned_ = false;
    int result_ = -1;
    bool joined_ = false;
    std::thread thread_;
};

}  // namespace norvane_test

#endif
