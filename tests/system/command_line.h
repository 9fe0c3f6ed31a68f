#pragma once

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <string>

#include "support/command_line.h"
#include "support/temp_dir.h"

using Output = support::ProgramOutput;

// The program orvex as a user runs it, against noiseless software cameras.
class CommandLine : public testing::Test {
  protected:
    CommandLine() : program_(folder_.path(), folder_ / "cameras.json") {
        folder_.write("cameras.json", R"({"noise": false, "time_scale": 0,
            "scene": {"kind": "ramp"},
            "cameras": [
                {"model": "ccd", "name": "Left"},
                {"model": "cmos", "name": "Right"},
                {"model": "cmos", "name": "Stuck",
                 "faults": [{"fault": "stuck_transfer", "after": 2}]},
                {"model": "ccd", "name": "Loose", "faults": [{"fault": "unplug", "after": 1}]},
                {"model": "ccd", "name": "Warm", "time_scale": 1}]})");
    }

    Output Orvex(const std::string& arguments) const { return program_.Run(arguments); }

    std::string Content(const std::string& name) const {
        std::ifstream file(folder_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // What commands left beside the file of the fixture.
    std::set<std::string> Files() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
            names.insert(entry.path().filename().string());
        }
        names.erase("cameras.json");
        return names;
    }

    support::TempDir folder_;
    support::CommandLineProgram program_;
};
