// The host update library: the download bracket in the service log, named
// records under nv/, the checksum that flclose hands back, the faults, and
// records that are replaced whole or not at all.
#include "osl_mdev_upd.h"

#include "bsd_sum.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

class host_update_library_test : public testing::Test {
protected:
    void SetUp() override
    {
        ::setenv("FWUPDATE_STATE_DIR", dir_.path().c_str(), 1);
        ::unsetenv("FWUPDATE_FAULTS");
    }

    void TearDown() override
    {
        ::unsetenv("FWUPDATE_FAULTS");
        osl_mdev_upd_fwup_flclose(0, nullptr);  // leave no record open for the next test
        ::unsetenv("FWUPDATE_STATE_DIR");
    }

    std::string log_text() const { return norvane_test::read_file_bytes(dir_.file("update-service.log")); }
    std::string record_bytes(const std::string& name) const { return norvane_test::read_file_bytes(dir_.file("nv/" + name)); }
    bool record_exists(const std::string& name) const
    {
        struct stat info;
        return ::stat(dir_.file("nv/" + name).c_str(), &info) == 0;
    }

    // The names in nv/, sorted: the records and any temporary file.
    std::vector<std::string> nv_entries() const
    {
        std::vector<std::string> names;
        DIR* folder = ::opendir(dir_.file("nv").c_str());
        if (folder == nullptr) {
            return names;
        }
        for (struct dirent* entry = ::readdir(folder); entry != nullptr; entry = ::readdir(folder)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") {
                names.push_back(name);
            }
        }
        ::closedir(folder);
        std::sort(names.begin(), names.end());
        return names;
    }

    // Writes one whole record the way the program does: open, one write, close.
    int write_record(const char* name, const std::string& bytes, unsigned long* checksum)
    {
        std::string data = bytes;
        char name_buffer[257] = {};
        std::snprintf(name_buffer, sizeof name_buffer, "%s", name);
        int result = osl_mdev_upd_fwup_flopen(name_buffer, 1);
        result |= osl_mdev_upd_fwup_flwrite(&data[0], 0, data.size());
        result |= osl_mdev_upd_fwup_flclose(0, checksum);
        return result;
    }

    norvane_test::temp_dir dir_;
};

TEST_F(host_update_library_test, dlstart_appends_dlstart_line)
{
    EXPECT_EQ(0, osl_mdev_upd_fwup_dlstart());
    EXPECT_EQ("dlstart\n", log_text());
}

TEST_F(host_update_library_test, dlfinish_appends_its_result)
{
    EXPECT_EQ(0, osl_mdev_upd_fwup_dlstart());
    EXPECT_EQ(0, osl_mdev_upd_fwup_dlfinish(0));
    EXPECT_EQ(0, osl_mdev_upd_fwup_dlfinish(1));
    EXPECT_EQ("dlstart\ndlfinish 0\ndlfinish 1\n", log_text());
}

TEST_F(host_update_library_test, dlstart_fault_logs_fault_and_returns_one)
{
    ::setenv("FWUPDATE_FAULTS", "dlstart", 1);
    EXPECT_EQ(1, osl_mdev_upd_fwup_dlstart());
    EXPECT_EQ("dlstart fault\n", log_text());
}

TEST_F(host_update_library_test, dlfinish_fault_logs_fault_and_returns_one)
{
    ::setenv("FWUPDATE_FAULTS", "dlfinish", 1);
    EXPECT_EQ(0, osl_mdev_upd_fwup_dlstart());
    EXPECT_EQ(1, osl_mdev_upd_fwup_dlfinish(0));
    EXPECT_EQ("dlstart\ndlfinish fault\n", log_text());
}

TEST_F(host_update_library_test, record_holds_written_bytes_and_flclose_hands_back_bsd_sum)
{
    const std::string bytes("1.20.300", 9);  // the version text with its NUL
    unsigned long checksum = 0xDEADu;
    EXPECT_EQ(0, write_record("FIRMWARE_VERSION_DEVICE", bytes, &checksum));
    EXPECT_EQ(bytes, record_bytes("FIRMWARE_VERSION_DEVICE"));
    EXPECT_EQ(norvane_test::bsd_sum(bytes), checksum);
    EXPECT_EQ("", log_text());  // records leave no line in the service log
}

