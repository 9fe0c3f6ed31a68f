#include "support/command_line.h"

#include <array>
#include <csignal>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace support {

std::string CommandLineProgram::Command(const std::string& arguments) const {
    return "cd '" + folder_.string() + "' && TMPDIR='" + folder_.string() + "' ORVEX_SOFTCAM='" +
           configuration_.string() + "' exec '" ORVEX_BIN_DIR "/orvex' " + arguments + " 2>&1";
}

ProgramOutput CommandLineProgram::Run(const std::string& arguments) const {
    return RunningProgram(Command(arguments)).Finish();
}

RunningProgram::RunningProgram(const std::string& command) {
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
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    close(output_);
}

void RunningProgram::Signal(int number) const {
    kill(process_, number);
}

std::string RunningProgram::ReadLine() {
    std::string line;
    for (char character; !line.ends_with('\n') && read(output_, &character, 1) == 1;)
        line += character;
    return line;
}

ProgramOutput RunningProgram::Finish() {
    ProgramOutput output;
    std::array<char, 4096> buffer{};
    for (ssize_t count; (count = read(output_, buffer.data(), buffer.size())) > 0;) {
        output.text.append(buffer.data(), static_cast<size_t>(count));
    }
    int status = 0;
    if (waitpid(process_, &status, 0) == process_ && WIFEXITED(status)) {
        output.status = WEXITSTATUS(status);
    }
    process_ = -1;
    return output;
}

}  // namespace support
