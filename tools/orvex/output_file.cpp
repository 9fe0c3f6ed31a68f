#include "orvex/output_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace orvex {

namespace {

[[noreturn]] void fail(const std::string& path, const std::string& why) {
    throw std::runtime_error("cannot write '" + path + "': " + why);
}

// Fails with EEXIST when there is something of the new name.
int rename_if_free(const std::string& from, const std::string& to) {
    const int result = renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE);
    if (result == 0 || errno != EINVAL) return result;
    // A file system that does not know how; then a second name for the file does it.
    return link(from.c_str(), to.c_str()) == 0 ? unlink(from.c_str()) : -1;
}

}  // namespace

OutputFile::OutputFile(std::string path, bool replace)
    : path_(std::move(path)), part_(path_ + ".part"), replace_(replace) {
    struct stat there{};
    const bool exists = lstat(path_.c_str(), &there) == 0;
    if (exists && S_ISDIR(there.st_mode)) fail(path_, "it is a folder");
    if (exists && !replace) fail(path_, "it exists; --force replaces it");
    std::error_code problem;
    const std::filesystem::path folder = std::filesystem::path(path_).parent_path();
    if (!folder.empty()) std::filesystem::create_directories(folder, problem);
    if (problem) fail(path_, problem.message());
    if (replace) unlink(part_.c_str());
    const int file = open(part_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0 && errno == EEXIST) {
        const std::string part = std::exchange(part_, {});
        fail(path_, "'" + part + "' exists, of a run that goes on or was cut off; " +
                        "--force replaces it");
    }
    if (file < 0) {
        part_.clear();
        fail(path_, std::strerror(errno));
    }
    close(file);
}

OutputFile::~OutputFile() {
    if (!part_.empty()) unlink(part_.c_str());
}

OutputFile::OutputFile(OutputFile&& other) noexcept
    : path_(std::move(other.path_)),
      part_(std::exchange(other.part_, {})),
      replace_(other.replace_) {}

void OutputFile::commit() {
    const int result =
        replace_ ? std::rename(part_.c_str(), path_.c_str()) : rename_if_free(part_, path_);
    if (result != 0) {
        const int why = errno;
        const std::string part = std::exchange(part_, {});
        fail(path_, std::string(std::strerror(why)) + "; it is in '" + part + "'");
    }
    part_.clear();
}

}  // namespace orvex
