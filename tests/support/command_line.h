#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace support {

struct ProgramOutput {
    int status = -1;   // exit status, -1 when it did not exit by itself
    std::string text;  // both streams
};

// A program and what it is run with.
struct ProgramCall {
    std::string program;
    std::string arguments;              // as one types them; in single quotes what has blanks
    std::filesystem::path folder = {};  // in which it runs
    std::vector<std::pair<std::string, std::string>> variables = {};
};

// The program orvex in a folder, with a configuration of the software camera.
class CommandLineProgram {
  public:
    CommandLineProgram(std::filesystem::path folder, std::filesystem::path configuration)
        : folder_(std::move(folder)), configuration_(std::move(configuration)) {}

    ProgramOutput Run(const std::string& arguments) const;
    ProgramCall Command(const std::string& arguments) const;

  private:
    std::filesystem::path folder_;
    std::filesystem::path configuration_;
};

// A program that is not waited for; killed in the end when it goes on.
class RunningProgram {
  public:
    explicit RunningProgram(const ProgramCall& call);
    ~RunningProgram();
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    // SIGINT is what the key for it does, and all that there is on Windows.
    void Signal(int number) const;
    // Empty at the end.
    std::string ReadLine();
    // Reads all that it still says and waits for its end.
    ProgramOutput Finish();

  private:
    size_t Read(char* buffer, size_t size);  // 0 at the end
    int Wait();                              // for the exit status

    intptr_t process_ = -1;
    intptr_t output_ = -1;
};

}  // namespace support
