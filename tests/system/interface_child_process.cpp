#include "interface_child_process.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <sys/wait.h>

ChildRun RunInChild(const std::string& test, const std::string& environment) {
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    const std::string command = "env " + environment + " '" + program +
                                "' --gtest_also_run_disabled_tests --gtest_filter=" + test +
                                " 2>&1";
    ChildRun run;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return run;
    std::array<char, 4096> buffer;
    while (size_t count = fread(buffer.data(), 1, buffer.size(), pipe)) {
        run.output.append(buffer.data(), count);
    }
    const int status = pclose(pipe);
    if (WIFEXITED(status)) run.exit_code = WEXITSTATUS(status);
    return run;
}
