// Runs the real qav_mnt_fwupdate binary against a phone on the real host
// accessory socket, with real packages, miniunzip and sum. Every test gets its
// own socket, state folder and program log; the extraction folder is fixed in
// the program, so these tests run one at a time and empty it first.
#ifndef NORVANE_TESTS_E2E_FIXTURE_H
#define NORVANE_TESTS_E2E_FIXTURE_H

#include "mobile_session.h"
#include "phone_socket.h"
#include "program_runner.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace norvane_test {

struct package_file {
    std::string name;
    std::string bytes;
};

// What FW_package.xml declares about a file; by default the truth.
struct declared_file {
    std::string name;
    std::string checksum;   // empty: leave the element out
    std::string size;       // empty: leave the element out
};

// The description of a package holding files, one download group.
std::string package_description(const std::vector<declared_file>& files,
                                const std::string& package_version,
                                const std::string& package_type);
// Declarations that match the files exactly.
std::vector<declared_file> truthful_declarations(const std::vector<package_file>& files);
// Files of pseudo-random bytes that do not compress, so that a package spans
// many transfers.
std::vector<package_file> sample_files(size_t first_size, size_t second_size);

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
    norvane_tools::program_environment environment_with(const std::string& faults) const;
    // Starts the program with FWUPDATE_FAULTS and waits for it to connect.
    // Returns 0 when it connected.
    int start_program(const std::string& faults = "");
    // Waits for the program to end (killing it after timeout_ms) and returns
    // its exit status, or -1 when it had to be killed.
    int wait_program(int timeout_ms = 30000);

    norvane_tools::mobile_session& session() { return *session_; }
    // Sends the upload and returns its reply. The controller queues the
    // verification right after sending that reply; a short pause keeps a
    // query sent next from overtaking it, so the replies are always the same.
    std::string upload(const std::string& package, const norvane_tools::upload_options& options);
    // Sends one status query and returns its reply.
    std::string status(uint16_t option);
    // The next reply as spaced hex ("00 01 ..."), or the reason there is none.
    std::string next_reply(int timeout_ms = 30000);
    // Every reply seen so far, in order, as spaced hex.
    const std::vector<std::string>& replies() const { return replies_; }

    std::string program_log() const;
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
};

// "[IMP] main(): QAV_MNT FWUPDATE Finish <status>\n"
std::string finish_line(int status);

}  // namespace norvane_test

#endif
