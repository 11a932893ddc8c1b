#include "qav_mnt_fwupdate_lib_util.h"

#include <dirent.h>
#include <sys/stat.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "osl_mdev_upd.h"
#include "osw_os_wrapper.h"
#include "qav_mnt_fwupdate_lib_log.h"
#include "qav_mnt_fwupdate_lib_stream_buffer.h"

namespace norvane {

namespace {

// The checksum command is this text followed by the file path; its length
// and its text both come from here.
const char* const CHECK_SUM_COMMAND = "busybox sum ";
const char* const UNZIP_COMMAND = FWUPDATE_UNZIP_TOOL " -e ";
const char* const MKDIR_COMMAND = "mkdir -p ";
const char* const FOLDER_BANNER = "----------(dsp_file_info_in_folder)----------\n";
const char* const TEXT_BANNER = "----------(dsp_text_file)----------\n";
const char* const LIST_BANNER = "----------(dsp_verify_list)----------\n";

// Record names are copied into a buffer of this many characters plus a NUL.
constexpr size_t NV_NAME_LENGTH = 256;
// The update library's file type for a file record, and its checksum mode.
constexpr int NV_FILE_TYPE = 1;
constexpr int NV_CHECKSUM_MODE = 0;

// A pointer as it is printed through "%08X": its low 32 bits.
unsigned int pointer_text_(uintptr_t pointer)
{
    return static_cast<unsigned int>(pointer);
}

// Characters a file path may hold before it is handed to the shell: none of
// them has a meaning to sh outside quotes.
bool is_safe_path_char_(char c)
{
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) {
        return true;
    }
    return std::strchr("/._-+,=@%:~", c) != nullptr && c != '\0';
}

// Bytes of the checksum command for a path, its NUL included.
size_t check_sum_command_size_(size_t path_length)
{
    return std::strlen(CHECK_SUM_COMMAND) + path_length + 1;
}

bool is_dot_entry_(const char* name)
{
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

}  // namespace

qav_mnt_fwupdate_lib_util::qav_mnt_fwupdate_lib_util() {}

qav_mnt_fwupdate_lib_util::~qav_mnt_fwupdate_lib_util() {}

int qav_mnt_fwupdate_lib_util::remove_file(const std::string& file_path)
{
    if (std::remove(file_path.c_str()) != 0) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to delete the file. file_path:[%s]\n",
                                 file_path.c_str());
        return 1;
    }
    return 0;
}

int qav_mnt_fwupdate_lib_util::read_text_file(const std::string& file_path, std::string& text_data)
{
    struct stat status;
    if (::stat(file_path.c_str(), &status) != 0) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to get the stat structure. file_path:[%s]\n",
                                 file_path.c_str());
        return 1;
    }
    FILE* file = std::fopen(file_path.c_str(), "r");
    if (file == nullptr) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to open the file. file_path:[%s]\n",
                                 file_path.c_str());
        return 1;
    }
    // One zero-filled byte past the file's size terminates the text; the
    // assignment stops at the first NUL, so the text ends before any NUL byte
    // inside the file.
    const size_t file_size = static_cast<size_t>(status.st_size);
    std::vector<char> buffer(file_size + 1, '\0');
    const size_t read_size = std::fread(buffer.data(), 1, file_size, file);
    std::fclose(file);
    if (read_size < file_size) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to read the file. file_path:[%s]\n",
                                 file_path.c_str());
        return 1;
    }
    text_data = buffer.data();
    return 0;
}

int qav_mnt_fwupdate_lib_util::calc_check_sum(const std::string& target_file_path, char* check_sum)
{
    if (check_safe_path_(target_file_path) != 0) {
        return 1;
    }
    const size_t command_size = check_sum_command_size_(target_file_path.size());
    char* command = alloc_command_(command_size);
    if (command == nullptr) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to alloc mem.\n");
        return 1;
    }
    std::snprintf(command, command_size, "%s%s", CHECK_SUM_COMMAND, target_file_path.c_str());
    int result = run_check_sum_command_(command, check_sum);
    zulOSWOrgFreeMemPart(nullptr, command);
    return result;
}

size_t qav_mnt_fwupdate_lib_util::max_check_sum_path_length()
{
    return static_cast<size_t>(SCHAR_MAX) - check_sum_command_size_(0);
}

