#include "params/post_processing.h"

#include "params/accessors.h"
#include "support/core/trace_capture.h"

#include "rich_camera.h"

class PostProcessing : public RichCameraTest {};

TEST_F(PostProcessing, CountsFeaturesOnceByProbing) {
    uns16 entries = 0;
    EXPECT_EQ(bv_cam_pp_get_entries(0, &entries), 1);
    EXPECT_EQ(entries, 3);
    EXPECT_EQ(camera_.feature, 1) << "the selection has to come back";
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), 0);
    // 0, 1, 2, the refused 3 and the former selection.
    EXPECT_EQ(camera_.firmware().count(SET_PP_FEATURE_IDX), 5u);
    camera_.camera().forget();
    EXPECT_EQ(bv_cam_pp_get_entries(0, &entries), 1);
    EXPECT_EQ(camera_.writes().size(), 0u);
}

// Cameras may answer an index that can't be selected while nothing is.
TEST_F(PostProcessing, SelectionThatCantComeBackIsNoFailure) {
    camera_.feature = 65535;
    EXPECT_EQ(Get<uns32>(PARAM_PP_INDEX, ATTR_COUNT), 3u);
    camera_.parameter = 65535;
    EXPECT_EQ(Get<uns32>(PARAM_PP_PARAM_INDEX, ATTR_COUNT), 3u);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), 0);
    EXPECT_EQ(Put<int16>(PARAM_PP_INDEX, 1), 1);
}

TEST_F(PostProcessing, LostExchangeNeverShortensAList) {
    const auto count = [&](boolean16 (*entries_of)(int16, uns16*)) {
        unsigned failures = 0;
        for (unsigned n = 1;; ++n) {
            SCOPED_TRACE(n);
            camera_.cfg().pp_entries = pp_entries_not_counted;
            camera_.feature = 2;
            bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
            uns16 entries = 0;
            camera_.driver().fail_call(n);
            const boolean16 counted = entries_of(0, &entries);
            const bool happened = camera_.driver().fault_happened();
            camera_.driver().fail_call(0);
            EXPECT_EQ(entries, counted ? 3 : 0);
            EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), counted ? 0 : C7_DRIVER_COM_ERROR);
            if (!happened) return failures;
            if (!counted) {
                ++failures;
                EXPECT_EQ(camera_.cfg().pp_entries, pp_entries_not_counted);
            }
        }
    };
    EXPECT_GE(count(bv_cam_pp_get_entries), 5u);
    EXPECT_GE(count(bv_get_cam_pp_idx_entries), 5u);
}

TEST_F(PostProcessing, EmptyLists) {
    uns16 entries = 0;
    camera_.features = {0};
    camera_.feature = 0;
    EXPECT_EQ(bv_get_cam_pp_idx_entries(0, &entries), 1) << "index 0 reads back as selected";
    camera_.parameter = 5;
    EXPECT_TRUE(trace_.refused(bv_get_cam_pp_idx_entries(0, &entries), C2_NOT_AVAILABLE,
                               "No Post-Processing parameter available for current feature"));
    camera_.features = {};
    camera_.feature = 7;
    EXPECT_TRUE(trace_.refused(bv_cam_pp_get_entries(0, &entries), C2_NOT_AVAILABLE,
                               "No Post-Processing features available"));
    EXPECT_EQ(camera_.cfg().pp_entries, 0);
    camera_.camera().forget();
    EXPECT_EQ(bv_cam_pp_get_entries(0, &entries), 0);
    EXPECT_EQ(camera_.writes().size(), 0u);
}

