// The independent proof of the program generator: whatever legal set-up is asked for, the program
// that the library writes, executed operation by operation on a charge model of the sensor, gives
// the crop and bin of the scene to the last count.
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <ostream>
#include <rapidcheck.h>

#include "orvex/orvex.h"

#include "support/scene_camera.h"

namespace {

using support::SceneCamera;

struct RunSetUp {
    rgn_type region;
    uns16 frames;
    int clear_mode;
    uns16 clear_cycles;
    int shutter_mode;
    int pmode;
    int exp_mode;
    uns32 exposure_ms;
};

std::ostream& operator<<(std::ostream& out, const RunSetUp& s) {
    return out << "columns " << s.region.s1 << ".." << s.region.s2 << "/" << s.region.sbin
               << ", rows " << s.region.p1 << ".." << s.region.p2 << "/" << s.region.pbin << ", "
               << s.frames << " frames, clear " << s.clear_mode << " x " << s.clear_cycles
               << ", shutter " << s.shutter_mode << ", pmode " << s.pmode << ", exposure mode "
               << s.exp_mode << ", " << s.exposure_ms << " ms";
}

bool ClearsEachExposure(const RunSetUp& s) {
    return s.clear_cycles > 0 &&
           (s.clear_mode == CLEAR_PRE_EXPOSURE || s.clear_mode == CLEAR_PRE_EXPOSURE_POST_SEQ);
}

// Coordinates of one axis: mostly anywhere, now and then at an edge of the sensor.
rc::Gen<std::pair<uns16, uns16>> Range(uns16 size) {
    const auto last = static_cast<uns16>(size - 1);
    const auto coordinate = rc::gen::weightedOneOf<uns16>({{8, rc::gen::inRange<uns16>(0, size)},
                                                           {1, rc::gen::just<uns16>(0)},
                                                           {1, rc::gen::just(last)}});
    return rc::gen::map(rc::gen::pair(coordinate, coordinate), [](std::pair<uns16, uns16> p) {
        return p.first <= p.second ? p : std::pair(p.second, p.first);
    });
}

// A binning factor that leaves a region of that many pixels at least one binned pixel.
rc::Gen<uns16> Factor(int pixels) {
    return rc::gen::inRange<uns16>(1, static_cast<uns16>(std::min(9, pixels) + 1));
}

rc::Gen<RunSetUp> AnySetUp(uns16 columns, uns16 rows, std::vector<int> pmodes) {
    return rc::gen::exec([=] {
        RunSetUp s{};
        const auto [s1, s2] = *Range(columns);
        const auto [p1, p2] = *Range(rows);
        const auto sbin = *Factor(s2 - s1 + 1);
        const auto pbin = *Factor(p2 - p1 + 1);
        s.region = {s1, s2, sbin, p1, p2, pbin};
        s.clear_mode = *rc::gen::inRange(0, 6);
        s.clear_cycles = *rc::gen::inRange<uns16>(0, 4);
        s.shutter_mode = *rc::gen::inRange(0, 5);
        s.pmode = *rc::gen::elementOf(pmodes);
        s.exp_mode =
            *rc::gen::element<int>(TIMED_MODE, STROBED_MODE, BULB_MODE, TRIGGER_FIRST_MODE);
        s.exposure_ms = *rc::gen::inRange<uns32>(1, 200000);
        s.frames = *rc::gen::inRange<uns16>(1, 4);
        // Rows that fill no binned row stay on the sensor and would show in the next frame, unless
        // that one begins with a clear.
        const bool rows_left = (p2 - p1 + 1) % pbin != 0;
        if (rows_left && !(ClearsEachExposure(s) && s.exp_mode == TIMED_MODE)) s.frames = 1;
        return s;
    });
}

void Apply(const SceneCamera& camera, const RunSetUp& s) {
    camera.Set(PARAM_CLEAR_MODE, s.clear_mode);
    camera.Set(PARAM_CLEAR_CYCLES, s.clear_cycles);
    camera.Set(PARAM_SHTR_OPEN_MODE, s.shutter_mode);
    camera.Set(PARAM_PMODE, s.pmode);
}

// How often the scene falls on the sensor before a frame is read. With the shutter shut all along
// there is no light; a mode that leaves it alone finds it shut. A sensor that is not cleared while
// it waits for a trigger gathers what falls through a shutter that is open already.
uns32 Exposures(const RunSetUp& s, uns16 frame) {
    if (s.shutter_mode == OPEN_NEVER || s.shutter_mode == OPEN_NO_CHANGE) return 0;
    const bool open_all_along = s.shutter_mode == OPEN_PRE_SEQUENCE;
    const bool open_at_trigger = open_all_along || s.shutter_mode == OPEN_PRE_TRIGGER;
    const bool clears_exposure =
        s.clear_mode == CLEAR_PRE_EXPOSURE || s.clear_mode == CLEAR_PRE_EXPOSURE_POST_SEQ;
    const bool clears_sequence =
        s.clear_mode == CLEAR_PRE_SEQUENCE || s.clear_mode == CLEAR_PRE_POST_SEQUENCE;
    bool waits_in_light = false;
    if (s.exp_mode == STROBED_MODE || s.exp_mode == BULB_MODE) {
        waits_in_light = open_at_trigger && !clears_exposure;
    } else if (s.exp_mode == TRIGGER_FIRST_MODE) {
        waits_in_light = frame == 0 && open_all_along && !clears_sequence && !ClearsEachExposure(s);
    }
    return waits_in_light ? 2 : 1;
}

void ExpectFrames(const SceneCamera& camera, const RunSetUp& s) {
    const std::vector<uns16> frames =
        camera.Run(s.frames, {s.region}, static_cast<int16>(s.exp_mode), s.exposure_ms);
    for (uns16 i = 0; i < s.frames; ++i) {
        const std::vector<uns16> expected = camera.scene().CropAndBin(s.region, Exposures(s, i));
        RC_ASSERT(frames.size() == expected.size() * s.frames);
        const bool equal = std::equal(expected.begin(), expected.end(),
                                      frames.begin() + static_cast<long>(i * expected.size()));
        RC_ASSERT(equal);
    }
}

void CheckCamera(const char* model, uns16 size, const std::vector<int>& pmodes) {
    const SceneCamera camera({.model = model, .size = size});
    const bool held = rc::check(std::string("frames of ") + model, [&] {
        const RunSetUp set_up = *AnySetUp(size, size, pmodes);
        Apply(camera, set_up);
        ExpectFrames(camera, set_up);
    });
    EXPECT_TRUE(held);
}

TEST(FrameEqualsScene, FrameTransferSensorWithShutterAndMasks) {
    CheckCamera("ccd", 1024, {PMODE_NORMAL, PMODE_FT, PMODE_ALT_NORMAL, PMODE_ALT_FT});
}

TEST(FrameEqualsScene, PlainSensor) {
    CheckCamera("plain", 512, {PMODE_NORMAL, PMODE_ALT_NORMAL});
}

TEST(FrameEqualsScene, SensorBehindRepliesWithAStatusByte) {
    CheckCamera("em", 512, {PMODE_NORMAL, PMODE_FT, PMODE_ALT_FT});
}

// Settings instead of operations: the camera works out the rest.
TEST(FrameEqualsScene, SimplifiedPrograms) {
    constexpr uns16 size = 2048;
    const SceneCamera camera({});
    const bool held = rc::check("frames of cmos", [&] {
        const auto binning = *rc::gen::element<std::pair<uns16, uns16>>(
            std::pair<uns16, uns16>{1, 1}, std::pair<uns16, uns16>{2, 2},
            std::pair<uns16, uns16>{4, 4}, std::pair<uns16, uns16>{1, 2},
            std::pair<uns16, uns16>{2, 1});
        RunSetUp s{};
        const auto [s1, s2] = *Range(size);
        const auto [p1, p2] = *Range(size);
        RC_PRE(s2 - s1 + 1 >= binning.first && p2 - p1 + 1 >= binning.second);
        s.region = {s1, s2, binning.first, p1, p2, binning.second};
        s.frames = *rc::gen::inRange<uns16>(1, 4);
        s.shutter_mode = OPEN_PRE_EXPOSURE;
        s.exp_mode = EXT_TRIG_INTERNAL;
        s.exposure_ms = *rc::gen::inRange<uns32>(1, 1000);
        ExpectFrames(camera, s);
    });
    EXPECT_TRUE(held);
}

// Regions in any place of one frame, each with a header of its own around its pixels.
TEST(FrameEqualsScene, SeveralRegionsInAMetadataFrame) {
    constexpr uns16 cell = 512;  // regions that lie in different cells can't overlap
    const SceneCamera camera({});
    camera.Set(PARAM_METADATA_ENABLED, uns16{1});
    const bool held = rc::check("regions of cmos", [&] {
        const auto bin = *rc::gen::element<uns16>(1, 2, 4);
        const auto cells = *rc::gen::unique<std::vector<int>>(*rc::gen::inRange<size_t>(1, 8),
                                                              rc::gen::inRange(0, 16));
        std::vector<rgn_type> regions;
        for (const int index : cells) {
            const auto [s1, s2] = *Range(cell);
            const auto [p1, p2] = *Range(cell);
            RC_PRE(s2 - s1 + 1 >= bin && p2 - p1 + 1 >= bin);
            const auto column = static_cast<uns16>(index % 4 * cell);
            const auto row = static_cast<uns16>(index / 4 * cell);
            regions.push_back({static_cast<uns16>(column + s1), static_cast<uns16>(column + s2),
                               bin, static_cast<uns16>(row + p1), static_cast<uns16>(row + p2),
                               bin});
        }
        std::vector<uns16> frame = camera.Run(1, regions, EXT_TRIG_INTERNAL, 5);
        md_frame* decoded = nullptr;
        camera.Require(
            ox_md_create_frame_struct(&decoded, frame.data(), static_cast<uns32>(frame.size() * 2)),
            "create");
        camera.Require(
            ox_md_frame_decode(decoded, frame.data(), static_cast<uns32>(frame.size() * 2)),
            "decode");
        RC_ASSERT(decoded->roiCount == regions.size());
        for (size_t i = 0; i < regions.size(); ++i) {
            const std::vector<uns16> expected = camera.scene().CropAndBin(regions[i]);
            RC_ASSERT(decoded->roiArray[i].dataSize == expected.size() * 2);
            RC_ASSERT(
                std::memcmp(decoded->roiArray[i].data, expected.data(), expected.size() * 2) == 0);
        }
        camera.Require(ox_md_release_frame_struct(decoded), "release");
    });
    EXPECT_TRUE(held);
}

}  // namespace