// The platform allocator takes the size as a signed 8-bit quantity, so a
// command of 128 bytes or more (its NUL included) wraps to no block or to a
// block too small for it. A command is run whole or not at all: a block that
// cannot hold all of it counts as no block, since a cut command would check
// some other file, or the program's standard input.
char* qav_mnt_fwupdate_lib_util::alloc_command_(size_t command_size)
{
    const signed char block_size = static_cast<signed char>(command_size);
    void* block = zulOSWOrgAllocMemPart(nullptr, block_size);
    if (block != nullptr && static_cast<size_t>(block_size) < command_size) {
        zulOSWOrgFreeMemPart(nullptr, block);
        block = nullptr;
    }
    return static_cast<char*>(block);
}

// Runs the checksum command and reads the first five characters of its first
// output line. The command block belongs to the caller.
int qav_mnt_fwupdate_lib_util::run_check_sum_command_(const char* command, char* check_sum)
{
    const char* const name = "calc_check_sum";
    FILE* pipe = ::popen(command, "r");
    if (pipe == nullptr) {
        qav_mnt_fwupdate_log_err(name, "Failed to open pipe. command:[%s]\n", command);
        return 1;
    }
    int result = 0;
    if (std::fgets(check_sum, QAV_MNT_FWUPDATE_CHECK_SUM_SIZE, pipe) == nullptr) {
        qav_mnt_fwupdate_log_err(name, "Failed to read the checksum.  command:[%s]\n", command);
        result |= 1;
    }
    // Only a failure to collect the child counts; the tool's exit status is
    // not examined.
    if (::pclose(pipe) == -1) {
        qav_mnt_fwupdate_log_err(name, "Failed to close the pipe.command:[%s]\n", command);
        result |= 1;
    }
    return result;
}

// The file path reaches a shell: refuse any character that sh could read as
// more than a plain word.
int qav_mnt_fwupdate_lib_util::check_safe_path_(const std::string& file_path)
{
    for (char c : file_path) {
        if (!is_safe_path_char_(c)) {
            qav_mnt_fwupdate_log_err("calc_check_sum",
                                     "Unsafe character in the file path. file_path:[%s]\n",
                                     file_path.c_str());
            return 1;
        }
    }
    return 0;
}

// Any exit status of the tool counts as success: a broken archive shows up
// later in the verification. Only a shell that could not run is a failure.
int qav_mnt_fwupdate_lib_util::unzip(const std::string& zip_file_path,
                                     const std::string& unzip_folder_path)
{
    const std::string command = UNZIP_COMMAND + zip_file_path + " -d " + unzip_folder_path;
    const int unzip_ret = std::system(command.c_str());
    if (unzip_ret == -1) {
        qav_mnt_fwupdate_log_err(__func__,
                                 "Failed to unzip. unzip_ret:[0x%08X] zip_file_path:[%s] "
                                 "unzip_folder_path:[%s]\n",
                                 static_cast<unsigned int>(unzip_ret), zip_file_path.c_str(),
                                 unzip_folder_path.c_str());
        return 1;
    }
    return 0;
}

int qav_mnt_fwupdate_lib_util::open_binary_file(const std::string& file_path, FILE** pfile)
{
    *pfile = std::fopen(file_path.c_str(), "wb");
    if (*pfile == nullptr) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to open the file. file_path:[%s]\n",
                                 file_path.c_str());
        return 1;
    }
    // Without its own buffer the stream still works, only with more writes.
    qav_mnt_fwupdate_lib_stream_buffer::attach(*pfile);
    return 0;
}

// A short write that stored at least one byte is accepted. A negative size
// writes nothing and so fails like a write that stored nothing.
int qav_mnt_fwupdate_lib_util::write_binary_file(FILE* pfile, char* write_data, int write_size)
{
    if (pfile == nullptr) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to write the file.(=NULL) pfile=[0x%08X]\n",
                                 pointer_text_(reinterpret_cast<uintptr_t>(pfile)));
        return 1;
    }
    const size_t count = write_size > 0 ? static_cast<size_t>(write_size) : 0;
    if (std::fwrite(write_data, 1, count, pfile) == 0) {
        qav_mnt_fwupdate_log_err(__func__,
                                 "Failed to write the file. pfile:[0x%08X] write_size:[%d]\n",
                                 pointer_text_(reinterpret_cast<uintptr_t>(pfile)), write_size);
        return 1;
    }
    return 0;
}

