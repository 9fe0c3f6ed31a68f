#pragma once

#include <string>

#include "support/command_line.h"

// Runs a body of tests/child, or of another program, in a process of its own with the given
// environment ("NAME=value ...") and keeps what it writes. One that hangs is killed.
inline support::ProgramOutput RunInChild(const std::string& body,
                                         const std::string& environment = "",
                                         const std::string& program = ORVEX_TEST_CHILD) {
    return support::RunningProgram(
               {"/usr/bin/env", environment + " timeout -s KILL 200 '" + program + "' " + body})
        .Finish();
}