TEST_F(host_update_library_test, checksum_covers_a_long_record)
{
    std::string bytes;
    for (int i = 0; i < 10000; ++i) {
        bytes += static_cast<char>((i * 37 + 11) & 0xFF);
    }
    unsigned long checksum = 0;
    EXPECT_EQ(0, write_record("FIRMWARE_VERSION_ENHANCEMENT", bytes, &checksum));
    EXPECT_EQ(bytes, record_bytes("FIRMWARE_VERSION_ENHANCEMENT"));
    EXPECT_EQ(norvane_test::bsd_sum(bytes), checksum);
}

TEST_F(host_update_library_test, flwrite_writes_at_offset_and_leaves_zeros_between)
{
    char name[] = "OFFSET_RECORD";
    char first[] = "abc";
    char second[] = "XY";
    unsigned long checksum = 0;
    EXPECT_EQ(0, osl_mdev_upd_fwup_flopen(name, 1));
    EXPECT_EQ(0, osl_mdev_upd_fwup_flwrite(first, 0, 3));
    EXPECT_EQ(0, osl_mdev_upd_fwup_flwrite(second, 5, 2));
    EXPECT_EQ(0, osl_mdev_upd_fwup_flclose(0, &checksum));
    const std::string expected("abc\0\0XY", 7);
    EXPECT_EQ(expected, record_bytes("OFFSET_RECORD"));
    EXPECT_EQ(norvane_test::bsd_sum(expected), checksum);
}

TEST_F(host_update_library_test, flopen_truncates_an_earlier_record)
{
    unsigned long checksum = 0;
    EXPECT_EQ(0, write_record("FIRMWARE_VERSION_DEVICE", std::string("10.20.30", 9), &checksum));
    EXPECT_EQ(0, write_record("FIRMWARE_VERSION_DEVICE", std::string("2.0", 4), &checksum));
    EXPECT_EQ(std::string("2.0", 4), record_bytes("FIRMWARE_VERSION_DEVICE"));
    EXPECT_EQ(norvane_test::bsd_sum(std::string("2.0", 4)), checksum);
}

TEST_F(host_update_library_test, state_folders_are_created_as_needed)
{
    const std::string nested = dir_.file("a/b/state");
    ::setenv("FWUPDATE_STATE_DIR", nested.c_str(), 1);
    unsigned long checksum = 0;
    EXPECT_EQ(0, osl_mdev_upd_fwup_dlstart());
    EXPECT_EQ(0, write_record("FIRMWARE_VERSION_DEVICE", std::string("1", 2), &checksum));
    EXPECT_EQ("dlstart\n", norvane_test::read_file_bytes(nested + "/update-service.log"));
    EXPECT_EQ(std::string("1", 2), norvane_test::read_file_bytes(nested + "/nv/FIRMWARE_VERSION_DEVICE"));
}

TEST_F(host_update_library_test, flopen_fault_creates_no_record)
{
    ::setenv("FWUPDATE_FAULTS", "flopen", 1);
    char name[] = "FIRMWARE_VERSION_DEVICE";
    EXPECT_EQ(1, osl_mdev_upd_fwup_flopen(name, 1));
    EXPECT_FALSE(record_exists("FIRMWARE_VERSION_DEVICE"));
    EXPECT_EQ("flopen fault\n", log_text());
    // Nothing was opened, so there is nothing to write to or close.
    ::unsetenv("FWUPDATE_FAULTS");
    char data[] = "x";
    EXPECT_EQ(1, osl_mdev_upd_fwup_flwrite(data, 0, 1));
    EXPECT_EQ(1, osl_mdev_upd_fwup_flclose(0, nullptr));
}