int qav_mnt_fwupdate_lib_util::close_file(FILE* pfile)
{
    if (pfile == nullptr) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to close the file.(=NULL) pfile=[0x%08X]\n",
                                 pointer_text_(reinterpret_cast<uintptr_t>(pfile)));
        return 1;
    }
    // The stream is gone after fclose whatever it returns, so its address is
    // taken as a number first (volatile, so that it is really read before).
    const volatile uintptr_t pfile_address = reinterpret_cast<uintptr_t>(pfile);
    // The stream's buffer is freed on return, after the close has flushed it.
    const std::unique_ptr<char[]> buffer = qav_mnt_fwupdate_lib_stream_buffer::detach(pfile);
    if (std::fclose(pfile) == -1) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to close the file. pfile=[0x%08X]\n",
                                 pointer_text_(pfile_address));
        return 1;
    }
    return 0;
}

// The whole record goes out in one write. A failed write still closes the
// record.
int qav_mnt_fwupdate_lib_util::write_non_volatile_area(char* name, char* data,
                                                       unsigned long offset, unsigned long size)
{
    if (name == nullptr) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
        qav_mnt_fwupdate_log_err(__func__, "Parameter ERROR!! name[0x%08p]\n",
                                 static_cast<void*>(name));
#pragma GCC diagnostic pop
        return 1;
    }
    char record_name[NV_NAME_LENGTH + 1];
    std::memset(record_name, 0, sizeof(record_name));
    std::strncpy(record_name, name, NV_NAME_LENGTH);

    const int open_ret = osl_mdev_upd_fwup_flopen(record_name, NV_FILE_TYPE);
    if (open_ret != 0) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to open. open_ret=[0x%08X]\n",
                                 static_cast<unsigned int>(open_ret));
        return 1;
    }
    int result = write_record_(data, offset, size);
    result |= close_record_();
    return result;
}

int qav_mnt_fwupdate_lib_util::write_record_(char* data, unsigned long offset, unsigned long size)
{
    const int write_ret = osl_mdev_upd_fwup_flwrite(data, offset, size);
    if (write_ret != 0) {
        qav_mnt_fwupdate_log_err("write_non_volatile_area", "Failed to write. write_ret=[0x%08X]\n",
                                 static_cast<unsigned int>(write_ret));
        return 1;
    }
    return 0;
}

// The checksum the library hands back is not used.
int qav_mnt_fwupdate_lib_util::close_record_()
{
    unsigned long checksum = 0;
    const int close_ret = osl_mdev_upd_fwup_flclose(NV_CHECKSUM_MODE, &checksum);
    if (close_ret != 0) {
        qav_mnt_fwupdate_log_err("write_non_volatile_area", "Failed to close. close_ret=[0x%08X]\n",
                                 static_cast<unsigned int>(close_ret));
        return 1;
    }
    return 0;
}

int qav_mnt_fwupdate_lib_util::create_dir(const std::string& dir_path)
{
    const std::string command = MKDIR_COMMAND + dir_path;
    // The result is ignored on purpose: a folder that cannot be made shows up
    // when the first file in it is opened.
    (void)std::system(command.c_str());
    return 0;
}

// Lists one folder level with size and checksum of every entry. A failing
// entry stops the listing; the closing banner still follows.
void qav_mnt_fwupdate_lib_util::dsp_file_info_in_folder(const std::string& folder_path)
{
    qav_mnt_fwupdate_log_inf(__func__, "%s", FOLDER_BANNER);
    qav_mnt_fwupdate_log_inf(__func__, "folder_path:[%s]\n", folder_path.c_str());
    DIR* folder = ::opendir(folder_path.c_str());
    if (folder == nullptr) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to open the directory. folder_path:[%s]\n",
                                 folder_path.c_str());
        return;
    }
    for (struct dirent* entry = ::readdir(folder); entry != nullptr; entry = ::readdir(folder)) {
        if (is_dot_entry_(entry->d_name)) {
            continue;
        }
        if (dsp_file_entry_(folder_path, entry->d_name) != 0) {
            break;
        }
    }
    qav_mnt_fwupdate_log_inf(__func__, "%s", FOLDER_BANNER);
    ::closedir(folder);
}

