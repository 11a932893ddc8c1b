// The exec-mode controller: runs one update run on the main thread.
//
// It tells the update service that a download starts, connects the accessory
// link with itself as receiver, turns every link notification into a message
// on its own queue, and handles the messages one at a time through a small
// state machine: store the package into a file, unzip and verify it, answer
// the phone's status queries. At the end it reports the result to the update
// service and records the package version in a non-volatile record.
//
// The receiver operations run on the accessory library's thread; they only
// allocate, copy and queue. Each package chunk crosses the queue as a
// platform heap block that the main thread frees.
//
// Ending: the destructor first makes the receiver operations drop whatever
// still comes, frees the chunks still queued (which lets a callback blocked
// on a full queue finish), detaches from the link (waiting for a callback in
// progress), frees what that callback queued, and only then deletes the
// queue. No callback can reach the controller or its queue afterwards.
#ifndef NORVANE_QAV_MNT_FWUPDATE_CTRL_EXEC_MODE_H
#define NORVANE_QAV_MNT_FWUPDATE_CTRL_EXEC_MODE_H

#include <cstdint>
#include <cstdio>
#include <string>

#include "osw_os_wrapper.h"
#include "qav_mnt_fwupdate_lib_communicate_aoa.h"
#include "qav_mnt_fwupdate_lib_define.h"
#include "qav_mnt_fwupdate_lib_receiver_aoa.h"
#include "utl_lib_xml_vexa_def.h"

namespace norvane {

enum QAV_MNT_FWUPDATE_EXEC_STATE : int32_t {
    QAV_MNT_FWUPDATE_EXEC_STATE_INITIAL = 0,
    QAV_MNT_FWUPDATE_EXEC_STATE_CONNECT = 1,
    QAV_MNT_FWUPDATE_EXEC_STATE_DOWNLOAD = 2,
    QAV_MNT_FWUPDATE_EXEC_STATE_VERIFY = 3,
    QAV_MNT_FWUPDATE_EXEC_STATE_WAIT_CHECKING_RESULT = 4,
    QAV_MNT_FWUPDATE_EXEC_STATE_FINISHED = 5,
};

// The kind of the most recent failure of a run. NONE is never logged.
enum QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE : int32_t {
    QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_NONE = 0,
    QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_COMMUNICATE_MOBILE = 1,
    QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_DOWNLOAD = 2,
    QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_EXTRACT = 3,
    QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_VERIFY = 4,
};

// Log name of a value outside the tables: "--", the EUC-JP full-width
// question mark (A1 A9), "--".
extern const char QAV_MNT_FWUPDATE_UNKNOWN_NAME[];

// Log names of the enumerations ("INITIAL", ..., "COMMUNICATE_MOBILE", ...).
const char* qav_mnt_fwupdate_exec_state_name(QAV_MNT_FWUPDATE_EXEC_STATE state);
const char* qav_mnt_fwupdate_process_error_type_name(QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE type);

// Working folder of the run and the package file inside it.
extern const char QAV_MNT_FWUPDATE_UNZIP_FOLDER_PATH[];
extern const char QAV_MNT_FWUPDATE_PACKAGE_FILE_NAME[];

// Capacity of the controller's queue, in messages.
constexpr unsigned int QAV_MNT_FWUPDATE_MSG_QUEUE_COUNT = 100;

class qav_mnt_fwupdate_ctrl_exec_mode : public qav_mnt_fwupdate_lib_receiver_aoa {
public:
    qav_mnt_fwupdate_ctrl_exec_mode();
    virtual ~qav_mnt_fwupdate_ctrl_exec_mode();
    qav_mnt_fwupdate_ctrl_exec_mode(const qav_mnt_fwupdate_ctrl_exec_mode&) = delete;
    qav_mnt_fwupdate_ctrl_exec_mode& operator=(const qav_mnt_fwupdate_ctrl_exec_mode&) = delete;

    // One whole run: initialise, process messages, finalise (always).
    int execute();

    // Receiver operations, called on the accessory library's thread.
    int act_notify_recv_header(const QAV_MNT_FWUPDATE_PACKATE_HEADER_& header) override;
    int act_notify_recv_body(unsigned int size, const char* data, int isRecvEnd) override;

private:
    int initialize_();
    int process_();
    int finalize_();
    int start_downloading_(const _QAV_MNT_FWUPDATE_START_DOWNLOADING_& info);
    int download_fw_package_(const _QAV_MNT_FWUPDATE_DOWNLOAD_FW_PACKAGE_& info);
    int verify_fw_files_(const _QAV_MNT_FWUPDATE_VERIFY_FW_FILES_& info);
    int check_fwupdate_state_(const _QAV_MNT_FWUPDATE_CHECK_FWUPDATE_STATE_& info);
    // Declared for the interface; never defined nor called.
    int recv_unknown_cmd_(const _QAV_MNT_FWUPDATE_RECV_UNKNOWN_CMD_& info);
    int finish_downloading_();
    int send_download_result_();
    // Callbacks wait for room without limit; the main thread, which alone
    // empties the queue, never waits on it (timeout 0).
    int send_que_(const _QAV_MNT_FWUPDATE_MSG_BLK_& msg_blk,
                  unsigned int timeout = OSW_WAIT_FOREVER);
    int wait_que_(_QAV_MNT_FWUPDATE_MSG_BLK_& msg_blk);
    int change_exec_state_(QAV_MNT_FWUPDATE_EXEC_STATE new_state);
    int set_process_err_(QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE type);
    // Writes one buffer to the package file; kept for the interface, unused.
    int write_fw_package_(int size, char* data);

    void drain_que_();
    bool closing_now_() const;
    int record_package_version_();
    int report_finish_(int result);
    QAV_MNT_FWUPDATE_EXEC_STATE current_state_() const;

    QAV_MNT_FWUPDATE_EXEC_STATE exec_state_;
    QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE error_type_;
    qav_mnt_fwupdate_lib_communicate_aoa* comm_mba_;
    OSW_Message_Queue* msg_queue_;
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ start_download_;
    FILE* fp_;
    std::string package_version_;
    UTL_LIB_XML_VEXA_PACKAGE_TYPE_ package_type_;
    bool closing_;  // set by the destructor; read unlocked by the callback thread
};

}  // namespace norvane

#endif