const std::string PREVIOUS_VERSION("1.0.0", 6);

TEST_F(host_update_library_test, flwrite_fault_keeps_the_previous_record)
{
    ASSERT_EQ(0, write_record("FIRMWARE_VERSION_DEVICE", PREVIOUS_VERSION, nullptr));
    char name[] = "FIRMWARE_VERSION_DEVICE";
    char data[] = "2.0";
    unsigned long checksum = 0xDEADu;
    EXPECT_EQ(0, osl_mdev_upd_fwup_flopen(name, 1));
    ::setenv("FWUPDATE_FAULTS", "flwrite", 1);
    EXPECT_EQ(1, osl_mdev_upd_fwup_flwrite(data, 0, 4));
    ::unsetenv("FWUPDATE_FAULTS");
    // A later write that succeeds does not make the record whole again.
    EXPECT_EQ(0, osl_mdev_upd_fwup_flwrite(data, 0, 4));
    EXPECT_EQ(1, osl_mdev_upd_fwup_flclose(0, &checksum));
    EXPECT_EQ(PREVIOUS_VERSION, record_bytes("FIRMWARE_VERSION_DEVICE"));
    EXPECT_EQ(0xDEADu, checksum);
    EXPECT_EQ(std::vector<std::string>{"FIRMWARE_VERSION_DEVICE"}, nv_entries());
    EXPECT_EQ("flwrite fault\n", log_text());
    EXPECT_EQ(1, osl_mdev_upd_fwup_flclose(0, &checksum));  // the record was ended
}

TEST_F(host_update_library_test, flwrite_fault_without_a_previous_record_creates_none)
{
    char name[] = "FIRMWARE_VERSION_DEVICE";
    char data[] = "2.0";
    EXPECT_EQ(0, osl_mdev_upd_fwup_flopen(name, 1));
    ::setenv("FWUPDATE_FAULTS", "flwrite", 1);
    EXPECT_EQ(1, osl_mdev_upd_fwup_flwrite(data, 0, 4));
    ::unsetenv("FWUPDATE_FAULTS");
    EXPECT_EQ(1, osl_mdev_upd_fwup_flclose(0, nullptr));
    EXPECT_TRUE(nv_entries().empty());
}

TEST_F(host_update_library_test, flclose_fault_leaves_record_open_and_the_previous_one_in_place)
{
    ASSERT_EQ(0, write_record("FIRMWARE_VERSION_DEVICE", PREVIOUS_VERSION, nullptr));
    char name[] = "FIRMWARE_VERSION_DEVICE";
    char data[] = "2.0";
    unsigned long checksum = 0xDEADu;
    EXPECT_EQ(0, osl_mdev_upd_fwup_flopen(name, 1));
    EXPECT_EQ(0, osl_mdev_upd_fwup_flwrite(data, 0, 4));
    ::setenv("FWUPDATE_FAULTS", "flclose", 1);
    EXPECT_EQ(1, osl_mdev_upd_fwup_flclose(0, &checksum));
    EXPECT_EQ(0xDEADu, checksum);
    EXPECT_EQ(PREVIOUS_VERSION, record_bytes("FIRMWARE_VERSION_DEVICE"));
    EXPECT_EQ("flclose fault\n", log_text());
    ::unsetenv("FWUPDATE_FAULTS");
    EXPECT_EQ(0, osl_mdev_upd_fwup_flclose(0, &checksum));
    EXPECT_EQ(norvane_test::bsd_sum(std::string("2.0", 4)), checksum);
    EXPECT_EQ(std::string("2.0", 4), record_bytes("FIRMWARE_VERSION_DEVICE"));
    EXPECT_EQ(std::vector<std::string>{"FIRMWARE_VERSION_DEVICE"}, nv_entries());
}

