#include "orvex/run_again.h"

#include <cstdlib>
#include <fstream>
#include <unistd.h>

namespace orvex {

void run_again(const std::vector<std::pair<std::string, std::string>>& variables) {
    for (const auto& [name, value] : variables) setenv(name.c_str(), value.c_str(), 1);
    std::vector<std::string> arguments;
    std::ifstream command_line("/proc/self/cmdline", std::ios::binary);
    for (std::string argument; std::getline(command_line, argument, '\0');) {
        arguments.push_back(argument);
    }
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    execv("/proc/self/exe", pointers.data());
}

}  // namespace orvex
