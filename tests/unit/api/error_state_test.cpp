#include <algorithm>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <set>
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
#include "support/core/camera_test.h"
#include "support/exhausted_memory.h"

#include "operation_table.h"

// The error state as applications see it, and operations that are unlike the others.
namespace {

constexpr const char* no_limit = "a sanitizer needs the address space";

class OpenCamera : public support::CameraTest<> {
  protected:
};

TEST_F(OpenCamera, SuccessClearsAnEarlierError) {
    oz_set_error_code(EXT_OPEN_EXCLUSIVE, 40);
    EXPECT_EQ(ox_error_code(), 40);
    EXPECT_EQ(ox_cam_check(hcam), 1);
    EXPECT_EQ(ox_error_code(), 0);
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
    int16 handle = -1;
    EXPECT_EQ(ox_exp_set_cont_mode(hcam, 7), 1);
    EXPECT_EQ(camera_.cam_info().buf_mode, 7);
    EXPECT_EQ(oz_cam_get_dev_handle(hcam, &handle), 1);
    EXPECT_EQ(handle, hcam);
    pg_decode_info.reset();
    support::TraceCapture trace;
    EXPECT_EQ(oz_exp_set_frames(hcam, 1), 0);
    EXPECT_TRUE(trace.failed_with(C3_NOT_INITIALIZED, "Null decode_desc structure"));
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

// Old programs find that these succeed; what they would have written stays the caller's.
TEST_F(OpenCamera, OperationsWithoutWorkSucceedAndLeaveTheirOutputs) {
    const std::set<std::string> others = {
        "ox_exp_init_seq",  "ox_exp_uninit_seq",  "oz_exp_set_no_readout_timeout",
        "ox_cam_get_diags", "oz_script_set_hook", "oz_exp_reset_no_readout_timeout",
    };
    size_t called = 0;
    for (const Operation& operation : Operations()) {
        if (!operation.name.starts_with("ox_buf_") && !others.contains(operation.name)) continue;
        SCOPED_TRACE(operation.name);
        const size_t words = operation.words.size();
        for (size_t i = 0; i < words; ++i) std::memset(operation_table::Scratch(i), 0xA5, 64);
        EXPECT_TRUE(operation.call(no_nulls));
        for (size_t i = 0; i < words; ++i) {
            const auto* output = static_cast<const unsigned char*>(operation_table::Scratch(i));
            EXPECT_EQ(std::count(output, output + 64, 0xA5), 64) << operation.words[i];
        }
        ++called;
    }
    EXPECT_EQ(called, 22U);
    void* buffer = this;
    uns32 bytes = 77;
    EXPECT_EQ(ox_exp_get_driver_buffer(hcam, &buffer, &bytes), 0);
    EXPECT_EQ(ox_error_code(), C2_NOT_AVAILABLE);
    EXPECT_TRUE(buffer == this && bytes == 77);
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

}  // namespace
