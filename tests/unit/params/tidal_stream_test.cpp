#include "params/tidal_stream.h"

#include <gmock/gmock.h>

#include "rich_camera.h"

using support::Bytes;
using support::hex;
using testing::ElementsAre;

class Tidal : public RichCameraTest {};

namespace {

boolean16 WriteList(std::vector<uns32> values, uns32 id = PARAM_TIDAL_STREAM_EXP_PARAMS) {
    tidal_stream_type list{static_cast<uns16>(values.size()), values.data()};
    return bv_set_param(0, id, &list);
}

// The camera takes any list and answers this one.
void AnswerList(RichCamera& camera, const char* reply) {
    camera.firmware()
        .on_command(SET_TIDAL_STREAM_EXP_PARAMS, [](auto) { return Bytes(); })
        .on_command(GET_TIDAL_STREAM_EXP_PARAMS, [reply](auto) { return hex(reply); });
}

}  // namespace

TEST_F(Tidal, ListsOnTheWire) {
    AnswerList(camera_, "0002 00000001 01020304");
    EXPECT_EQ(WriteList({1, 0x01020304}), 1);
    EXPECT_EQ(camera_.writes().back(), hex("3F 0010 6E 0002 00000001 01020304 26 6D 28 000A"));
    EXPECT_THAT(camera_.cache().tidal_exp_params, ElementsAre(1, 0x01020304));
    EXPECT_EQ(camera_.cam_info().script_valid, 1) << "a setup doesn't depend on the values";

    AnswerList(camera_, "0000");
    camera_.cache().tidal_exp_params = {9};
    EXPECT_EQ(WriteList({}), 1);
    EXPECT_EQ(camera_.writes().back(), hex("3F 0008 6E 0000 26 6D 28 0002"));
    EXPECT_TRUE(camera_.cache().tidal_exp_params.empty());
    camera_.camera().forget();
    EXPECT_TRUE(
        trace_.refused(WriteList(std::vector<uns32>(17, 0)), C2_INDEX_OUT_OF_RANGE,
                       "Cannot get max. entries or maxCount < tidal_stream_array->entries"));
    EXPECT_EQ(camera_.firmware().count(SET_TIDAL_STREAM_EXP_PARAMS), 0u);
}

TEST_F(Tidal, ListsThatCameBackOtherwise) {
    AnswerList(camera_, "0002 00000001 00000003");
    bv::ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, C3_BUFFER_OVERRUN);
    EXPECT_EQ(WriteList({1, 2}), 0);
    EXPECT_TRUE(trace_.contains(
        "bv_set_tidal_stream_exp_mode_params: Entries read back from camera differs"));
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C3_BUFFER_OVERRUN);
    EXPECT_THAT(camera_.cache().tidal_exp_params, ElementsAre(1, 2)) << "as asked for";

    for (const char* reply : {"0001 00000001 00000002", "FFFF 00000001 00000002"}) {
        AnswerList(camera_, reply);
        EXPECT_EQ(support::ErrorOf(WriteList({1, 2})), C2_FAILED_TO_SET_VALUE);
    }
    EXPECT_TRUE(trace_.failed_with(C2_FAILED_TO_SET_VALUE,
                                   "Nr. of entries read back from camera differs: 65535"));
}

TEST_F(Tidal, ReadingNeedsRoom) {
    camera_.firmware().reply(GET_TIDAL_STREAM_EXP_COUNT, 2, 5);
    uns32 values[5] = {};
    tidal_stream_type list{2, values};
    EXPECT_TRUE(trace_.refused(bv_get_tidal_stream_exp_mode_params(0, &list), C2_ADDR_OUT_OF_RANGE,
                               "The array for 2 entries, but room for 5 item needed"));
    EXPECT_EQ(list.entries, 5);
    list.params = nullptr;
    EXPECT_TRUE(trace_.refused(bv_get_tidal_stream_exp_mode_params(0, &list), C0_NULL_POINTER,
                               "The array for entries is null"));
    EXPECT_TRUE(trace_.refused(bv_get_tidal_stream_exp_mode_params(0, nullptr), C0_NULL_POINTER,
                               "Given null pointer"));
    EXPECT_EQ(bv_set_tidal_stream_exp_mode_params(0, nullptr), 0);

    camera_.firmware().reply(GET_TIDAL_STREAM_EXP_COUNT, 2, 0);
    list = {3, values};
    EXPECT_EQ(bv_get_tidal_stream_exp_mode_params(0, &list), 1);
    EXPECT_EQ(list.entries, 0);
}

