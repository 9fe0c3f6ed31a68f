#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "orvex/orvex.h"

#include "api/api_entry_layer.h"
#include "camera/open.h"
#include "device/image_transfer.h"
#include "messages/bridge.h"
#include "params/dispatch.h"
#include "params/post_processing.h"
#include "state/api_locks.h"
#include "support/core/test_camera.h"
#include "support/core/trace_capture.h"
#include "support/exhausted_memory.h"

// The error state as applications see it, and operations that are unlike the others.
namespace {

constexpr const char* no_limit = "a sanitizer needs the address space";

class OpenCamera : public testing::Test {
  protected:
    std::string Message(int16 code) {
        char message[ERROR_MSG_LEN];
        ox_error_message(code, message);
        return message;
    }

    static constexpr int16 hcam = support::TestCamera::hcam;
    support::TestCamera camera_;
};

TEST_F(OpenCamera, SuccessClearsAnEarlierError) {
    oz_set_error_code(EXT_OPEN_EXCLUSIVE, 40);
    EXPECT_EQ(ox_error_code(), 40);
    EXPECT_EQ(ox_cam_check(hcam), 1);
    EXPECT_EQ(ox_error_code(), 0);
}

TEST_F(OpenCamera, AskingForTheErrorLeavesIt) {
    oz_set_error_code(EXT_OPEN_FW_UPDATE, BC_PARAMETER_PERMISSION);
    EXPECT_EQ(Message(18),
              "BC_PARAMETER_PERMISSION       Parameter permission does not allow that operation");
    EXPECT_EQ(Message(19), "Unknown error");
    EXPECT_EQ(ox_error_code(), BC_PARAMETER_PERMISSION);
    // A later call reads codes by the library's own table again.
    EXPECT_EQ(ox_cam_check(hcam), 1);
    EXPECT_EQ(Message(18), "Read operations require the HOST_COMMANDS class (C0_WRONG_READ_CLASS)");
}

// Steps whose failure is no failure of the operation around them.
TEST_F(OpenCamera, AFailureThatIsIgnoredLeavesTheCodeOfAnotherThread) {
    camera_.camera().refuse(DV_GET_IMAGE_DATA_STATUS).refuse(DV_GET_VER);
    camera_.camera().refuse(DV_GET_BRIDGE_CAPS_SIZE).refuse(DV_CAM_CLOSE);
    camera_.firmware().bridge_reply(OZ_DATA_GET_FRIENDLY_NAME, 0, BC_NO_MEMORY, {});
    camera_.reads().cap_pp = 1;
    camera_.firmware().ignore(SET_PP_FEATURE_IDX);
    const std::pair<const char*, std::function<void()>> steps[] = {
        {"status",
         [] {
             uns32 bytes = 0;
             driver_get_status(hcam, &bytes);
         }},
        {"interrupts",
         [] {
             uns16 there = 0;
             bv_get_param(hcam, PARAM_BOF_EOF_ENABLE, ATTR_AVAIL, &there);
         }},
        {"bridge", [this] { camera_.cam_info().bridge_caps->Read(hcam); }},
        {"systems", [] { oz_bridge_read_cam_systems_info(hcam); }},
        {"features",
         [] {
             uns16 entries = 0;
             bv_cam_pp_get_entries(hcam, &entries);
         }},
        {"close", [] { bv_cam_close(hcam); }},
    };
    for (const auto& [name, step] : steps) {
        SCOPED_TRACE(name);
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        std::thread([] { bv::ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, 39); }).join();
        support::TraceCapture trace;
        step();
        EXPECT_TRUE(trace.contains("bv::ApiGlobal::ClearErrorCode: RETURN ()"))
            << "nothing was ignored";
        EXPECT_EQ(ox_error_code(), 39);
    }
}

TEST_F(OpenCamera, UnknownModeKeepsItsCode) {
    EXPECT_EQ(oz_set_error_code(7, 5), 1);
    EXPECT_EQ(ox_error_code(), 5);
    support::TraceCapture trace;
    EXPECT_EQ(Message(5), "Unknown error");
    EXPECT_EQ(trace.last_error(), "bv::ApiGlobal::GetErrorMessage: Unknown open mode 7");
    EXPECT_EQ(Message(0), "No Error");
}

