#include "e2e_fixture.h"

#include "program_log_watch.h"
#include "mobile_packet.h"

#include <cstdlib>
#include <filesystem>

namespace norvane_test {

using namespace norvane_tools;

namespace {

constexpr int connect_timeout_ms = 10000;
constexpr int reply_timeout_ms = 30000;

// The lines the program logs when it has handled the last chunk of an upload
// and answered it: the verification is queued (VERIFY), or the run stops.
const std::vector<std::string> after_upload_reply = {"] -> [VERIFY] \n", "] -> [FINISHED] \n"};

}  // namespace

void e2e_fixture::SetUp()
{
    state_dir_ = dir_.file("state");
    ASSERT_EQ(0, program_runner::empty_work_dir());
    ASSERT_EQ(0, phone_.listen_at(dir_.file("aoa.sock"))) << phone_.last_error();
}

void e2e_fixture::TearDown()
{
    program_.kill_program();
}

std::string e2e_fixture::make_package(const std::vector<package_file>& files,
                                      const std::string& description)
{
    const std::string zip = zip_package(files, description);
    if (zip.empty()) {
        ADD_FAILURE() << "the zip tool could not make the package";
    }
    return zip;
}

std::string e2e_fixture::make_package(const std::vector<package_file>& files,
                                      const std::string& version, const std::string& type)
{
    return make_package(files, package_description(truthful_declarations(files), version, type));
}

std::string e2e_fixture::program_binary()
{
    const char* chosen = std::getenv("FWUPDATE_E2E_PROGRAM");
    return (chosen != nullptr && chosen[0] != '\0') ? chosen : QAV_MNT_FWUPDATE_BINARY;
}

program_environment e2e_fixture::environment_with(const program_options& options) const
{
    program_environment environment{phone_.path(), state_dir_, options.faults,
                                    FWUPDATE_HOST_BIN_DIR, program_log_path(), {},
                                    options.environment};
    const char* launcher = std::getenv("FWUPDATE_E2E_LAUNCHER");
    environment.launcher = launcher_words(launcher != nullptr ? launcher : "");
    return environment;
}

int e2e_fixture::launch_program(const program_options& options)
{
    return program_.start(program_binary(), environment_with(options), options.arguments);
}

int e2e_fixture::connect_program_(const program_options& options)
{
    if (launch_program(options) != 0 || phone_.accept_program(connect_timeout_ms) != 0) {
        return 1;
    }
    session_ = std::make_unique<mobile_session>(phone_, reply_timeout_ms);
    return 0;
}

int e2e_fixture::start_program_without_handshake(const program_options& options)
{
    if (connect_program_(options) != 0) {
        return 1;
    }
    record_replies_();
    return 0;
}

int e2e_fixture::start_program(const program_options& options)
{
    if (connect_program_(options) != 0) {
        return 1;
    }
    if (session_->handshake() != 0) {
        ADD_FAILURE() << session_->error();
        return 1;
    }
    record_replies_();
    return 0;
}

int e2e_fixture::start_program(const std::string& faults)
{
    return start_program(program_options{faults, {}, {}});
}

void e2e_fixture::record_replies_()
{
    session_->set_reply_observer([this](const header&, const std::string& wire) {
        replies_.push_back(to_hex(wire));
    });
}

int e2e_fixture::wait_program(int timeout_ms)
{
    int status = -1;
    if (program_.wait_exit(timeout_ms, status) != 0) {
        program_.kill_program();
        return -1;
    }
    return status;
}

std::string e2e_fixture::upload(const std::string& package, const upload_options& options)
{
    const size_t log_before = program_log().size();
    if (session_->send_upload(package, options, nullptr) != 0) {
        return "upload not sent: " + session_->error();
    }
    const std::string reply = next_reply();
    if (reply.rfind("no reply", 0) != 0 &&
        norvane_tools::program_log_watch(program_log_path())
                .wait_for_any(after_upload_reply, reply_timeout_ms, log_before) < 0) {
        ADD_FAILURE() << "the program logged no state change after the upload reply";
    }
    return reply;
}

std::string e2e_fixture::status(uint16_t option)
{
    if (session_->send_status(option) != 0) {
        return "query not sent: " + session_->error();
    }
    return next_reply();
}

std::string e2e_fixture::next_reply(int timeout_ms)
{
    header reply = {};
    std::string wire;
    int result = session_->read_reply(reply, timeout_ms, wire);
    if (result != 0) {
        return "no reply: " + session_->error();
    }
    return to_hex(wire);
}

bool e2e_fixture::wait_for_log(const std::string& text, int timeout_ms) const
{
    return norvane_tools::program_log_watch(program_log_path()).wait_for(text, timeout_ms) == 0;
}

std::string e2e_fixture::program_log() const
{
    return read_file_bytes(program_log_path());
}

std::string e2e_fixture::program_log_path() const
{
    return dir_.file("program.log");
}

std::string e2e_fixture::service_log() const
{
    return read_file_bytes(state_dir_ + "/update-service.log");
}

bool e2e_fixture::record_exists(const std::string& name) const
{
    return std::filesystem::exists(state_dir_ + "/nv/" + name);
}

std::string e2e_fixture::record(const std::string& name) const
{
    return read_file_bytes(state_dir_ + "/nv/" + name);
}

std::string e2e_fixture::work_file(const std::string& name) const
{
    return read_file_bytes(std::string(fwupdate_work_dir) + "/" + name);
}

std::string finish_line(int status)
{
    return "[IMP] main(): QAV_MNT FWUPDATE Finish " + std::to_string(status) + "\n";
}

log_by_thread split_by_thread(const std::string& log)
{
    log_by_thread split;
    size_t start = 0;
    while (start < log.size()) {
        size_t end = log.find('\n', start);
        end = end == std::string::npos ? log.size() : end + 1;
        const std::string line = log.substr(start, end - start);
        (line.rfind("[IMP] recv_impl(): ", 0) == 0 ? split.link : split.main) += line;
        start = end;
    }
    return split;
}

}  // namespace norvane_test
