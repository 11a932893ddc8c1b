// The whole verification pipeline on real packages: each test zips a package
// with the zip tool, extracts it with the real unzip tool into a temporary
// folder (the zip lying inside it, as on the device), checksums through the
// host's "busybox sum", and checks the verdict, the package info and the
// whole chain of log lines from the cause to the verdict.
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "bsd_sum.h"
#include "bsd_sum_collision.h"
#include "qav_mnt_fwupdate_lib_util.h"
#include "qav_mnt_fwupdate_lib_util_test_support.h"
#include "fwupdate_trust_dir.h"
#include "qav_mnt_fwupdate_lib_verify_process.h"
#include "temp_dir.h"
#include "test_signer.h"

namespace {

using norvane::qav_mnt_fwupdate_lib_verify_process;
using norvane_test::program_log;
using norvane::UTL_LIB_XML_VEXA_PACKAGE_TYPE_;

const char* const ZIP_NAME = "qav_mnt_fwpackage.zip";

// One declared file of a package description.
struct declared_file {
    std::string name;
    std::string checksum;  // element left out when empty
    int size;              // element left out when below 0
};

std::string description_xml(const std::string& version_element,
                            const std::vector<declared_file>& files)
{
    std::string xml = "<firmware_package>" + version_element +
                      "<download_information><type>MAIN</type>";
    for (const declared_file& file : files) {
        xml += "<data_information><filename>" + file.name + "</filename>";
        if (!file.checksum.empty()) {
            xml += "<checksum>" + file.checksum + "</checksum>";
        }
        if (file.size >= 0) {
            xml += "<size>" + std::to_string(file.size) + "</size>";
        }
        xml += "</data_information>";
    }
    return xml + "</download_information><package_type>DEVICE_FIRMWARE</package_type>"
                 "</firmware_package>";
}

// The declaration of a file as it truly is: its BSD sum and size.
declared_file declared_truly(const std::string& name, const std::string& bytes)
{
    return declared_file{name, norvane_test::bsd_sum_text(bytes), static_cast<int>(bytes.size())};
}

// A package built in a temporary folder: its files are zipped with the zip
// tool and extracted with the program's own unzip into the update folder.
class package_fixture {
public:
    package_fixture()
        : source_(dir_.path() + "/src"), folder_(dir_.path() + "/update"),
          zip_path_(folder_ + "/" + ZIP_NAME)
    {
        ::mkdir(source_.c_str(), 0755);
        ::mkdir(folder_.c_str(), 0755);
    }

    void add(const std::string& name, const std::string& bytes)
    {
        norvane_test::write_file_bytes(source_ + "/" + name, bytes);
        names_.push_back(name);
    }

    void build()
    {
        std::string command = "cd " + source_ + " && zip -q -X " + zip_path_;
        for (const std::string& name : names_) {
            command += " " + name;
        }
        ASSERT_EQ(0, std::system(command.c_str()));
        norvane::qav_mnt_fwupdate_lib_util util;
        ASSERT_EQ(0, util.unzip(zip_path_, folder_));
    }

    // Adds FW_package.sha256, listing every file added so far, and its
    // signature by signer.
    void sign(const norvane_test::test_signer& signer)
    {
        std::vector<std::string> sorted = names_;
        std::sort(sorted.begin(), sorted.end());
        const std::string manifest = norvane_test::manifest_of(source_, sorted);
        add("FW_package.sha256", manifest);
        add("FW_package.sha256.sig", signer.sign(manifest));
    }

    // Replaces a file's bytes in the extracted folder.
    void change_extracted(const std::string& name, const std::string& bytes)
    {
        norvane_test::write_file_bytes(folder_ + "/" + name, bytes);
    }

