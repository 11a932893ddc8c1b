#include "e2e_fixture.h"

#include "bsd_sum.h"
#include "mobile_packet.h"

#include <cstdlib>
#include <filesystem>
#include <chrono>
#include <random>
#include <sstream>
#include <thread>

namespace norvane_test {

using namespace norvane_tools;

std::string package_description(const std::vector<declared_file>& files,
                                const std::string& package_version,
                                const std::string& package_type)
{
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<firmware_package>\n";
    if (!package_version.empty()) {
        xml += "  <package_version>" + package_version + "</package_version>\n";
    }
    xml += "  <download_information>\n    <type>MAIN</type>\n    <version>" + package_version +
           "</version>\n";
    for (const declared_file& file : files) {
        xml += "    <data_information>\n      <filename>" + file.name + "</filename>\n";
        if (!file.checksum.empty()) {
            xml += "      <checksum>" + file.checksum + "</checksum>\n";
        }
        if (!file.size.empty()) {
            xml += "      <size>" + file.size + "</size>\n";
        }
        xml += "    </data_information>\n";
    }
    xml += "  </download_information>\n  <package_type>" + package_type +
           "</package_type>\n</firmware_package>\n";
    return xml;
}

std::vector<declared_file> truthful_declarations(const std::vector<package_file>& files)
{
    std::vector<declared_file> declared;
    for (const package_file& file : files) {
        declared.push_back({file.name, bsd_sum_text(file.bytes), std::to_string(file.bytes.size())});
    }
    return declared;
}

std::vector<package_file> sample_files(size_t first_size, size_t second_size)
{
    std::mt19937 generator(20261122);
    auto random_bytes = [&generator](size_t size) {
        std::string bytes(size, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(generator() & 0xFF);
        }
        return bytes;
    };
    return {{"main_firmware.bin", random_bytes(first_size)},
            {"panel_firmware.bin", random_bytes(second_size)}};
}

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
    const std::string folder = dir_.file("package");
    std::filesystem::create_directories(folder);
    std::string names;
    for (const package_file& file : files) {
        write_file_bytes(folder + "/" + file.name, file.bytes);
        names += " '" + file.name + "'";
    }
    write_file_bytes(folder + "/FW_package.xml", description);
    const std::string zip_path = dir_.file("package.zip");
    std::filesystem::remove(zip_path);
    const std::string command =
        "cd '" + folder + "' && zip -q -X '" + zip_path + "' FW_package.xml" + names;
    if (std::system(command.c_str()) != 0) {
        ADD_FAILURE() << "zip failed: " << command;
    }
    std::filesystem::remove_all(folder);
    return read_file_bytes(zip_path);
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

program_environment e2e_fixture::environment_with(const std::string& faults) const
{
    norvane_tools::program_environment environment{phone_.path(), state_dir_, faults,
                                                   FWUPDATE_HOST_BIN_DIR, dir_.file("program.log"), {}};
    const char* launcher = std::getenv("FWUPDATE_E2E_LAUNCHER");
    if (launcher != nullptr) {
        std::istringstream words(launcher);
        std::string word;
        while (words >> word) {
            environment.launcher.push_back(word);
        }
    }
    return environment;
}

int e2e_fixture::start_program(const std::string& faults)
{
    if (program_.start(program_binary(), environment_with(faults)) != 0) {
        return 1;
    }
    if (phone_.accept_program(10000) != 0 ||
        program_runner::wait_until_ready(dir_.file("program.log"), 10000) != 0) {
        return 1;
    }
    session_ = std::make_unique<mobile_session>(phone_, 30000);
    session_->set_reply_observer([this](const header&, const std::string& wire) {
        replies_.push_back(to_hex(wire));
    });
    return 0;
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
    if (session_->send_upload(package, options, nullptr) != 0) {
        return "upload not sent: " + session_->error();
    }
    std::string reply = next_reply();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
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

std::string e2e_fixture::program_log() const
{
    return read_file_bytes(dir_.file("program.log"));
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

}  // namespace norvane_test