// The count in the reply is the camera's word, not the room that there is.
TEST_F(Tidal, ReplyThatPromisesMoreThanItHolds) {
    for (const char* reply :
         {"0004 00000001 00000002 00000003", "FFFF 00000001 00000002 00000003"}) {
        camera_.firmware().reply(GET_TIDAL_STREAM_EXP_PARAMS, hex(reply));
        uns32 values[8] = {};
        tidal_stream_type list{8, values};
        EXPECT_EQ(support::ErrorOf(bv_get_tidal_stream_exp_mode_params(0, &list)), C0_INVALID_DATA);
    }
    // So many that the length of the reply wraps at 16 bits.
    camera_.firmware().reply(GET_TIDAL_STREAM_EXP_COUNT, 2, 16384);
    camera_.firmware().reply(GET_TIDAL_STREAM_EXP_PARAMS, hex("4000"));
    std::vector<uns32> values(16384);
    tidal_stream_type list{16384, values.data()};
    EXPECT_EQ(support::ErrorOf(bv_get_tidal_stream_exp_mode_params(0, &list)), C0_INVALID_DATA);
}

TEST_F(Tidal, FewerValuesThanCounted) {
    camera_.firmware().reply(GET_TIDAL_STREAM_EXP_PARAMS, hex("0002 00000007 00000008 00000009"));
    uns32 values[3] = {};
    tidal_stream_type list{3, values};
    EXPECT_EQ(bv_get_tidal_stream_exp_mode_params(0, &list), 1);
    EXPECT_EQ(list.entries, 2);
    EXPECT_THAT(values, ElementsAre(7, 8, 0));
}

// The mirror follows the camera, whatever was asked for.
TEST_F(Tidal, SingleValuesAreMirrored) {
    EXPECT_EQ(Put<uns16>(PARAM_TIDAL_STREAM_MODE_ENABLED, 1), 1);
    EXPECT_EQ(camera_.cache().tidal_stream_enabled, 1);
    camera_.firmware().ignore(SET_TIDAL_STREAM_ENABLED).ignore(SET_TIDAL_STREAM_MODE);
    camera_.firmware().reply(GET_TIDAL_STREAM_ENABLED, 2, 7).reply(GET_TIDAL_STREAM_MODE, 2, 9);
    EXPECT_EQ(Put<uns16>(PARAM_TIDAL_STREAM_MODE_ENABLED, 0), 0);
    EXPECT_EQ(camera_.cache().tidal_stream_enabled, 1);
    EXPECT_EQ(Put<uns16>(PARAM_TIDAL_STREAM_MODE, 0), 0);
    EXPECT_EQ(camera_.cache().tidal_stream_mode, 9);
}

TEST_F(Tidal, DelayListIsClosedButWorks) {
    EXPECT_EQ(support::ErrorOf(WriteList({1}, PARAM_TIDAL_STREAM_DLY_PARAMS)), C2_NOT_AVAILABLE);
    EXPECT_EQ(camera_.writes().size(), 0u);
    camera_.firmware()
        .on_command(SET_TIDAL_STREAM_DLY_PARAMS, [](auto) { return Bytes(); })
        .on_command(GET_TIDAL_STREAM_DLY_PARAMS, [](auto) { return hex("0001 00000005"); });
    uns32 value = 5;
    const tidal_stream_type list{1, &value};
    EXPECT_EQ(bv_set_tidal_stream_dly_mode_params(0, &list), 1);
    EXPECT_EQ(camera_.writes().back(), hex("3F 000C 74 0001 00000005 26 73 28 0006"));
    EXPECT_THAT(camera_.cache().tidal_dly_params, ElementsAre(5));
}
