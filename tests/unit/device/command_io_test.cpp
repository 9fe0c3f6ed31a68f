#include "device/command_io.h"

#include <array>
#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "device/ddi.h"
#include "device/device_table.h"
#include "support/core/installed_driver.h"
#include "support/core/trace_capture.h"
#include "support/scripted_driver.h"

namespace {

using support::Bytes;
using support::hex;
using support::InstalledDriver;
using support::ScriptedCamera;
using support::ScriptedDriver;
using support::TraceCapture;
using testing::ElementsAre;
using testing::IsEmpty;

class CommandIo : public testing::Test {
  protected:
    static constexpr int16 hcam = 0;

    CommandIo() {
        for (const char* name : {"A", "B", "C"}) driver_.add_camera(name);
        installed_ = std::make_unique<InstalledDriver>(driver_);
        int16 handle = -1;
        for (const char* name : {"A", "B", "C"}) EXPECT_EQ(dv_cam_open(name, &handle), 1);
        camera().forget();
        trace_.clear();
    }
    ScriptedCamera& camera(size_t index = 0) { return driver_.camera(index); }

    TraceCapture trace_;
    ScriptedDriver driver_;
    std::unique_ptr<InstalledDriver> installed_;
};

TEST_F(CommandIo, FramesTheLargestPayload) {
    const Bytes largest(32768, 0xA5);
    EXPECT_EQ(dv_cam_write_read(hcam, 61, 32768, largest.data(), 0, nullptr), 1);
    Bytes frame = hex("3D 80 00");
    frame.insert(frame.end(), largest.begin(), largest.end());
    EXPECT_EQ(camera().writes().back(), frame);
}

TEST_F(CommandIo, FetchesTheReplyThatWasAnnounced) {
    camera().firmware().reply(CUR_CCD_TEMP, 2, 0xF63C);
    const Bytes message = hex("26 07 28 00 02");
    Bytes reply(2);
    EXPECT_EQ(dv_cam_write_read(hcam, 63, 5, message.data(), 2, reply.data()), 1);
    EXPECT_EQ(camera().writes(), std::vector<Bytes>{hex("3F 00 05 26 07 28 00 02")});
    EXPECT_EQ(reply, hex("F6 3C"));

    camera().queue_reply(hex("01"));
    reply = hex("55 55");
    EXPECT_EQ(dv_cam_write_read(hcam, 63, 5, message.data(), 2, reply.data()), 1)
        << "a short reply is the reader's business";
    EXPECT_EQ(reply, hex("01 00")) << "and none of the reader's own bytes pass for a reply";
}

// Both ways of sending three bytes of payload.
TEST_F(CommandIo, ReportsWhatFailed) {
    const Bytes payload = hex("26 07 28");
    Bytes reply(16);
    auto framed = [&](uns16 write_bytes, uns16 read_bytes) {
        return dv_cam_write_read(hcam, 63, write_bytes, payload.data(), read_bytes, reply.data());
    };
    auto passed_through = [&](uns16 write_bytes, uns16 read_bytes) {
        return dv_cam_write_read_passthrough(hcam, write_bytes, payload.data(), read_bytes,
                                             reply.data());
    };
    using Exchange = std::function<boolean16(uns16 write_bytes, uns16 read_bytes)>;
    for (const auto& [run, frame_bytes] : {std::pair<Exchange, std::string>{framed, "6"},
                                           std::pair<Exchange, std::string>{passed_through, "3"}}) {
        SCOPED_TRACE(frame_bytes);
        trace_.clear();
        EXPECT_TRUE(trace_.refused(run(0, 0), C7_DRIVER_COM_ERROR, "No data to write"));
        camera().fail_write(true, 2);
        EXPECT_TRUE(
            trace_.refused(run(3, 4), C7_DRIVER_COM_ERROR,
                           "Failed to write data, written, 2 out of " + frame_bytes + " bytes"));
        camera().fail_write(false).fail_read(true, 1).queue_reply(hex("01 02 03 04"));
        EXPECT_TRUE(trace_.refused(run(3, 4), C7_DRIVER_COM_ERROR,
                                   "Failed to read data, read 1 out of 4 bytes"));
        EXPECT_EQ(trace_.messages(bv::log_error).size(), 3u) << "each failure is told once";

        camera().fail_read(false).set_state(DEVICE_REMOVED);
        camera().forget();
        EXPECT_TRUE(
            trace_.refused(run(0, 0), C7_DRIVER_COM_ERROR, "Failed to write data, device removed"));
        EXPECT_THAT(camera().writes(), IsEmpty());
        for (uint32_t state : {DEVICE_SUSPENDED, DEVICE_RESUMED}) {
            camera().set_state(state);
            EXPECT_EQ(run(3, 0), 1) << "the driver decides about state " << state;
        }
        camera().set_state(DEVICE_OPEN);
    }
}

// The limits are fixed; all three waits run side by side.
TEST_F(CommandIo, WaitsThreeSecondsForEachAcknowledgeAndLongerForPassthrough) {
    camera(0).lose_write_ack();
    camera(1).lose_read_ack();
    camera(2).lose_write_ack();
    const Bytes message = hex("26 07 28 00 02");
    auto exchange = [&](int16 handle) {
        std::array<uint8_t, 2> reply{};
        return dv_cam_write_read(handle, 63, 5, message.data(), 2, reply.data());
    };
    boolean16 passed = 0;
    std::thread second([&] { EXPECT_EQ(exchange(1), 0); });
    std::thread third(
        [&] { passed = dv_cam_write_read_passthrough(2, 5, message.data(), 0, nullptr); });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(exchange(0), 0);
    second.join();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2990));
    camera(2).signal(ScriptedCamera::Ack::write);
    third.join();
    EXPECT_EQ(passed, 1) << "the whole frame was still waited for";
    EXPECT_THAT(trace_.messages(bv::log_error),
                testing::UnorderedElementsAre(
                    "dv_cam_write_read: Write ack event not signalled within 3000 ms",
                    "dv_cam_write_read: Read ack event not signalled within 3000 ms"));
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C7_DRIVER_COM_ERROR);
    EXPECT_EQ(camera(1).reads(), 0u);
}

