#pragma once

#include <string>

// Runs a test of this program that is disabled in itself, in a process of its own with the given
// environment ("NAME=value ..."), and keeps what it writes.
struct ChildRun {
    int exit_code = -1;
    std::string output;
};

ChildRun RunInChild(const std::string& test, const std::string& environment);
