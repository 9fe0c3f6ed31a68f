#pragma once

#include <string>

namespace orvex {

// A file that takes its place when it is whole. Until then it grows beside it, with ".part" behind
// its name, and what may be there already stays as it was.
class OutputFile {
  public:
    // Makes the folder and the part. Throws std::runtime_error when that is impossible, or when the
    // file, or the part of a run that was cut off, is there and must not be replaced.
    OutputFile(std::string path, bool replace);
    // Removes the part, unless it is whole or is to stay.
    ~OutputFile();
    OutputFile(OutputFile&& other) noexcept;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& path() const { return path_; }
    const std::string& part() const { return part_; }

    // The part takes the place of the file.
    void commit();
    // What is written so far is worth more than a clean folder.
    void keep_part() { part_.clear(); }

  private:
    std::string path_;
    std::string part_;
    bool replace_;
};

}  // namespace orvex
