#include "engine/device_folder.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace engine {
namespace {

constexpr const char* name_front = "orvex-";

int OpenFolder(const std::string& path) {
    return open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

// The process may live where its number means nothing here, in another container; then it still
// holds the lock.
bool IsLeftOver(const std::string& name, int folder) {
    int process = 0, used = 0;
    if (std::sscanf(name.c_str(), "orvex-%d-%n", &process, &used) != 1 || used == 0) return false;
    if (process <= 0 || kill(process, 0) == 0 || errno != ESRCH) return false;
    struct stat about{};
    return fstat(folder, &about) == 0 && about.st_uid == geteuid() &&
           flock(folder, LOCK_EX | LOCK_NB) == 0;
}

// Nothing but sockets lies in such a folder; one that holds anything else stays.
void RemoveSockets(int folder, const std::string& path) {
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(path, ignored)) {
        if (entry.is_socket(ignored)) unlinkat(folder, entry.path().filename().c_str(), 0);
    }
    rmdir(path.c_str());
}

void SweepLeftOvers(const std::string& parent) {
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(parent, ignored)) {
        const std::string name = entry.path().filename();
        if (!name.starts_with(name_front)) continue;
        const int folder = OpenFolder(entry.path());
        if (folder < 0) continue;
        if (IsLeftOver(name, folder)) RemoveSockets(folder, entry.path());
        close(folder);
    }
}

}  // namespace

bool DeviceFolder::Make(std::string& message) {
    constexpr size_t longest = 90;  // the path of a socket holds 107 bytes
    const std::string name = name_front + std::to_string(getpid()) + "-XXXXXX";
    const char* wanted = secure_getenv("TMPDIR");
    std::string parent = wanted != nullptr && *wanted != '\0' ? wanted : "/tmp";
    if (parent.size() + 1 + name.size() > longest) parent = "/tmp";
    SweepLeftOvers(parent);
    std::string path = parent + '/' + name;
    if (mkdtemp(path.data()) == nullptr) {
        message = "cannot make a directory " + path;
        return false;
    }
    path_ = path;
    lock_ = OpenFolder(path_);
    if (lock_ >= 0) flock(lock_, LOCK_EX | LOCK_NB);
    return true;
}

void DeviceFolder::Remove() {
    if (!path_.empty()) rmdir(path_.c_str());
    if (lock_ >= 0) close(lock_);
    path_.clear();
    lock_ = -1;
}

}  // namespace engine
