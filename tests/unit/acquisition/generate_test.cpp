#include <gtest/gtest.h>
#include <stdexcept>
#include <vector>

#include "orvex/orvex_errors.h"

#include "acquisition/generator.h"
#include "support/core/camera_test.h"

#include "unit/acquisition/setup_camera.h"

using support::hex;

namespace {

// One setup through the whole generator, on a camera with all features that a case switches on.
class Generate : public support::CameraTest<SetupCamera> {
  protected:
    boolean16 Run() {
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        script_ = std::make_unique<bv::ScriptOwner>();
        script_->Allocate(script_max_entries);
        return bv_script_generate(hcam, script_->get(), max_entries_, exp_total_,
                                  static_cast<uns16>(regions_.size()), regions_.data(), exp_mode_,
                                  exposure_, &frame_bytes_);
    }
    int16 ErrorOf() {
        EXPECT_EQ(Run(), 0);
        return bv::ApiGlobal::GetErrorCode();
    }
    void EnableMetadata(uns16 max_regions = 16) {
        camera_.reads().cap_metadata = 1;
        camera_.reads().cap_roi_count = 1;
        camera_.firmware()
            .reply(GET_METADATA_ENABLED, 2, 1)
            .reply(GET_ROI_COUNT_MAX, 2, max_regions);
    }
    void EnableCentroids(uns16 mode) {
        cam_reads_type& reads = camera_.reads();
        reads.cap_centroids = 1;
        reads.nvp_caps |= NVP_CAPS_CENTROIDS_MODES;
        reads.centroids_mode_nvp.count = 3;
        for (uns16 i = 0; i < 3; ++i) reads.centroids_mode_nvp.items[i].value = i;
        camera_.firmware()
            .reply(GET_CENTROIDS_ENABLED, 2, 1)
            .reply(GET_CENTROIDS_COUNT, 2, 10)
            .reply(GET_CENTROIDS_RADIUS, 2, 5)
            .reply(GET_CENTROIDS_MODE_CURRENT, 2, mode);
    }

    std::vector<rgn_type> regions_{{0, 99, 1, 10, 19, 1}};
    uns16 max_entries_ = script_max_entries;
    uns16 exp_total_ = 1;
    int16 exp_mode_ = TIMED_MODE;
    uns32 exposure_ = 10;
    uns32 frame_bytes_ = 0;
    std::unique_ptr<bv::ScriptOwner> script_;
};

}  // namespace

TEST_F(Generate, RegionRules) {
    regions_.clear();
    EXPECT_EQ(ErrorOf(), C3_RGN_INVALID);
    // A camera that doesn't count regions takes one.
    regions_ = {{0, 99, 1, 10, 19, 1}, {0, 99, 1, 30, 39, 1}};
    EXPECT_EQ(ErrorOf(), C3_RGN_INVALID);
    camera_.reads().cap_roi_count = 1;
    camera_.firmware().reply(GET_ROI_COUNT_MAX, 2, 2);
    EXPECT_EQ(ErrorOf(), C2_NOT_AVAILABLE);  // no metadata
    camera_.reads().cap_metadata = 1;
    EXPECT_EQ(ErrorOf(), C2_NOT_AVAILABLE);  // off
    EnableMetadata(2);
    ASSERT_EQ(Run(), 1);
    EXPECT_EQ(frame_bytes_, 48u + 2 * 32 + 2 * 2000);
    regions_.push_back({0, 99, 1, 50, 59, 1});
    EXPECT_EQ(ErrorOf(), C3_RGN_INVALID);  // more than the camera's two
}

TEST_F(Generate, ExtendedMetadataAddsToEachHeader) {
    EnableMetadata();
    camera_.reads().cap_ext_metadata = 1;
    camera_.firmware().reply(GET_EXT_METADATA_SIZE, hex("00 64 00 07"));
    regions_ = {{0, 99, 1, 10, 19, 1}, {0, 99, 1, 30, 39, 1}};
    ASSERT_EQ(Run(), 1);
    EXPECT_EQ(frame_bytes_, 48u + 100 + 2 * (32 + 7) + 2 * 2000);
}

TEST_F(Generate, Centroids) {
    EnableMetadata();
    EnableCentroids(OX_CENTROIDS_MODE_LOCATE);
    ASSERT_EQ(Run(), 1);
    EXPECT_EQ(frame_bytes_, 48u + 10 * 32 + 1210 * 2);

    EnableCentroids(OX_CENTROIDS_MODE_TRACK);
    ASSERT_EQ(Run(), 1);
    EXPECT_EQ(frame_bytes_, 48u + 11 * 32 + 2000);

    EnableCentroids(2);
    EXPECT_EQ(ErrorOf(), C0_UNKNOWN_ERROR);
    EXPECT_EQ(trace_.last_error(), "bv_script_generate: Unhandled centroid mode: 2(<UNKNOWN>)");

    EnableCentroids(OX_CENTROIDS_MODE_LOCATE);
    regions_ = {{0, 99, 1, 10, 19, 2}};
    EXPECT_EQ(ErrorOf(), C0_BINNING_INVALID);
    regions_ = {{0, 99, 1, 10, 19, 1}, {0, 99, 1, 30, 39, 1}};
    EXPECT_EQ(ErrorOf(), C3_RGN_INVALID);
    regions_.pop_back();
    camera_.firmware().reply(GET_METADATA_ENABLED, 2, 0);
    EXPECT_EQ(ErrorOf(), C2_NOT_AVAILABLE);
}

