// The program log: one line per call on standard error, in the form
// "[LVL] operation(): text". IMP marks milestones and header dumps, INF state
// changes, progress and dumps, ERR failures. No time stamps, no filter.
//
// Callers pass their own operation name (normally __func__) and the text's
// printf format, which ends in its own line feed.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_LOG_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_LOG_H

namespace norvane {

void qav_mnt_fwupdate_log_imp(const char* operation, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
void qav_mnt_fwupdate_log_inf(const char* operation, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
void qav_mnt_fwupdate_log_err(const char* operation, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

}  // namespace norvane

#endif