TEST_F(host_update_library_test, record_being_written_is_not_seen_before_the_close)
{
    ASSERT_EQ(0, write_record("FIRMWARE_VERSION_DEVICE", PREVIOUS_VERSION, nullptr));
    char name[] = "FIRMWARE_VERSION_DEVICE";
    char data[] = "2.0";
    EXPECT_EQ(0, osl_mdev_upd_fwup_flopen(name, 1));
    EXPECT_EQ(PREVIOUS_VERSION, record_bytes("FIRMWARE_VERSION_DEVICE"));
    EXPECT_EQ(0, osl_mdev_upd_fwup_flwrite(data, 0, 4));
    EXPECT_EQ(PREVIOUS_VERSION, record_bytes("FIRMWARE_VERSION_DEVICE"));
    EXPECT_EQ(2u, nv_entries().size());  // the record and the file being written
    EXPECT_EQ(0, osl_mdev_upd_fwup_flclose(0, nullptr));
    EXPECT_EQ(std::string("2.0", 4), record_bytes("FIRMWARE_VERSION_DEVICE"));
    EXPECT_EQ(std::vector<std::string>{"FIRMWARE_VERSION_DEVICE"}, nv_entries());
}

TEST_F(host_update_library_test, replaced_record_keeps_its_file_mode)
{
    ASSERT_EQ(0, write_record("FIRMWARE_VERSION_DEVICE", PREVIOUS_VERSION, nullptr));
    struct stat info;
    ASSERT_EQ(0, ::stat(dir_.file("nv/FIRMWARE_VERSION_DEVICE").c_str(), &info));
    EXPECT_EQ(0644u, info.st_mode & 0777u);
}

// The file-size limit stops a write the way a full disk does: the write
// returns short and then fails (EFBIG instead of ENOSPC).
class file_size_limit {
public:
    explicit file_size_limit(rlim_t bytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &saved_limit_);
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        ::sigemptyset(&ignore.sa_mask);
        ::sigaction(SIGXFSZ, &ignore, &saved_action_);
        struct rlimit limit = saved_limit_;
        limit.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~file_size_limit()
    {
        ::setrlimit(RLIMIT_FSIZE, &saved_limit_);
        ::sigaction(SIGXFSZ, &saved_action_, nullptr);
    }
    file_size_limit(const file_size_limit&) = delete;
    file_size_limit& operator=(const file_size_limit&) = delete;

private:
    struct rlimit saved_limit_;
    struct sigaction saved_action_;
};

TEST_F(host_update_library_test, write_stopped_by_a_full_disk_keeps_the_previous_record)
{
    ASSERT_EQ(0, write_record("FIRMWARE_VERSION_DEVICE", PREVIOUS_VERSION, nullptr));
    std::string data("10.20.30040", 12);
    char name[] = "FIRMWARE_VERSION_DEVICE";
    int write_result = 0;
    int close_result = 0;
    {
        file_size_limit four_bytes(4);
        EXPECT_EQ(0, osl_mdev_upd_fwup_flopen(name, 1));
        write_result = osl_mdev_upd_fwup_flwrite(&data[0], 0, data.size());
        close_result = osl_mdev_upd_fwup_flclose(0, nullptr);
    }
    EXPECT_EQ(1, write_result);
    EXPECT_EQ(1, close_result);
    EXPECT_EQ(PREVIOUS_VERSION, record_bytes("FIRMWARE_VERSION_DEVICE"));
    EXPECT_EQ(std::vector<std::string>{"FIRMWARE_VERSION_DEVICE"}, nv_entries());
    // Without the limit the same record is written.
    EXPECT_EQ(0, write_record("FIRMWARE_VERSION_DEVICE", data, nullptr));
    EXPECT_EQ(data, record_bytes("FIRMWARE_VERSION_DEVICE"));
}

