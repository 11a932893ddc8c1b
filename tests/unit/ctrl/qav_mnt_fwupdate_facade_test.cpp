// The entry point and the facade, through the real program on the host
// platform: the program is started as a child process with its standard
// error in a file, the update library's state in a test folder and, for a
// whole run, the phone's socket played by this test.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "bsd_sum.h"
#include "temp_dir.h"

namespace {

const std::string WORK_DIR = "/tmp/fwupdate/update";

struct program_run {
    int exit_status = -1;
    std::string log;
};

// Starts the program with the given arguments and extra environment; returns
// its pid. Standard error goes to log_path, standard output nowhere.
pid_t start_program_(const std::vector<std::string>& arguments,
                     const std::vector<std::pair<std::string, std::string>>& environment,
                     const std::string& log_path)
{
    pid_t pid = fork();
    if (pid != 0) {
        return pid;
    }
    for (const auto& variable : environment) {
        setenv(variable.first.c_str(), variable.second.c_str(), 1);
    }
    int log_fd = open(log_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    int null_fd = open("/dev/null", O_RDWR);
    dup2(log_fd, STDERR_FILENO);
    dup2(null_fd, STDOUT_FILENO);
    dup2(null_fd, STDIN_FILENO);
    std::vector<char*> argv;
    std::string program = NORVANE_FWUPDATE_BINARY;
    argv.push_back(&program[0]);
    std::vector<std::string> copies = arguments;
    for (std::string& argument : copies) {
        argv.push_back(&argument[0]);
    }
    argv.push_back(nullptr);
    execv(program.c_str(), argv.data());
    _exit(127);
}

// Waits at most timeout_ms for the program's exit status; kills it and gives
// -1 when it does not end in time.
int wait_program_(pid_t pid, int timeout_ms)
{
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

program_run run_program_(const std::vector<std::string>& arguments,
                         const std::vector<std::pair<std::string, std::string>>& environment,
                         const norvane_test::temp_dir& dir)
{
    program_run run;
    pid_t pid = start_program_(arguments, environment, dir.file("stderr.log"));
    run.exit_status = wait_program_(pid, 60000);
    run.log = norvane_test::read_file_bytes(dir.file("stderr.log"));
    return run;
}

// Waits until the file holds text; false after timeout_ms.
bool wait_for_text_(const std::string& path, const std::string& text, int timeout_ms)
{
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
    while (norvane_test::read_file_bytes(path).find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

const std::string FAILED_START_LOG =
    "[IMP] main(): QAV_MNT FWUPDATE Start\n"
    "[INF] initialize_(): initialize_ Start\n"
    "[ERR] initialize_(): osl_mdev_upd_fwup_dlstart return is NG. os_ret[1]\n"
    "[INF] change_exec_state_(): Change exec state. [INITIAL] -> [FINISHED] \n"
    "[INF] set_process_err_(): set_process_err_. ErrorCode[COMMUNICATE_MOBILE]\n"
    "[INF] initialize_(): initialize_ Finish [1]\n"
    "[IMP] finalize_(): osl_mdev_upd_fwup_dlfinish os_ret[0] result[1] exec_state[5]\n"
    "[IMP] main(): QAV_MNT FWUPDATE Finish 1\n";

std::string be16_(uint16_t value)
{
    return std::string{static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
}

std::string header_(uint16_t request_id, uint16_t result_code, uint16_t command,
                    uint16_t option_code, uint32_t data_size)
{
    return be16_(1) + be16_(0) + be16_(request_id) + be16_(result_code) + be16_(command) +
           be16_(option_code) + be16_(static_cast<uint16_t>(data_size >> 16)) +
           be16_(static_cast<uint16_t>(data_size));
}

// A package of one file with its description, zipped by the zip tool.
std::string make_package_()
{
    norvane_test::temp_dir dir;
    std::string data = "device firmware image\n";
    dir.write_file("image.bin", data);
    dir.write_file("FW_package.xml",
                   "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                   "<firmware_package>\n"
                   "  <is_encrypted_url>OFF</is_encrypted_url>\n"
                   "  <package_version>4.5.6</package_version>\n"
                   "  <download_information>\n"
                   "    <type>MAIN</type>\n"
                   "    <data_information>\n"
                   "      <filename>image.bin</filename>\n"
                   "      <checksum>" + norvane_test::bsd_sum_text(data) + "</checksum>\n"
                   "      <size>" + std::to_string(data.size()) + "</size>\n"
                   "    </data_information>\n"
                   "  </download_information>\n"
                   "  <package_type>DEVICE_FIRMWARE</package_type>\n"
                   "</firmware_package>\n");
    std::string command = "cd " + dir.path() + " && zip -q -X p.zip FW_package.xml image.bin";
    EXPECT_EQ(0, std::system(command.c_str()));
    return norvane_test::read_file_bytes(dir.file("p.zip"));
}

// The phone's end of the link: a listening SOCK_SEQPACKET socket.
class phone_socket {
public:
    explicit phone_socket(const std::string& path) : listen_fd_(-1), fd_(-1)
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        listen_fd_ = socket(AF_UNIX, SOCK_SEQPACKET, 0);
        if (bind(listen_fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
            listen(listen_fd_, 1) != 0) {
            close(listen_fd_);
            listen_fd_ = -1;
        }
    }

    ~phone_socket()
    {
        if (fd_ >= 0) {
            close(fd_);
        }
        if (listen_fd_ >= 0) {
            close(listen_fd_);
        }
    }

    bool listening() const { return listen_fd_ >= 0; }

    bool accept_link(int timeout_ms)
    {
        pollfd waiting = {listen_fd_, POLLIN, 0};
        if (poll(&waiting, 1, timeout_ms) != 1) {
            return false;
        }
        fd_ = accept(listen_fd_, nullptr, nullptr);
        return fd_ >= 0;
    }

    bool send_transfer(const std::string& bytes)
    {
        return ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(bytes.size());
    }

    // One transfer from the program, or "" after timeout_ms.
    std::string receive_transfer(int timeout_ms)
    {
        pollfd waiting = {fd_, POLLIN, 0};
        if (poll(&waiting, 1, timeout_ms) != 1) {
            return "";
        }
        char buffer[65536];
        ssize_t got = recv(fd_, buffer, sizeof(buffer), 0);
        return got > 0 ? std::string(buffer, static_cast<size_t>(got)) : "";
    }

private:
    int listen_fd_;
    int fd_;
};

class qav_mnt_fwupdate_facade_test : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::filesystem::remove_all(WORK_DIR);
        std::filesystem::create_directories(WORK_DIR);
    }
};

TEST_F(qav_mnt_fwupdate_facade_test, refused_start_logs_start_and_finish_and_exits_1)
{
    norvane_test::temp_dir dir;
    program_run run = run_program_(
        {}, {{"FWUPDATE_FAULTS", "dlstart"}, {"FWUPDATE_STATE_DIR", dir.path()}}, dir);
    EXPECT_EQ(1, run.exit_status);
    EXPECT_EQ(FAILED_START_LOG, run.log);
    EXPECT_EQ("dlstart fault\ndlfinish 1\n",
              norvane_test::read_file_bytes(dir.file("update-service.log")));
}

TEST_F(qav_mnt_fwupdate_facade_test, arguments_are_ignored)
{
    norvane_test::temp_dir dir;
    program_run run =
        run_program_({"--help", "-v", "/tmp/some.zip"},
                     {{"FWUPDATE_FAULTS", "dlstart"}, {"FWUPDATE_STATE_DIR", dir.path()}}, dir);
    EXPECT_EQ(1, run.exit_status);
    EXPECT_EQ(FAILED_START_LOG, run.log);
}

TEST_F(qav_mnt_fwupdate_facade_test, unreachable_phone_exits_1_as_the_finish_line_says)
{
    norvane_test::temp_dir dir;
    program_run run = run_program_({},
                                   {{"FWUPDATE_AOA_SOCKET", dir.file("nobody.sock")},
                                    {"FWUPDATE_STATE_DIR", dir.path()}},
                                   dir);
    EXPECT_EQ(1, run.exit_status);
    EXPECT_EQ(0u, run.log.find("[IMP] main(): QAV_MNT FWUPDATE Start\n"));
    const std::string finish = "[IMP] main(): QAV_MNT FWUPDATE Finish 1\n";
    ASSERT_GE(run.log.size(), finish.size());
    EXPECT_EQ(finish, run.log.substr(run.log.size() - finish.size()));
    EXPECT_NE(std::string::npos, run.log.find("[INF] initialize_(): initialize_ Finish [1]\n"));
}

TEST_F(qav_mnt_fwupdate_facade_test, delivered_and_confirmed_package_exits_0)
{
    norvane_test::temp_dir dir;
    phone_socket phone(dir.file("aoa.sock"));
    ASSERT_TRUE(phone.listening());
    std::string package = make_package_();
    pid_t pid = start_program_({"extra"},
                               {{"FWUPDATE_AOA_SOCKET", dir.file("aoa.sock")},
                                {"FWUPDATE_STATE_DIR", dir.path()}},
                               dir.file("stderr.log"));
    ASSERT_TRUE(phone.accept_link(30000));
    // The link delivers as soon as it is connected, but body data is only
    // taken once the controller has entered CONNECT, which it logs.
    ASSERT_TRUE(wait_for_text_(dir.file("stderr.log"), "initialize_ Finish [0]\n", 30000));
    ASSERT_TRUE(phone.send_transfer(header_(0x11, 0, 18, 0, static_cast<uint32_t>(package.size())) +
                                    package));
    EXPECT_EQ(header_(0x11, 0, 0x8012, 0, 0), phone.receive_transfer(30000));

    // Query once the program logged the verified state. Nothing may be sent
    // after the last query: the link would still call the finished controller.
    ASSERT_TRUE(wait_for_text_(dir.file("stderr.log"),
                               "[VERIFY] -> [WAIT_CHECKING_RESULT]", 30000));
    ASSERT_TRUE(phone.send_transfer(header_(0x20, 0, 19, 1, 0)));
    EXPECT_EQ(header_(0x20, 0, 0x8013, 2, 0), phone.receive_transfer(30000));
    ASSERT_TRUE(phone.send_transfer(header_(0x21, 0, 19, 2, 0)));
    EXPECT_EQ(header_(0x21, 0, 0x8013, 2, 0), phone.receive_transfer(30000));
    int exit_status = wait_program_(pid, 30000);
    std::string log = norvane_test::read_file_bytes(dir.file("stderr.log"));
    EXPECT_EQ(0, exit_status) << log;
    EXPECT_EQ(0u, log.find("[IMP] main(): QAV_MNT FWUPDATE Start\n"));
    const std::string finish = "[IMP] main(): QAV_MNT FWUPDATE Finish 0\n";
    ASSERT_GE(log.size(), finish.size());
    EXPECT_EQ(finish, log.substr(log.size() - finish.size()));
    EXPECT_EQ("dlstart\ndlfinish 0\n", norvane_test::read_file_bytes(dir.file("update-service.log")));
    EXPECT_EQ(std::string("4.5.6\0", 6),
              norvane_test::read_file_bytes(dir.file("nv/FIRMWARE_VERSION_DEVICE")));
}

}  // namespace
