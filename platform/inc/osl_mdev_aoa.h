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
// buffer and length 0 when the link closes.
typedef void (*osl_mdev_aoa_recv_func)(int event, unsigned char* data, int len);

// Connects to the phone once and starts delivering transfers to recv.
// Returns 0 on success, non-zero when the link cannot be connected.
int osl_mdev_aoa_connect(osl_mdev_aoa_recv_func recv);

// Sends len bytes to the phone as one transfer. Returns 0, or non-zero.
int osl_mdev_aoa_send(unsigned char* data, int len);

#endif
