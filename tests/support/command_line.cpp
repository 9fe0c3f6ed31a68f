#include "support/command_line.h"

#include <array>

namespace support {

ProgramCall CommandLineProgram::Command(const std::string& arguments) const {
    return {
        .program = ORVEX_BIN_DIR "/orvex",
        .arguments = arguments,
        .folder = folder_,
        .variables = {{"TMPDIR", folder_.string()}, {"ORVEX_SOFTCAM", configuration_.string()}}};
}

ProgramOutput CommandLineProgram::Run(const std::string& arguments) const {
    return RunningProgram(Command(arguments)).Finish();
}

std::string RunningProgram::ReadLine() {
    std::string line;
    for (char character; !line.ends_with('\n') && Read(&character, 1) == 1;) line += character;
    return line;
}

ProgramOutput RunningProgram::Finish() {
    ProgramOutput output;
    std::array<char, 4096> buffer{};
    while (const size_t count = Read(buffer.data(), buffer.size()))
        output.text.append(buffer.data(), count);
    output.status = Wait();
    return output;
}

}  // namespace support
