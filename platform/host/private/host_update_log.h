// The host platform's record of what it was asked to do: the update
// service's log in $FWUPDATE_STATE_DIR/update-service.log, and the calls that
// FWUPDATE_FAULTS makes fail. The environment is read at every call, so a
// test can change it between calls.
#ifndef NORVANE_PLATFORM_HOST_UPDATE_LOG_H
#define NORVANE_PLATFORM_HOST_UPDATE_LOG_H

#include <string>

namespace norvane {

class host_update_log {
public:
    // $FWUPDATE_STATE_DIR, or "/tmp/fwupdate-state" when unset or empty.
    static std::string state_dir();

    // Appends line and a line feed to the log, creating the state folder as
    // needed. Returns 0, or 1 when the log cannot be written.
    static int append(const std::string& line);

    // 1 when call is one of the comma-separated names in FWUPDATE_FAULTS.
    static int is_fault(const std::string& call);

    // The fault rule in one step: when call is named in FWUPDATE_FAULTS,
    // appends "<call> fault" to the log and returns 1; otherwise returns 0
    // and the caller goes on with the real work.
    static int take_fault(const std::string& call);

    // mkdir -p: creates path and its missing parents. Returns 0, or 1.
    static int make_dirs(const std::string& path);
};

}  // namespace norvane

#endif
