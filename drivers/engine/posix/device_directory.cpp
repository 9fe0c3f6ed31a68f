#include "engine/device_directory.h"

#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/platform.h"

namespace engine {
namespace {

constexpr const char* prefix = "orvex-dev-";
constexpr const char* pattern = "orvex-dev-XXXXXX";
constexpr int open_flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

// A directory for files of this user; a socket's path holds 107 bytes.
std::string Parent() {
    constexpr size_t longest = 70;
    std::string parent = EnvironmentVariable("TMPDIR");
    return parent.starts_with('/') && parent.size() <= longest ? parent : "/tmp";
}

void RemoveFiles(int directory) {
    const Directory listing(fdopendir(fcntl(directory, F_DUPFD_CLOEXEC, 0)));
    if (!listing) return;
    while (const dirent* entry = readdir(listing.get()))
        if (entry->d_type == DT_SOCK) unlinkat(directory, entry->d_name, 0);
}

// Directories of this user whose lock nobody holds.
void Sweep(const std::string& parent) {
    const Directory listing(opendir(parent.c_str()));
    if (!listing) return;
    while (const dirent* entry = readdir(listing.get())) {
        const std::string name = entry->d_name;
        if (!name.starts_with(prefix) || name.size() != std::strlen(pattern)) continue;
        const int found = openat(dirfd(listing.get()), name.c_str(), open_flags);
        if (found < 0) continue;
        struct stat status{};
        if (fstat(found, &status) == 0 && status.st_uid == geteuid() &&
            flock(found, LOCK_EX | LOCK_NB) == 0) {
            RemoveFiles(found);
            unlinkat(dirfd(listing.get()), name.c_str(), AT_REMOVEDIR);
        }
        close(found);
    }
}

// Whether another process has swept it before it was locked.
bool IsGone(int directory) {
    struct stat status{};
    return fstat(directory, &status) == 0 && status.st_nlink == 0;
}

}  // namespace

// Private to this user: who can open the device files gets the camera's events.
bool DeviceDirectory::Make(std::string& message) {
    constexpr int attempts = 10;
    const std::string parent = Parent();
    Sweep(parent);
    for (int i = 0; i < attempts; ++i) {
        std::string path = parent + '/' + pattern;
        if (mkdtemp(path.data()) == nullptr) {
            message = "cannot make a directory " + path;
            return false;
        }
        const int directory = open(path.c_str(), open_flags);
        // Where there are no locks nobody sweeps.
        if (directory >= 0) flock(directory, LOCK_EX | LOCK_NB);
        if (directory >= 0 && !IsGone(directory)) {
            path_ = path;
            lock_ = directory;
            return true;
        }
        if (directory >= 0) close(directory);
    }
    message = "cannot keep a directory in " + parent;
    return false;
}

void DeviceDirectory::Remove() {
    if (lock_ < 0) return;
    RemoveFiles(lock_);
    rmdir(path_.c_str());
    close(lock_);
    lock_ = -1;
    // The module is never destroyed, so the memory goes here.
    std::string().swap(path_);
}

std::string DeviceDirectory::File(const std::string& name) const {
    return path_ + '/' + name;
}

}  // namespace engine
