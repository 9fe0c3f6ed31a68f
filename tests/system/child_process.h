#pragma once

#include <string>

struct ChildRun {
    int exit_code = -1;
    std::string output;
};

// Runs a body of tests/child, or of another program, in a process of its own with the given
// environment ("NAME=value ...") and keeps what it writes. One that hangs is killed.
ChildRun RunInChild(const std::string& body, const std::string& environment = "",
                    const std::string& program = ORVEX_TEST_CHILD);
