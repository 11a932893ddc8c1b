// Runs the real qav_mnt_fwupdate binary against a phone on the real host
// accessory socket, with real packages, miniunzip and sum. Every test gets its
// own socket, state folder and program log; the extraction folder is fixed in
// the program, so these tests run one at a time and empty it first. The
// tear-down kills a program that is still running, so a failed assertion
// never leaves one behind.
//
// The phone starts every delivery as a phone app does, with the readiness
// handshake (a status query with option 1, answered before anything else);
// it never reads the program's log to decide when to send. The tests do read
// the log, to check it and, where the protocol gives the phone no reply to
// wait for, to know how far the program has got.
#ifndef NORVANE_TESTS_E2E_FIXTURE_H
#define NORVANE_TESTS_E2E_FIXTURE_H

#include "mobile_session.h"
#include "phone_socket.h"
#include "program_runner.h"
#include "temp_dir.h"
#include "test_package.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace norvane_test {

// How the program is started.
struct program_options {
    std::string faults;  // FWUPDATE_FAULTS
    // Further variables (name, value), e.g. FWUPDATE_TRUST_DIR; they may also
    // replace one the fixture sets (FWUPDATE_AOA_SOCKET, FWUPDATE_STATE_DIR).
    std::vector<std::pair<std::string, std::string>> environment;
    std::vector<std::string> arguments;
};

class e2e_fixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Writes the files and the description into a folder and zips them.
    // Returns the zip's bytes.
    std::string make_package(const std::vector<package_file>& files, const std::string& description);
    std::string make_package(const std::vector<package_file>& files, const std::string& version,
                             const std::string& type);

    // The program under test: the binary of this build, or FWUPDATE_E2E_PROGRAM,
    // started through FWUPDATE_E2E_LAUNCHER when that is set (for a binary
    // built for the device, run under emulation).
    static std::string program_binary();
    norvane_tools::program_environment environment_with(const program_options& options) const;

    // Starts the program, accepts its link and does the readiness handshake.
    // 0 when the program answered it with option 1, result 0.
    int start_program(const std::string& faults = "");
    int start_program(const program_options& options);
    // Starts the program and accepts its link, without the handshake: what
    // the phone sends next races the program's start-up.
    int start_program_without_handshake(const program_options& options = {});
    // Only starts the program, for runs that end before they connect.
    int launch_program(const program_options& options = {});
    // Waits for the program to end (killing it after timeout_ms) and returns
    // its exit status, or -1 when it had to be killed.
    int wait_program(int timeout_ms = 30000);

    norvane_tools::mobile_session& session() { return *session_; }
    // Sends the upload and returns its reply. The program queues the
    // verification right after sending that reply; the upload returns once
    // the program's log shows it did (the state changes to VERIFY, or to
    // FINISHED when it stops), so a query sent next never overtakes the
    // verification and the replies are always the same.
    std::string upload(const std::string& package, const norvane_tools::upload_options& options);
    // Sends one status query and returns its reply.
    std::string status(uint16_t option);
    // The next reply as spaced hex ("00 01 ..."), or the reason there is none.
    std::string next_reply(int timeout_ms = 30000);
    // Every reply after the handshake, in order, as spaced hex.
    const std::vector<std::string>& replies() const { return replies_; }

    // Waits at most timeout_ms until the program's log holds text.
    bool wait_for_log(const std::string& text, int timeout_ms = 30000) const;
    std::string program_log() const;
    std::string program_log_path() const;
    std::string service_log() const;
    bool record_exists(const std::string& name) const;
    std::string record(const std::string& name) const;
    std::string work_file(const std::string& name) const;

    temp_dir dir_;
    std::string state_dir_;
    norvane_tools::phone_socket phone_;
    norvane_tools::program_runner program_;
    std::unique_ptr<norvane_tools::mobile_session> session_;
    std::vector<std::string> replies_;

private:
    int connect_program_(const program_options& options);
    void record_replies_();
};

// "[IMP] main(): QAV_MNT FWUPDATE Finish <status>\n"
std::string finish_line(int status);

// A program log split by thread: the link thread's header dumps interleave
// with the main thread's lines as timing has it, so a test looks for a dump,
// or compares two runs, within one thread's lines.
struct log_by_thread {
    std::string link;
    std::string main;
};
log_by_thread split_by_thread(const std::string& log);

}  // namespace norvane_test

#endif
