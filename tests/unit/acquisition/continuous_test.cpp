#include "acquisition/continuous.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <vector>

#include "orvex/orvex_errors.h"

#include "acquisition/abort.h"
#include "acquisition/sequence.h"
#include "support/core/camera_test.h"

#include "unit/acquisition/setup_camera.h"

using support::hex;
using testing::ElementsAre;

namespace {

constexpr rgn_type region{0, 99, 1, 10, 19, 1};
constexpr uns32 frame_bytes = 2000;

class Continuous : public support::CameraTest<SetupCamera> {
  protected:
    boolean16 Prepare(int16 mode = CIRC_OVERWRITE, uns32 exposure = 10) {
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        camera_.camera().forget();
        return bv_exp_setup_cont(hcam, 1, &region, TIMED_MODE, exposure, &bytes_, mode);
    }
    boolean16 Start(uns32 frames) {
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        camera_.camera().forget();
        return bv_exp_start_cont(hcam, buffer_.data(), frames * frame_bytes);
    }
    // The driver has delivered this many frames.
    void Deliver(uns32 frames) {
        ASSERT_TRUE(camera_.camera().report(NOTIFICATION_EOF, frames, frames));
    }
    ptrdiff_t OffsetOf(const void* frame) const {
        return static_cast<const uns8*>(frame) - buffer_.data();
    }

    std::vector<uns8> buffer_ = std::vector<uns8>(8 * frame_bytes);
    uns32 bytes_ = 0;
};

}  // namespace

TEST_F(Continuous, StartTests) {
    ASSERT_EQ(Prepare(CIRC_NONE), 1);
    EXPECT_TRUE(trace_.refused(Start(4), C3_CIRC_NOT_ENABLED, "Continuous mode not enabled"));
    ASSERT_EQ(Prepare(), 1);
    EXPECT_TRUE(trace_.refused(Start(0), C3_ILLEGAL_BUFFER_SIZE, "Illegal buffer size"));
    EXPECT_EQ(bv_exp_start_cont(hcam, buffer_.data(), frame_bytes + 1), 0);
    EXPECT_TRUE(trace_.failed_with(C3_ILLEGAL_BUFFER_SIZE, "Illegal buffer size"));
    camera_.decode_info().frame_bytes = 0;
    EXPECT_TRUE(trace_.refused(Start(4), C3_ILLEGAL_BUFFER_SIZE, "The data size is zero"));
    camera_.cam_info().script_valid = 0;
    EXPECT_TRUE(trace_.refused(Start(4), C3_INVALID_SCRIPT, "Script not valid"));
}

// The run that goes on is ended first, by the same messages, and does not take the buffer along.
TEST_F(Continuous, StartEndsTheRunThatGoesOn) {
    ASSERT_EQ(Prepare(), 1);
    ASSERT_EQ(Start(4), 1);
    camera_.camera().driver_status(DRIVER_STATUS_EXPOSING, 0);
    ASSERT_EQ(Start(8), 1);
    EXPECT_THAT(camera_.writes(), ElementsAre(hex("3F 00 03 33 00 00"), hex("3F 00 01 2E")));
    const std::vector<uint32_t> codes = camera_.camera().ioctl_codes();
    const auto at = [&](uint32_t code) { return std::ranges::find(codes, code) - codes.begin(); };
    EXPECT_LT(at(DV_SET_IMAGE_DATA_IDLE), at(DV_RECEIVE_IMAGE_DATA));
    EXPECT_EQ(codes.back(), uint32_t{DV_RECEIVE_IMAGE_DATA});
}

struct RingCase {
    uns32 frame_count;
    uns32 frame_nr;
    uns32 oldest;
    uns32 latest_slot;
    uns32 oldest_slot;
    uns32 buffer_cnt;
    uns32 byte_slots;  // of the write position
};