TEST_F(host_update_library_test, open_without_a_free_descriptor_keeps_the_previous_record)
{
    ASSERT_EQ(0, write_record("FIRMWARE_VERSION_DEVICE", PREVIOUS_VERSION, nullptr));
    char name[] = "FIRMWARE_VERSION_DEVICE";
    int open_result = 0;
    {
        struct rlimit saved;
        ::getrlimit(RLIMIT_NOFILE, &saved);
        struct rlimit lowered = saved;
        lowered.rlim_cur = 64;
        ::setrlimit(RLIMIT_NOFILE, &lowered);
        std::vector<int> fds;
        for (int fd = ::open("/dev/null", O_RDONLY); fd >= 0; fd = ::open("/dev/null", O_RDONLY)) {
            fds.push_back(fd);
        }
        open_result = osl_mdev_upd_fwup_flopen(name, 1);
        for (int fd : fds) {
            ::close(fd);
        }
        ::setrlimit(RLIMIT_NOFILE, &saved);
    }
    EXPECT_EQ(1, open_result);
    EXPECT_EQ(PREVIOUS_VERSION, record_bytes("FIRMWARE_VERSION_DEVICE"));
    EXPECT_EQ(std::vector<std::string>{"FIRMWARE_VERSION_DEVICE"}, nv_entries());
    EXPECT_EQ(1, osl_mdev_upd_fwup_flclose(0, nullptr));  // nothing was opened
}

TEST_F(host_update_library_test, record_that_cannot_be_replaced_is_left_as_it_was)
{
    // A folder in the record's place: the rename over it fails.
    ASSERT_EQ(0, ::mkdir(dir_.file("nv").c_str(), 0755));
    ASSERT_EQ(0, ::mkdir(dir_.file("nv/FIRMWARE_VERSION_DEVICE").c_str(), 0755));
    dir_.write_file("nv/FIRMWARE_VERSION_DEVICE/inside", "kept");
    unsigned long checksum = 0xDEADu;
    EXPECT_EQ(1, write_record("FIRMWARE_VERSION_DEVICE", std::string("2.0", 4), &checksum));
    EXPECT_EQ(0xDEADu, checksum);
    EXPECT_EQ("kept", norvane_test::read_file_bytes(dir_.file("nv/FIRMWARE_VERSION_DEVICE/inside")));
    EXPECT_EQ(std::vector<std::string>{"FIRMWARE_VERSION_DEVICE"}, nv_entries());
}

TEST_F(host_update_library_test, faults_are_read_at_each_call)
{
    ::setenv("FWUPDATE_FAULTS", "dlfinish,dlstart", 1);
    EXPECT_EQ(1, osl_mdev_upd_fwup_dlstart());
    ::setenv("FWUPDATE_FAULTS", "dlfinish", 1);
    EXPECT_EQ(0, osl_mdev_upd_fwup_dlstart());
    ::unsetenv("FWUPDATE_FAULTS");
    EXPECT_EQ(0, osl_mdev_upd_fwup_dlfinish(0));
    EXPECT_EQ("dlstart fault\ndlstart\ndlfinish 0\n", log_text());
}

TEST_F(host_update_library_test, flwrite_without_open_record_fails)
{
    char data[] = "1.0";
    EXPECT_EQ(1, osl_mdev_upd_fwup_flwrite(data, 0, 4));
}

TEST_F(host_update_library_test, flclose_without_open_record_fails)
{
    unsigned long checksum = 0xDEADu;
    EXPECT_EQ(1, osl_mdev_upd_fwup_flclose(0, &checksum));
    EXPECT_EQ(0xDEADu, checksum);
}

TEST_F(host_update_library_test, flopen_refuses_null_or_empty_name)
{
    char empty[] = "";
    EXPECT_EQ(1, osl_mdev_upd_fwup_flopen(nullptr, 1));
    EXPECT_EQ(1, osl_mdev_upd_fwup_flopen(empty, 1));
}

TEST_F(host_update_library_test, flopen_refuses_type_other_than_file)
{
    char name[] = "FIRMWARE_VERSION_DEVICE";
    EXPECT_EQ(1, osl_mdev_upd_fwup_flopen(name, 0));
    EXPECT_EQ(1, osl_mdev_upd_fwup_flopen(name, 2));
    EXPECT_FALSE(record_exists("FIRMWARE_VERSION_DEVICE"));
}

