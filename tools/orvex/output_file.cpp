#include "orvex/output_file.h"

#include <filesystem>
#include <stdexcept>
#include <utility>

#include "orvex/files.h"

namespace orvex {

namespace {

[[noreturn]] void fail(const std::string& path, const std::string& why) {
    throw std::runtime_error("cannot write '" + path + "': " + why);
}

}  // namespace

OutputFile::OutputFile(std::string path, bool replace)
    : path_(std::move(path)), part_(path_ + ".part"), replace_(replace) {
    std::error_code problem;
    const auto there = std::filesystem::symlink_status(path_, problem);
    if (is_directory(there)) fail(path_, "it is a folder");
    if (exists(there) && !replace) fail(path_, "it exists; --force replaces it");
    problem.clear();
    const std::filesystem::path folder = std::filesystem::path(path_).parent_path();
    if (!folder.empty()) std::filesystem::create_directories(folder, problem);
    if (problem) fail(path_, problem.message());
    if (replace) remove_file(part_);
    problem = create_file(part_);
    if (!problem) return;
    const std::string part = std::exchange(part_, {});
    if (problem != std::errc::file_exists) fail(path_, problem.message());
    fail(path_,
         "'" + part + "' exists, of a run that goes on or was cut off; " + "--force replaces it");
}

OutputFile::~OutputFile() {
    if (!part_.empty()) remove_file(part_);
}

OutputFile::OutputFile(OutputFile&& other) noexcept
    : path_(std::move(other.path_)),
      part_(std::exchange(other.part_, {})),
      replace_(other.replace_) {}

void OutputFile::commit() {
    const std::error_code problem = rename_file(part_, path_, replace_);
    const std::string part = std::exchange(part_, {});
    if (problem) fail(path_, problem.message() + "; it is in '" + part + "'");
}

}  // namespace orvex
