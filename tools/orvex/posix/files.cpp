#include "orvex/files.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <unistd.h>

namespace orvex {

namespace {

std::error_code outcome(bool success) {
    return success ? std::error_code() : std::error_code(errno, std::generic_category());
}

int rename_if_free(const std::string& from, const std::string& to) {
    const int result = renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE);
    if (result == 0 || errno != EINVAL) return result;
    // A file system that does not know how; then a second name for the file does it.
    return link(from.c_str(), to.c_str()) == 0 ? unlink(from.c_str()) : -1;
}

}  // namespace

std::error_code create_file(const std::string& path) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0) return outcome(false);
    close(file);
    return {};
}

std::error_code rename_file(const std::string& from, const std::string& to, bool replace) {
    return outcome((replace ? std::rename(from.c_str(), to.c_str()) : rename_if_free(from, to)) ==
                   0);
}

void remove_file(const std::string& path) {
    unlink(path.c_str());
}

std::string create_temporary_file() {
    std::string path = (std::filesystem::temp_directory_path() / "orvex-XXXXXX").string();
    const int file = mkstemp(path.data());
    if (file < 0) throw std::runtime_error("cannot create '" + path + "'");
    close(file);
    return path;
}

}  // namespace orvex
