// The update library on the host: the download bracket is a line in the
// update service's log, and each non-volatile record is a file
// $FWUPDATE_STATE_DIR/nv/<name>. One record is open at a time. A call named
// in FWUPDATE_FAULTS does nothing but log "<call> fault" and return 1.
#include "osl_mdev_upd.h"

#include "host_update_log.h"

#include <fcntl.h>
#include <mutex>
#include <string>
#include <unistd.h>

using norvane::host_update_log;

namespace {

// The only record type and close mode the program uses.
const int RECORD_TYPE_FILE = 1;
const int CLOSE_MODE_PLAIN = 0;

// The open record; fd is -1 when none is open.
struct open_record {
    std::mutex lock;
    int fd = -1;
};

open_record& record_()
{
    static open_record* record = new open_record;  // lives as long as the process
    return *record;
}

// Closes the open record, if any. Returns 0, or 1 when close fails.
int close_record_(open_record& record)
{
    if (record.fd < 0) {
        return 0;
    }
    int result = (::close(record.fd) == 0) ? 0 : 1;
    record.fd = -1;
    return result;
}

// 16-bit BSD sum of the whole file behind fd, read from its start.
int bsd_sum_of_(int fd, unsigned long* checksum)
{
    unsigned int sum = 0;
    unsigned char buffer[4096];
    off_t offset = 0;
    for (;;) {
        ssize_t got = ::pread(fd, buffer, sizeof buffer, offset);
        if (got < 0) {
            return 1;
        }
        if (got == 0) {
            break;
        }
        for (ssize_t i = 0; i < got; ++i) {
            sum = (sum >> 1) + ((sum & 1u) << 15);
            sum = (sum + buffer[i]) & 0xFFFFu;
        }
        offset += got;
    }
    *checksum = sum;
    return 0;
}

}  // namespace

int osl_mdev_upd_fwup_dlstart(void)
{
    if (host_update_log::take_fault("dlstart") != 0) {
        return 1;
    }
    return host_update_log::append("dlstart");
}

int osl_mdev_upd_fwup_dlfinish(int result)
{
    if (host_update_log::take_fault("dlfinish") != 0) {
        return 1;
    }
    return host_update_log::append("dlfinish " + std::to_string(result));
}

int osl_mdev_upd_fwup_flopen(char* name, int type)
{
    if (host_update_log::take_fault("flopen") != 0) {
        return 1;
    }
    if (name == nullptr || name[0] == '\0' || type != RECORD_TYPE_FILE) {
        return 1;
    }
    // The record's own name may hold folders too; every folder is created.
    const std::string path = host_update_log::state_dir() + "/nv/" + name;
    const std::string folder = path.substr(0, path.rfind('/'));
    if (host_update_log::make_dirs(folder) != 0) {
        return 1;
    }
    open_record& record = record_();
    std::lock_guard<std::mutex> guard(record.lock);
    // Opening a record while another is open drops the earlier one.
    close_record_(record);
    record.fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    return (record.fd >= 0) ? 0 : 1;
}

int osl_mdev_upd_fwup_flwrite(char* data, unsigned long offset, unsigned long size)
{
    if (host_update_log::take_fault("flwrite") != 0) {
        return 1;
    }
    open_record& record = record_();
    std::lock_guard<std::mutex> guard(record.lock);
    if (record.fd < 0 || (data == nullptr && size > 0)) {
        return 1;
    }
    unsigned long written = 0;
    while (written < size) {
        ssize_t result = ::pwrite(record.fd, data + written, size - written,
                                  static_cast<off_t>(offset + written));
        if (result <= 0) {
            return 1;
        }
        written += static_cast<unsigned long>(result);
    }
    return 0;
}

int osl_mdev_upd_fwup_flclose(int mode, unsigned long* checksum)
{
    if (host_update_log::take_fault("flclose") != 0) {
        return 1;
    }
    open_record& record = record_();
    std::lock_guard<std::mutex> guard(record.lock);
    if (record.fd < 0) {
        return 1;
    }
    // A bad mode still closes the record, so nothing stays open.
    int result = (mode == CLOSE_MODE_PLAIN) ? 0 : 1;
    unsigned long sum = 0;
    result |= bsd_sum_of_(record.fd, &sum);
    result |= close_record_(record);
    if (result == 0 && checksum != nullptr) {
        *checksum = sum;
    }
    return result;
}
