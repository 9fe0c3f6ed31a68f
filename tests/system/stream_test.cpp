// orvex stream and orvex metadata as a user runs them. The cameras write the number of the frame
// into its first and last pixels, so that a recording proves by itself which frames it has.
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <numeric>
#include <string>

#include "support/command_line.h"
#include "support/eventually.h"
#include "support/image_reading.h"
#include "support/scene_image.h"
#include "support/temp_dir.h"

namespace {

using nlohmann::json;
using support::Eventually;
using support::ProgramOutput;
using testing::HasSubstr;

constexpr uns32 side = 128;
constexpr size_t frame_bytes = size_t{side} * side * 2;
constexpr rgn_type place{16, 16 + side - 1, 1, 32, 32 + side - 1, 1};
const std::string region = " --roi 16,32,128,128";

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
        const std::filesystem::path path = folder_ / recording;
        if (path.extension() == ".raw") return support::ReadRaw(path, frame_bytes);
        const support::Frames frames =
            path.extension() == ".fits" ? support::ReadFits(path) : support::ReadTiff(path);
        EXPECT_EQ(frames.width, side);
        EXPECT_EQ(frames.height, side);
        return frames.pixels;
    }

    support::TempDir folder_;
    std::filesystem::path configuration_;
    support::CommandLineProgram program_;
};

// What a frame with stamps must hold.
std::vector<uns16> Expected(uns32 number) {
    std::vector<uns16> pixels = support::RampRegion(place);
    const auto low = static_cast<uns16>(number), high = static_cast<uns16>(number >> 16);
    pixels[0] = pixels[pixels.size() - 2] = low;
    pixels[1] = pixels[pixels.size() - 1] = high;
    return pixels;
}

// The numbers of frames that the side file says are there.
std::vector<uns32> NumbersOf(const json& facts) {
    std::vector<uns32> numbers;
    uns32 next = 1;
    const auto frames = facts.at("frames").get<size_t>();
    const auto add_until = [&](uns32 end) {
        for (; next < end && numbers.size() < frames; ++next) numbers.push_back(next);
    };
    for (const json& gap : facts.at("gaps")) {
        add_until(gap.at(0).get<uns32>());
        next = gap.at(0).get<uns32>() + gap.at(1).get<uns32>();
    }
    add_until(0xFFFFFFFF);
    return numbers;
}

void ExpectFrames(const std::vector<std::vector<uns16>>& frames,
                  const std::vector<uns32>& numbers) {
    ASSERT_EQ(frames.size(), numbers.size());
    for (size_t i = 0; i < frames.size(); ++i) {
        ASSERT_EQ(frames[i], Expected(numbers[i])) << "frame " << i;
    }
}

std::vector<uns32> FirstNumbers(size_t count) {
    std::vector<uns32> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 1);
    return numbers;
}

class RecordedFormat : public Stream, public testing::WithParamInterface<const char*> {
  protected:
    const std::string file_ = std::string("deep/run") + GetParam();
};

TEST_P(RecordedFormat, HoldsEveryFrameOnce) {
    const ProgramOutput output =
        Orvex("stream Slow --frames 150 --ring 1000 --exposure 1 --record " + file_ + region);
    ASSERT_EQ(output.status, 0) << output.text;
    EXPECT_THAT(output.text, HasSubstr("150 frames of 32768 bytes"));
    ExpectFrames(Frames(file_), FirstNumbers(150));
    const json facts = SideFile(file_);
    EXPECT_EQ(facts["frames"], 150);
    EXPECT_EQ(facts["first_frame"], 1);
    EXPECT_EQ(facts["frame_bytes"], frame_bytes);
    EXPECT_EQ(facts["complete"], true);
    EXPECT_TRUE(facts["gaps"].empty());
}

TEST_P(RecordedFormat, IsReadableAfterAnInterrupt) {
    support::RunningProgram run(
        program_.Command("stream Slow --ring 1000 --exposure 1 --record " + file_ + region));
    ASSERT_TRUE(Eventually([&] {
        std::error_code none_yet;
        const auto size = std::filesystem::file_size(folder_ / (file_ + ".part"), none_yet);
        return !none_yet && size > 40 * frame_bytes;
    }));
    run.Signal(SIGINT);
    const ProgramOutput output = run.Finish();
    EXPECT_EQ(output.status, 128 + SIGINT) << output.text;
    EXPECT_THAT(output.text, HasSubstr("(interrupted)"));
    const json facts = SideFile(file_);
    EXPECT_EQ(facts["complete"], true);
    EXPECT_GE(facts["frames"].get<int>(), 20);
    ExpectFrames(Frames(file_), NumbersOf(facts));
}

INSTANTIATE_TEST_SUITE_P(Endings, RecordedFormat, testing::Values(".tif", ".fits", ".raw"));

