#pragma once

#include <string>

struct ChildRun {
    int exit_code = -1;
    std::string output;
};

// Runs a body of tests/child in a process of its own with the given environment ("NAME=value ...")
// and keeps what it writes.
ChildRun RunInChild(const std::string& body, const std::string& environment = "");
