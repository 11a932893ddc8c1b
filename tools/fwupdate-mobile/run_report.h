// What fwupdate-mobile shows: one line per event, a progress bar during the
// upload when the output is a terminal, and the program's traces on the host
// (update-service log and records) at the end.
#ifndef NORVANE_TOOLS_RUN_REPORT_H
#define NORVANE_TOOLS_RUN_REPORT_H

#include <chrono>
#include <string>

namespace norvane_tools {

class run_report {
public:
    explicit run_report(bool terminal) : terminal_(terminal) {}

    void line(const std::string& text);

    void start_progress(size_t total);
    void progress(size_t sent, size_t total);
    void end_progress();

    // Size of the update-service log now, so that only this run's lines are
    // shown at the end.
    size_t log_size(const std::string& state_dir) const;
    // Prints the update-service log from offset and the records, marking
    // those written since started.
    void show_state(const std::string& state_dir, size_t log_offset,
                    std::chrono::system_clock::time_point started);

private:
    void draw_bar_(size_t sent, size_t total, std::chrono::steady_clock::time_point now);

    bool terminal_;
    bool bar_shown_ = false;
    bool upload_reported_ = false;
    std::chrono::steady_clock::time_point upload_started_;
    std::chrono::steady_clock::time_point last_drawn_;
};

}  // namespace norvane_tools

#endif
