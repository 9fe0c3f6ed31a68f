#include "orvex/byte_source.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

#include "orvex/interrupt.h"

namespace orvex {

namespace {

[[noreturn]] void fail_to_read(const std::string& path, const std::string& why) {
    throw std::runtime_error("cannot read '" + path + "': " + why);
}

}  // namespace

ByteSource::ByteSource(const std::string& path) : path_(path) {
    descriptor_ = path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status{};
    if (descriptor_ < 0 || fstat(descriptor_, &status) != 0) fail_to_read(path, strerror(errno));
    if (S_ISDIR(status.st_mode)) {
        if (descriptor_ != STDIN_FILENO) close(descriptor_);
        fail_to_read(path, "it is a folder");
    }
    if (S_ISREG(status.st_mode)) size_ = static_cast<uint64_t>(status.st_size);
}

ByteSource::~ByteSource() {
    if (descriptor_ != STDIN_FILENO) close(descriptor_);
}

size_t ByteSource::read(std::span<char> buffer) {
    constexpr int wait_ms = 100;
    for (;;) {
        sleep_or_stop({});
        pollfd ready{.fd = descriptor_, .events = POLLIN, .revents = 0};
        if (poll(&ready, 1, wait_ms) == 0) continue;
        const ssize_t count = ::read(descriptor_, buffer.data(), buffer.size());
        if (count >= 0) return static_cast<size_t>(count);
        if (errno != EINTR && errno != EAGAIN) fail_to_read(path_, strerror(errno));
    }
}

}  // namespace orvex