TEST_F(Continuous, RingArithmetic) {
    const RingCase cases[] = {
        {1, 1, 0, 0, 0, 1, 0}, {1, 5, 4, 0, 0, 5, 0},  {2, 3, 2, 0, 0, 1, 1}, {4, 4, 0, 3, 0, 1, 0},
        {4, 5, 1, 0, 1, 1, 1}, {4, 10, 7, 1, 3, 2, 2}, {3, 2, 0, 1, 0, 0, 2},
    };
    for (const RingCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.frame_nr << " frames in " << c.frame_count);
        ASSERT_EQ(Prepare(), 1);
        ASSERT_EQ(Start(c.frame_count), 1);
        Deliver(c.frame_nr);
        camera_.decode_info().oldest_frame = c.oldest;
        camera_.camera().driver_status(DRIVER_STATUS_EXPOSING, 0);
        camera_.camera().forget();

        int16 status = -1;
        uns32 byte_cnt = 0;
        uns32 buffer_cnt = 0;
        FRAME_INFO info{};
        ASSERT_EQ(bv_exp_check_cont_status(hcam, &status, &byte_cnt, &buffer_cnt, &info), 1);
        EXPECT_EQ(status, FRAME_AVAILABLE);
        EXPECT_EQ(buffer_cnt, c.buffer_cnt);
        EXPECT_EQ(byte_cnt, c.byte_slots * frame_bytes);

        void* frame = nullptr;
        ASSERT_EQ(bv_exp_get_oldest_frame(hcam, &frame, &info), 1);
        EXPECT_EQ(OffsetOf(frame), ptrdiff_t{c.oldest_slot} * frame_bytes);
        EXPECT_EQ(camera_.decode_info().oldest_frame, c.oldest);
        ASSERT_EQ(bv_exp_get_latest_frame(hcam, &frame, &info), 1);
        EXPECT_EQ(OffsetOf(frame), ptrdiff_t{c.latest_slot} * frame_bytes);
        EXPECT_EQ(static_cast<uns32>(info.FrameNr), c.frame_nr);
        EXPECT_EQ(camera_.decode_info().oldest_frame, c.frame_nr);

        // The newest frame has been taken, and stays within reach.
        ASSERT_EQ(bv_exp_check_cont_status(hcam, &status, &byte_cnt, &buffer_cnt, &info), 1);
        EXPECT_EQ(status, EXPOSURE_IN_PROGRESS);
        ASSERT_EQ(bv_exp_get_latest_frame(hcam, &frame, &info), 1);
        EXPECT_TRUE(camera_.writes().empty());
        ASSERT_EQ(bv_exp_abort(hcam, CCS_HALT), 1);
    }
}

TEST_F(Continuous, BeforeTheFirstFrame) {
    int16 status = -1;
    uns32 byte_cnt = 9;
    uns32 buffer_cnt = 9;
    FRAME_INFO info{};
    void* frame = buffer_.data();
    EXPECT_EQ(bv_exp_check_cont_status(hcam, &status, &byte_cnt, &buffer_cnt, &info), 0);
    EXPECT_TRUE(trace_.failed_with(C3_ILLEGAL_BUFFER_SIZE, "Zero frames in buffer"));
    EXPECT_EQ(bv_exp_get_latest_frame(hcam, &frame, &info), 0);
    EXPECT_TRUE(trace_.failed_with(C0_NO_IMG_DATA, "Buffer is null"));

    ASSERT_EQ(Prepare(), 1);
    ASSERT_EQ(Start(4), 1);
    camera_.camera().driver_status(DRIVER_STATUS_EXPOSING, 0);
    ASSERT_EQ(bv_exp_check_cont_status(hcam, &status, &byte_cnt, &buffer_cnt, &info), 1);
    EXPECT_EQ(status, EXPOSURE_IN_PROGRESS);
    EXPECT_EQ(byte_cnt, 0u);
    EXPECT_EQ(buffer_cnt, 0u);
    EXPECT_EQ(bv_exp_get_oldest_frame(hcam, &frame, &info), 0);
    EXPECT_TRUE(trace_.failed_with(C3_FRAME_NOT_RETURNED, "Frame number 0 returned"));
}

TEST_F(Continuous, OverrunOnlyWithoutOverwriting) {
    FRAME_INFO info{};
    void* frame = nullptr;
    ASSERT_EQ(Prepare(CIRC_OVERWRITE), 1);
    ASSERT_EQ(Start(4), 1);
    Deliver(5);
    EXPECT_EQ(bv_exp_get_oldest_frame(hcam, &frame, &info), 1);

    ASSERT_EQ(Prepare(CIRC_NO_OVERWRITE), 1);
    ASSERT_EQ(Start(4), 1);
    Deliver(4);
    EXPECT_EQ(bv_exp_get_oldest_frame(hcam, &frame, &info), 1);
    Deliver(5);
    frame = nullptr;
    EXPECT_EQ(bv_exp_get_latest_frame(hcam, &frame, &info), 0);
    EXPECT_TRUE(trace_.failed_with(C3_BUFFER_OVERRUN, "Buffer overrun"));
    EXPECT_EQ(OffsetOf(frame), 0);  // told all the same
    EXPECT_EQ(camera_.decode_info().oldest_frame, 0u);
    EXPECT_EQ(bv_exp_get_oldest_frame(hcam, &frame, &info), 0);
    // One frame given up brings the rest back in reach.
    EXPECT_EQ(bv_exp_unlock_oldest_frame(hcam), 1);
    EXPECT_EQ(bv_exp_get_oldest_frame(hcam, &frame, &info), 1);
    EXPECT_EQ(OffsetOf(frame), ptrdiff_t{frame_bytes});
}

TEST_F(Continuous, FailedReadoutIsNoFrame) {
    ASSERT_EQ(Prepare(), 1);
    ASSERT_EQ(Start(4), 1);
    camera_.camera().driver_status(99, 0);
    FRAME_INFO info{};
    void* frame = nullptr;
    EXPECT_EQ(bv_exp_get_latest_frame(hcam, &frame, &info), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C7_DRIVER_COM_ERROR);
}
