#include "support/command_line.h"

#include <array>
#include <csignal>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace support {

namespace {

// For a shell, whose place the program takes.
std::string ShellCommand(const ProgramCall& call) {
    std::string command;
    if (!call.folder.empty()) command += "cd '" + call.folder.string() + "' && ";
    for (const auto& [name, value] : call.variables) command += name + "='" + value + "' ";
    return command + "exec '" + call.program + "' " + call.arguments + " 2>&1";
}

}  // namespace

RunningProgram::RunningProgram(const ProgramCall& call) {
    const std::string command = ShellCommand(call);
    std::array<int, 2> pipe_ends{};
    if (pipe(pipe_ends.data()) != 0) throw std::system_error(errno, std::generic_category());
    process_ = fork();
    if (process_ < 0) throw std::system_error(errno, std::generic_category());
    if (process_ == 0) {
        dup2(pipe_ends[1], STDOUT_FILENO);
        close(pipe_ends[0]);
        close(pipe_ends[1]);
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    close(pipe_ends[1]);
    output_ = pipe_ends[0];
}

RunningProgram::~RunningProgram() {
    if (process_ > 0) {
        Signal(SIGKILL);
        Wait();
    }
    close(static_cast<int>(output_));
}

void RunningProgram::Signal(int number) const {
    kill(static_cast<pid_t>(process_), number);
}

size_t RunningProgram::Read(char* buffer, size_t size) {
    const ssize_t count = read(static_cast<int>(output_), buffer, size);
    return count > 0 ? static_cast<size_t>(count) : 0;
}

int RunningProgram::Wait() {
    int status = 0;
    const auto process = static_cast<pid_t>(std::exchange(process_, -1));
    return waitpid(process, &status, 0) == process && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace support
