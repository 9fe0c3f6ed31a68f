#include "orvex/run_again.h"

#include <array>
#include <cstdlib>
#include <windows.h>

namespace orvex {

// A process can't be replaced; this one waits for the other and ends as it did. Signals reach both,
// as they share the console.
void run_again(const std::vector<std::pair<std::string, std::string>>& variables) {
    for (const auto& [name, value] : variables)
        SetEnvironmentVariableA(name.c_str(), value.c_str());
    std::array<char, 32768> program{};
    const DWORD length = GetModuleFileNameA(nullptr, program.data(), DWORD{program.size()});
    if (length == 0 || length == program.size()) return;
    std::string command_line = GetCommandLineA();
    STARTUPINFOA start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION process{};
    if (!CreateProcessA(program.data(), command_line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                        nullptr, &start, &process))
        return;
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD status = EXIT_FAILURE;
    GetExitCodeProcess(process.hProcess, &status);
    std::exit(static_cast<int>(status));
}

}  // namespace orvex
