#pragma once

#include <cstdint>
#include <span>
#include <string>

// A file, or what is piped into the program, read from front to back. A signal that asks the
// program to end is heard while nothing comes.
namespace orvex {

class ByteSource {
  public:
    // "-" is the standard input. Throws std::runtime_error when there is no such file, or it is one
    // that can't be read.
    explicit ByteSource(const std::string& path);
    ~ByteSource();
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    // 0 when nobody knows.
    uint64_t size() const { return size_; }
    // 0 at the end. Throws std::runtime_error when it can't be read, Interrupted for a signal.
    size_t read(std::span<char> buffer);

  private:
    std::string path_;
    uint64_t size_ = 0;
    int descriptor_ = -1;
};

}  // namespace orvex
