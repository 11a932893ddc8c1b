// The facade of the update program: the entry point's only view of a run.
// It owns one exec-mode controller for the duration of one execute() call.
#ifndef NORVANE_QAV_MNT_FWUPDATE_FACADE_H
#define NORVANE_QAV_MNT_FWUPDATE_FACADE_H

namespace norvane {

class qav_mnt_fwupdate_facade {
public:
    qav_mnt_fwupdate_facade();
    ~qav_mnt_fwupdate_facade();

    // Runs one update run; 0 for success, 1 for failure, exactly the
    // controller's result.
    int execute();
};

}  // namespace norvane

#endif
