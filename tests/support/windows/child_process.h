#pragma once

#include <array>
#include <string>

#include "support/windows/end_with_this_process.h"

namespace support {

// A program of this folder in a process of its own, ended at the latest with this object.
class ChildProcess {
  public:
    static constexpr int still_running = -1;

    explicit ChildProcess(const std::string& command) {
        std::array<char, MAX_PATH> own{};
        GetModuleFileNameA(nullptr, own.data(), static_cast<DWORD>(own.size()));
        std::string line = own.data();
        line = '"' + line.substr(0, line.rfind('\\') + 1) + "windows_child.exe\" " + command;
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                       &process_);
        EndWithThisProcess(process_.hProcess);
    }
    ~ChildProcess() {
        TerminateProcess(process_.hProcess, 1);
        CloseHandle(process_.hProcess);
        CloseHandle(process_.hThread);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Its exit code; still_running when it does not end in time.
    int Wait(DWORD limit_ms = 120'000) {
        DWORD code = 0;
        if (WaitForSingleObject(process_.hProcess, limit_ms) != WAIT_OBJECT_0 ||
            !GetExitCodeProcess(process_.hProcess, &code))
            return still_running;
        return static_cast<int>(code);
    }

  private:
    PROCESS_INFORMATION process_{};
};

}  // namespace support
