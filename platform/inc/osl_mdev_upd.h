// Update library of the platform: the download bracket reported to the
// update service, and named non-volatile records.
#ifndef NORVANE_PLATFORM_OSL_MDEV_UPD_H
#define NORVANE_PLATFORM_OSL_MDEV_UPD_H

// Tells the update service that a download starts. Returns 0, or non-zero.
int osl_mdev_upd_fwup_dlstart(void);

// Tells the update service that the download ended: result 0 success, 1
// failure. Returns 0, or non-zero.
int osl_mdev_upd_fwup_dlfinish(int result);

// Opens the named record for writing (type 1: a file record), truncating it.
// Returns 0, or non-zero.
int osl_mdev_upd_fwup_flopen(char* name, int type);

// Writes size bytes of data at offset into the open record. Returns 0, or
// non-zero.
int osl_mdev_upd_fwup_flwrite(char* data, unsigned long offset, unsigned long size);

// Closes the open record (mode 0) and hands back the 16-bit BSD sum of its
// bytes through checksum. Returns 0, or non-zero.
int osl_mdev_upd_fwup_flclose(int mode, unsigned long* checksum);

#endif