TEST_F(PostProcessing, CachingFollowsReadsAndWrites) {
    ASSERT_EQ(bv_cam_pp_cache_all_entries(0), 1);
    ASSERT_EQ(Put<int16>(PARAM_PP_INDEX, 2), 1);
    ASSERT_EQ(Put<int16>(PARAM_PP_PARAM_INDEX, 1), 1);
    uns32 held = 0;
    camera_.firmware()
        .on_command(SET_PP_PARAM,
                    [&held](std::span<const uint8_t> data) {
                        held = data[3];
                        return support::Bytes();
                    })
        .on_command(GET_PP_PARAM, [&held](auto) { return support::big_endian(held, 4); });
    EXPECT_EQ(Put<uns32>(PARAM_PP_PARAM, 200), 1);
    EXPECT_EQ(camera_.writes().back(), support::hex("3F 000A 62 000000C8 26 63 28 0004"));
    EXPECT_EQ(camera_.cache().pp_param_cache.at(0x10000 + 33).value, 200u);
    EXPECT_EQ(camera_.cache().pp_param_cache.at(0x10000 + 32).value, 1032u);
    held = 99;
    EXPECT_EQ(Get<uns32>(PARAM_PP_PARAM), 99u);
    EXPECT_EQ(camera_.cache().pp_param_cache.at(0x10000 + 33).value, 99u);

    // What the camera made of a refused value is cached too.
    EXPECT_TRUE(trace_.refused(Put<uns32>(PARAM_PP_PARAM, 0x101), C2_FAILED_TO_SET_VALUE,
                               "Value read back from camera differs: 1"));
    EXPECT_EQ(camera_.cache().pp_param_cache.at(0x10000 + 33).value, 1u);

    // A new feature brings its first parameter along, which is asked for once.
    ASSERT_EQ(Put<int16>(PARAM_PP_INDEX, 1), 1);
    camera_.firmware().forget_commands();
    EXPECT_EQ(Put<uns32>(PARAM_PP_PARAM, 7), 1);
    EXPECT_EQ(Get<uns32>(PARAM_PP_PARAM), 7u);
    EXPECT_EQ(camera_.cache().pp_param_cache.at(0x10000 + 16).value, 7u);
    EXPECT_EQ(camera_.cache().pp_param_cache.at(0x10000 + 17).value, 1017u);
    EXPECT_EQ(camera_.firmware().count(GET_PP_PARAM_IDX), 1u);
}

TEST_F(PostProcessing, RefusedIndexIsStillRemembered) {
    EXPECT_TRUE(trace_.refused(bv_set_cam_pp_index(0, 9), C2_FAILED_TO_SET_VALUE,
                               "Value read back from camera differs: 1"));
    EXPECT_EQ(camera_.cfg().pp_index, 1);
}

TEST_F(PostProcessing, IndexBeyondBothListsLeavesTheSideInUse) {
    EXPECT_EQ(Put<int16>(PARAM_PP_INDEX, 2), 1);
    EXPECT_EQ(camera_.feature, 2);
    camera_.camera().forget();
    EXPECT_TRUE(
        trace_.refused(Put<int16>(PARAM_PP_INDEX, 3), C2_NOT_AVAILABLE, "Parameter not available"));
    EXPECT_EQ(camera_.writes().size(), 0u);
    EXPECT_EQ(camera_.cfg().pp_use_plugin, 0);
    EXPECT_EQ(Put<int16>(PARAM_PP_INDEX, 0), 1);
}

TEST_F(PostProcessing, FeaturesOfThePlugInHaveNoIdsAndThatIsNoError) {
    Get<uns32>(PARAM_PP_INDEX, ATTR_COUNT);
    camera_.cfg().pp_use_plugin = 1;
    EXPECT_TRUE(Fails(PARAM_PP_FEAT_ID, ATTR_CURRENT, 0));
    EXPECT_TRUE(Fails(PARAM_PP_PARAM_ID, ATTR_AVAIL, 0));
    bv_set_pp_index(0, 0);
    EXPECT_EQ(camera_.cfg().pp_use_plugin, 0);
}

TEST_F(PostProcessing, ResetReachesTheCameraThatHasFeatures) {
    Get<uns32>(PARAM_PP_INDEX, ATTR_COUNT);
    camera_.camera().forget();
    EXPECT_EQ(bv_pp_reset(0), 1);
    EXPECT_EQ(camera_.writes(), (std::vector<support::Bytes>{support::hex("3F 0001 66")}));
    camera_.camera().forget();
    camera_.reads().cap_pp = 0;
    EXPECT_EQ(bv_pp_reset(0), 1);
    EXPECT_EQ(camera_.writes().size(), 0u);
    EXPECT_EQ(camera_.cfg().pp_initialized, 0) << "the plug-in's side is reset all the same";
}