    const std::string& folder() const { return folder_; }
    const std::string& zip_path() const { return zip_path_; }
    std::string xml_path() const { return folder_ + "/FW_package.xml"; }

private:
    norvane_test::temp_dir dir_;
    std::string source_;
    std::string folder_;
    std::string zip_path_;
    std::vector<std::string> names_;
};

struct verify_run {
    int ret;
    std::string version;
    UTL_LIB_XML_VEXA_PACKAGE_TYPE_ type;
    std::string log;
};

verify_run run_verify(const package_fixture& package)
{
    verify_run run{-1, "before", norvane::UTL_LIB_XML_VEXA_PACKAGE_MOBILE_AGENT, ""};
    qav_mnt_fwupdate_lib_verify_process process;
    testing::internal::CaptureStderr();
    run.ret = process.verify(package.zip_path(), package.folder(), run.version, run.type);
    run.log = program_log(testing::internal::GetCapturedStderr());
    return run;
}

// Expected log pieces, built from the files on disk independently of the
// program.

std::vector<std::string> folder_entries(const std::string& folder)
{
    std::vector<std::string> names;
    DIR* dir = ::opendir(folder.c_str());
    if (dir == nullptr) {
        return names;
    }
    for (struct dirent* entry = ::readdir(dir); entry != nullptr; entry = ::readdir(dir)) {
        std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(name);
        }
    }
    ::closedir(dir);
    return names;
}

std::string verify_line(const char* level, const std::string& text)
{
    return std::string(level) + " verify(): " + text + "\n";
}

std::string start_lines(const package_fixture& package)
{
    return "[IMP] verify(): ##### Start Verify process. \n\tzip_file_path[" + package.zip_path() +
           "]\n\tunzip_folder_path[" + package.folder() + "]\n";
}

std::string failure_end(const std::string& stage_error)
{
    return verify_line("[ERR]", stage_error) + verify_line("[IMP]", "##### Faild Verify process.");
}

std::string stage_1_ok(const package_fixture& package, const std::string& xml)
{
    const std::string banner = "[INF] dsp_text_file(): ----------(dsp_text_file)----------\n";
    return verify_line("[INF]", "##### Start analyze xml ") + banner +
           "[INF] dsp_text_file(): file_path:[" + package.xml_path() + "]\n" +
           "[INF] dsp_text_file(): \n" + xml + "\n" + banner +
           verify_line("[INF]", "##### Success analyze_xml operation.");
}

std::string package_info_line(int exist, const std::string& version, int type)
{
    return "[INF] get_package_info(): <firmware_package> exist_package_version:[" +
           std::to_string(exist) + "] package_version:[" + version + "] package_type:[" +
           std::to_string(type) + "]\n";
}

std::string stage_2_ok(const std::string& version)
{
    return verify_line("[INF]", "##### Start get package info ") +
           package_info_line(1, version, 1) +
           verify_line("[INF]", "##### Success get package info operation.");
}

std::string list_dump(const std::vector<declared_file>& files)
{
    const std::string banner = "[INF] dsp_verify_list(): ----------(dsp_verify_list)----------\n";
    std::string dump = banner;
    for (const declared_file& file : files) {
        dump += "[INF] dsp_verify_list(): verify_xml_list file_name:[" + file.name +
                "] file_size:[" + std::to_string(file.size) + "] check_sum:[" + file.checksum +
                "]\n";
    }
    return dump + banner;
}

std::string stage_3_ok(const std::vector<declared_file>& declared)
{
    return verify_line("[INF]", "##### Start get xml list ") + list_dump(declared) +
           verify_line("[INF]", "##### Success create file list from xml file..");
}

// What the folder holds, in directory order, as the program will see it.
std::vector<declared_file> folder_files(const std::string& folder)
{
    std::vector<declared_file> files;
    for (const std::string& name : folder_entries(folder)) {
        const std::string bytes = norvane_test::read_file_bytes(folder + "/" + name);
        files.push_back(declared_file{name, norvane_test::bsd_sum_text(bytes),
                                      static_cast<int>(bytes.size())});
    }
    return files;
}

std::string folder_dump(const std::string& folder)
{
    const std::string banner =
        "[INF] dsp_file_info_in_folder(): ----------(dsp_file_info_in_folder)----------\n";
    std::string dump = banner + "[INF] dsp_file_info_in_folder(): folder_path:[" + folder + "]\n";
    for (const declared_file& file : folder_files(folder)) {
        dump += "[INF] dsp_file_info_in_folder(): file_name[" + file.name + "]\tfile_size[" +
                std::to_string(file.size) + "]\tcheck_sum:[" + file.checksum + "]\n";
    }
    return dump + banner;
}

// The folder's files that the description declares, in directory order.
std::vector<declared_file> found_declared(const std::string& folder,
                                          const std::vector<declared_file>& declared)
{
    std::vector<declared_file> found;
    for (const declared_file& file : folder_files(folder)) {
        for (const declared_file& wanted : declared) {
            if (wanted.name == file.name) {
                found.push_back(file);
                break;
            }
        }
    }
    return found;
}

