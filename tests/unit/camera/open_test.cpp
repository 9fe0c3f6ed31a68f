#include "camera/open.h"

#include <cstring>
#include <gmock/gmock.h>
#include <mutex>
#include <system_error>

#include "camera/tables.h"
#include "device/device_table.h"
#include "state/api_global.h"
#include "state/api_locks.h"
#include "state/camera_tables.h"
#include "support/core/trace_capture.h"
#include "support/eventually.h"
#include "support/open_handles.h"
#include "support/scripted_driver.h"

using support::hex;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class OpenTest : public testing::Test {
  protected:
    void SetUp() override {
        driver_.add_camera("Cam 0").transport(DRIVER_TYPE_USB);
        if (kernel_mode_) camera().kernel_mode();
        driver_.publish();
        firmware().reply(CHIP_NAME, "KX-512").reply(TOTAL_PORTS, 1, 1).reply(TOTAL_SPD, 1, 1);
        firmware().reply(PAR_SIZE, 2, 256).reply(SER_SIZE, 2, 512).reply(SPD_BIT_DEPTH, 1, 16);
        ASSERT_EQ(oz_cam_init_globals(), 1);
        orvex_initialized = 1;
    }
    void TearDown() override {
        if (pg_cam_info && pg_cam_info[0].open) bv_cam_close(0);
        oz_cam_uninit_globals();
        orvex_initialized = 0;
    }

    boolean16 Open(int16 mode = EXT_OPEN_EXCLUSIVE) {
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        hcam_ = -1;
        return bv_cam_open("Cam 0", &hcam_, mode);
    }
    // Control operations, but for those that begin the delivery of events.
    std::vector<uint32_t> Ioctls() {
        std::vector<uint32_t> codes = camera().ioctl_codes();
        std::erase(codes, uint32_t{DV_EVENT_NOTIFICATION_FLUSH});
        return codes;
    }
    void ExpectClosed() {
        EXPECT_EQ(pg_cam_info[0].open, 0);
        EXPECT_EQ(camera().state(), static_cast<uint32_t>(DEVICE_CLOSED));
    }

    support::ScriptedCamera& camera() { return driver_.camera(0); }
    support::ScriptedFirmware& firmware() { return camera().firmware(); }

    bool kernel_mode_ = false;
    support::ScriptedDriver driver_;
    support::TraceCapture trace_;
    int16 hcam_ = -1;
};

TEST_F(OpenTest, PlainCameraTakesFiveExchanges) {
    ASSERT_EQ(Open(), 1);
    EXPECT_EQ(hcam_, 0);
    EXPECT_THAT(camera().writes(),
                ElementsAre(hex("3F 0006 26 21 00 28 0003"), hex("3F 0003 2A 03E8"),
                            hex("3F 0007 26 3B 08 17 28 000A"), hex("3F 0005 26 1A 28 0001"),
                            hex("3F 0013 26 04090A131403180D0C0F0E19243805 28 0029")));
    EXPECT_THAT(Ioctls(), ElementsAre(DV_CAM_OPEN, DV_GET_BRIDGE_CAPS_SIZE, DV_RESET_INTERFACE));
    const cam_info_type& info = pg_cam_info[0];
    EXPECT_EQ(info.open, 1);
    EXPECT_EQ(info.o_mode, EXT_OPEN_EXCLUSIVE);
    EXPECT_EQ(info.reads_done, 1);
    EXPECT_EQ(info.rws_done, 0);
    EXPECT_EQ(info.exp_mode, TIMED_MODE);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), 0);
    EXPECT_EQ(support::ErrorOf(Open()), C0_CAM_ALREADY_OPEN);
    EXPECT_EQ(pg_cam_info[0].open, 1) << "the handle of the first open stays good";
}