// A camera that laps its ring all the time: what is in the file is whole, and what is not in it is
// told.
TEST_F(Stream, FramesThatWereOverwrittenAreToldAndNotMixed) {
    const ProgramOutput output =
        Orvex("stream Fast --frames 400 --ring 16 --exposure 1 --json --record run.raw" + region);
    ASSERT_EQ(output.status, 0) << output.text;
    const json facts = SideFile("run.raw");
    ExpectFrames(Frames("run.raw"), NumbersOf(facts));
    uns32 lost = 0;
    for (const json& gap : facts["gaps"]) lost += gap[1].get<uns32>();
    const json summary = json::parse(output.text);
    EXPECT_EQ(summary["frames"], 400);
    EXPECT_EQ(summary["lost"], lost);
    EXPECT_GT(summary["latency_above_fastest_us"]["notifications"], 0);
}

TEST_F(Stream, AFullRingThatMustNotBeOverwrittenEndsTheRun) {
    const ProgramOutput output =
        Orvex("stream Fast --no-overwrite --ring 8 --exposure 1 --record run.raw" + region);
    EXPECT_EQ(output.status, 1);
    EXPECT_THAT(output.text, HasSubstr("the ring was full after frame"));
    EXPECT_THAT(output.text, HasSubstr("lost     0"));
    // It may have been full before the first frame was taken; then there is no file.
    if (!std::filesystem::exists(folder_ / "run.raw")) return;
    const auto frames = Frames("run.raw");
    ExpectFrames(frames, FirstNumbers(frames.size()));
}

// By a signal, and by the time-out.
TEST_F(Stream, ARunWithoutFramesFailsAndLeavesNoFile) {
    support::RunningProgram run(program_.Command("stream Silent --record run.tif" + region));
    ASSERT_TRUE(Eventually([&] { return std::filesystem::exists(folder_ / "run.tif.part"); }));
    run.Signal(SIGINT);
    const ProgramOutput interrupted = run.Finish();
    EXPECT_EQ(interrupted.status, 128 + SIGINT);
    EXPECT_THAT(interrupted.text, HasSubstr("no frame arrived"));
    const ProgramOutput late = Orvex("stream Silent --timeout 0.3 --record run.tif" + region);
    EXPECT_EQ(late.status, 1);
    EXPECT_THAT(late.text, HasSubstr("no frame within 0.3 s; there was none before"));
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
        EXPECT_EQ(entry.path().filename(), "cameras.json");
    }
}

TEST_F(Stream, WhatCameBeforeTheCameraWasUnpluggedIsKept) {
    const ProgramOutput output =
        Orvex("stream Loose --ring 100 --exposure 1 --record run.fits" + region);
    EXPECT_EQ(output.status, 1);
    EXPECT_THAT(output.text, HasSubstr("orvex: the camera is gone"));
    // The last frames may have been in the ring when the transfer failed.
    if (!std::filesystem::exists(folder_ / "run.fits")) return;
    const auto frames = Frames("run.fits");
    EXPECT_LE(frames.size(), 31u);
    ExpectFrames(frames, FirstNumbers(frames.size()));
}

// Metadata begin where the stamp would be; the frames carry their numbers themselves.
class Metadata : public Stream {
  protected:
    Metadata() : Stream(SceneKeys()) {}

    static std::string SceneKeys() {
        scene_.WriteTiff(scene_folder_ / "scene.tif");
        return R"("scene": {"kind": "file", "path": ")" + (scene_folder_ / "scene.tif").string() +
               "\"}";
    }

    void Record(const std::string& binning, unsigned frames) const {
        const ProgramOutput output = Orvex(
            "stream --set metadata_enabled=on --roi 100,200,60,40 --roi 300,220,32,64"
            " --roi 40,400,200,20 Fast --ring 200 --exposure 2 --record run.raw --bin " +
            binning + " --frames " + std::to_string(frames));
        ASSERT_EQ(output.status, 0) << output.text;
    }

    static inline support::TempDir scene_folder_;
    static inline support::SceneImage scene_{2048, 2048, 11};
};

// The regions in a picture as large as all of them, and black between them.
std::vector<uns16> Paint(const support::SceneImage& scene, std::vector<rgn_type> regions,
                         const rgn_type& box) {
    const size_t width = (box.s2 - box.s1 + 1u) / box.sbin;
    const size_t height = (box.p2 - box.p1 + 1u) / box.pbin;
    std::vector<uns16> out(width * height);
    for (rgn_type& r : regions) {
        r.sbin = box.sbin;
        r.pbin = box.pbin;
        const std::vector<uns16> pixels = scene.CropAndBin(r);
        const size_t columns = (r.s2 - r.s1 + 1u) / r.sbin;
        for (size_t i = 0; i < pixels.size(); ++i) {
            const size_t x = static_cast<size_t>(r.s1 - box.s1) / r.sbin + i % columns;
            const size_t y = static_cast<size_t>(r.p1 - box.p1) / r.pbin + i / columns;
            out[y * width + x] = pixels[i];
        }
    }
    return out;
}

