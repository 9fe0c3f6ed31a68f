#include "platform/append_file.h"

#include <string>

#include "platform/library_life.h"
#include "platform/windows/api.h"

namespace platform {

namespace {

// Appending alone does not keep the lines of two processes whole on every file system. They agree
// on one byte that no file has.
constexpr DWORD agreed_byte_high = 0x7FFFFFFF;
// A process that was stopped while it had the lock must not keep the others from writing.
constexpr int lock_attempts = 200;

class AgreedLock {
  public:
    explicit AgreedLock(HANDLE file) : file_(file) {
        // At the end of the process a dead thread of this one may have it for good.
        const int attempts = OtherThreadsAreDead() ? 0 : lock_attempts;
        for (int i = 0; i < attempts && !held_; ++i) {
            OVERLAPPED where = Where();
            held_ = LockFileEx(file_, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0,
                               &where) != 0;
            if (!held_) Sleep(i < attempts / 2 ? 0 : 1);
        }
    }
    ~AgreedLock() {
        OVERLAPPED where = Where();
        if (held_) UnlockFileEx(file_, 0, 1, 0, &where);
    }
    AgreedLock(const AgreedLock&) = delete;
    AgreedLock& operator=(const AgreedLock&) = delete;

  private:
    static OVERLAPPED Where() {
        OVERLAPPED where{};
        where.OffsetHigh = agreed_byte_high;
        return where;
    }

    HANDLE file_;
    bool held_ = false;
};

HANDLE HandleOf(intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

}  // namespace

NoWriteSignals::NoWriteSignals() = default;
NoWriteSignals::~NoWriteSignals() = default;

bool AppendFile::Open(const char* path) {
    Close();
    // Locking needs the right to read.
    handle_ = reinterpret_cast<intptr_t>(
        CreateFileA(path, FILE_APPEND_DATA | FILE_READ_DATA | SYNCHRONIZE,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                    FILE_ATTRIBUTE_NORMAL, nullptr));
    return IsOpen();
}

void AppendFile::Close() {
    if (IsOpen()) CloseHandle(HandleOf(handle_));
    handle_ = no_handle;
}

void AppendFile::Append(std::string_view lines) {
    const AgreedLock lock(HandleOf(handle_));
    std::string behind_torn;
    if (torn_) {
        behind_torn.append("\n").append(lines);
        lines = behind_torn;
    }
    DWORD written = 0;
    WriteFile(HandleOf(handle_), lines.data(), static_cast<DWORD>(lines.size()), &written, nullptr);
    // Of what was refused as a whole there is nothing to see.
    if (written > 0) torn_ = written < lines.size();
}

}  // namespace platform