TEST_F(OpenTest, ForFirmwareUpdateTheCameraIsNotSpokenTo) {
    pg_cam_info[0].exp_mode = 5;
    ASSERT_EQ(Open(EXT_OPEN_FW_UPDATE), 1);
    EXPECT_EQ(hcam_, 0);
    EXPECT_THAT(camera().writes(), IsEmpty());
    EXPECT_THAT(Ioctls(), ElementsAre(DV_CAM_OPEN, DV_GET_BRIDGE_CAPS_SIZE));
    EXPECT_EQ(pg_cam_info[0].o_mode, EXT_OPEN_FW_UPDATE);
    EXPECT_EQ(pg_cam_info[0].exp_mode, 0);
    EXPECT_EQ(bv_cam_close(0), 1);
    ExpectClosed();
}

TEST_F(OpenTest, Refusals) {
    EXPECT_TRUE(
        trace_.refused(bv_cam_open("Cam 0", &hcam_, 2), C0_OPEN_MODE_UNAVAIL, "Unknown open mode"));
    EXPECT_EQ(bv_cam_open("Cam 0", &hcam_, -1), 0);
    EXPECT_EQ(bv_cam_open("Other", &hcam_, EXT_OPEN_EXCLUSIVE), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C0_CAM_NAME_NOT_FOUND);
    EXPECT_EQ(bv_cam_open(nullptr, &hcam_, EXT_OPEN_EXCLUSIVE), 0);
    orvex_initialized = 0;
    EXPECT_TRUE(trace_.refused(bv_cam_open("Cam 0", &hcam_, EXT_OPEN_EXCLUSIVE),
                               C2_ORVEX_NOT_INITED, "ORVEX is not initialized"));
    EXPECT_EQ(hcam_, -1);
    EXPECT_EQ(camera().opens(), 0u);
}

TEST_F(OpenTest, FailureClosesTheDeviceAndKeepsItsError) {
    camera().bridge_caps(hex("BAADBAFE01")).refuse(DV_GET_BRIDGE_CAPS);
    EXPECT_EQ(Open(), 0);
    EXPECT_EQ(trace_.last_error(), "bv_cam_open: Failed to read bridge capabilities");
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C7_DRIVER_COM_ERROR);
    ExpectClosed();

    camera().refuse(DV_GET_BRIDGE_CAPS, false);
    firmware().status_byte(true).refuse_command(SUBSYS_ID, 3);
    EXPECT_TRUE(
        trace_.refused(Open(), C7_DRIVER_COM_ERROR, "Host command message failed with code 3"));
    ExpectClosed();
    EXPECT_EQ(camera().closes(), 2u);
}

TEST_F(OpenTest, ReopeningKeepsTheApplicationsChoices) {
    ASSERT_EQ(Open(), 1);
    pg_cam_cfg[0].clear_cycles = 5;
    pg_cam_cfg[0].shtr_open_mode = OPEN_NEVER;
    pg_cam_cfg[0].preamp_off_control = 7;
    pg_cam_cfg[0].clear_mode = CLEAR_NEVER;
    bv_cam_close(0);
    ASSERT_EQ(Open(), 1);
    EXPECT_EQ(pg_cam_cfg[0].clear_cycles, 5);
    EXPECT_EQ(pg_cam_cfg[0].shtr_open_mode, OPEN_NEVER);
    EXPECT_EQ(pg_cam_cfg[0].preamp_off_control, 7u);
    EXPECT_EQ(pg_cam_cfg[0].clear_mode, CLEAR_PRE_EXPOSURE) << "put back to its default";
}

// Another camera, or other firmware, may stand behind the name.
TEST_F(OpenTest, ReopeningLearnsTheCameraAnew) {
    firmware()
        .reply(SEND_CAPABILITIES, hex("00 00 00 00 04000000"))
        .reply(GET_EXTENDED_CAPABILITIES_SIZE, 4, 40)
        .reply(GET_EXTENDED_CAPABILITIES, hex("000006A1 00000002 00000001 00000000"
                                              "00000001 0001 00000007 00000001 00000002"
                                              "00000000 0000"));
    ASSERT_EQ(Open(), 1);
    cam_reads_type& reads = pg_cam_reads[0];
    EXPECT_EQ(reads.exp_range_map->size(), 4u);
    std::strcpy(reads.cam_systems_info, "0: Bridge @ 1.0.0");
    pg_cam_cfg[0].pp_entries = 3;
    pg_cam_cfg[0].exp_res_index = 7;
    bv_cam_close(0);
    firmware().reply(SEND_CAPABILITIES, hex("00 00 00 00 00000000"));
    ASSERT_EQ(Open(), 1);
    EXPECT_EQ(reads.ccl_caps + reads.sensor_caps + reads.ext_caps_flags, 0u);
    EXPECT_EQ(reads.exp_range_map->size(), 3u);
    EXPECT_EQ(pg_cam_cfg[0].exp_res_index, EXP_RES_ONE_MILLISEC);
    EXPECT_STREQ(reads.cam_systems_info, "");
    EXPECT_EQ(pg_cam_cfg[0].pp_entries, pp_entries_not_counted);
}

