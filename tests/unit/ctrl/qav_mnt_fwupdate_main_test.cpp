// The program's entry point on the fake platform, started as a child process:
// what main does when the run ends with an exception instead of a result.
// The fake platform's exit report (fake_platform_process.h) shows what the
// process left behind once main has returned.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "program_runner.h"
#include "temp_dir.h"

namespace {

struct program_run {
    int exit_status = -1;
    std::string log;
};

// Runs the entry point on the fake platform with FWUPDATE_FAULTS set to
// faults; the log holds its standard output and error. A program built for
// the device runs through FWUPDATE_E2E_LAUNCHER, as in the end-to-end tests.
program_run run_on_fake_platform_(const std::string& faults)
{
    norvane_test::temp_dir dir;
    norvane_tools::program_environment environment;
    const char* launcher = std::getenv("FWUPDATE_E2E_LAUNCHER");
    environment.launcher = norvane_tools::launcher_words(launcher != nullptr ? launcher : "");
    environment.state_dir = dir.path();
    environment.faults = faults;
    environment.log_path = dir.file("program.log");
    norvane_tools::program_runner program;
    program_run run;
    EXPECT_EQ(0, program.start(QAV_MNT_FWUPDATE_ON_FAKE_PLATFORM_BINARY, environment));
    EXPECT_EQ(0, program.wait_exit(30000, run.exit_status));
    run.log = norvane_test::read_file_bytes(environment.log_path);
    return run;
}

TEST(qav_mnt_fwupdate_main_test, allocation_failure_destroys_the_controller_and_exits_1)
{
    program_run run = run_on_fake_platform_("receive_bad_alloc");
    EXPECT_EQ(1, run.exit_status);
    // The controller's queue is gone (its destructor ran), nothing else is
    // left, and the update service heard of the start only.
    EXPECT_EQ("[IMP] main(): QAV_MNT FWUPDATE Start\n"
              "[INF] initialize_(): initialize_ Start\n"
              "[INF] change_exec_state_(): Change exec state. [INITIAL] -> [CONNECT] \n"
              "[INF] initialize_(): initialize_ Finish [0]\n"
              "[ERR] main(): run ended by an exception. what[std::bad_alloc]\n"
              "[IMP] main(): QAV_MNT FWUPDATE Finish 1\n"
              "[fake platform] queues_alive[0] blocks_outstanding[0] upd_calls[dlstart]\n",
              run.log);
}

TEST(qav_mnt_fwupdate_main_test, unknown_fault_name_stops_the_program_before_main)
{
    program_run run = run_on_fake_platform_("receive_bad_alloc,no_such_fault");
    EXPECT_EQ(2, run.exit_status);
    EXPECT_EQ("[fake platform] unknown fault in "
              "FWUPDATE_FAULTS[receive_bad_alloc,no_such_fault]\n",
              run.log);
}

}  // namespace