std::string stage_4_ok(const std::string& folder, const std::vector<declared_file>& declared)
{
    return verify_line("[INF]", "##### Start get unzip list ") + folder_dump(folder) +
           list_dump(found_declared(folder, declared)) +
           verify_line("[INF]", "##### Success create file list from unzip folder.");
}

// Everything up to the comparison, for a package whose first four stages pass.
std::string through_stage_4(const package_fixture& package, const std::string& xml,
                            const std::string& version, const std::vector<declared_file>& declared)
{
    return start_lines(package) + stage_1_ok(package, xml) + stage_2_ok(version) +
           stage_3_ok(declared) + stage_4_ok(package.folder(), declared) +
           verify_line("[INF]", "##### Start check list ");
}

const std::string A_BIN = "firmware image A\n";
const std::string B_BIN = std::string(300, '\x5a') + "tail";

TEST(qav_mnt_fwupdate_lib_verify_process_pipeline, complete_package_is_verified)
{
    package_fixture package;
    package.add("a.bin", A_BIN);
    package.add("b.bin", B_BIN);
    const std::vector<declared_file> declared = {declared_truly("a.bin", A_BIN),
                                                 declared_truly("b.bin", B_BIN)};
    const std::string xml =
        description_xml("<package_version>2.5.0</package_version>", declared);
    package.add("FW_package.xml", xml);
    package.build();

    verify_run run = run_verify(package);

    EXPECT_EQ(0, run.ret);
    EXPECT_EQ("2.5.0", run.version);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_PACKAGE_DEVICE_FIRMWARE, run.type);
    EXPECT_EQ(through_stage_4(package, xml, "2.5.0", declared) +
                  verify_line("[INF]", "##### Success check verify list operation.") +
                  verify_line("[IMP]", "##### Success End Verify process."),
              run.log);
    // Nothing on disk was changed: the zip file is still there.
    EXPECT_EQ(0, ::access(package.zip_path().c_str(), F_OK));
}

TEST(qav_mnt_fwupdate_lib_verify_process_pipeline, extra_undeclared_file_does_not_matter)
{
    package_fixture package;
    package.add("a.bin", A_BIN);
    package.add("extra.txt", "not declared\n");
    const std::vector<declared_file> declared = {declared_truly("a.bin", A_BIN)};
    const std::string xml = description_xml("<package_version>1</package_version>", declared);
    package.add("FW_package.xml", xml);
    package.build();

    verify_run run = run_verify(package);

    EXPECT_EQ(0, run.ret);
    EXPECT_EQ("1", run.version);
    EXPECT_EQ(through_stage_4(package, xml, "1", declared) +
                  verify_line("[INF]", "##### Success check verify list operation.") +
                  verify_line("[IMP]", "##### Success End Verify process."),
              run.log);
}

TEST(qav_mnt_fwupdate_lib_verify_process_pipeline, missing_description_fails_in_stage_1)
{
    package_fixture package;
    package.add("a.bin", A_BIN);
    package.build();

    verify_run run = run_verify(package);

    EXPECT_EQ(1, run.ret);
    EXPECT_EQ("before", run.version);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_PACKAGE_MOBILE_AGENT, run.type);
    EXPECT_EQ(start_lines(package) + verify_line("[INF]", "##### Start analyze xml ") +
                  "[ERR] read_text_file(): Failed to get the stat structure. file_path:[" +
                  package.xml_path() + "]\n" +
                  "[ERR] analyze_xml(): Failed to get the XML file data.\n" +
                  failure_end("Faild analyze_xml operation."),
              run.log);
}

TEST(qav_mnt_fwupdate_lib_verify_process_pipeline, malformed_description_fails_in_stage_1)
{
    package_fixture package;
    package.add("a.bin", A_BIN);
    const std::string xml = "<firmware_package><package_version>1</firmware_package>";
    package.add("FW_package.xml", xml);
    package.build();

    verify_run run = run_verify(package);

    EXPECT_EQ(1, run.ret);
    EXPECT_EQ("before", run.version);
    const std::string stage_1 = stage_1_ok(package, xml);
    const std::string until_parse = stage_1.substr(0, stage_1.rfind("[INF] verify()"));
    EXPECT_EQ(start_lines(package) + until_parse +
                  "[ERR] parse_xml(): Failed to read the XML file data. xml_ret:[0x00000001] "
                  "xml_vexa_ret:[0x00000002]\n"
                  "[ERR] analyze_xml(): Failed to parse the XML file data.\n" +
                  failure_end("Faild analyze_xml operation."),
              run.log);
}

