#include "child_process.h"

#include <array>
#include <cstdio>
#include <sys/wait.h>

ChildRun RunInChild(const std::string& body, const std::string& environment,
                    const std::string& program) {
    const std::string command =
        "env " + environment + " timeout -s KILL 200 '" + program + "' " + body + " 2>&1";
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
