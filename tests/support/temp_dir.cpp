#include "support/temp_dir.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace support {

TempDir::TempDir() {
    std::string name = (std::filesystem::temp_directory_path() / "orvex-test-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary directory: " + name);
    path_ = name;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path TempDir::write(std::string_view name, std::string_view content) const {
    std::filesystem::path file = path_ / name;
    std::ofstream(file, std::ios::binary).write(content.data(), std::streamsize(content.size()));
    return file;
}

std::filesystem::path TempDir::link_module(std::string_view module, std::string_view name) const {
    std::filesystem::path file = path_ / name;
    std::filesystem::path target(ORVEX_TEST_MODULES);
    target /= std::string(module) + ".so";
    std::filesystem::create_symlink(target, file);
    return file;
}

}  // namespace support