TEST(qav_mnt_fwupdate_lib_verify_process_pipeline, description_without_version_fails_in_stage_2)
{
    package_fixture package;
    package.add("a.bin", A_BIN);
    const std::string xml = description_xml("", {declared_truly("a.bin", A_BIN)});
    package.add("FW_package.xml", xml);
    package.build();

    verify_run run = run_verify(package);

    EXPECT_EQ(1, run.ret);
    EXPECT_EQ("before", run.version);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_PACKAGE_MOBILE_AGENT, run.type);
    EXPECT_EQ(start_lines(package) + stage_1_ok(package, xml) +
                  verify_line("[INF]", "##### Start get package info ") +
                  package_info_line(0, "", 1) + failure_end("Faild get package info operation."),
              run.log);
}

// Stage 3 failures: a declared file lacks size or checksum.
void expect_stage_3_failure(const declared_file& broken, const std::string& cause)
{
    package_fixture package;
    package.add("a.bin", A_BIN);
    const std::string xml =
        description_xml("<package_version>7.7</package_version>", {broken});
    package.add("FW_package.xml", xml);
    package.build();

    verify_run run = run_verify(package);

    EXPECT_EQ(1, run.ret);
    // Stage 2 had already handed out the package info.
    EXPECT_EQ("7.7", run.version);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_PACKAGE_DEVICE_FIRMWARE, run.type);
    EXPECT_EQ(start_lines(package) + stage_1_ok(package, xml) + stage_2_ok("7.7") +
                  verify_line("[INF]", "##### Start get xml list ") + cause +
                  "[ERR] get_info_list(): Failed to retrieve data within <data_information>. "
                  "get_file_data_ret:[0x00000001]\n"
                  "[ERR] get_list(): Failed to create a list from an XML data file.\n" +
                  failure_end("Failed to create file list from xml file."),
              run.log);
}

TEST(qav_mnt_fwupdate_lib_verify_process_pipeline, file_without_size_fails_in_stage_3)
{
    expect_stage_3_failure(
        declared_file{"a.bin", norvane_test::bsd_sum_text(A_BIN), -1},
        "[ERR] get_file_data(): Failed to get information for file size is invalid.\n");
}

TEST(qav_mnt_fwupdate_lib_verify_process_pipeline, file_without_checksum_fails_in_stage_3)
{
    expect_stage_3_failure(
        declared_file{"a.bin", "", static_cast<int>(A_BIN.size())},
        "[ERR] get_file_data(): Failed to get information for checksum is invalid.\n");
}

TEST(qav_mnt_fwupdate_lib_verify_process_pipeline, unreadable_folder_entry_fails_in_stage_4)
{
    package_fixture package;
    package.add("a.bin", A_BIN);
    const std::vector<declared_file> declared = {declared_truly("a.bin", A_BIN)};
    const std::string xml = description_xml("<package_version>4.0</package_version>", declared);
    package.add("FW_package.xml", xml);
    package.build();
    // A dangling link left in the folder: its status cannot be read.
    const std::string link = package.folder() + "/dangling";
    ASSERT_EQ(0, ::symlink((package.folder() + "/nowhere").c_str(), link.c_str()));

    verify_run run = run_verify(package);

    EXPECT_EQ(1, run.ret);
    EXPECT_EQ("4.0", run.version);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_PACKAGE_DEVICE_FIRMWARE, run.type);
    EXPECT_EQ(start_lines(package) + stage_1_ok(package, xml) + stage_2_ok("4.0") +
                  stage_3_ok(declared) + verify_line("[INF]", "##### Start get unzip list ") +
                  "[ERR] get_info_list(): Failed to get the stat structure. file_path:[" + link +
                  "]\n"
                  "[ERR] get_list(): Failed to get the file information from the destination "
                  "folder.\n" +
                  failure_end("Failed to create file list from unzip folder."),
              run.log);
}