TEST_F(Generate, ExposureRange) {
    (*camera_.reads().exp_range_map)[EXP_RES_ONE_MILLISEC] = {0, 5, 10};
    EXPECT_EQ(Run(), 1);
    exposure_ = 5;
    EXPECT_EQ(Run(), 1);
    exposure_ = 4;
    EXPECT_EQ(ErrorOf(), C0_EXPOSURE_OUT_OF_RANGE);
    exposure_ = 11;
    EXPECT_EQ(ErrorOf(), C0_EXPOSURE_OUT_OF_RANGE);
    camera_.reads().exp_range_map->clear();
    try {
        Run();
        FAIL() << "a camera without ranges is broken";
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ(error.what(), "invalid map<K, T> key");
    }
}

TEST_F(Generate, ExposureCyclingTestsTheListInstead) {
    (*camera_.reads().exp_range_map)[EXP_RES_ONE_MILLISEC] = {0, 5, 10};
    exposure_ = 1000;
    camera_.reads().cap_tidal_stream = 1;
    camera_.firmware()
        .reply(GET_TIDAL_STREAM_ENABLED, 2, 1)
        .reply(GET_TIDAL_STREAM_MAX_EXP_COUNT, 2, 4)
        .reply(GET_TIDAL_STREAM_EXP_COUNT, 2, 2)
        .reply(GET_TIDAL_STREAM_EXP_PARAMS, hex("00 02 00 00 00 05 00 00 00 0A"));
    EXPECT_EQ(Run(), 1);
    camera_.firmware().reply(GET_TIDAL_STREAM_EXP_PARAMS, hex("00 02 00 00 00 05 00 00 00 0B"));
    EXPECT_EQ(ErrorOf(), C0_EXPOSURE_OUT_OF_RANGE);
    camera_.firmware().reply(GET_TIDAL_STREAM_ENABLED, 2, 0);
    EXPECT_EQ(ErrorOf(), C0_EXPOSURE_OUT_OF_RANGE);  // of the exposure time itself
}

TEST_F(Generate, FeaturesOfTheCamera) {
    camera_.cfg().pmode = PMODE_FT;
    EXPECT_EQ(ErrorOf(), C32_CCL_CANT_FRAME_TRANSFER);
    camera_.reads().frame_capable = 1;
    EXPECT_EQ(Run(), 1);

    camera_.reads().cap_post_abort_delay = 1;
    camera_.firmware().reply(GET_POST_ABORT_DELAY, 8, 50000000);
    ASSERT_EQ(Run(), 1);
    EXPECT_EQ(camera_.cam_info().post_abort_delay, 50000000);

    camera_.reads().accum_capable = 1;
    exp_mode_ = EXT_TRIG_INTERNAL;
    ASSERT_EQ(Run(), 1);
    EXPECT_EQ(camera_.writes().back(), hex("31 00 08 0A 07 00 26 07 28 00 02"));
}

TEST_F(Generate, LimitsOfSizes) {
    regions_ = {{0, 511, 1, 0, 255, 1}};  // 262144 bytes a frame
    exp_total_ = 16383;
    EXPECT_EQ(Run(), 1);
    exp_total_ = 16384;
    EXPECT_EQ(ErrorOf(), C2_CANNOT_ALLOCATE_MEMORY);
    EXPECT_EQ(frame_bytes_, 262144u);

    exp_total_ = 1;
    ASSERT_EQ(Run(), 1);
    const auto entries = static_cast<uns16>((*script_)->length / 3);
    max_entries_ = entries;
    EXPECT_EQ(ErrorOf(), C32_CCL_TOO_COMPLEX);
    max_entries_ = static_cast<uns16>(entries + 1);
    EXPECT_EQ(Run(), 1);
}

TEST_F(Generate, HookTakesThePlaceOfTheProgram) {
    static uns16 hook_result;
    static uns16 seen_par_size;
    const script_hook_type hook = [](int16, uns16, uns16, const rgn_type*, int16, uns32,
                                     uns32* pixels, active_camera_type* cam) -> uns16 {
        EXPECT_EQ(*pixels, 0u);
        seen_par_size = cam->par_size;
        *pixels = 123;
        return hook_result;
    };
    camera_.cam_info().script_hook = reinterpret_cast<void*>(hook);
    hook_result = 0;
    ASSERT_EQ(Run(), 1);
    EXPECT_EQ(frame_bytes_, 246u);
    EXPECT_EQ((*script_)->length, 0);
    EXPECT_EQ(seen_par_size, 256);
    hook_result = 99;
    EXPECT_EQ(ErrorOf(), 99);
}

// Every exchange of a generation may fail; the error is then the exchange's, and nothing leaks.
TEST_F(Generate, FailsWithAnyExchange) {
    EnableMetadata();
    EnableCentroids(OX_CENTROIDS_MODE_LOCATE);
    camera_.reads().cap_ext_metadata = 1;
    camera_.reads().cap_post_abort_delay = 1;
    camera_.reads().accum_capable = 1;
    camera_.reads().cap_tidal_stream = 1;
    camera_.firmware()
        .reply(GET_TIDAL_STREAM_ENABLED, 2, 1)
        .reply(GET_TIDAL_STREAM_MAX_EXP_COUNT, 2, 4)
        .reply(GET_TIDAL_STREAM_EXP_COUNT, 2, 1)
        .reply(GET_TIDAL_STREAM_EXP_PARAMS, hex("00 01 00 00 00 05"));
    unsigned failures = 0;
    for (unsigned n = 1;; ++n) {
        ASSERT_LT(n, 200u);
        camera_.driver().fail_call(n);
        const boolean16 result = Run();
        if (!camera_.driver().fault_happened()) {
            EXPECT_EQ(result, 1);
            break;
        }
        EXPECT_EQ(result, 0) << n;
        EXPECT_TRUE(bv::ApiGlobal::IsErrorCodeSet()) << n;
        ++failures;
    }
    EXPECT_GE(failures, 20u);
}
