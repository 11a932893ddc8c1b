// A fresh folder under /tmp for one test, removed with everything in it when
// the object goes away.
#ifndef NORVANE_TESTS_TEMP_DIR_H
#define NORVANE_TESTS_TEMP_DIR_H

#include <string>

namespace norvane_test {

class temp_dir {
public:
    temp_dir();
    ~temp_dir();
    temp_dir(const temp_dir&) = delete;
    temp_dir& operator=(const temp_dir&) = delete;

    const std::string& path() const { return path_; }
    // path() + "/" + name
    std::string file(const std::string& name) const;
    // Writes bytes into path() + "/" + name and returns that path.
    std::string write_file(const std::string& name, const std::string& bytes) const;

private:
    std::string path_;
};

// Reads a whole file as bytes; empty when it cannot be read.
std::string read_file_bytes(const std::string& path);
// Writes bytes into a file, replacing it.
void write_file_bytes(const std::string& path, const std::string& bytes);

}  // namespace norvane_test

#endif
