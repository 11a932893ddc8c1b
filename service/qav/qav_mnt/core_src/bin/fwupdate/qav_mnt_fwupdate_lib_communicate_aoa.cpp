#include "qav_mnt_fwupdate_lib_communicate_aoa.h"

#include <cstring>
#include <vector>

#include "osl_mdev_aoa.h"
#include "qav_mnt_fwupdate_lib_log.h"

namespace norvane {

namespace {

// The header dump on receipt belongs to recv_impl, whichever helper prints it.
const char* const RECV_IMPL_NAME = "recv_impl";

// The receiver lock starts free and is waited for without limit.
constexpr int LOCK_FREE = 1;
constexpr int LOCK_WAIT_FOREVER = -1;

}  // namespace

qav_mnt_fwupdate_lib_receiver_aoa* qav_mnt_fwupdate_lib_communicate_aoa::receiver_ = nullptr;
qav_mnt_fwupdate_lib_communicate_aoa* qav_mnt_fwupdate_lib_communicate_aoa::comm_instance_ =
    nullptr;

qav_mnt_fwupdate_lib_communicate_aoa::qav_mnt_fwupdate_lib_communicate_aoa()
    : rcv_total_size_(0), rcved_size_(0), receiver_lock_(LOCK_FREE)
{
}

qav_mnt_fwupdate_lib_communicate_aoa* qav_mnt_fwupdate_lib_communicate_aoa::get_instance()
{
    if (comm_instance_ == nullptr) {
        comm_instance_ = new qav_mnt_fwupdate_lib_communicate_aoa();
    }
    return comm_instance_;
}

int qav_mnt_fwupdate_lib_communicate_aoa::connect(qav_mnt_fwupdate_lib_receiver_aoa* receiver_aoa)
{
    set_receiver_(receiver_aoa);
    int mdev_ret = osl_mdev_aoa_connect(&qav_mnt_fwupdate_lib_communicate_aoa::recv);
    if (mdev_ret != 0) {
        qav_mnt_fwupdate_log_err(__func__, "osl_mdev_aoa_connect mdev_ret:[0x%08x]\n",
                                 static_cast<unsigned int>(mdev_ret));
        return 1;
    }
    return 0;
}

// The accessory library has no call to unregister recv: transfers keep
// coming and recv drops them. A packet in progress is forgotten with the
// receiver it was for.
int qav_mnt_fwupdate_lib_communicate_aoa::disconnect()
{
    receiver_lock_.request(LOCK_WAIT_FOREVER);
    receiver_ = nullptr;
    rcv_total_size_ = 0;
    rcved_size_ = 0;
    receiver_lock_.release();
    return 0;
}

// Waits for a callback in progress, since it holds the lock.
void qav_mnt_fwupdate_lib_communicate_aoa::set_receiver_(
    qav_mnt_fwupdate_lib_receiver_aoa* receiver_aoa)
{
    receiver_lock_.request(LOCK_WAIT_FOREVER);
    receiver_ = receiver_aoa;
    receiver_lock_.release();
}

void qav_mnt_fwupdate_lib_communicate_aoa::recv(int event, unsigned char* data, int len)
{
    get_instance()->recv_locked_(event, data, len);
}

// The whole callback runs under the receiver lock, so the receiver cannot be
// unregistered (and then destroyed) while it is being called.
void qav_mnt_fwupdate_lib_communicate_aoa::recv_locked_(int event, unsigned char* data, int len)
{
    receiver_lock_.request(LOCK_WAIT_FOREVER);
    if (receiver_ == nullptr) {
        qav_mnt_fwupdate_log_err("recv", "receiver is NULL\n");
    } else {
        recv_impl(event, data, len);
    }
    receiver_lock_.release();
}

void qav_mnt_fwupdate_lib_communicate_aoa::recv_impl(int event, unsigned char* data, int len)
{
    if (event != 0) {
        return;
    }
    if (rcved_size_ != 0) {
        recv_continuation_(data, len);
    } else {
        recv_first_(data, len);
    }
}

// A transfer of the packet in progress: all of it is body, surplus included.
void qav_mnt_fwupdate_lib_communicate_aoa::recv_continuation_(unsigned char* data, int len)
{
    rcved_size_ += static_cast<uint32_t>(len);
    int is_recv_end = 0;
    if (rcved_size_ >= rcv_total_size_) {
        rcv_total_size_ = 0;
        rcved_size_ = 0;
        is_recv_end = 1;
    }
    receiver_->act_notify_recv_body(static_cast<unsigned int>(len),
                                    reinterpret_cast<const char*>(data), is_recv_end);
}

// A transfer that starts a packet: the header, then the body bytes it holds.
void qav_mnt_fwupdate_lib_communicate_aoa::recv_first_(unsigned char* data, int len)
{
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ header{};
    recv_header_(data, header);
    receiver_->act_notify_recv_header(header);
    if (header.data_size == 0) {
        return;
    }
    int is_recv_end = 1;
    uint32_t total_size = header.data_size + QAV_MNT_FWUPDATE_PACKATE_HEADER_SIZE;
    if (total_size > static_cast<uint32_t>(len)) {
        rcv_total_size_ = total_size;
        rcved_size_ += static_cast<uint32_t>(len);
        is_recv_end = 0;
    }
    // The size is the whole transfer while the pointer starts behind the
    // header, so the receiver reads 16 bytes past the transfer's end. The
    // accessory library keeps 16 zero bytes after every transfer for this.
    receiver_->act_notify_recv_body(static_cast<unsigned int>(len),
                                    reinterpret_cast<const char*>(data) +
                                        QAV_MNT_FWUPDATE_PACKATE_HEADER_SIZE,
                                    is_recv_end);
}

// Copies the first 16 bytes and turns each field to host order, dumping it.
void qav_mnt_fwupdate_lib_communicate_aoa::recv_header_(unsigned char* data,
                                                        QAV_MNT_FWUPDATE_PACKATE_HEADER_& header)
{
    std::memcpy(&header, data, sizeof(header));
    header.version = qav_mnt_fwupdate_swap_16(header.version);
    qav_mnt_fwupdate_log_imp(RECV_IMPL_NAME, "header.version:[0x%08X]\n", header.version);
    header.reserved = qav_mnt_fwupdate_swap_16(header.reserved);
    qav_mnt_fwupdate_log_imp(RECV_IMPL_NAME, "header.reserved:[0x%08X]\n", header.reserved);
    header.request_id = qav_mnt_fwupdate_swap_16(header.request_id);
    qav_mnt_fwupdate_log_imp(RECV_IMPL_NAME, "header.request_id:[0x%08X]\n", header.request_id);
    header.result_code = qav_mnt_fwupdate_swap_16(header.result_code);
    qav_mnt_fwupdate_log_imp(RECV_IMPL_NAME, "header.result_code:[0x%08X]\n", header.result_code);
    header.command = qav_mnt_fwupdate_swap_16(header.command);
    qav_mnt_fwupdate_log_imp(RECV_IMPL_NAME, "header.command:[0x%08X]\n", header.command);
    header.option_code = qav_mnt_fwupdate_swap_16(header.option_code);
    qav_mnt_fwupdate_log_imp(RECV_IMPL_NAME, "header.option_code:[0x%08X]\n", header.option_code);
    header.data_size = qav_mnt_fwupdate_swap_32(header.data_size);
    qav_mnt_fwupdate_log_imp(RECV_IMPL_NAME, "header.data_size:[0x%08X]\n", header.data_size);
}

int qav_mnt_fwupdate_lib_communicate_aoa::send(const QAV_MNT_FWUPDATE_PACKATE_HEADER_& header,
                                               unsigned int body_size, char* body_data)
{
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ header_temp = header;
    header_temp.version = qav_mnt_fwupdate_swap_16(header_temp.version);
    qav_mnt_fwupdate_log_imp(__func__, "header_temp.version:[0x%08X]\n", header_temp.version);
    header_temp.reserved = qav_mnt_fwupdate_swap_16(header_temp.reserved);
    qav_mnt_fwupdate_log_imp(__func__, "header_temp.reserved:[0x%08X]\n", header_temp.reserved);
    header_temp.request_id = qav_mnt_fwupdate_swap_16(header_temp.request_id);
    qav_mnt_fwupdate_log_imp(__func__, "header_temp.request_id:[0x%08X]\n",
                             header_temp.request_id);
    // The result code is dumped under the request_id label, as the
    // established log line reads.
    header_temp.result_code = qav_mnt_fwupdate_swap_16(header_temp.result_code);
    qav_mnt_fwupdate_log_imp(__func__, "header_temp.request_id:[0x%08X]\n",
                             header_temp.result_code);
    header_temp.command = qav_mnt_fwupdate_swap_16(header_temp.command);
    qav_mnt_fwupdate_log_imp(__func__, "header_temp.command:[0x%08X]\n", header_temp.command);
    header_temp.option_code = qav_mnt_fwupdate_swap_16(header_temp.option_code);
    qav_mnt_fwupdate_log_imp(__func__, "header_temp.option_code:[0x%08X]\n",
                             header_temp.option_code);
    header_temp.data_size = qav_mnt_fwupdate_swap_32(header_temp.data_size);
    qav_mnt_fwupdate_log_imp(__func__, "header_temp.data_size:[0x%08X]\n",
                             header_temp.data_size);

    // One buffer, one transfer: the header, then the body when there is one.
    // data_size goes out as the caller set it.
    std::vector<unsigned char> buffer(QAV_MNT_FWUPDATE_PACKATE_HEADER_SIZE, 0);
    std::memcpy(buffer.data(), &header_temp, sizeof(header_temp));
    if (body_data != nullptr && body_size != 0) {
        buffer.resize(QAV_MNT_FWUPDATE_PACKATE_HEADER_SIZE + body_size);
        std::memcpy(buffer.data() + QAV_MNT_FWUPDATE_PACKATE_HEADER_SIZE, body_data, body_size);
    }

    int mdev_ret = osl_mdev_aoa_send(buffer.data(), static_cast<int>(buffer.size()));
    if (mdev_ret != 0) {
        qav_mnt_fwupdate_log_err(__func__, "osl_mdev_aoa_send mdev_ret:[0x%08x]\n",
                                 static_cast<unsigned int>(mdev_ret));
        return 1;
    }
    return 0;
}

}  // namespace norvane
