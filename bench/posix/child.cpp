#include "child.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

namespace bench {

void tell(const std::string& name, double value) {
    std::printf("%s %.9g\n", name.c_str(), value);
}

Figures run(const std::string& command) {
    std::FILE* output = popen(command.c_str(), "r");
    if (!output) throw std::runtime_error("cannot run " + command);
    Figures figures;
    std::array<char, 256> line{};
    while (std::fgets(line.data(), line.size(), output)) {
        std::istringstream words(line.data());
        std::string name;
        double value = 0;
        if (words >> name >> value) figures[name] = value;
    }
    if (pclose(output) != 0) throw std::runtime_error("failed: " + command);
    return figures;
}

TraceFile::TraceFile()
    : path_(std::filesystem::temp_directory_path() /
            ("orvex-bench-" + std::to_string(getpid()) + ".log")) {}

TraceFile::~TraceFile() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

Figures run_traced(const std::string& kind, const TraceFile& trace) {
    const std::string program = std::filesystem::read_symlink("/proc/self/exe");
    return run("ORVEX_CORE_LOG_FILE='" + trace.path() + "' '" + program + "' --child " + kind);
}

}  // namespace bench
