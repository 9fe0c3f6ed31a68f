// Hand-written programs against the scene they must show. That whole sequences of the library do,
// whatever is asked for, is a property of its own.

#include "support/scene_image.h"

#include "module_fixture.h"

namespace {

using client::Bytes;
using client::Full;
using client::Pixels;
using client::Simplified;

uint32_t FrameBytes(const rgn_type& region) {
    return static_cast<uint32_t>(support::RampRegion(region).size() * 2);
}

const char* const ideal =
    R"({"noise": false, "time_scale": 0, "scene": {"kind": "ramp"},
        "cameras": [{"model": "ccd"}, {"model": "cmos"}, {"model": "plain"}, {"model": "em"}]})";

class Programs : public ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        ASSERT_TRUE(Configure(ideal));
    }
};

// The bytes of a frame with metadata, at the places where hosts look.
TEST_F(Programs, SeveralRegionsComeWrappedInMetadata) {
    client::Connection& camera = Camera(1);
    ASSERT_TRUE(camera.Tell(SET_METADATA_ENABLED, 1, 2));
    const std::vector<rgn_type> regions = {{10, 29, 1, 20, 39, 1}, {100, 139, 2, 200, 219, 2}};
    constexpr size_t extension = 16;
    size_t size = 48;
    for (const rgn_type& region : regions) size += 32 + extension + FrameBytes(region);
    const Bytes frame = camera.RunProgram(CLASS_SIMPLIFIED_CCL,
                                          client::Run{.frames = 2, .regions = regions}.Program(),
                                          static_cast<uint32_t>(size), 2);
    ASSERT_EQ(frame.size(), 2 * size);
    for (size_t number = 1; number <= 2; ++number) {
        const uint8_t* at = frame.data() + (number - 1) * size;
        EXPECT_EQ(client::Little(at, 4), 0x005A4E4Cu);
        EXPECT_EQ(client::Little(at + 5, 4), number);
        EXPECT_EQ(client::Little(at + 9, 2), regions.size());
        // Two clears of 2.048 ms and 10 ms of exposure lie ahead of the 0.4 ms for 40 rows.
        const uint64_t begin = number * 140'960 + (number - 1) * 4'000;
        EXPECT_EQ(client::Little(at + 11, 8), begin);
        EXPECT_EQ(client::Little(at + 19, 8), begin + 4'000);
        EXPECT_EQ(client::Little(at + 27, 8), 10'000'000u);
        at += 48;
        for (const rgn_type& region : regions) {
            EXPECT_EQ(std::memcmp(at + 10, &region, sizeof(region)), 0);
            EXPECT_EQ(at[22], 0);
            EXPECT_EQ(client::Little(at + 23, 2), extension);
            EXPECT_EQ(at[32], 255);
            at += 32 + extension;
            EXPECT_EQ(Pixels({at, FrameBytes(region)}), support::RampRegion(region));
            at += FrameBytes(region);
        }
    }
}

TEST_F(Programs, BadProgramsAreRefused) {
    client::Connection& full = Camera(2);
    EXPECT_FALSE(full.Send(CLASS_CCL_SCRIPT, Full({{37}, {OP_TERMINATE}}), 50));
    EXPECT_FALSE(full.Send(CLASS_SIMPLIFIED_CCL, Simplified({{OP_FRAME_COUNT, 1}}), 50));
    EXPECT_FALSE(full.Send(CLASS_HOST_COMMANDS, {EXECUTE_CCL}, 50));

    client::Connection& simple = Camera(1);
    const rgn_type outside{0, 2048, 1, 0, 0, 1};
    const rgn_type reversed{5, 4, 1, 0, 0, 1};
    const rgn_type unbinned{0, 9, 0, 0, 0, 1};
    for (const rgn_type& region : {outside, reversed, unbinned})
        EXPECT_FALSE(
            simple.Send(CLASS_SIMPLIFIED_CCL, client::Run{.regions = {region}}.Program(), 50));
    Bytes miscounted = client::Run{.regions = {{0, 9, 1, 0, 9, 1}}}.Program();
    miscounted[3 * 5 + 4] = 2;
    EXPECT_FALSE(simple.Send(CLASS_SIMPLIFIED_CCL, miscounted, 50));
}

}  // namespace
