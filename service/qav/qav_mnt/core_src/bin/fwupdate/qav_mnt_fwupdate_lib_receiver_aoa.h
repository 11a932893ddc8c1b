// The receiver of the accessory link: the link hands it each new packet's
// header (host order) and then the pieces of that packet's body. Both calls
// come on the accessory library's thread; the data is valid only during the
// call. The link ignores the results.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_RECEIVER_AOA_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_RECEIVER_AOA_H

#include "qav_mnt_fwupdate_lib_define.h"

namespace norvane {

class qav_mnt_fwupdate_lib_receiver_aoa {
public:
    virtual ~qav_mnt_fwupdate_lib_receiver_aoa();

    // A new packet's header, already in host order.
    virtual int act_notify_recv_header(const QAV_MNT_FWUPDATE_PACKATE_HEADER_& header) = 0;

    // A piece of the current packet's body; isRecvEnd is 1 on the piece that
    // completes the packet, else 0.
    virtual int act_notify_recv_body(unsigned int size, const char* data, int isRecvEnd) = 0;
};

}  // namespace norvane

#endif
