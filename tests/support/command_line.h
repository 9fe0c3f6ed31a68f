#pragma once

#include <filesystem>
#include <string>
#include <sys/types.h>

namespace support {

struct ProgramOutput {
    int status = -1;   // exit status, -1 when it did not exit by itself
    std::string text;  // both streams
};

// The program orvex in a folder, with a configuration of the software camera.
class CommandLineProgram {
  public:
    CommandLineProgram(std::filesystem::path folder, std::filesystem::path configuration)
        : folder_(std::move(folder)), configuration_(std::move(configuration)) {}

    // The arguments are read by a shell.
    ProgramOutput Run(const std::string& arguments) const;

    // For a shell; the process of the program takes the place of the shell's.
    std::string Command(const std::string& arguments) const;

  private:
    std::filesystem::path folder_;
    std::filesystem::path configuration_;
};

// A command of a shell that is not waited for; killed in the end when it goes on.
class RunningProgram {
  public:
    explicit RunningProgram(const std::string& command);
    ~RunningProgram();
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    void Signal(int number) const;
    // Empty at the end.
    std::string ReadLine();
    // Reads all that it still says and waits for its end.
    ProgramOutput Finish();

  private:
    pid_t process_ = -1;
    int output_ = -1;
};

}  // namespace support
