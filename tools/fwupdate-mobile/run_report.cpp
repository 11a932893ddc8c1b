#include "run_report.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace norvane_tools {

namespace fs = std::filesystem;

void run_report::line(const std::string& text)
{
    if (bar_shown_) {
        std::fputs("\n", out_);
        bar_shown_ = false;
    }
    std::fprintf(out_, "%s\n", text.c_str());
    std::fflush(out_);
}

void run_report::start_progress(size_t /*total*/)
{
    upload_started_ = std::chrono::steady_clock::now();
    upload_reported_ = false;
    last_drawn_ = upload_started_ - std::chrono::seconds(1);
}

void run_report::progress(size_t sent, size_t total)
{
    const auto now = std::chrono::steady_clock::now();
    const bool done = sent >= total;
    if (done) {
        draw_bar_(sent, total, now);
        end_progress();
        return;
    }
    if (now - last_drawn_ >= std::chrono::milliseconds(100)) {
        draw_bar_(sent, total, now);
    }
}

void run_report::draw_bar_(size_t sent, size_t total, std::chrono::steady_clock::time_point now)
{
    if (!terminal_) {
        return;
    }
    last_drawn_ = now;
    const double seconds = std::chrono::duration<double>(now - upload_started_).count();
    const double fraction = total == 0 ? 1.0 : static_cast<double>(sent) / static_cast<double>(total);
    const double rate = seconds > 0 ? static_cast<double>(sent) / seconds / 1e6 : 0.0;
    const double left = rate > 0 ? static_cast<double>(total - sent) / (rate * 1e6) : 0.0;
    constexpr int width = 30;
    const int filled = static_cast<int>(fraction * width);
    std::string bar(static_cast<size_t>(filled), '#');
    bar.append(static_cast<size_t>(width - filled), '.');
    std::fprintf(out_, "\rupload [%s] %3d%%  %6.1f MB/s  %4.0f s left ", bar.c_str(),
                 static_cast<int>(fraction * 100), rate, left);
    std::fflush(out_);
    bar_shown_ = true;
}

// Says once how long the upload took, when its last transfer has gone out
// (or when the delivery stopped before that).
void run_report::end_progress()
{
    if (upload_reported_) {
        return;
    }
    upload_reported_ = true;
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - upload_started_).count();
    char text[64];
    std::snprintf(text, sizeof text, "upload sent in %.2f s", seconds);
    line(text);
}

namespace {

std::string read_all(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A record holds text and its terminating NUL; show it as text when it is.
std::string record_text(const std::string& bytes)
{
    std::string text = bytes;
    if (!text.empty() && text.back() == '\0') {
        text.pop_back();
    }
    for (char c : text) {
        if (static_cast<unsigned char>(c) < 0x20) {
            return "(" + std::to_string(bytes.size()) + " bytes of binary data)";
        }
    }
    return "\"" + text + "\" (" + std::to_string(bytes.size()) + " bytes)";
}

}  // namespace

void run_report::note_state(const std::string& state_dir)
{
    std::error_code error;
    const auto size = fs::file_size(fs::path(state_dir) / "update-service.log", error);
    log_offset_ = error ? 0 : static_cast<size_t>(size);
    records_before_.clear();
    for (const auto& entry : fs::directory_iterator(fs::path(state_dir) / "nv", error)) {
        records_before_[entry.path().filename().string()] =
            record_state{read_all(entry.path()), fs::last_write_time(entry.path(), error)};
    }
}

// A record counts as this run's when it was not there before, holds other
// bytes, or was written again with the same bytes. Its time is compared with
// the time noted before the run, never with a clock: a record an earlier run
// wrote a moment before this one started is not this run's.
bool run_report::written_since_noted_(const fs::path& record) const
{
    const auto before = records_before_.find(record.filename().string());
    if (before == records_before_.end()) {
        return true;
    }
    std::error_code error;
    return read_all(record) != before->second.bytes ||
           fs::last_write_time(record, error) != before->second.written;
}

void run_report::show_state(const std::string& state_dir)
{
    const fs::path log_path = fs::path(state_dir) / "update-service.log";
    std::string log = read_all(log_path);
    line("update-service log (" + log_path.string() + "), this run:");
    if (log_offset_ < log.size()) {
        log = log.substr(log_offset_);
        size_t start = 0;
        while (start < log.size()) {
            size_t end = log.find('\n', start);
            if (end == std::string::npos) end = log.size();
            line("  " + log.substr(start, end - start));
            start = end + 1;
        }
    } else {
        line("  (nothing)");
    }

    const fs::path records = fs::path(state_dir) / "nv";
    line("records (" + records.string() + "):");
    std::error_code error;
    std::vector<fs::path> paths;
    for (const auto& entry : fs::directory_iterator(records, error)) {
        paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    if (paths.empty()) {
        line("  (none)");
    }
    for (const fs::path& path : paths) {
        line("  " + path.filename().string() + " = " + record_text(read_all(path)) +
             (written_since_noted_(path) ? "  <- written by this run" : ""));
    }
}

}  // namespace norvane_tools
