#pragma once

#include <string>
#include <utility>
#include <vector>

namespace orvex {

// Runs the program once more in place of this run, on the same command line, with these variables
// in its environment. Returns only when that is impossible.
void run_again(const std::vector<std::pair<std::string, std::string>>& variables);

}  // namespace orvex
