#include "support/command_line.h"

#include <algorithm>
#include <csignal>
#include <memory>
#include <stdexcept>
#include <system_error>

#include "platform/windows/api.h"
#include "support/environment.h"
#include "support/windows/end_with_this_process.h"

namespace support {

namespace {

HANDLE HandleOf(intptr_t value) {
    return reinterpret_cast<HANDLE>(value);
}

void Require(BOOL result) {
    if (!result) throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
}

struct Pipe {
    HANDLE read = nullptr, write = nullptr;

    Pipe() {
        SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
        Require(CreatePipe(&read, &write, &inherited, 0));
        SetHandleInformation(read, HANDLE_FLAG_INHERIT, 0);
    }
    ~Pipe() { CloseHandle(write); }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
};

}  // namespace

// Each in a console of its own, so that its interrupt meets no other.
RunningProgram::RunningProgram(const ProgramCall& call) {
    const Pipe pipe;
    std::vector<std::unique_ptr<Environment>> variables;
    for (const auto& [name, value] : call.variables)
        variables.push_back(std::make_unique<Environment>(name, value));
    std::string line = '"' + call.program + ".exe\" " + call.arguments;
    std::replace(line.begin(), line.end(), '\'', '"');
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = pipe.write;
    PROCESS_INFORMATION process{};
    const std::string folder = call.folder.string();
    const BOOL started =
        CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_NEW_CONSOLE, nullptr,
                       folder.empty() ? nullptr : folder.c_str(), &startup, &process);
    output_ = reinterpret_cast<intptr_t>(pipe.read);
    Require(started);
    EndWithThisProcess(process.hProcess);
    CloseHandle(process.hThread);
    process_ = reinterpret_cast<intptr_t>(process.hProcess);
}

RunningProgram::~RunningProgram() {
    if (process_ != -1) {
        TerminateProcess(HandleOf(process_), 1);
        Wait();
    }
    CloseHandle(HandleOf(output_));
}

// Whoever is at a console gets its interrupts.
void RunningProgram::Signal(int number) const {
    if (number != SIGINT) throw std::invalid_argument("no such signal");
    static const BOOL ignored = SetConsoleCtrlHandler([](DWORD) { return TRUE; }, TRUE);
    Require(ignored);
    FreeConsole();
    Require(AttachConsole(GetProcessId(HandleOf(process_))));
    Require(GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0));
    FreeConsole();
}

// Lines end as they do elsewhere.
size_t RunningProgram::Read(char* buffer, size_t size) {
    DWORD count = 0;
    while (ReadFile(HandleOf(output_), buffer, static_cast<DWORD>(size), &count, nullptr) &&
           count > 0) {
        char* const end = std::remove(buffer, buffer + count, '\r');
        if (end != buffer) return static_cast<size_t>(end - buffer);
    }
    return 0;
}

int RunningProgram::Wait() {
    const HANDLE process = HandleOf(std::exchange(process_, -1));
    DWORD status = 0;
    const bool ended = WaitForSingleObject(process, INFINITE) == WAIT_OBJECT_0 &&
                       GetExitCodeProcess(process, &status) != 0;
    CloseHandle(process);
    return ended ? static_cast<int>(status) : -1;
}

}  // namespace support
