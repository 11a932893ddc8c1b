// The exit statuses of fwpkg, shared by its commands: what a script calling
// the tool can tell apart.
#ifndef NORVANE_TOOLS_EXIT_STATUS_H
#define NORVANE_TOOLS_EXIT_STATUS_H

namespace norvane_tools {

enum exit_status {
    EXIT_DONE = 0,        // built, verified, shown, key pair written
    EXIT_REFUSED = 1,     // not verified, or the package or key pair could not be made
    EXIT_USAGE = 2,       // unknown command or option, missing or bad argument
    EXIT_CANNOT_RUN = 3,  // an input is missing, unreadable or unusable, or a tool cannot run
};

}  // namespace norvane_tools

#endif
