// What fwupdate-mobile shows: one line per event, a progress bar during the
// upload when the output is a terminal, and the program's traces on the host
// (update-service log and records) at the end.
#ifndef NORVANE_TOOLS_RUN_REPORT_H
#define NORVANE_TOOLS_RUN_REPORT_H

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>

namespace norvane_tools {

class run_report {
public:
    explicit run_report(bool terminal, std::FILE* out = stdout) : terminal_(terminal), out_(out) {}

    void line(const std::string& text);

    void start_progress(size_t total);
    void progress(size_t sent, size_t total);
    void end_progress();

    // Notes the state before the run: the size of the update-service log, so
    // that only this run's lines are shown at the end, and every record's
    // bytes and modification time.
    void note_state(const std::string& state_dir);
    // Prints the update-service log from where note_state found its end, and
    // the records, marking those that are new, changed or written again since.
    void show_state(const std::string& state_dir);

private:
    // A record as note_state found it.
    struct record_state {
        std::string bytes;
        std::filesystem::file_time_type written;
    };

    void draw_bar_(size_t sent, size_t total, std::chrono::steady_clock::time_point now);
    bool written_since_noted_(const std::filesystem::path& record) const;

    bool terminal_;
    std::FILE* out_;
    size_t log_offset_ = 0;
    std::map<std::string, record_state> records_before_;
    bool bar_shown_ = false;
    bool upload_reported_ = false;
    std::chrono::steady_clock::time_point upload_started_;
    std::chrono::steady_clock::time_point last_drawn_;
};

}  // namespace norvane_tools

#endif
