#include "platform/posix/device_path.h"

#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>

namespace platform {

namespace {

// A driver whose queue of connections stays full is not there.
constexpr timeval connect_limit{3, 0};

// A socket address holds 107 characters of path; a longer one is reached through its directory.
bool MakeAddress(const std::string& path, sockaddr_un& address, Descriptor& directory) {
    std::string name = path;
    if (name.size() >= sizeof(address.sun_path)) {
        const size_t slash = path.rfind('/');
        if (slash == std::string::npos) return false;
        directory =
            Descriptor(open(path.substr(0, slash + 1).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!directory) return false;
        name = "/proc/self/fd/" + std::to_string(directory.get()) + path.substr(slash);
        if (name.size() >= sizeof(address.sun_path)) return false;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.c_str(), name.size() + 1);
    return true;
}

Descriptor Connect(const char* path) {
    sockaddr_un address{};
    Descriptor directory;
    if (!MakeAddress(path, address, directory)) return {};
    Descriptor file(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    if (!file) return {};
    setsockopt(file.get(), SOL_SOCKET, SO_SNDTIMEO, &connect_limit, sizeof(connect_limit));
    if (connect(file.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
        return {};
    return file;
}

}  // namespace

Descriptor OpenDevicePath(const char* path, bool& is_socket) {
    struct stat status{};
    if (!path || stat(path, &status) != 0) return {};
    is_socket = S_ISSOCK(status.st_mode);
    if (is_socket) return Connect(path);
    if (!S_ISCHR(status.st_mode)) return {};
    return Descriptor(open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
}

}  // namespace platform