// A package of the files given (name, bytes) whose description declares
// `declared` under package_version 3: verification reaches the comparison
// and fails there with `cause`.
void expect_stage_5_failure(const std::vector<std::pair<std::string, std::string>>& files,
                            const std::vector<declared_file>& declared, const std::string& cause)
{
    package_fixture package;
    for (const auto& file : files) {
        package.add(file.first, file.second);
    }
    const std::string xml = description_xml("<package_version>3</package_version>", declared);
    package.add("FW_package.xml", xml);
    package.build();

    verify_run run = run_verify(package);

    EXPECT_EQ(1, run.ret);
    // Stage 2 had already handed out the package info.
    EXPECT_EQ("3", run.version);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_PACKAGE_DEVICE_FIRMWARE, run.type);
    EXPECT_EQ(through_stage_4(package, xml, "3", declared) + cause +
                  failure_end("Faild check verify list operation."),
              run.log);
}

TEST(qav_mnt_fwupdate_lib_verify_process_pipeline, missing_declared_file_fails_in_stage_5_on_length)
{
    expect_stage_5_failure({{"a.bin", A_BIN}},
                           {declared_truly("a.bin", A_BIN), declared_truly("b.bin", B_BIN)},
                           "[ERR] check(): Length of the list of both for comparison is "
                           "different. xml_info_list_size:[2] unzip_info_list_size:[1]\n");
}

TEST(qav_mnt_fwupdate_lib_verify_process_pipeline, only_missing_file_fails_in_stage_5_on_empty_list)
{
    expect_stage_5_failure({{"other.bin", A_BIN}}, {declared_truly("a.bin", A_BIN)},
                           "[ERR] check(): No one or both lists for comparison. "
                           "xml_info_list_size:[1] unzip_info_list_size:[0]\n");
}

TEST(qav_mnt_fwupdate_lib_verify_process_pipeline, size_mismatch_fails_in_stage_5)
{
    declared_file wrong = declared_truly("a.bin", A_BIN);
    wrong.size += 1;
    expect_stage_5_failure({{"a.bin", A_BIN}}, {wrong},
                           "[ERR] check(): File size in the list did not match. xml_info_list:[" +
                               std::to_string(A_BIN.size() + 1) + "] unzip_info_list:[" +
                               std::to_string(A_BIN.size()) + "]\n");
}

TEST(qav_mnt_fwupdate_lib_verify_process_pipeline, checksum_mismatch_fails_in_stage_5)
{
    declared_file wrong = declared_truly("b.bin", B_BIN);
    wrong.checksum = "99999";
    expect_stage_5_failure({{"a.bin", A_BIN}, {"b.bin", B_BIN}},
                           {declared_truly("a.bin", A_BIN), wrong},
                           "[ERR] check(): Checksum in the list did not match. "
                           "xml_info_list:[99999] unzip_info_list:[" +
                               norvane_test::bsd_sum_text(B_BIN) + "]\n");
}

TEST(qav_mnt_fwupdate_lib_verify_process_pipeline, name_differing_only_in_case_fails_on_length)
{
    // A.bin is declared, a.bin extracted: the folder's a.bin is dropped.
    expect_stage_5_failure({{"a.bin", A_BIN}, {"b.bin", B_BIN}},
                           {declared_truly("A.bin", A_BIN), declared_truly("b.bin", B_BIN)},
                           "[ERR] check(): Length of the list of both for comparison is "
                           "different. xml_info_list_size:[2] unzip_info_list_size:[1]\n");
}

// Signed packages. The trust folder comes from FWUPDATE_TRUST_DIR, which the
// host platform reads; each test sets it and the fixture clears it again.
class qav_mnt_fwupdate_lib_verify_process_signature : public testing::Test {
protected:
    qav_mnt_fwupdate_lib_verify_process_signature()
        : signer_(norvane_test::RFC8032_TEST1_SECRET_HEX),
          other_signer_(norvane_test::RFC8032_TEST2_SECRET_HEX)
    {
    }
    void TearDown() override { ::unsetenv("FWUPDATE_TRUST_DIR"); }

    void use_trust_folder(const std::string& folder)
    {
        ::setenv("FWUPDATE_TRUST_DIR", folder.c_str(), 1);
    }

