// The facade and the program's entry point. The program is started once per
// firmware delivery, reads no command line, serves one run and exits with
// the run's result.
#include "qav_mnt_fwupdate_facade.h"

#include <fcntl.h>
#include <unistd.h>

#include <exception>

#include "qav_mnt_fwupdate_ctrl_exec_mode.h"
#include "qav_mnt_fwupdate_lib_log.h"

namespace norvane {

qav_mnt_fwupdate_facade::qav_mnt_fwupdate_facade() {}

qav_mnt_fwupdate_facade::~qav_mnt_fwupdate_facade() {}

// The controller lives on this call's stack: its constructor creates the
// queue and fetches the link, its destructor deletes the queue.
int qav_mnt_fwupdate_facade::execute()
{
    qav_mnt_fwupdate_ctrl_exec_mode ctrl_exec_mode;
    return ctrl_exec_mode.execute();
}

}  // namespace norvane

namespace {

// The program's children must never wait on or read the standard input the
// program was started with: the unzip tool's overwrite prompt would wait on
// it, and a checksum command without its path would sum it. So it is
// /dev/null before the run starts any child.
int detach_standard_input_()
{
    int null_fd = ::open("/dev/null", O_RDONLY);
    if (null_fd < 0) {
        norvane::qav_mnt_fwupdate_log_err("main", "Failed to open /dev/null as standard input.\n");
        return 1;
    }
    if (null_fd != STDIN_FILENO) {
        // Cannot fail: both descriptors are valid.
        ::dup2(null_fd, STDIN_FILENO);
        ::close(null_fd);
    }
    return 0;
}

// Runs the facade. Only an allocation failure can throw; catching it here,
// and not letting it escape main, unwinds the stack, so the facade and the
// controller (and with it the message queue) are destroyed before the
// process ends with a failure.
int run_facade_()
{
    try {
        norvane::qav_mnt_fwupdate_facade facade;
        return facade.execute();
    } catch (const std::exception& error) {
        norvane::qav_mnt_fwupdate_log_err("main", "run ended by an exception. what[%s]\n",
                                          error.what());
    }
    return 1;
}

}  // namespace

int main(int /*argc*/, char* /*argv*/[])
{
    norvane::qav_mnt_fwupdate_log_imp("main", "QAV_MNT FWUPDATE Start\n");
    int ret = detach_standard_input_();
    if (ret == 0) {
        ret = run_facade_();
    }
    norvane::qav_mnt_fwupdate_log_imp("main", "QAV_MNT FWUPDATE Finish %d\n", ret);
    return ret;
}