TEST_F(OpenTest, TidalListsAreCached) {
    firmware()
        .reply(SEND_CAPABILITIES, hex("00 10 00 00 00000000"))
        .reply(GET_TIDAL_STREAM_MAX_EXP_COUNT, 2, 8)
        .reply(GET_TIDAL_STREAM_EXP_COUNT, 2, 2)
        .reply(GET_TIDAL_STREAM_EXP_PARAMS, hex("0002 0000000A 00000014"));
    acq_cache[0].tidal_exp_params = {9, 9, 9};
    acq_cache[0].tidal_dly_params = {9};
    ASSERT_EQ(Open(), 1);
    EXPECT_THAT(acq_cache[0].tidal_exp_params, ElementsAre(10, 20));
    // The parameter of the delays is closed, which is no failure.
    EXPECT_THAT(acq_cache[0].tidal_dly_params, IsEmpty());
    EXPECT_TRUE(trace_.contains(
        "bv_cam_cache_update_param_tidal_array: Parameter not available, not reading the value."));
}

TEST_F(OpenTest, ScriptHookOfBeforeIsDropped) {
    int target = 0;
    EXPECT_EQ(bv_script_set_hook(&target), 1);
    ASSERT_EQ(Open(), 1);
    EXPECT_EQ(pg_cam_info[0].script_hook, nullptr);
}

TEST_F(OpenTest, CloseForgetsWhateverGoesWrong) {
    ASSERT_EQ(Open(), 1);
    cam_info_type& info = pg_cam_info[0];
    info.script_valid = 1;
    info.rws_done = 1;
    info.buf_mode = uns16{CIRC_OVERWRITE};
    camera().refuse(DV_CAM_CLOSE).fail_close();
    bv::ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, C7_GEN_COM_ERROR);
    EXPECT_EQ(bv_cam_close(0), 1);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), 0);
    EXPECT_EQ(info.open + info.script_valid + info.reads_done + info.rws_done + info.buf_mode, 0);
}

bool ThisThreadHoldsTheCamera() {
    try {
        const std::lock_guard lock(api_camera_mutexes[0]);
        return false;
    } catch (const std::system_error&) {
        return true;
    }
}

// A thread with the handle of an earlier open must not get in between; the mutex tells its holder.
TEST_F(OpenTest, HoldsTheCamerasMutexToTheEnd) {
    std::vector<bool> held;
    const auto look = [&](const support::Ioctl&, support::Bytes&) {
        held.push_back(ThisThreadHoldsTheCamera());
        return true;
    };
    camera().on_ioctl(DV_RESET_INTERFACE, look).on_ioctl(DV_CAM_CLOSE, look);
    ASSERT_EQ(Open(), 1);
    EXPECT_THAT(held, ElementsAre(true));
    EXPECT_FALSE(ThisThreadHoldsTheCamera());
    {
        const std::lock_guard call(api_camera_mutexes[0]);
        EXPECT_EQ(Open(), 0) << "a call that is under way keeps nobody waiting";
        EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C0_CAM_ALREADY_OPEN);
    }
    bv_cam_close(0);
    held.clear();
    firmware().reply(SEND_CAPABILITIES, hex("00 00 04 00 00000000")).reply(PAR_PORT_NUM, 2, 3);
    EXPECT_EQ(Open(), 0);
    EXPECT_THAT(held, ElementsAre(true, true)) << "also while a failed open closes the device";
    EXPECT_FALSE(ThisThreadHoldsTheCamera());
}