TEST_F(OpenCamera, NullMessageReplacesTheErrorAskedAbout) {
    oz_set_error_code(EXT_OPEN_EXCLUSIVE, 40);
    EXPECT_EQ(ox_error_message(0, nullptr), 0);
    EXPECT_EQ(ox_error_code(), C0_NULL_POINTER);
}

TEST_F(OpenCamera, CameraIndexIsBounded) {
    char name[CAM_NAME_LEN];
    support::TraceCapture trace;
    for (int16 index : {int16{-1}, int16{1}}) {
        EXPECT_EQ(ox_cam_get_name(index, name), 0);
        EXPECT_TRUE(
            trace.failed_with(C0_CAM_NAME_OUT_OF_RNG, "Camera index out of range for 1 cameras"));
    }
}

TEST_F(OpenCamera, NamesAreCutToTheirField) {
    const std::string long_name(40, 'x');
    camera_.cam_info().name = long_name.c_str();
    std::string name(CAM_NAME_LEN + 1, '#');
    EXPECT_EQ(ox_cam_get_name(0, name.data()), 1);
    EXPECT_EQ(name, std::string(CAM_NAME_LEN, 'x') + '#');
}

// Operations that lock twice on one thread.
TEST_F(OpenCamera, SelfEnteringOperationsRaiseTheMutexError) {
    uns16 delay = 0;
    const auto expect_deadlock = [](const auto& operation) {
        try {
            operation();
            ADD_FAILURE() << "returned";
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code(), std::errc::resource_deadlock_would_occur);
        }
    };
    expect_deadlock([&] { ox_shtr_get_close_dly(hcam, &delay); });
    expect_deadlock([&] { ox_shtr_set_close_dly(hcam, 1); });
    expect_deadlock([&] { ox_exp_wait_end_xfer(hcam, 1); });
    EXPECT_TRUE(camera_.writes().empty());
    // The mutex is free again.
    EXPECT_EQ(ox_cam_check(hcam), 1);
    // Their exec-layer forms work.
    camera_.firmware().reply(SH_CLOSE_DELAY, 2, 12);
    EXPECT_EQ(bv::ApiExecLayer().ox_shtr_get_close_dly(hcam, &delay), 1);
    EXPECT_EQ(delay, 12);
}

TEST_F(OpenCamera, DirectAccessReachesTheRows) {
    uns32 value = 0;
    boolean16 valid = 9;
    int16 handle = -1;
    camera_.decode_info().seq_bytes = 4096;
    EXPECT_EQ(oz_exp_get_bytes(hcam, &value), 1);
    EXPECT_EQ(value, 4096U);
    EXPECT_EQ(oz_exp_set_frames(hcam, 12), 1);
    EXPECT_EQ(oz_exp_get_frames(hcam, &value), 1);
    EXPECT_EQ(value, 12U);
    EXPECT_EQ(oz_exp_set_script(hcam, 1), 1);
    EXPECT_EQ(camera_.cam_info().script_valid, 1);
    EXPECT_EQ(oz_exp_get_script(hcam, &valid), 1);
    EXPECT_EQ(valid, 1);
    EXPECT_EQ(ox_exp_set_cont_mode(hcam, 7), 1);
    EXPECT_EQ(camera_.cam_info().buf_mode, 7);
    EXPECT_EQ(oz_cam_get_dev_handle(hcam, &handle), 1);
    EXPECT_EQ(handle, hcam);
    pg_decode_info.reset();
    support::TraceCapture trace;
    EXPECT_EQ(oz_exp_set_frames(hcam, 1), 0);
    EXPECT_TRUE(trace.failed_with(C3_NOT_INITIALIZED, "Null decode_desc structure"));
}

TEST_F(OpenCamera, TemperatureRangeTakesBothBounds) {
    int16 high = 0;
    int16 low = 0;
    EXPECT_EQ(ox_ccd_get_tmp_range(hcam, &high, &low), 1);
    EXPECT_EQ(high, camera_.reads().temp_max);
    EXPECT_EQ(low, camera_.reads().temp_min);
}