    std::string trust_folder_with(const std::string& name, const std::string& text)
    {
        const std::string folder = keys_.file("trust");
        ::mkdir(folder.c_str(), 0755);
        norvane_test::write_file_bytes(folder + "/" + name, text);
        return folder;
    }

    // A built package of a.bin and b.bin, signed by signer when given.
    void build(package_fixture& package, const norvane_test::test_signer* signer)
    {
        package.add("a.bin", A_BIN);
        package.add("b.bin", B_BIN);
        package.add("FW_package.xml", xml_);
        if (signer != nullptr) {
            package.sign(*signer);
        }
        package.build();
    }

    std::string until_check_passes(const package_fixture& package) const
    {
        return through_stage_4(package, xml_, "6.1", declared_) +
               verify_line("[INF]", "##### Success check verify list operation.");
    }

    std::string success_end() const { return verify_line("[IMP]", "##### Success End Verify process."); }

    const std::vector<declared_file> declared_ = {declared_truly("a.bin", A_BIN),
                                                  declared_truly("b.bin", B_BIN)};
    const std::string xml_ = description_xml("<package_version>6.1</package_version>", declared_);
    norvane_test::temp_dir keys_;
    norvane_test::test_signer signer_;
    norvane_test::test_signer other_signer_;
};

TEST_F(qav_mnt_fwupdate_lib_verify_process_signature,
       without_trusted_keys_signed_and_unsigned_packages_log_exactly_as_before)
{
    // The build option's folder does not exist on this machine.
    ::unsetenv("FWUPDATE_TRUST_DIR");
    ASSERT_NE(0, ::access(fwupdate_trust_dir(), F_OK)) << fwupdate_trust_dir();
    const std::string empty_folder = keys_.file("empty");
    ::mkdir(empty_folder.c_str(), 0755);
    const std::string no_pem_folder = trust_folder_with("release.pub", signer_.public_pem());
    norvane_test::write_file_bytes(no_pem_folder + "/README", "keys go here\n");

    for (const norvane_test::test_signer* signer : {static_cast<norvane_test::test_signer*>(nullptr), &signer_}) {
        package_fixture package;
        build(package, signer);
        // What the pipeline logged before signatures existed, built from the
        // folder's files; the signature files are two more undeclared files.
        const std::string before = until_check_passes(package) + success_end();
        for (const char* setting : {"unset", "", "missing", "empty", "no-pem"}) {
            const std::string name = setting;
            if (name == "unset") {
                ::unsetenv("FWUPDATE_TRUST_DIR");
            } else {
                use_trust_folder(name == "missing" ? keys_.file("missing")
                                 : name == "empty" ? empty_folder
                                 : name == "no-pem" ? no_pem_folder
                                                    : "");
            }
            const verify_run run = run_verify(package);
            EXPECT_EQ(0, run.ret) << setting;
            EXPECT_EQ("6.1", run.version);
            EXPECT_EQ(before, run.log) << (signer ? "signed, " : "unsigned, ") << setting;
        }
    }
}

TEST_F(qav_mnt_fwupdate_lib_verify_process_signature, trusted_key_and_signed_package_pass_the_sixth_check)
{
    const std::string trust = trust_folder_with("release.pem", signer_.public_pem());
    use_trust_folder(trust);
    package_fixture package;
    build(package, &signer_);

    const verify_run run = run_verify(package);

    EXPECT_EQ(0, run.ret);
    EXPECT_EQ("6.1", run.version);
    EXPECT_EQ(until_check_passes(package) + verify_line("[INF]", "##### Start check signature ") +
                  verify_line("[INF]", "Signature check: signed by a trusted key. key_file:[" +
                                           trust + "/release.pem]") +
                  verify_line("[INF]", "##### Success check signature operation.") + success_end(),
              run.log);
}

TEST_F(qav_mnt_fwupdate_lib_verify_process_signature, trusted_key_refuses_an_unsigned_package)
{
    use_trust_folder(trust_folder_with("release.pem", signer_.public_pem()));
    package_fixture package;
    build(package, nullptr);

    const verify_run run = run_verify(package);

    EXPECT_EQ(1, run.ret);
    // The package info was read before the check failed.
    EXPECT_EQ("6.1", run.version);
    EXPECT_EQ(norvane::UTL_LIB_XML_VEXA_PACKAGE_DEVICE_FIRMWARE, run.type);
    EXPECT_EQ(until_check_passes(package) + verify_line("[INF]", "##### Start check signature ") +
                  verify_line("[ERR]", "Signature check: the package is not signed. "
                                       "missing_file:[FW_package.sha256]") +
                  verify_line("[IMP]", "##### Faild Verify process."),
              run.log);
}