TEST_F(OpenTest, CloseGivesTheHandleUpBeforeTheDevice) {
    ASSERT_EQ(Open(), 1);
    uns16 open = 7;
    camera().on_ioctl(DV_CAM_CLOSE, [&](const support::Ioctl&, support::Bytes&) {
        open = pg_cam_info[0].open;
        return true;
    });
    EXPECT_EQ(bv_cam_close(0), 1);
    EXPECT_EQ(open, 0);
}

TEST_F(OpenTest, UninitReleasesTheEventsOfARefusedOpen) {
    const ptrdiff_t before = support::open_handles();
    camera().fail_open();
    EXPECT_EQ(Open(), 0);
    EXPECT_EQ(support::open_handles(), before + 6);
    oz_cam_uninit_globals();
    // A sanitizer opens files of its own for a moment.
    EXPECT_TRUE(support::Eventually([&] { return support::open_handles() == before; }));
}

class OpenFaults : public OpenTest, public testing::WithParamInterface<bool> {
  protected:
    OpenFaults() { kernel_mode_ = GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(Delivery, OpenFaults, testing::Bool(), [](const auto& instance) {
    return instance.param ? "kernel" : "library";
});

// Whichever operation of the driver fails: there is an error, what was opened is closed, and
// opening works again afterwards.
TEST_P(OpenFaults, Sweep) {
    camera().bridge_caps({ORVEX_BRIDGE_CAPS_SIGNATURE, 0});
    firmware()
        .reply(SEND_CAPABILITIES, hex("18 00 04 00 04000000"))
        .reply(PAR_PORT_NUM, 2, 1)
        .reply(SER_PORT_NUM, 2, 1)
        .reply(GET_EXTENDED_CAPABILITIES_SIZE, 4, 16)
        .reply(GET_EXTENDED_CAPABILITIES, hex("00000190 00000000 00000001 00000001"))
        .pairs(GET_EXTENDED_TRIG_MODES_SIZE, {{1792, "Internal"}})
        .pairs(GET_EXPOSE_OUT_BEHAVE_SIZE, {{2, "Any Row"}})
        .pairs(GET_FAN_SPEEDS_SIZE, {{0, "High"}})
        .reply(GET_BINARY_BLOB_SIZE, 4, 2)
        .reply(GET_BINARY_BLOB, hex("0000"));
    ASSERT_EQ(Open(), 1);
    EXPECT_EQ(bv_cam_close(hcam_), 1);
    const auto served = [&] { return kernel_mode_ && camera().notifications().connected(); };
    ASSERT_TRUE(support::eventually([&] { return !served(); }));
    const ptrdiff_t before = support::open_handles();
    unsigned failures = 0;
    unsigned n = 0;
    for (;;) {
        SCOPED_TRACE(++n);
        driver_.fail_call(n);
        const boolean16 opened = Open();
        const bool happened = driver_.fault_happened();
        const int16 error = bv::ApiGlobal::GetErrorCode();
        driver_.fail_call(0);
        if (opened) {
            EXPECT_EQ(bv_cam_close(hcam_), 1);
        } else {
            ++failures;
            EXPECT_NE(error, 0);
            EXPECT_EQ(hcam_, -1);
            ExpectClosed();
            // A device that refuses to open keeps its events, over which the next attempt trips.
            if (n == 1) {
                EXPECT_EQ(support::ErrorOf(Open()), C0_RESOURCE_ALLOCATION_FAILED);
            }
            EXPECT_TRUE(support::eventually([&] { return !served(); }));
            EXPECT_LE(support::open_handles(), before + support::handles_of_ended_threads);
            ASSERT_EQ(Open(), 1) << bv::ApiGlobal::GetErrorCode();
            EXPECT_EQ(bv_cam_close(hcam_), 1);
            EXPECT_TRUE(support::eventually([&] { return !served(); }));
        }
        if (!happened) break;
    }
    EXPECT_GT(failures, 25u) << "of " << n;
}

}  // namespace
