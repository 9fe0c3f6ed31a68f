#include "orvex/byte_source.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <io.h>
#include <stdexcept>

#include "orvex/interrupt.h"

namespace orvex {

namespace {

[[noreturn]] void fail_to_read(const std::string& path, const std::string& why) {
    throw std::runtime_error("cannot read '" + path + "': " + why);
}

}  // namespace

ByteSource::ByteSource(const std::string& path) : path_(path) {
    std::error_code problem;
    if (path == "-") {
        descriptor_ = 0;
        _setmode(descriptor_, _O_BINARY);
        return;
    }
    if (std::filesystem::is_directory(path, problem)) fail_to_read(path, "it is a folder");
    descriptor_ = _open(path.c_str(), _O_RDONLY | _O_BINARY);
    if (descriptor_ < 0) fail_to_read(path, std::strerror(errno));
    const auto size = std::filesystem::file_size(path, problem);
    if (!problem) size_ = size;
}

ByteSource::~ByteSource() {
    if (descriptor_ > 0) _close(descriptor_);
}

size_t ByteSource::read(std::span<char> buffer) {
    sleep_or_stop({});
    const int count = _read(descriptor_, buffer.data(), static_cast<unsigned>(buffer.size()));
    if (count < 0) fail_to_read(path_, std::strerror(errno));
    return static_cast<size_t>(count);
}

}  // namespace orvex