TEST_F(CommandIo, SurvivesADriverThatSpoilsItsArguments) {
    orvex_device* device = dv_device(hcam);
    const auto ioctl =
        std::exchange(device->ioctl, [](orvex_device*, uint32_t, dv_ioctl_args* args) -> uint16_t {
            *args = {};
            return 1;
        });
    EXPECT_EQ(dv_ioctl(hcam, DV_CLEAR_IRQS, nullptr, 0, nullptr, 0, nullptr, nullptr), 1);
    device->ioctl = ioctl;
}

TEST_F(CommandIo, NamesTheControlOperationThatFailed) {
    camera().refuse(DV_RESET_INTERFACE);
    EXPECT_TRUE(trace_.refused(dv_reset_interface(hcam), C7_DRIVER_COM_ERROR,
                               "IOCTL DV_RESET_INTERFACE(0x00223ee8) failed"));
    EXPECT_EQ(trace_.messages(bv::log_error).size(), 1u) << "a failure is told once";

    camera().set_state(DEVICE_REMOVED);
    camera().forget();
    EXPECT_TRUE(trace_.refused(dv_reset_interface(hcam), C7_DRIVER_COM_ERROR,
                               "IOCTL DV_RESET_INTERFACE(0x00223ee8) failed, device removed"));
    EXPECT_THAT(camera().ioctls(), IsEmpty());
    EXPECT_EQ(dv_reset_interface(-1), 0);
}

// The other operations of their kinds are seen through the parameters.
TEST_F(CommandIo, SmallOperationsFailWithTheDriver) {
    struct Operation {
        uint32_t code;
        boolean16 (*run)(int64& time);
    };
    const Operation operations[] = {
        {DV_GET_CURRENT_TIMESTAMP,
         [](int64& time) { return dv_exp_get_current_oz_time(0, &time); }},
        {DV_SET_TIMEOUT, [](int64&) { return dv_driver_set_timeout(0, 1000); }},
        {DV_CLEAR_IRQS, [](int64&) { return dv_exp_clear_ints(0); }},
    };
    camera().answer(DV_GET_CURRENT_TIMESTAMP, hex("01 02 03 04 05 06 07 80"));
    int64 time = 0;
    for (const Operation& operation : operations) {
        SCOPED_TRACE(bv_text_dv_ioctl(operation.code));
        camera().forget();
        EXPECT_EQ(operation.run(time), 1);
        EXPECT_THAT(camera().ioctl_codes(), ElementsAre(operation.code));
        camera().refuse(operation.code);
        EXPECT_EQ(operation.run(time), 0);
    }
    EXPECT_EQ(static_cast<uint64_t>(time), 0x8007060504030201);
}

}  // namespace
