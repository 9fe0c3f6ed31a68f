#include "notify/event_notifier.h"

#include <cstring>
#include <gmock/gmock.h>

#include "support/core/test_camera.h"
#include "support/core/trace_capture.h"

#include "heard_events.h"

namespace {

using support::eventually;
using testing::Each;
using testing::ElementsAre;

constexpr int16 hcam = support::TestCamera::hcam;
constexpr uns32 mask = 0x8000003B;
constexpr uns32 mask_with_bof = 0x8000003F;

class EventNotifierTest : public testing::Test {
  protected:
    support::ScriptedCamera& camera() { return camera_.camera(); }
    support::NotificationServer& server() { return camera().notifications(); }
    orvex_device* device() { return camera_.device(); }

    size_t Flushes() { return tests::Flushes(camera()); }
    void Listen(std::initializer_list<uns32> events) {
        for (uns32 event : events) ASSERT_EQ(heard_.listen(hcam, event), 1);
    }
    FRAME_INFO Latest() {
        FRAME_INFO info{};
        EXPECT_EQ(orvex_callbacks_get_latest_frame_info(device(), &info), 1);
        return info;
    }
    // The report has been processed when its request is back at the driver.
    void Report(uns32 flags, uns32 eof = 0, uns32 bof = 0) {
        ASSERT_TRUE(server().wait_for_pending(pool_));
        const size_t before = server().submitted();
        ASSERT_TRUE(camera().report(flags, eof, bof, 900, 500));
        ASSERT_TRUE(eventually([&] { return server().submitted() > before; }));
    }

