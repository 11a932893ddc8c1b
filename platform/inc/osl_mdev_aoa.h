// Accessory library of the platform: the USB accessory link to the phone.
#ifndef NORVANE_PLATFORM_OSL_MDEV_AOA_H
#define NORVANE_PLATFORM_OSL_MDEV_AOA_H

// Event codes passed to the receive function.
constexpr int OSL_MDEV_AOA_EVENT_DATA = 0;
constexpr int OSL_MDEV_AOA_EVENT_CLOSED = 1;

// Largest transfer the link carries in one piece.
constexpr int OSL_MDEV_AOA_MAX_TRANSFER = 65536;

// Bytes of zeros that follow every transfer in the buffer handed to the
// receive function; a reader may look that far past the transfer's end.
constexpr int OSL_MDEV_AOA_SLACK = 16;

// Called on the library's own thread: event 0 once per incoming transfer with
// the transfer's bytes (valid only during the call), event 1 once with a null
// buffer and length 0 when the link closes or fails. A transfer longer than
// OSL_MDEV_AOA_MAX_TRANSFER cannot come from the phone; the host treats one
// as a link failure.
typedef void (*osl_mdev_aoa_recv_func)(int event, unsigned char* data, int len);

// Connects to the phone once (no retry) and starts delivering transfers to
// recv on the library's own thread, until the link closes. Returns 0 on
// success, non-zero when the link cannot be connected or recv is null. Each
// call replaces the link that osl_mdev_aoa_send uses; after a failed call
// there is none.
int osl_mdev_aoa_connect(osl_mdev_aoa_recv_func recv);

// Sends len bytes (1 to OSL_MDEV_AOA_MAX_TRANSFER) to the phone as one
// transfer. Returns 0, or non-zero when not connected, the link has closed or
// the arguments are out of range.
int osl_mdev_aoa_send(unsigned char* data, int len);

#endif