TEST_F(host_update_library_test, flwrite_of_nothing_accepts_null_data)
{
    char name[] = "FIRMWARE_VERSION_DEVICE";
    EXPECT_EQ(0, osl_mdev_upd_fwup_flopen(name, 1));
    EXPECT_EQ(0, osl_mdev_upd_fwup_flwrite(nullptr, 0, 0));
    EXPECT_EQ(0, osl_mdev_upd_fwup_flclose(0, nullptr));
    EXPECT_EQ("", record_bytes("FIRMWARE_VERSION_DEVICE"));
}

TEST_F(host_update_library_test, flwrite_refuses_null_data_and_keeps_the_previous_record)
{
    ASSERT_EQ(0, write_record("FIRMWARE_VERSION_DEVICE", PREVIOUS_VERSION, nullptr));
    char name[] = "FIRMWARE_VERSION_DEVICE";
    EXPECT_EQ(0, osl_mdev_upd_fwup_flopen(name, 1));
    EXPECT_EQ(1, osl_mdev_upd_fwup_flwrite(nullptr, 0, 4));
    EXPECT_EQ(1, osl_mdev_upd_fwup_flclose(0, nullptr));
    EXPECT_EQ(PREVIOUS_VERSION, record_bytes("FIRMWARE_VERSION_DEVICE"));
}

TEST_F(host_update_library_test, flclose_refuses_other_mode_but_ends_the_record_unwritten)
{
    ASSERT_EQ(0, write_record("FIRMWARE_VERSION_DEVICE", PREVIOUS_VERSION, nullptr));
    char name[] = "FIRMWARE_VERSION_DEVICE";
    char data[] = "2.0";
    unsigned long checksum = 0xDEADu;
    EXPECT_EQ(0, osl_mdev_upd_fwup_flopen(name, 1));
    EXPECT_EQ(0, osl_mdev_upd_fwup_flwrite(data, 0, 4));
    EXPECT_EQ(1, osl_mdev_upd_fwup_flclose(1, &checksum));
    EXPECT_EQ(0xDEADu, checksum);
    EXPECT_EQ(1, osl_mdev_upd_fwup_flclose(0, &checksum));  // already ended
    EXPECT_EQ(PREVIOUS_VERSION, record_bytes("FIRMWARE_VERSION_DEVICE"));
    EXPECT_EQ(std::vector<std::string>{"FIRMWARE_VERSION_DEVICE"}, nv_entries());
}

TEST_F(host_update_library_test, second_flopen_drops_the_open_record_unwritten)
{
    char first[] = "FIRST";
    char second[] = "SECOND";
    char data[] = "zz";
    unsigned long checksum = 0;
    EXPECT_EQ(0, osl_mdev_upd_fwup_flopen(first, 1));
    EXPECT_EQ(0, osl_mdev_upd_fwup_flwrite(data, 0, 2));
    EXPECT_EQ(0, osl_mdev_upd_fwup_flopen(second, 1));
    EXPECT_EQ(0, osl_mdev_upd_fwup_flwrite(data, 0, 2));
    EXPECT_EQ(0, osl_mdev_upd_fwup_flclose(0, &checksum));
    EXPECT_FALSE(record_exists("FIRST"));
    EXPECT_EQ("zz", record_bytes("SECOND"));
    EXPECT_EQ(std::vector<std::string>{"SECOND"}, nv_entries());
}

TEST_F(host_update_library_test, unwritable_state_folder_fails_dlstart)
{
    const std::string blocker = dir_.write_file("not-a-folder", "x");
    ::setenv("FWUPDATE_STATE_DIR", blocker.c_str(), 1);
    char name[] = "FIRMWARE_VERSION_DEVICE";
    EXPECT_EQ(1, osl_mdev_upd_fwup_dlstart());
    EXPECT_EQ(1, osl_mdev_upd_fwup_dlfinish(0));
    EXPECT_EQ(1, osl_mdev_upd_fwup_flopen(name, 1));
}

}  // namespace
