#include "run_report.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace {

using norvane_test::read_file_bytes;
using norvane_test::temp_dir;
using norvane_tools::run_report;
namespace fs = std::filesystem;

// A run's state folder with the records an earlier run left, and the report's
// output in a file of its own.
class run_report_test : public ::testing::Test {
protected:
    void SetUp() override
    {
        fs::create_directories(dir_.file("state/nv"));
        record("FIRMWARE_VERSION_DEVICE", std::string("1.0.0", 6));
        dir_.write_file("state/update-service.log", "earlier run\n");
        out_ = std::fopen(dir_.file("report.txt").c_str(), "w");
        ASSERT_NE(nullptr, out_);
    }

    void TearDown() override
    {
        if (out_ != nullptr) {
            std::fclose(out_);
        }
    }

    std::string record(const std::string& name, const std::string& bytes)
    {
        return dir_.write_file("state/nv/" + name, bytes);
    }

    // What show_state printed after a run that did what happen() does.
    template <typename run>
    std::string shown_after(run happen)
    {
        run_report report(false, out_);
        report.note_state(dir_.file("state"));
        happen();
        report.show_state(dir_.file("state"));
        std::fclose(out_);
        out_ = nullptr;
        return read_file_bytes(dir_.file("report.txt"));
    }

    temp_dir dir_;
    std::FILE* out_ = nullptr;
};

TEST_F(run_report_test, record_an_earlier_run_wrote_just_before_is_not_this_runs)
{
    // The record was written a moment ago, well within any clock's second;
    // the run itself failed and wrote nothing.
    const std::string shown = shown_after([this] { dir_.write_file("state/update-service.log", "earlier run\n"
                                                                                              "this run failed\n"); });
    EXPECT_EQ("update-service log (" + dir_.file("state/update-service.log") + "), this run:\n"
              "  this run failed\n"
              "records (" + dir_.file("state/nv") + "):\n"
              "  FIRMWARE_VERSION_DEVICE = \"1.0.0\" (6 bytes)\n",
              shown);
}

TEST_F(run_report_test, new_and_changed_records_are_this_runs)
{
    const std::string shown = shown_after([this] {
        record("FIRMWARE_VERSION_DEVICE", std::string("1.0.1", 6));
        record("FIRMWARE_VERSION_PANEL", std::string("2.0.0", 6));
    });
    EXPECT_NE(std::string::npos, shown.find("records (" + dir_.file("state/nv") + "):\n"
                                            "  FIRMWARE_VERSION_DEVICE = \"1.0.1\" (6 bytes)  <- written by this run\n"
                                            "  FIRMWARE_VERSION_PANEL = \"2.0.0\" (6 bytes)  <- written by this run\n"))
        << shown;
}

TEST_F(run_report_test, record_written_again_with_the_same_bytes_is_this_runs)
{
    const std::string path = dir_.file("state/nv/FIRMWARE_VERSION_DEVICE");
    const auto noted = fs::last_write_time(path);
    const std::string shown = shown_after([&] {
        record("FIRMWARE_VERSION_DEVICE", std::string("1.0.0", 6));
        fs::last_write_time(path, noted + std::chrono::seconds(1));
    });
    EXPECT_NE(std::string::npos,
              shown.find("\n  FIRMWARE_VERSION_DEVICE = \"1.0.0\" (6 bytes)  <- written by this run\n"))
        << shown;
}

TEST_F(run_report_test, state_folder_without_log_or_records_says_so)
{
    fs::remove_all(dir_.file("state"));
    const std::string shown = shown_after([] {});
    EXPECT_EQ("update-service log (" + dir_.file("state/update-service.log") + "), this run:\n"
              "  (nothing)\n"
              "records (" + dir_.file("state/nv") + "):\n"
              "  (none)\n",
              shown);
}

}  // namespace
