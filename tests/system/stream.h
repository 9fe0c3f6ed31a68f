#pragma once

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/command_line.h"
#include "support/temp_dir.h"

#include "frame_formats.h"

using nlohmann::json;
using support::ProgramOutput;

constexpr uns32 side = 128;

// The program orvex with cameras to take streams of.
class Stream : public testing::Test {
  protected:
    // Keys of the configuration beside the cameras.
    explicit Stream(const std::string& keys = R"("stamp": true, "scene": {"kind": "ramp"})")
        : configuration_(folder_.write(
              "cameras.json", R"({"noise": false, "time_scale": 0, )" + keys + R"(, "cameras": [
            {"model": "ccd", "name": "Slow"},
            {"model": "cmos", "name": "Fast"},
            {"model": "cmos", "name": "Silent", "faults": [{"fault": "stuck_transfer"}]},
            {"model": "ccd", "name": "Loose", "faults": [{"fault": "unplug", "after": 30}]}]})")),
          program_(folder_.path(), configuration_) {}

    ProgramOutput Orvex(const std::string& arguments) const { return program_.Run(arguments); }

    json SideFile(const std::string& recording) const {
        std::ifstream file(folder_ / (recording + ".json"));
        return json::parse(file);
    }

    std::vector<std::vector<uns16>> Frames(const std::string& recording) const {
        return tests::ReadFrames(folder_ / recording, side, side);
    }

    support::TempDir folder_;
    std::filesystem::path configuration_;
    support::CommandLineProgram program_;
};

// Metadata begin where the stamp would be; the frames carry their numbers themselves.
class Metadata : public Stream {
  protected:
    explicit Metadata(const std::string& scene = R"({"kind": "ramp"})")
        : Stream(R"("scene": )" + scene) {}

    void Record(const std::string& binning, unsigned frames) const {
        const ProgramOutput output = Orvex(
            "stream --set metadata_enabled=on --roi 100,200,60,40 --roi 300,220,32,64"
            " --roi 40,400,200,20 Fast --ring 200 --exposure 2 --record run.raw --bin " +
            binning + " --frames " + std::to_string(frames));
        ASSERT_EQ(output.status, 0) << output.text;
    }
};
