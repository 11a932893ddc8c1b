// The update library on the host: the download bracket is a line in the
// update service's log, and each non-volatile record is a file
// $FWUPDATE_STATE_DIR/nv/<name>. One record is open at a time. A call named
// in FWUPDATE_FAULTS does nothing but log "<call> fault" and return 1.
//
// A record is replaced atomically: flopen creates a temporary file beside it,
// flwrite writes there, and flclose syncs it and renames it over the record.
// A failed write (a faulted one included) spoils the open record, and every
// failure discards the temporary file, so the record is always either the
// previous one, byte for byte, or the whole new one.
#include "osl_mdev_upd.h"

#include "host_update_log.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using norvane::host_update_log;

namespace {

// The only record type and close mode the program uses.
const int RECORD_TYPE_FILE = 1;
const int CLOSE_MODE_PLAIN = 0;
const mode_t RECORD_MODE = 0644;

// The open record; fd is -1 when none is open.
struct open_record {
    std::mutex lock;
    int fd = -1;
    std::string path;       // the record that a successful close replaces
    std::string temp_path;  // the temporary file being written
    bool spoiled = false;   // a write failed: the close must not replace the record
};

open_record& record_()
{
    static open_record* record = new open_record;  // lives as long as the process
    return *record;
}

void forget_(open_record& record)
{
    record.fd = -1;
    record.path.clear();
    record.temp_path.clear();
    record.spoiled = false;
}

// Drops the open record, if any, and its temporary file.
void discard_(open_record& record)
{
    if (record.fd >= 0) {
        ::close(record.fd);
        ::unlink(record.temp_path.c_str());
    }
    forget_(record);
}

// A temporary file in the record's own folder, so that the rename at the
// close stays within one file system.
int open_temporary_(open_record& record, const std::string& path)
{
    std::string temp_path = path + ".XXXXXX";
    int fd = ::mkostemp(&temp_path[0], O_CLOEXEC);
    if (fd < 0) {
        return 1;
    }
    if (::fchmod(fd, RECORD_MODE) != 0) {
        ::close(fd);
        ::unlink(temp_path.c_str());
        return 1;
    }
    record.fd = fd;
    record.path = path;
    record.temp_path = temp_path;
    record.spoiled = false;
    return 0;
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

// The rename is made durable by syncing the folder that holds it. It has
// happened whatever the sync says, so the sync's result changes nothing.
void sync_folder_of_(const std::string& path)
{
    const std::string folder = path.substr(0, path.rfind('/'));
    int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

// Syncs the temporary file, takes its sum and renames it over the record.
// On any failure the temporary file is removed and the record is left as it
// was.
int commit_(open_record& record, unsigned long* sum)
{
    int result = (::fsync(record.fd) == 0) ? 0 : 1;
    result |= bsd_sum_of_(record.fd, sum);
    result |= (::close(record.fd) == 0) ? 0 : 1;
    if (result == 0 && std::rename(record.temp_path.c_str(), record.path.c_str()) == 0) {
        sync_folder_of_(record.path);
    } else {
        ::unlink(record.temp_path.c_str());
        result = 1;
    }
    forget_(record);
    return result;
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
    // Opening a record while another is open drops the earlier one unwritten.
    discard_(record);
    return open_temporary_(record, path);
}

// A failed write spoils the record, so that the close keeps the previous one.
int osl_mdev_upd_fwup_flwrite(char* data, unsigned long offset, unsigned long size)
{
    open_record& record = record_();
    if (host_update_log::take_fault("flwrite") != 0) {
        std::lock_guard<std::mutex> guard(record.lock);
        record.spoiled = true;
        return 1;
    }
    std::lock_guard<std::mutex> guard(record.lock);
    if (record.fd < 0) {
        return 1;
    }
    if (data == nullptr && size > 0) {
        record.spoiled = true;
        return 1;
    }
    unsigned long written = 0;
    while (written < size) {
        ssize_t result = ::pwrite(record.fd, data + written, size - written,
                                  static_cast<off_t>(offset + written));
        if (result <= 0) {
            record.spoiled = true;
            return 1;
        }
        written += static_cast<unsigned long>(result);
    }
    return 0;
}

// A faulted close does nothing: the record stays open and unwritten, and a
// later flopen drops it.
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
    // A bad mode or a spoiled record still ends the record, so nothing stays
    // open, and leaves the previous one in place.
    if (mode != CLOSE_MODE_PLAIN || record.spoiled) {
        discard_(record);
        return 1;
    }
    unsigned long sum = 0;
    int result = commit_(record, &sum);
    if (result == 0 && checksum != nullptr) {
        *checksum = sum;
    }
    return result;
}
