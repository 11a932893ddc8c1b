// The program's single endpoint on the accessory link to the mobile device.
//
// Receiving: the accessory library calls recv on its own thread once per
// transfer. The endpoint cuts the transfers into packets (a 16-byte header
// followed by data_size body bytes, possibly spread over several transfers)
// and notifies the one receiver, first with the header in host order, then
// with each piece of body. A packet is in progress exactly while rcved_size_
// is non-zero; nothing times out.
//
// Sending: a header (and an optional body) goes out in wire order as one
// buffer in one call.
//
// Detaching: the receiver is registered by connect and unregistered by
// disconnect. Every callback runs under the receiver lock from start to end,
// and disconnect takes that lock, so once disconnect returns no callback is
// in progress and every later transfer is dropped.
//
// The endpoint is a process-wide singleton that is never destroyed.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_COMMUNICATE_AOA_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_COMMUNICATE_AOA_H

#include <cstdint>

#include "osw_os_wrapper.h"
#include "qav_mnt_fwupdate_lib_define.h"
#include "qav_mnt_fwupdate_lib_receiver_aoa.h"

namespace norvane {

class qav_mnt_fwupdate_lib_communicate_aoa {
public:
    // Creates the singleton on first use. Not thread-safe: the first call is
    // made on the main thread before the link is connected.
    static qav_mnt_fwupdate_lib_communicate_aoa* get_instance();

    // Stores the receiver (kept even when connecting fails) and registers
    // recv with the accessory library.
    int connect(qav_mnt_fwupdate_lib_receiver_aoa* receiver_aoa);

    // Unregisters the receiver, after waiting for a callback in progress to
    // end, and forgets a packet in progress. Later transfers are dropped
    // with "receiver is NULL". Returns 0.
    // Must not be called from inside a callback, which holds the lock.
    int disconnect();

    // The receive function registered with the accessory library.
    static void recv(int event, unsigned char* data, int len);

    // Reassembles one transfer into header and body notifications.
    void recv_impl(int event, unsigned char* data, int len);

    // Sends the header in wire order, followed by the body when there is one.
    int send(const QAV_MNT_FWUPDATE_PACKATE_HEADER_& header, unsigned int body_size,
             char* body_data);

    // Bytes of the packet in progress, header included; 0 when none.
    uint32_t rcv_total_size() const { return rcv_total_size_; }
    // Bytes of that packet received so far, header included; 0 when none.
    uint32_t rcved_size() const { return rcved_size_; }

private:
    qav_mnt_fwupdate_lib_communicate_aoa();
    qav_mnt_fwupdate_lib_communicate_aoa(const qav_mnt_fwupdate_lib_communicate_aoa&) = delete;
    qav_mnt_fwupdate_lib_communicate_aoa& operator=(const qav_mnt_fwupdate_lib_communicate_aoa&) =
        delete;

    void set_receiver_(qav_mnt_fwupdate_lib_receiver_aoa* receiver_aoa);
    void recv_locked_(int event, unsigned char* data, int len);
    void recv_header_(unsigned char* data, QAV_MNT_FWUPDATE_PACKATE_HEADER_& header);
    void recv_continuation_(unsigned char* data, int len);
    void recv_first_(unsigned char* data, int len);

    uint32_t rcv_total_size_;
    uint32_t rcved_size_;
    // Held by every callback for its whole length and by every change of
    // the receiver.
    OSW_Mutex_Semaphore receiver_lock_;

    static qav_mnt_fwupdate_lib_receiver_aoa* receiver_;
    static qav_mnt_fwupdate_lib_communicate_aoa* comm_instance_;
};

}  // namespace norvane

#endif
