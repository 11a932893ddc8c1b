// The start-up and exit hooks of fake_platform_process. They live apart from
// the class so that its own test can link the class without them; a program
// on the fake platform links these objects directly, since nothing refers to
// them by name.
#include <cstdio>
#include <cstdlib>

#include "fake_platform.h"
#include "fake_platform_process.h"

namespace {

void write_exit_report_()
{
    std::fprintf(stderr, "%s\n", norvane_fake::fake_platform_process::exit_report().c_str());
}

// Runs before main. The reset builds every fake's state before the exit
// report is registered, so that state is destroyed only after the report
// has read it.
struct process_start_ {
    process_start_()
    {
        norvane_fake::fake_platform::reset();
        const char* faults = std::getenv("FWUPDATE_FAULTS");
        if (norvane_fake::fake_platform_process::arm_faults(faults != nullptr ? faults : "") != 0) {
            std::fprintf(stderr, "[fake platform] unknown fault in FWUPDATE_FAULTS[%s]\n", faults);
            std::exit(2);
        }
        std::atexit(write_exit_report_);
    }
};

const process_start_ process_start;

}  // namespace
