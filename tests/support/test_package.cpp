#include "test_package.h"

#include "bsd_sum.h"
#include "temp_dir.h"

#include <cstdlib>
#include <random>

namespace norvane_test {

std::string package_description(const std::vector<declared_file>& files,
                                const std::string& package_version,
                                const std::string& package_type)
{
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<firmware_package>\n";
    if (!package_version.empty()) {
        xml += "  <package_version>" + package_version + "</package_version>\n";
    }
    xml += "  <download_information>\n    <type>MAIN</type>\n    <version>" + package_version +
           "</version>\n";
    for (const declared_file& file : files) {
        xml += "    <data_information>\n      <filename>" + file.name + "</filename>\n";
        if (!file.checksum.empty()) {
            xml += "      <checksum>" + file.checksum + "</checksum>\n";
        }
        if (!file.size.empty()) {
            xml += "      <size>" + file.size + "</size>\n";
        }
        xml += "    </data_information>\n";
    }
    xml += "  </download_information>\n";
    if (!package_type.empty()) {
        xml += "  <package_type>" + package_type + "</package_type>\n";
    }
    xml += "</firmware_package>\n";
    return xml;
}

std::vector<declared_file> truthful_declarations(const std::vector<package_file>& files)
{
    std::vector<declared_file> declared;
    for (const package_file& file : files) {
        declared.push_back({file.name, bsd_sum_text(file.bytes), std::to_string(file.bytes.size())});
    }
    return declared;
}

std::vector<package_file> sample_files(size_t first_size, size_t second_size)
{
    std::mt19937 generator(20261122);
    auto random_bytes = [&generator](size_t size) {
        std::string bytes(size, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(generator() & 0xFF);
        }
        return bytes;
    };
    return {{"main_firmware.bin", random_bytes(first_size)},
            {"panel_firmware.bin", random_bytes(second_size)}};
}

std::string zip_package(const std::vector<package_file>& files, const std::string& description)
{
    temp_dir folder;
    folder.write_file("FW_package.xml", description);
    std::string names = "FW_package.xml";
    for (const package_file& file : files) {
        folder.write_file(file.name, file.bytes);
        names += " '" + file.name + "'";
    }
    const std::string command = "cd '" + folder.path() + "' && zip -q -X package.zip " + names;
    if (std::system(command.c_str()) != 0) {
        return "";
    }
    return read_file_bytes(folder.file("package.zip"));
}

std::string zip_package(const std::vector<package_file>& files, const std::string& package_version,
                        const std::string& package_type)
{
    return zip_package(files,
                       package_description(truthful_declarations(files), package_version, package_type));
}

}  // namespace norvane_test
