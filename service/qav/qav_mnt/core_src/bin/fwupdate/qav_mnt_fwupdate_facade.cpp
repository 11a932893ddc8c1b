// The facade and the program's entry point. The program is started once per
// firmware delivery, reads no command line, serves one run and exits with
// the run's result.
#include "qav_mnt_fwupdate_facade.h"

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

int main(int /*argc*/, char* /*argv*/[])
{
    norvane::qav_mnt_fwupdate_log_imp("main", "QAV_MNT FWUPDATE Start\n");
    int ret = 0;
    {
        norvane::qav_mnt_fwupdate_facade facade;
        ret = facade.execute();
        norvane::qav_mnt_fwupdate_log_imp("main", "QAV_MNT FWUPDATE Finish %d\n", ret);
    }
    return ret;
}
