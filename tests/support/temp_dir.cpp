#include "support/temp_dir.h"

#include <fstream>
#include <random>

namespace support {

TempDir::TempDir() {
    std::random_device random;
    do {
        path_ = std::filesystem::temp_directory_path() / ("orvex-test-" + std::to_string(random()));
    } while (!std::filesystem::create_directory(path_));
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
    const std::filesystem::path file = path_ / (std::string(name) + ORVEX_MODULE_SUFFIX);
    std::filesystem::path target(ORVEX_TEST_MODULES);
    target /= std::string(module) + ORVEX_MODULE_SUFFIX;
    std::error_code refused;  // by a system that makes no links
    std::filesystem::create_symlink(target, file, refused);
    if (refused) std::filesystem::copy_file(target, file);
    return file;
}

}  // namespace support