    support::TraceCapture trace_;
    tests::HeardEvents heard_;
    support::TestCamera camera_{1, true};
    size_t pool_ = 1;  // requests that the library keeps pending
};

TEST_F(EventNotifierTest, MaskAsksForBeginOfFrameOnlyWhenSomebodyListens) {
    ASSERT_TRUE(server().wait_for_pending(1));
    EXPECT_THAT(server().masks(), ElementsAre(mask));
    ASSERT_EQ(heard_.listen(hcam, OX_CALLBACK_EOF), 1);
    ASSERT_EQ(orvex_callbacks_set_frame_count(device(), 5, 1), 1);
    ASSERT_TRUE(server().wait_for_pending(5));
    EXPECT_THAT(server().masks(), Each(mask));
    ASSERT_EQ(heard_.listen(hcam, OX_CALLBACK_BOF), 1);
    ASSERT_TRUE(
        eventually([&] { return server().masks() == std::vector<uint32_t>(5, mask_with_bof); }));
    ASSERT_EQ(bv_cam_deregister_callback(hcam, OX_CALLBACK_BOF), 1);
    EXPECT_TRUE(eventually([&] { return server().masks() == std::vector<uint32_t>(5, mask); }));
}

TEST_F(EventNotifierTest, PoolFollowsTheFramesOfTheRun) {
    ASSERT_TRUE(server().wait_for_pending(pool_));
    struct Row {
        uns32 frames;
        boolean16 is_sequence;
        size_t requests;
    };
    for (const Row& row : {Row{1000, 1, 1000}, Row{10, 0, 8}, Row{0, 1, 1}}) {
        const size_t flushes = Flushes(), before = server().pending();
        ASSERT_EQ(orvex_callbacks_set_frame_count(device(), row.frames, row.is_sequence), 1);
        ASSERT_TRUE(server().wait_for_pending(row.requests)) << row.frames;
        EXPECT_EQ(Flushes() - flushes, before);
        // The same shape again leaves the pool alone.
        const size_t submitted = server().submitted();
        ASSERT_EQ(orvex_callbacks_set_frame_count(device(), row.frames, row.is_sequence), 1);
        EXPECT_EQ(server().submitted(), submitted);
    }
}

TEST_F(EventNotifierTest, OneReportCallsBackInAFixedOrder) {
    for (uns32 event = 0; event < OX_CALLBACK_MAX; ++event)
        ASSERT_EQ(heard_.listen(hcam, event), 1);
    ASSERT_TRUE(camera().report(NOTIFICATION_DEVICE_REMOVAL | NOTIFICATION_SYS_SUSPEND |
                                    NOTIFICATION_BUS_RESET | NOTIFICATION_BOF_EOF,
                                11, 12, 900, 500));
    ASSERT_TRUE(heard_.wait_for(5));
    EXPECT_THAT(heard_.events(),
                ElementsAre(OX_CALLBACK_CAM_REMOVED, OX_CALLBACK_CAM_RESUMED,
                            OX_CALLBACK_CHECK_CAMS, OX_CALLBACK_BOF, OX_CALLBACK_EOF));
    EXPECT_THAT(heard_.frames(), Each(11));
    const FRAME_INFO info = heard_.all().back().info;
    EXPECT_EQ(info.hCam, hcam);
    EXPECT_EQ(info.TimeStampEOF, 900);
    EXPECT_EQ(info.TimeStampBOF, 500);
    EXPECT_EQ(camera().state(), uint32_t{DEVICE_RESUMED});
}

TEST_F(EventNotifierTest, OnlyAnEndOfFrameIsTheLatest) {
    ASSERT_EQ(heard_.listen(hcam, OX_CALLBACK_BOF), 1);
    // In a buffer of no frames there is no address to work out.
    ASSERT_EQ(orvex_callbacks_set_frame_count(device(), 0, 1), 1);
    Report(NOTIFICATION_BOF, 7, 8);
    EXPECT_THAT(heard_.frames(), ElementsAre(8));
    EXPECT_EQ(Latest().FrameNr, 0);
    Report(NOTIFICATION_EOF, 7, 8);
    EXPECT_EQ(Latest().FrameNr, 7);
    EXPECT_EQ(orvex_callbacks_reset(device()), 1);
    EXPECT_EQ(Latest().FrameNr, 0);
}

TEST_F(EventNotifierTest, AbortHoldsBackFrameCallbacksAlone) {
    Listen({OX_CALLBACK_BOF, OX_CALLBACK_EOF, OX_CALLBACK_CHECK_CAMS});
    orvex_callbacks_begin_abort(device());
    Report(NOTIFICATION_BOF_EOF | NOTIFICATION_BUS_RESET, 3, 3);
    EXPECT_EQ(Latest().FrameNr, 3);
    EXPECT_THAT(heard_.events(), ElementsAre(OX_CALLBACK_CHECK_CAMS));
    orvex_callbacks_end_abort(device());
    Report(NOTIFICATION_EOF, 4);
    EXPECT_THAT(heard_.events(), ElementsAre(OX_CALLBACK_CHECK_CAMS, OX_CALLBACK_EOF));
    // A new run ends an abort that nobody ended.
    orvex_callbacks_begin_abort(device());
    ASSERT_EQ(orvex_callbacks_set_frame_count(device(), 2, 1), 1);
    pool_ = 2;
    Report(NOTIFICATION_EOF, 5);
    EXPECT_EQ(heard_.frames().back(), 5);
}

TEST_F(EventNotifierTest, CancelledReportEndsTheThread) {
    ASSERT_EQ(heard_.listen(hcam, OX_CALLBACK_EOF), 1);
    ASSERT_TRUE(server().wait_for_pending(1));
    dv_notification_report cancelled{};
    cancelled.status = NOTIFICATION_STATUS_CANCELLED;
    cancelled.flags = NOTIFICATION_EOF;
    const size_t submitted = server().submitted();
    ASSERT_TRUE(server().report(cancelled));
    ASSERT_TRUE(eventually([&] { return trace_.contains("bv::EventNotifier::Run: RETURN ()"); }));
    EXPECT_EQ(server().submitted(), submitted);
    EXPECT_TRUE(heard_.all().empty());
    // Nothing begins any more that would never be told of.
    EXPECT_EQ(orvex_callbacks_set_frame_count(device(), 1, 1), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C7_DRIVER_COM_ERROR);
    EXPECT_EQ(support::ErrorOf(heard_.listen(hcam, OX_CALLBACK_BOF)), C7_DRIVER_COM_ERROR);
}

TEST_F(EventNotifierTest, RemovalIsHeardOnceUntilTheCameraIsBack) {
    Listen({OX_CALLBACK_CAM_REMOVED, OX_CALLBACK_CAM_RESUMED});
    Report(NOTIFICATION_DEVICE_REMOVAL);
    camera().set_state(DEVICE_OPEN);
    Report(NOTIFICATION_DEVICE_REMOVAL);
    EXPECT_EQ(camera().state(), uint32_t{DEVICE_REMOVED});
    EXPECT_THAT(heard_.events(), ElementsAre(OX_CALLBACK_CAM_REMOVED));
    Report(NOTIFICATION_SYS_SUSPEND);
    EXPECT_EQ(camera().state(), uint32_t{DEVICE_SUSPENDED});
    Report(NOTIFICATION_BUS_RESET);
    Report(NOTIFICATION_DEVICE_REMOVAL);
    EXPECT_THAT(heard_.events(), ElementsAre(OX_CALLBACK_CAM_REMOVED, OX_CALLBACK_CAM_RESUMED,
                                             OX_CALLBACK_CAM_REMOVED));
}

TEST_F(EventNotifierTest, UnreachableDeviceFileFailsTheStart) {
    ASSERT_EQ(dv_cam_close(hcam), 1);
    const std::string former = device()->path;
    std::strcpy(device()->path, "/nowhere/device");
    int16 handle = -1;
    EXPECT_EQ(support::ErrorOf(dv_cam_open("Camera 0", &handle)), C0_RESOURCE_ALLOCATION_FAILED);
    EXPECT_EQ(camera().state(), uint32_t{DEVICE_CLOSED}) << "nobody has a handle to close it";
    EXPECT_EQ(camera().ioctl_codes().back(), uint32_t{DV_CAM_CLOSE});
    EXPECT_EQ(device()->write_ack, nullptr);
    std::strcpy(device()->path, former.c_str());
    EXPECT_EQ(dv_cam_open("Camera 0", &handle), 1);
}

// A record lives as long as the process, and a module may describe the device anew.
TEST_F(EventNotifierTest, FormerModeOfADeviceIsForgotten) {
    EXPECT_EQ(orvex_callbacks_stop(device()), 1);
    std::atomic_ref(device()->callbacks).store(nullptr);
    device()->driver->delivery = 0;
    EXPECT_EQ(orvex_callbacks_create(device()), 1);
    EXPECT_EQ(static_cast<orvex_callbacks*>(device()->callbacks)->notifier, nullptr);
}

TEST_F(EventNotifierTest, ModuleMayNotDeliverBesideTheDriver) {
    auto& delivery = *static_cast<orvex_delivery*>(device()->callbacks);
    EXPECT_EQ(delivery.invoke(device(), OX_CALLBACK_EOF), 0);
    EXPECT_TRUE(trace_.failed_with(C0_UNKNOWN_ERROR, "DISABLED USAGE IN KERNEL DRIVER MODE"));
    EXPECT_EQ(delivery.set_latest_frame_info(device(), 1, 2, 3), 0);
    EXPECT_EQ(Latest().FrameNr, 0);
}

}  // namespace
