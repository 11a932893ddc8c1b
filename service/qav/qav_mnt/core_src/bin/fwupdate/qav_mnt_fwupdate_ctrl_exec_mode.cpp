#include "qav_mnt_fwupdate_ctrl_exec_mode.h"

#include <cstring>

#include "osl_mdev_upd.h"
#include "qav_mnt_fwupdate_lib_log.h"
#include "qav_mnt_fwupdate_lib_util.h"
#include "qav_mnt_fwupdate_lib_verify_process.h"

namespace norvane {

const char QAV_MNT_FWUPDATE_UNKNOWN_NAME[] = "--\xA1\xA9--";
const char QAV_MNT_FWUPDATE_UNZIP_FOLDER_PATH[] = "/tmp/fwupdate/update";
const char QAV_MNT_FWUPDATE_PACKAGE_FILE_NAME[] = "/qav_mnt_fwpackage.zip";

namespace {

const char* const EXEC_STATE_NAMES_[] = {
    "INITIAL", "CONNECT", "DOWNLOAD", "VERIFY", "WAIT_CHECKING_RESULT", "FINISHED",
};

const char* const PROCESS_ERROR_TYPE_NAMES_[] = {
    "NONE", "COMMUNICATE_MOBILE", "DOWNLOAD", "EXTRACT", "VERIFY",
};

template <size_t N>
const char* name_of_(const char* const (&names)[N], int value)
{
    if (value < 0 || static_cast<size_t>(value) >= N) {
        return QAV_MNT_FWUPDATE_UNKNOWN_NAME;
    }
    return names[value];
}

std::string package_file_path_()
{
    return std::string(QAV_MNT_FWUPDATE_UNZIP_FOLDER_PATH) + QAV_MNT_FWUPDATE_PACKAGE_FILE_NAME;
}

}  // namespace

const char* qav_mnt_fwupdate_exec_state_name(QAV_MNT_FWUPDATE_EXEC_STATE state)
{
    return name_of_(EXEC_STATE_NAMES_, state);
}

const char* qav_mnt_fwupdate_process_error_type_name(QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE type)
{
    return name_of_(PROCESS_ERROR_TYPE_NAMES_, type);
}

qav_mnt_fwupdate_ctrl_exec_mode::qav_mnt_fwupdate_ctrl_exec_mode()
    : qav_mnt_fwupdate_lib_receiver_aoa(),
      exec_state_(QAV_MNT_FWUPDATE_EXEC_STATE_INITIAL),
      error_type_(QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_NONE),
      comm_mba_(qav_mnt_fwupdate_lib_communicate_aoa::get_instance()),
      msg_queue_(new OSW_Message_Queue(QAV_MNT_FWUPDATE_MSG_QUEUE_COUNT,
                                       sizeof(_QAV_MNT_FWUPDATE_MSG_BLK_), 0)),
      start_download_(),
      fp_(nullptr),
      package_version_(),
      package_type_(UTL_LIB_XML_VEXA_PACKAGE_TYPE_NONE),
      closing_(false)
{
    std::memset(&start_download_, 0, sizeof(start_download_));
}

// The order matters: the link's thread may be inside a receiver operation,
// even blocked on a full queue, until the detach has returned. The package
// file is not closed here.
qav_mnt_fwupdate_ctrl_exec_mode::~qav_mnt_fwupdate_ctrl_exec_mode()
{
    __atomic_store_n(&closing_, true, __ATOMIC_SEQ_CST);
    drain_que_();
    comm_mba_->disconnect();
    drain_que_();
    delete msg_queue_;
    msg_queue_ = nullptr;
}

int qav_mnt_fwupdate_ctrl_exec_mode::execute()
{
    int ret = initialize_();
    if (ret == 0) {
        ret = process_();
    }
    return finalize_() | ret;
}

int qav_mnt_fwupdate_ctrl_exec_mode::act_notify_recv_header(
    const QAV_MNT_FWUPDATE_PACKATE_HEADER_& header)
{
    if (closing_now_()) {
        qav_mnt_fwupdate_log_err(__func__, "the run has ended. header dropped. cmd[0x%04x]\n",
                                 header.command);
        return 1;
    }
    _QAV_MNT_FWUPDATE_MSG_BLK_ msg_blk;
    std::memset(&msg_blk, 0, sizeof(msg_blk));
    switch (header.command) {
    case QAV_MNT_FWUPDATE_MBA_REQUEST_CMD_SEND_FIRMWARE_UPGRADE_FILE:
        msg_blk.msg_id = QAV_MNT_FWUPDATE_MSG_ID_START_DOWNLOADING;
        msg_blk.info.start_downloging.packet_header = header;
        return send_que_(msg_blk);
    case QAV_MNT_FWUPDATE_MBA_REQUEST_CMD_GET_FIRMWARE_UPGRADE_STATUS:
        msg_blk.msg_id = QAV_MNT_FWUPDATE_MSG_ID_CHECK_FWUPDATE_STATE;
        msg_blk.info.check_fwupdate_state.packet_header = header;
        return send_que_(msg_blk);
    default:
        qav_mnt_fwupdate_log_err(__func__, "recv unknown command. cmd[0x%04x]\n", header.command);
        msg_blk.msg_id = QAV_MNT_FWUPDATE_MSG_ID_RECV_UNKNOWN_CMD;
        send_que_(msg_blk);
        return 1;
    }
}

// Runs on the callback thread and judges the chunk against the state as the
// main thread last stored it; a slightly stale state is accepted.
int qav_mnt_fwupdate_ctrl_exec_mode::act_notify_recv_body(unsigned int size, const char* data,
                                                          int isRecvEnd)
{
    if (closing_now_()) {
        qav_mnt_fwupdate_log_err(__func__, "the run has ended. data dropped. size[%d]\n",
                                 static_cast<int>(size));
        return 1;
    }
    _QAV_MNT_FWUPDATE_MSG_BLK_ msg_blk;
    std::memset(&msg_blk, 0, sizeof(msg_blk));
    QAV_MNT_FWUPDATE_EXEC_STATE state = current_state_();
    if (state != QAV_MNT_FWUPDATE_EXEC_STATE_CONNECT &&
        state != QAV_MNT_FWUPDATE_EXEC_STATE_DOWNLOAD) {
        qav_mnt_fwupdate_log_err(__func__, "recv unknown data. now state[%s]\n",
                                 qav_mnt_fwupdate_exec_state_name(state));
        msg_blk.msg_id = QAV_MNT_FWUPDATE_MSG_ID_RECV_UNKNOWN_CMD;
        send_que_(msg_blk);
        return 1;
    }

    _QAV_MNT_FWUPDATE_DOWNLOAD_FW_PACKAGE_& chunk = msg_blk.info.download_fw_package;
    msg_blk.msg_id = QAV_MNT_FWUPDATE_MSG_ID_DOWNLOAD_FW_PACKAGE;
    chunk.data_size = size;
    chunk.is_end_of_data = isRecvEnd;
    char* buffer = static_cast<char*>(zulOSWSubAllocMem(size));
    if (buffer == nullptr) {
        // The chunk still travels, empty, so that the main thread sees its end.
        qav_mnt_fwupdate_log_err(__func__, "failed to malloc for fw package. size[%d]\n",
                                 static_cast<int>(size));
        chunk.data_size = 0;
        chunk.data = nullptr;
        send_que_(msg_blk);
        return 1;
    }
    std::memcpy(buffer, data, size);
    chunk.data = buffer;
    return send_que_(msg_blk);
}

int qav_mnt_fwupdate_ctrl_exec_mode::initialize_()
{
    qav_mnt_fwupdate_log_inf(__func__, "initialize_ Start\n");
    int os_ret = osl_mdev_upd_fwup_dlstart();
    if (os_ret != 0) {
        qav_mnt_fwupdate_log_err(__func__, "osl_mdev_upd_fwup_dlstart return is NG. os_ret[%d]\n",
                                 os_ret);
    } else if (comm_mba_->connect(this) == 0) {
        change_exec_state_(QAV_MNT_FWUPDATE_EXEC_STATE_CONNECT);
        qav_mnt_fwupdate_log_inf(__func__, "initialize_ Finish [%d]\n", 0);
        return 0;
    }
    change_exec_state_(QAV_MNT_FWUPDATE_EXEC_STATE_FINISHED);
    set_process_err_(QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_COMMUNICATE_MOBILE);
    qav_mnt_fwupdate_log_inf(__func__, "initialize_ Finish [%d]\n", 1);
    return 1;
}

// Handles one message at a time in arrival order until the run is finished,
// the link failed, an unknown message came or the queue failed.
int qav_mnt_fwupdate_ctrl_exec_mode::process_()
{
    if (exec_state_ == QAV_MNT_FWUPDATE_EXEC_STATE_FINISHED) {
        return 0;
    }
    for (;;) {
        if (error_type_ == QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_COMMUNICATE_MOBILE) {
            return 0;
        }
        _QAV_MNT_FWUPDATE_MSG_BLK_ msg_blk;
        std::memset(&msg_blk, 0, sizeof(msg_blk));
        int ret = wait_que_(msg_blk);
        if (ret != 0) {
            qav_mnt_fwupdate_log_inf(__func__, "process error. wait_que_ error [%d]\n", ret);
            return ret;
        }
        switch (msg_blk.msg_id) {
        case QAV_MNT_FWUPDATE_MSG_ID_START_DOWNLOADING:
            start_downloading_(msg_blk.info.start_downloging);
            break;
        case QAV_MNT_FWUPDATE_MSG_ID_DOWNLOAD_FW_PACKAGE:
            download_fw_package_(msg_blk.info.download_fw_package);
            break;
        case QAV_MNT_FWUPDATE_MSG_ID_VERIFY_FW_FILES:
            verify_fw_files_(msg_blk.info.verify_fw_files);
            break;
        case QAV_MNT_FWUPDATE_MSG_ID_CHECK_FWUPDATE_STATE:
            check_fwupdate_state_(msg_blk.info.check_fwupdate_state);
            break;
        default:
            qav_mnt_fwupdate_log_err(__func__, "process error. unknown msg_id  [%d]\n",
                                     static_cast<int>(msg_blk.msg_id));
            change_exec_state_(QAV_MNT_FWUPDATE_EXEC_STATE_FINISHED);
            set_process_err_(QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_COMMUNICATE_MOBILE);
            return 1;
        }
        if (exec_state_ == QAV_MNT_FWUPDATE_EXEC_STATE_FINISHED) {
            return 0;
        }
    }
}

// Reports the outcome to the update service; a verified run also records
// the package version first.
int qav_mnt_fwupdate_ctrl_exec_mode::finalize_()
{
    if (exec_state_ != QAV_MNT_FWUPDATE_EXEC_STATE_FINISHED ||
        error_type_ != QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_NONE) {
        return report_finish_(1);
    }
    if (package_type_ < UTL_LIB_XML_VEXA_PACKAGE_DEVICE_FIRMWARE ||
        package_type_ > UTL_LIB_XML_VEXA_PACKAGE_MOBILE_AGENT) {
        qav_mnt_fwupdate_log_err(__func__, "Unknown Package version. type[%d] ver[%s]\n",
                                 static_cast<int>(package_type_), package_version_.c_str());
        report_finish_(1);
        return 1;
    }
    record_package_version_();
    return report_finish_(0);
}

// Types 1 and 2 have a version record; the others have none. The write's
// result does not change the outcome.
int qav_mnt_fwupdate_ctrl_exec_mode::record_package_version_()
{
    const char* record_name = nullptr;
    if (package_type_ == UTL_LIB_XML_VEXA_PACKAGE_DEVICE_FIRMWARE) {
        record_name = "FIRMWARE_VERSION_DEVICE";
    } else if (package_type_ == UTL_LIB_XML_VEXA_PACKAGE_DEVICE_ENHANCEMENT) {
        record_name = "FIRMWARE_VERSION_ENHANCEMENT";
    }
    if (record_name == nullptr) {
        return 0;
    }
    std::string name(record_name);
    std::string version(package_version_);
    qav_mnt_fwupdate_lib_util util;
    return util.write_non_volatile_area(&name[0], &version[0], 0, version.length() + 1);
}

// dlfinish with result, its log line under finalize_'s name; 1 when the
// call failed.
int qav_mnt_fwupdate_ctrl_exec_mode::report_finish_(int result)
{
    int os_ret = osl_mdev_upd_fwup_dlfinish(result);
    qav_mnt_fwupdate_log_imp("finalize_",
                             "osl_mdev_upd_fwup_dlfinish os_ret[%d] result[%d] exec_state[%d]\n",
                             os_ret, result, static_cast<int>(exec_state_));
    return os_ret != 0 ? 1 : 0;
}

// An upload request in any state (re)opens and truncates the package file.
int qav_mnt_fwupdate_ctrl_exec_mode::start_downloading_(
    const _QAV_MNT_FWUPDATE_START_DOWNLOADING_& info)
{
    const std::string package_path = package_file_path_();
    qav_mnt_fwupdate_lib_util util;
    int ret = util.create_dir(QAV_MNT_FWUPDATE_UNZIP_FOLDER_PATH);
    ret |= util.open_binary_file(package_path, &fp_);
    if (fp_ == nullptr) {
        qav_mnt_fwupdate_log_imp(__func__, "FOpen Error. Storage of FW Package. [%s]\n",
                                 package_path.c_str());
    }
    start_download_ = info.packet_header;
    if (ret == 0 && fp_ != nullptr) {
        change_exec_state_(QAV_MNT_FWUPDATE_EXEC_STATE_DOWNLOAD);
        return 0;
    }
    change_exec_state_(QAV_MNT_FWUPDATE_EXEC_STATE_FINISHED);
    set_process_err_(QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_DOWNLOAD);
    return 1;
}

// Writes (or, after an earlier failure, discards) one chunk and frees its
// buffer. The last chunk closes the file, answers the upload and queues the
// verification.
int qav_mnt_fwupdate_ctrl_exec_mode::download_fw_package_(
    const _QAV_MNT_FWUPDATE_DOWNLOAD_FW_PACKAGE_& info)
{
    int ret = 0;
    if (info.data == nullptr || fp_ == nullptr) {
        qav_mnt_fwupdate_log_imp(__func__, "Data recv error. data is null\n");
        ret = 1;
    } else if (error_type_ == QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_NONE) {
        qav_mnt_fwupdate_lib_util util;
        if (util.write_binary_file(fp_, info.data, static_cast<int>(info.data_size)) != 0) {
            set_process_err_(QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_DOWNLOAD);
            ret = 1;
        }
    }
    if (info.data != nullptr) {
        zulOSWOrgFreeMemPart(nullptr, info.data);
    }
    if (info.is_end_of_data != 1) {
        return ret;
    }

    ret |= finish_downloading_();
    if (ret == 0) {
        _QAV_MNT_FWUPDATE_MSG_BLK_ msg_blk;
        std::memset(&msg_blk, 0, sizeof(msg_blk));
        msg_blk.msg_id = QAV_MNT_FWUPDATE_MSG_ID_VERIFY_FW_FILES;
        // The main thread is the queue's only reader: waiting for room here
        // would wait for ever when a phone has filled the queue meanwhile.
        ret = send_que_(msg_blk, 0);
        if (ret == 0) {
            change_exec_state_(QAV_MNT_FWUPDATE_EXEC_STATE_VERIFY);
            return 0;
        }
    }
    change_exec_state_(QAV_MNT_FWUPDATE_EXEC_STATE_FINISHED);
    return ret;
}

int qav_mnt_fwupdate_ctrl_exec_mode::verify_fw_files_(
    const _QAV_MNT_FWUPDATE_VERIFY_FW_FILES_& /*info*/)
{
    const std::string package_path = package_file_path_();
    qav_mnt_fwupdate_lib_util util;
    int ret = util.create_dir(QAV_MNT_FWUPDATE_UNZIP_FOLDER_PATH);
    ret |= util.unzip(package_path, QAV_MNT_FWUPDATE_UNZIP_FOLDER_PATH);
    if (ret != 0) {
        qav_mnt_fwupdate_log_err(__func__, "Faild unzip operation.\n");
        set_process_err_(QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_EXTRACT);
        return ret;
    }

    qav_mnt_fwupdate_lib_verify_process verify_process;
    ret = verify_process.verify(package_path, QAV_MNT_FWUPDATE_UNZIP_FOLDER_PATH,
                                package_version_, package_type_);
    if (ret == 0) {
        ret = util.remove_file(package_path);
        if (ret != 0) {
            qav_mnt_fwupdate_log_err(__func__,
                                     "Failed to delete the zip file. zip_file_path:[%s]\n",
                                     package_path.c_str());
        }
    }
    if (ret != 0) {
        set_process_err_(QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_VERIFY);
        return ret;
    }
    change_exec_state_(QAV_MNT_FWUPDATE_EXEC_STATE_WAIT_CHECKING_RESULT);
    return 0;
}

// Answers a status query. Option 1 or 2 asks how far the run is; any other
// option is answered as a file error and ends the run like a link failure.
int qav_mnt_fwupdate_ctrl_exec_mode::check_fwupdate_state_(
    const _QAV_MNT_FWUPDATE_CHECK_FWUPDATE_STATE_& info)
{
    const QAV_MNT_FWUPDATE_PACKATE_HEADER_& request = info.packet_header;
    uint16_t option_code = QAV_MNT_FWUPDATE_MBA_OPTION_CODE_OPERATION_FINISHED;
    uint16_t result_code = QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_FW_FILE;
    int ret = 0;
    if (request.option_code == QAV_MNT_FWUPDATE_MBA_OPTION_CODE_FW_PACKAGE_STORED ||
        request.option_code == QAV_MNT_FWUPDATE_MBA_OPTION_CODE_FW_PACKAGE_VALIDATION) {
        bool ongoing = exec_state_ == QAV_MNT_FWUPDATE_EXEC_STATE_INITIAL ||
                       exec_state_ == QAV_MNT_FWUPDATE_EXEC_STATE_CONNECT ||
                       exec_state_ == QAV_MNT_FWUPDATE_EXEC_STATE_DOWNLOAD;
        option_code = ongoing ? QAV_MNT_FWUPDATE_MBA_OPTION_CODE_OPERATION_STILL_ONGOING
                              : QAV_MNT_FWUPDATE_MBA_OPTION_CODE_OPERATION_FINISHED;
        if (error_type_ == QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_EXTRACT) {
            result_code = QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_STORING_FILE;
        } else if (error_type_ == QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_VERIFY) {
            result_code = QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_FW_FILE;
        } else {
            result_code = QAV_MNT_FWUPDATE_MBA_RESULT_CODE_OK;
        }
    } else {
        qav_mnt_fwupdate_log_err(__func__, "Unknown option code. [0x%04x]\n",
                                 request.option_code);
        ret = 1;
    }

    QAV_MNT_FWUPDATE_PACKATE_HEADER_ reply = qav_mnt_fwupdate_make_reply_header(
        request, QAV_MNT_FWUPDATE_MBA_RESPONSE_CMD_GET_FIRMWARE_UPGRADE_STATUS, option_code,
        result_code);
    ret |= comm_mba_->send(reply, 0, nullptr);
    if (ret != 0) {
        set_process_err_(QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_COMMUNICATE_MOBILE);
        qav_mnt_fwupdate_log_err(__func__, "Communicatin Error Occured. download result [%d]\n",
                                 ret);
    }

    // The confirmation after a verified package, or any recorded error, ends the run.
    if ((request.option_code == QAV_MNT_FWUPDATE_MBA_OPTION_CODE_FW_PACKAGE_VALIDATION &&
         exec_state_ == QAV_MNT_FWUPDATE_EXEC_STATE_WAIT_CHECKING_RESULT) ||
        error_type_ != QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_NONE) {
        change_exec_state_(QAV_MNT_FWUPDATE_EXEC_STATE_FINISHED);
    }
    return ret;
}

// Closes the package file (the pointer keeps its value) and answers the
// upload request.
int qav_mnt_fwupdate_ctrl_exec_mode::finish_downloading_()
{
    int ret = 0;
    if (fp_ != nullptr) {
        qav_mnt_fwupdate_lib_util util;
        ret = util.close_file(fp_);
    }
    return ret | send_download_result_();
}

// The upload reply echoes the upload request's header; result 20 when any
// failure was recorded.
int qav_mnt_fwupdate_ctrl_exec_mode::send_download_result_()
{
    uint16_t result_code = error_type_ != QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_NONE
                               ? QAV_MNT_FWUPDATE_MBA_RESULT_CODE_ERROR_IN_DOWNLOAD
                               : QAV_MNT_FWUPDATE_MBA_RESULT_CODE_OK;
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ reply = qav_mnt_fwupdate_make_reply_header(
        start_download_, QAV_MNT_FWUPDATE_MBA_RESPONSE_CMD_SEND_FIRMWARE_UPGRADE_FILE, 0,
        result_code);
    int ret = comm_mba_->send(reply, 0, nullptr);
    if (ret != 0) {
        set_process_err_(QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_COMMUNICATE_MOBILE);
        qav_mnt_fwupdate_log_err(__func__, "Communicatin Error Occured. download result [%d]\n",
                                 ret);
    }
    return ret;
}

int qav_mnt_fwupdate_ctrl_exec_mode::send_que_(const _QAV_MNT_FWUPDATE_MSG_BLK_& msg_blk,
                                               unsigned int timeout)
{
    int zulret = msg_queue_->send(&msg_blk, sizeof(msg_blk), timeout, 0);
    if (zulret != 0) {
        qav_mnt_fwupdate_log_err(__func__, "OSW_Message_Queue::send(). zulret[%d] msgid[%d]\n",
                                 zulret, static_cast<int>(msg_blk.msg_id));
        return 1;
    }
    return 0;
}

int qav_mnt_fwupdate_ctrl_exec_mode::wait_que_(_QAV_MNT_FWUPDATE_MSG_BLK_& msg_blk)
{
    int zulret = msg_queue_->receive(&msg_blk, sizeof(msg_blk), OSW_WAIT_FOREVER);
    if (zulret != 0) {
        qav_mnt_fwupdate_log_err(__func__, "OSW_Message_Queue::receive(). zulret:[0x%08X]\n",
                                 static_cast<unsigned int>(zulret));
        return 1;
    }
    return 0;
}

// Takes every message still queued, without waiting, and frees the chunk
// buffers among them.
void qav_mnt_fwupdate_ctrl_exec_mode::drain_que_()
{
    _QAV_MNT_FWUPDATE_MSG_BLK_ msg_blk;
    std::memset(&msg_blk, 0, sizeof(msg_blk));
    while (msg_queue_->receive(&msg_blk, sizeof(msg_blk), 0) == 0) {
        if (msg_blk.msg_id == QAV_MNT_FWUPDATE_MSG_ID_DOWNLOAD_FW_PACKAGE) {
            zulOSWOrgFreeMemPart(nullptr, msg_blk.info.download_fw_package.data);
        }
        std::memset(&msg_blk, 0, sizeof(msg_blk));
    }
}

bool qav_mnt_fwupdate_ctrl_exec_mode::closing_now_() const
{
    return __atomic_load_n(&closing_, __ATOMIC_SEQ_CST);
}

// The store is atomic because the callback thread reads the state unlocked.
int qav_mnt_fwupdate_ctrl_exec_mode::change_exec_state_(QAV_MNT_FWUPDATE_EXEC_STATE new_state)
{
    if (new_state == exec_state_) {
        return 0;
    }
    qav_mnt_fwupdate_log_inf(__func__, "Change exec state. [%s] -> [%s] \n",
                             qav_mnt_fwupdate_exec_state_name(exec_state_),
                             qav_mnt_fwupdate_exec_state_name(new_state));
    __atomic_store_n(&exec_state_, new_state, __ATOMIC_RELAXED);
    return 0;
}

// A recorded failure can be replaced by a later one but never cleared.
int qav_mnt_fwupdate_ctrl_exec_mode::set_process_err_(QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE type)
{
    if (type == QAV_MNT_FWUPDATE_PROCESS_ERROR_TYPE_NONE) {
        return 0;
    }
    qav_mnt_fwupdate_log_inf(__func__, "set_process_err_. ErrorCode[%s]\n",
                             qav_mnt_fwupdate_process_error_type_name(type));
    error_type_ = type;
    return 0;
}

int qav_mnt_fwupdate_ctrl_exec_mode::write_fw_package_(int size, char* data)
{
    if (data == nullptr) {
        qav_mnt_fwupdate_log_err(__func__, "write_fw_package_ param is null.\n");
        return 1;
    }
    qav_mnt_fwupdate_lib_util util;
    return util.write_binary_file(fp_, data, size);
}

QAV_MNT_FWUPDATE_EXEC_STATE qav_mnt_fwupdate_ctrl_exec_mode::current_state_() const
{
    return __atomic_load_n(&exec_state_, __ATOMIC_RELAXED);
}

}  // namespace norvane
