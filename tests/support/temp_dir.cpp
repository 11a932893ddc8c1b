#include "temp_dir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace norvane_test {

temp_dir::temp_dir()
{
    char templ[] = "/tmp/norvane-test-XXXXXX";
    const char* made = ::mkdtemp(templ);
    if (made == nullptr) {
        throw std::runtime_error("mkdtemp failed");
    }
    path_ = made;
}

temp_dir::~temp_dir()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string temp_dir::file(const std::string& name) const
{
    return path_ + "/" + name;
}

std::string temp_dir::write_file(const std::string& name, const std::string& bytes) const
{
    const std::string target = file(name);
    write_file_bytes(target, bytes);
    return target;
}

void write_file_bytes(const std::string& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string read_file_bytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace norvane_test