TEST_F(qav_mnt_fwupdate_lib_verify_process_signature, trusted_key_refuses_a_package_signed_by_another_key)
{
    use_trust_folder(trust_folder_with("release.pem", signer_.public_pem()));
    package_fixture package;
    build(package, &other_signer_);

    const verify_run run = run_verify(package);

    EXPECT_EQ(1, run.ret);
    EXPECT_EQ(until_check_passes(package) + verify_line("[INF]", "##### Start check signature ") +
                  verify_line("[ERR]", "Signature check: no trusted key verifies the signature. "
                                       "file:[FW_package.sha256.sig] trusted_keys:[1]") +
                  verify_line("[IMP]", "##### Faild Verify process."),
              run.log);
}

TEST_F(qav_mnt_fwupdate_lib_verify_process_signature, unusable_key_file_refuses_even_a_well_signed_package)
{
    const std::string trust = trust_folder_with("release.pem", signer_.public_pem());
    norvane_test::write_file_bytes(trust + "/old.pem", "");
    use_trust_folder(trust);
    package_fixture package;
    build(package, &signer_);

    const verify_run run = run_verify(package);

    EXPECT_EQ(1, run.ret);
    EXPECT_EQ(until_check_passes(package) + verify_line("[INF]", "##### Start check signature ") +
                  verify_line("[ERR]", "Signature check: a trusted key file cannot be used. "
                                       "key_file:[" + trust + "/old.pem] reason:[holds no PEM "
                                       "public key]") +
                  verify_line("[IMP]", "##### Faild Verify process."),
              run.log);
}

TEST_F(qav_mnt_fwupdate_lib_verify_process_signature,
       file_changed_with_the_same_size_and_sum_passes_without_a_key_and_fails_with_one)
{
    package_fixture package;
    build(package, &signer_);
    const std::string changed = norvane_test::same_sum_change(B_BIN);
    ASSERT_FALSE(changed.empty());
    ASSERT_NE(B_BIN, changed);
    ASSERT_EQ(B_BIN.size(), changed.size());
    ASSERT_EQ(norvane_test::bsd_sum(B_BIN), norvane_test::bsd_sum(changed));
    package.change_extracted("b.bin", changed);

    // The declared size and sum cannot tell the files apart.
    use_trust_folder("");
    EXPECT_EQ(0, run_verify(package).ret);

    const std::string trust = trust_folder_with("release.pem", signer_.public_pem());
    use_trust_folder(trust);
    const verify_run run = run_verify(package);
    EXPECT_EQ(1, run.ret);
    EXPECT_EQ(until_check_passes(package) + verify_line("[INF]", "##### Start check signature ") +
                  verify_line("[INF]", "Signature check: signed by a trusted key. key_file:[" +
                                           trust + "/release.pem]") +
                  verify_line("[ERR]", "Signature check: the SHA-256 does not match. file:[b.bin] "
                                       "manifest:[" + norvane_test::sha256_hex(B_BIN) +
                                       "] actual:[" + norvane_test::sha256_hex(changed) + "]") +
                  verify_line("[IMP]", "##### Faild Verify process."),
              run.log);
}

TEST_F(qav_mnt_fwupdate_lib_verify_process_signature, earlier_failure_ends_before_the_signature_check)
{
    norvane_test::write_file_bytes(trust_folder_with("release.pem", signer_.public_pem()) + "/bad.pem",
                                   "bad");
    use_trust_folder(keys_.file("trust"));
    package_fixture package;
    package.add("a.bin", A_BIN);
    package.add("FW_package.xml", xml_);  // declares b.bin too, which is missing
    package.sign(signer_);
    package.build();

    const verify_run run = run_verify(package);

    EXPECT_EQ(1, run.ret);
    EXPECT_EQ(through_stage_4(package, xml_, "6.1", declared_) +
                  "[ERR] check(): Length of the list of both for comparison is different. "
                  "xml_info_list_size:[2] unzip_info_list_size:[1]\n" +
                  failure_end("Faild check verify list operation."),
              run.log);
}

}  // namespace