TEST_F(Metadata, RecomposedFramesShowTheSceneWhereRegionsAre) {
    constexpr uns16 binning = 2;
    Record("2", 12);
    const ProgramOutput output = Orvex("metadata run.raw --out pictures/all.tif");
    ASSERT_EQ(output.status, 0) << output.text;
    const std::vector<uns16> expected = Paint(
        scene_, {{100, 159, 1, 200, 239, 1}, {300, 331, 1, 220, 283, 1}, {40, 239, 1, 400, 419, 1}},
        {40, 331, binning, 200, 419, binning});
    const support::Frames pictures = support::ReadTiff(folder_ / "pictures/all.tif");
    EXPECT_EQ(pictures.width, 292u / binning);
    EXPECT_EQ(pictures.height, 220u / binning);
    ASSERT_EQ(pictures.pixels.size(), 12u);
    for (const auto& picture : pictures.pixels) ASSERT_EQ(picture, expected);
}

TEST_F(Metadata, TellsHeadersAndRegions) {
    Record("1", 5);
    const ProgramOutput all = Orvex("metadata run.raw --json");
    ASSERT_EQ(all.status, 0) << all.text;
    const json facts = json::parse(all.text);
    const std::vector<uns32> numbers = NumbersOf(facts);
    ASSERT_EQ(facts["decoded"].size(), 5u);
    for (size_t i = 0; i < 5; ++i) {
        const json& frame = facts["decoded"][i];
        EXPECT_EQ(frame["number"], numbers[i]);
        EXPECT_EQ(frame["exposure_ns"], 2000000);
        EXPECT_EQ(frame["box"], json({40, 200, 292, 220}));
        ASSERT_EQ(frame["regions"].size(), 3u);
        EXPECT_EQ(frame["regions"][1]["region"], json({300, 220, 32, 64}));
        EXPECT_EQ(frame["regions"][1]["pixel_bytes"], 32 * 64 * 2);
    }
    const ProgramOutput one = Orvex("metadata run.raw --frame 2 --out two.png");
    EXPECT_THAT(one.text, HasSubstr("300,220,32,64"));
    EXPECT_GT(std::filesystem::file_size(folder_ / "two.png"), 1000u);
    EXPECT_THAT(Orvex("metadata run.raw --frame 6").text, HasSubstr("has 5 frames"));
}

TEST_F(Metadata, SpotsBringTheirTags) {
    const ProgramOutput output = Orvex(
        "stream Fast --set metadata_enabled=on --set centroids_enabled=on --set centroids_count=3"
        " --roi 0,0,256,256 --ring 200 --frames 2 --record spots.raw");
    ASSERT_EQ(output.status, 0) << output.text;
    const ProgramOutput shown = Orvex("metadata spots.raw --json --out spots.tif");
    ASSERT_EQ(shown.status, 0) << shown.text;
    const json spots = json::parse(shown.text)["decoded"][0]["regions"];
    ASSERT_GT(spots.size(), 0u);
    EXPECT_EQ(spots[0]["tags"][0]["name"], "Particle ID");
    EXPECT_EQ(spots[0]["tags"][1]["name"], "Particle M0");
    // Squares anywhere in the region are painted into a picture of the region.
    EXPECT_EQ(support::ReadTiff(folder_ / "spots.tif").width, 256u);
}

TEST_F(Metadata, CutAndDamagedRecordings) {
    Record("1", 4);
    const std::filesystem::path path = folder_ / "run.raw";
    const auto size = std::filesystem::file_size(path);
    std::filesystem::resize_file(path, size - 100);
    EXPECT_EQ(json::parse(Orvex("metadata run.raw --json").text)["decoded"].size(), 3u);
    {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(size / 4));
        file << "no signature";
    }
    const ProgramOutput damaged = Orvex("metadata run.raw");
    EXPECT_EQ(damaged.status, 1);
    EXPECT_THAT(damaged.text, HasSubstr("frame 2 of 'run.raw' can't be decoded"));
    EXPECT_THAT(damaged.text, HasSubstr("[error 46]"));
    EXPECT_EQ(Orvex("metadata run.raw --frame 3").status, 0);
    std::filesystem::remove(folder_ / "run.raw.json");
    EXPECT_THAT(Orvex("metadata run.raw").text, HasSubstr("cannot read 'run.raw.json'"));
}

struct Refusal {
    const char* arguments;
    const char* words;
};

const Refusal refusals[] = {
    {"stream Slow --frames 2 --record run.png", "must end in .tif"},
    {"stream Slow --frames 2 --record cameras.json/run.raw", "cameras.json"},
    {"stream Fast --frames 2 --set metadata_enabled=on --record run.tif", "as .raw"},
    {"stream Slow --frames 2 --ring 4000000000", "a ring ends at 4 GiB"},
    {"stream Slow --frames 2 --seconds 1", "excludes"},
    {"stream Slow --frames 2 --roi 2000,0,8,8", "[error 33]"},
    {"metadata nothing.raw", "nothing.raw.json"}};

TEST_F(Stream, RefusalsSayWhy) {
    for (const auto& [arguments, words] : refusals) {
        const ProgramOutput output = Orvex(arguments);
        EXPECT_NE(output.status, 0);
        EXPECT_THAT(output.text, HasSubstr(words)) << arguments;
    }
}

}  // namespace
