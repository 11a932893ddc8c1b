// The program's file and system utilities: text-file reading, the package
// file's binary writing, file removal, folder creation, extraction with the
// unzip tool, checksums with "busybox sum", writes to named non-volatile
// records through the update library, and the diagnostic dumps into the log.
// Stateless; callers create a temporary instance for each use. Operations
// return 0 on success and 1 on failure, after logging the failure.
#ifndef NORVANE_QAV_MNT_FWUPDATE_LIB_UTIL_H
#define NORVANE_QAV_MNT_FWUPDATE_LIB_UTIL_H

#include <cstdio>
#include <string>
#include <vector>

#include "qav_mnt_fwupdate_lib_verify_file_info.h"
#include "utl_lib_xml_vexa_firmware_upgrade_service.h"

namespace norvane {

// Size of a checksum buffer: five characters of the tool's output and a NUL.
constexpr int QAV_MNT_FWUPDATE_CHECK_SUM_SIZE = 6;

class qav_mnt_fwupdate_lib_util {
public:
    qav_mnt_fwupdate_lib_util();
    ~qav_mnt_fwupdate_lib_util();

    int remove_file(const std::string& file_path);
    // The text ends at the file's first NUL byte. On failure text_data is
    // left unchanged.
    int read_text_file(const std::string& file_path, std::string& text_data);
    // check_sum receives at most QAV_MNT_FWUPDATE_CHECK_SUM_SIZE - 1
    // characters and a NUL.
    int calc_check_sum(const std::string& target_file_path, char* check_sum);
    // The longest path calc_check_sum takes: its command and NUL must fit one
    // block of the platform allocator, whose size is a signed 8-bit quantity.
    static size_t max_check_sum_path_length();
    int unzip(const std::string& zip_file_path, const std::string& unzip_folder_path);
    int open_binary_file(const std::string& file_path, FILE** pfile);
    int write_binary_file(FILE* pfile, char* write_data, int write_size);
    int close_file(FILE* pfile);
    int write_non_volatile_area(char* name, char* data, unsigned long offset,
                                unsigned long size);
    // Always returns 0, whether or not the folder could be made.
    int create_dir(const std::string& dir_path);
    // Name, size and checksum of the entry entry_name of a folder, into
    // info. Failures are logged under the caller's operation name.
    int get_entry_info(const std::string& folder_path, const char* entry_name,
                       const char* operation, verify_file_info& info);
    // Declared for the interface; never defined nor used.
    int clear_unzip_folder(const std::string& unzip_folder_path);

    // Diagnostic dumps into the log; they never affect the outcome.
    void dsp_file_info_in_folder(const std::string& folder_path);
    void dsp_text_file(const std::string& file_path);
    void dsp_verify_list(const std::vector<verify_file_info>& verify_list);

    // Package description reading.
    // Parses package-description text as a firmware package (protocol BTSPP).
    int parse_xml(const std::string& xml_data,
                  utl_lib_xml_vexa_firmware_upgrade_service& fw_upd_svc);
    // Reads, dumps and parses a package-description file.
    int analyze_xml(const std::string& xml_file_path,
                    utl_lib_xml_vexa_firmware_upgrade_service& fw_upd_svc);

private:
    int check_safe_path_(const std::string& file_path);
    char* alloc_command_(size_t command_size);
    int run_check_sum_command_(const char* command, char* check_sum);
    int write_record_(char* data, unsigned long offset, unsigned long size);
    int close_record_();
    int dsp_file_entry_(const std::string& folder_path, const char* entry_name);
};

}  // namespace norvane

#endif