TEST_F(OpenCamera, ProgressIsCompleteWithTheLastFrame) {
    uns16 pixels[4] = {};
    camera_.decode_info().pixel_stream = pixels;
    camera_.decode_info().frame_count = 2;
    camera_.camera().driver_status(DRIVER_STATUS_READING, sizeof pixels);
    int16 status = -1;
    uns32 bytes = 0;
    EXPECT_EQ(ox_exp_check_progress(hcam, &status, &bytes), 1);
    EXPECT_EQ(status, READOUT_IN_PROGRESS);
    EXPECT_EQ(bytes, sizeof pixels);
    camera_.decode_info().frame_count = 0;  // the frame number is 0 here, too
    EXPECT_EQ(ox_exp_check_progress(hcam, &status, &bytes), 1);
    EXPECT_EQ(status, READOUT_COMPLETE);
}

TEST_F(OpenCamera, EnumeratedParametersAreThirtyTwoBitsWide) {
    int32 mode = -1;
    EXPECT_EQ(ox_ccd_get_clear_mode(hcam, &mode), 1);
    EXPECT_EQ(mode, CLEAR_PRE_EXPOSURE);
    EXPECT_EQ(ox_ccd_set_clear_mode(hcam, CLEAR_NEVER), 1);
    EXPECT_EQ(camera_.cfg().clear_mode, CLEAR_NEVER);
}

TEST(Buffers, SucceedAndLeaveTheirOutputs) {
    const rgn_type region = {};
    uns32 size = 77;
    EXPECT_EQ(ox_buf_alloc(nullptr, 1, 16, 1, &region), 1);
    EXPECT_EQ(ox_buf_get_size(1, &size), 1);
    EXPECT_EQ(size, 77U);
}

TEST(Heap, BlocksAreZeroedAndKeepTheirContent) {
    auto* block = static_cast<unsigned char*>(oz_calloc(4, 8, 0));
    ASSERT_TRUE(block);
    for (int i = 0; i < 32; ++i) EXPECT_EQ(block[i], 0);
    block[0] = 42;
    block = static_cast<unsigned char*>(oz_realloc(block, 4096, 0));
    ASSERT_TRUE(block);
    EXPECT_EQ(block[0], 42);
    EXPECT_EQ(oz_free(block, 0), 1);
    EXPECT_EQ(oz_free(nullptr, 0), 0);
    EXPECT_EQ(ox_error_code(), C0_NULL_POINTER);
}

// Old applications look at the pointer and not at the result.
TEST(Records, ListThatCannotBeMadeIsStillReportedAsMade) {
    if (!support::address_space_can_be_limited) GTEST_SKIP() << no_limit;
    support::TraceCapture trace;
    tidal_stream_type* list = nullptr;
    boolean16 result = 0;
    {
        const support::ExhaustedMemory exhausted;
        result = ox_create_tidal_stream_struct(&list, 65535);
    }
    EXPECT_EQ(result, 1);
    EXPECT_FALSE(list);
    EXPECT_TRUE(trace.failed_with(C2_CANNOT_ALLOCATE_MEMORY,
                                  "Cannot allocate tidal_stream_type structure entries"));
    EXPECT_TRUE(
        trace.contains("bv::ApiEntryLayer::ox_create_tidal_stream_struct: RETURN (OZ_FAIL)"));
}

TEST(Heap, ExhaustionIsReported) {
    if (!support::address_space_can_be_limited) GTEST_SKIP() << no_limit;
    void* block = oz_malloc(16, 0);
    const support::ExhaustedMemory exhausted;
    EXPECT_EQ(oz_malloc(1 << 30, 0), nullptr);
    EXPECT_EQ(ox_error_code(), C2_CANNOT_ALLOCATE_MEMORY);
    EXPECT_EQ(oz_calloc(1 << 20, 1 << 12, 0), nullptr);
    EXPECT_EQ(oz_realloc(block, 1 << 30, 0), nullptr);
    EXPECT_EQ(oz_free(block, 0), 1);
}

TEST(DriverModule, VersionIsNotAskedFor) {
    uns16 version = 77;
    EXPECT_EQ(ox_ddi_get_ver(&version), 1);
    EXPECT_EQ(version, 0);
}

}  // namespace