int qav_mnt_fwupdate_lib_util::dsp_file_entry_(const std::string& folder_path,
                                               const char* entry_name)
{
    verify_file_info info;
    if (get_entry_info(folder_path, entry_name, "dsp_file_info_in_folder", info) != 0) {
        return 1;
    }
    qav_mnt_fwupdate_log_inf("dsp_file_info_in_folder",
                             "file_name[%s]\tfile_size[%d]\tcheck_sum:[%s]\n", entry_name,
                             info.file_size, info.check_sum.c_str());
    return 0;
}

// The separator is always added, so a folder path that ends in one gives a
// doubled separator, which the file system accepts. stat follows symbolic
// links; the entry's type is not examined.
int qav_mnt_fwupdate_lib_util::get_entry_info(const std::string& folder_path,
                                              const char* entry_name, const char* operation,
                                              verify_file_info& info)
{
    const std::string file_path = folder_path + "/" + entry_name;
    struct stat status;
    if (::stat(file_path.c_str(), &status) != 0) {
        qav_mnt_fwupdate_log_err(operation, "Failed to get the stat structure. file_path:[%s]\n",
                                 file_path.c_str());
        return 1;
    }
    char check_sum[QAV_MNT_FWUPDATE_CHECK_SUM_SIZE] = {0};
    if (calc_check_sum(file_path, check_sum) != 0) {
        qav_mnt_fwupdate_log_err(operation, "Failed to calculate the checksum. file_path:[%s]\n",
                                 file_path.c_str());
        return 1;
    }
    info.file_name = entry_name;
    info.check_sum = check_sum;
    info.file_size = static_cast<int32_t>(status.st_size);
    return 0;
}

void qav_mnt_fwupdate_lib_util::dsp_text_file(const std::string& file_path)
{
    qav_mnt_fwupdate_log_inf(__func__, "%s", TEXT_BANNER);
    qav_mnt_fwupdate_log_inf(__func__, "file_path:[%s]\n", file_path.c_str());
    std::string text_data;
    if (read_text_file(file_path, text_data) != 0) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to read the file. file_path:[%s]\n",
                                 file_path.c_str());
    } else {
        qav_mnt_fwupdate_log_inf(__func__, "\n%s\n", text_data.c_str());
    }
    qav_mnt_fwupdate_log_inf(__func__, "%s", TEXT_BANNER);
}

void qav_mnt_fwupdate_lib_util::dsp_verify_list(const std::vector<verify_file_info>& verify_list)
{
    qav_mnt_fwupdate_log_inf(__func__, "%s", LIST_BANNER);
    for (const verify_file_info& info : verify_list) {
        qav_mnt_fwupdate_log_inf(__func__,
                                 "verify_xml_list file_name:[%s] file_size:[%d] check_sum:[%s]\n",
                                 info.file_name.c_str(), info.file_size, info.check_sum.c_str());
    }
    qav_mnt_fwupdate_log_inf(__func__, "%s", LIST_BANNER);
}

int qav_mnt_fwupdate_lib_util::parse_xml(const std::string& xml_data,
                                         utl_lib_xml_vexa_firmware_upgrade_service& fw_upd_svc)
{
    UTL_LIB_XML_VEXA_RESULT result = UTL_LIB_XML_VEXA_RESULT_NO_ERR;
    int ret = fw_upd_svc.parse_xml(xml_data, result, UTL_LIB_XML_VEXA_PROTOCOL_BTSPP);
    if (ret != 0) {
        qav_mnt_fwupdate_log_err(__func__,
                                 "Failed to read the XML file data. xml_ret:[0x%08X] "
                                 "xml_vexa_ret:[0x%08X]\n",
                                 ret, static_cast<int>(result));
        return 1;
    }
    return 0;
}

int qav_mnt_fwupdate_lib_util::analyze_xml(const std::string& xml_file_path,
                                           utl_lib_xml_vexa_firmware_upgrade_service& fw_upd_svc)
{
    std::string xml_data;
    if (read_text_file(xml_file_path, xml_data) != 0) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to get the XML file data.\n");
        return 1;
    }
    dsp_text_file(xml_file_path);
    if (parse_xml(xml_data, fw_upd_svc) != 0) {
        qav_mnt_fwupdate_log_err(__func__, "Failed to parse the XML file data.\n");
        return 1;
    }
    return 0;
}

}  // namespace norvane
