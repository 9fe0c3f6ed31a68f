// orvex stream and orvex metadata as a user runs them. The cameras write the number of the frame
// into its first and last pixels, so that a recording proves by itself which frames it has.
#include "stream.h"

#include <csignal>
#include <gmock/gmock.h>
#include <numeric>

#include "support/eventually.h"
#include "support/scene_image.h"

namespace {

using support::Eventually;
using testing::HasSubstr;

constexpr size_t frame_bytes = size_t{side} * side * 2;
constexpr rgn_type place{16, 16 + side - 1, 1, 32, 32 + side - 1, 1};
const std::string region = " --roi 16,32,128,128";

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

class RecordedFormat : public Stream, public testing::WithParamInterface<std::string> {
  protected:
    const std::string file_ = "deep/run" + GetParam();
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

INSTANTIATE_TEST_SUITE_P(Endings, RecordedFormat, testing::ValuesIn(tests::RecordedEndings()));

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
    support::RunningProgram run(program_.Command("stream Silent --record run.raw" + region));
    ASSERT_TRUE(Eventually([&] { return std::filesystem::exists(folder_ / "run.raw.part"); }));
    run.Signal(SIGINT);
    const ProgramOutput interrupted = run.Finish();
    EXPECT_EQ(interrupted.status, 128 + SIGINT);
    EXPECT_THAT(interrupted.text, HasSubstr("no frame arrived"));
    const ProgramOutput late = Orvex("stream Silent --timeout 0.3 --record run.raw" + region);
    EXPECT_EQ(late.status, 1);
    EXPECT_THAT(late.text, HasSubstr("no frame within 0.3 s; there was none before"));
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
        EXPECT_EQ(entry.path().filename(), "cameras.json");
    }
}

TEST_F(Stream, WhatCameBeforeTheCameraWasUnpluggedIsKept) {
    const ProgramOutput output =
        Orvex("stream Loose --ring 100 --exposure 1 --record run.raw" + region);
    EXPECT_EQ(output.status, 1);
    EXPECT_THAT(output.text, HasSubstr("orvex: the camera is gone"));
    // The last frames may have been in the ring when the transfer failed.
    if (!std::filesystem::exists(folder_ / "run.raw")) return;
    const auto frames = Frames("run.raw");
    EXPECT_LE(frames.size(), 31u);
    ExpectFrames(frames, FirstNumbers(frames.size()));
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
    EXPECT_THAT(Orvex("metadata run.raw --frame 2").text, HasSubstr("300,220,32,64"));
    EXPECT_THAT(Orvex("metadata run.raw --frame 6").text, HasSubstr("has 5 frames"));
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
    {"stream Slow --frames 2 --record run.png", "'run.png' must end in ."},
    {"stream Slow --frames 2 --record cameras.json/run.raw", "cameras.json"},
    {"stream Slow --frames 2 --ring 4000000000", "a ring ends at 4 GiB"},
    {"stream Slow --frames 2 --seconds 1", "excludes"},
    {"stream Slow --frames 2 --roi 2000,0,8,8", "[error 33]"},
    {"metadata nothing.raw", "nothing.raw.json"},
    {"metadata nothing.raw --out all.raw",
     tests::formats.size() > 1 ? "'all.raw' must end in .tif, .tiff" : "built without formats"}};

TEST_F(Stream, RefusalsSayWhy) {
    for (const auto& [arguments, words] : refusals) {
        const ProgramOutput output = Orvex(arguments);
        EXPECT_NE(output.status, 0);
        EXPECT_THAT(output.text, HasSubstr(words)) << arguments;
    }
}

}  // namespace
