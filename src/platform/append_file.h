#pragma once

#include <cstdint>
#include <string_view>

// Output that must not disturb the application, whatever becomes of the file.
namespace platform {

// While it lives, writing to a pipe without reader or beyond a limit of file size fails on this
// thread and signals nobody. The thread keeps its signal mask otherwise. Nothing to do for a system
// that has no such signals.
class NoWriteSignals {
  public:
    NoWriteSignals();
    ~NoWriteSignals();
    NoWriteSignals(const NoWriteSignals&) = delete;
    NoWriteSignals& operator=(const NoWriteSignals&) = delete;

  private:
    // One bit for each signal.
    unsigned unblocked_ = 0;
    unsigned pending_ = 0;
};

// A file that other processes may append to at the same time.
class AppendFile {
  public:
    AppendFile() = default;
    ~AppendFile() { Close(); }
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    bool Open(const char* path);
    void Close();
    bool IsOpen() const { return handle_ != no_handle; }
    // Whole lines, in one write of the system. What it refuses is lost, and nothing else.
    void Append(std::string_view lines);

  private:
    static constexpr intptr_t no_handle = -1;

    intptr_t handle_ = no_handle;  // the system's
    bool torn_ = false;            // the end of the last line was refused
};

}  // namespace platform
