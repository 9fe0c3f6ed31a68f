#include "messages/gate.h"

#include <gmock/gmock.h>

#include "support/core/camera_test.h"

using support::hex;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class GateTest : public support::CameraTest<> {
  protected:
    boolean16 Send(const std::vector<uns8>& message, bool reply,
                   uns8 c_class = CLASS_HOST_COMMANDS) {
        return bz_cam_write_read(hcam, c_class, static_cast<uns16>(message.size()), message.data(),
                                 reply ? reply_.data() : nullptr);
    }

    // A message of `size` bytes that asks for `reply` bytes.
    static std::vector<uns8> Request(size_t size, uns16 reply) {
        std::vector<uns8> message(size, CLEAR_STAT_BUF);
        message[size - 3] = SEND_STAT_BUF;
        message[size - 2] = static_cast<uns8>(reply >> 8);
        message[size - 1] = static_cast<uns8>(reply);
        return message;
    }

    std::vector<uns8> reply_ = std::vector<uns8>(70000);
};

TEST_F(GateTest, LongestMessageAndReply) {
    EXPECT_EQ(Send(std::vector<uns8>(32768, CLEAR_STAT_BUF), false), 1);
    EXPECT_EQ(camera_.writes().back().size(), 32771u);
    EXPECT_EQ(Send(Request(32768, 32768), true), 1);
    EXPECT_EQ(camera_.camera().reads(), 1u);
}

TEST_F(GateTest, RefusesAndSendsNothing) {
    struct Refusal {
        std::vector<uns8> message;
        uns8 c_class;
        int16 error;
        const char* text;
    };
    constexpr uns8 host = CLASS_HOST_COMMANDS;
    const char* const too_long = "write_array is either empty or longer than 32768 chars";
    const char* const bad_reply = "Expected response is either empty or longer than 32768 chars";
    const char* const no_request =
        "Read requested but write_array does not contain SEND_STAT_BUF command at index 2";
    const Refusal refusals[] = {
        {{}, host, C0_SYS_ERR_SEND_BYTE, too_long},
        {std::vector<uns8>(32769), host, C0_SYS_ERR_SEND_BYTE, too_long},
        {hex("26 28 0001"), CLASS_CCL_SCRIPT, C0_WRONG_READ_CLASS,
         "This function supports host- and plugin commands only"},
        {hex("26 0B 27 0002"), host, C0_SYS_ERR_READ_BYTE, no_request},
        {hex("28 26 0B 0002"), CLASS_PLUGIN_COMMANDS, C0_SYS_ERR_READ_BYTE, no_request},
        // There is no byte at that index, and none in front of the array is looked at.
        {hex("28 00"), host, C0_SYS_ERR_READ_BYTE,
         "Read requested but write_array does not contain SEND_STAT_BUF command at index "
         "4294967295"},
        {hex("26 28 0000"), host, C0_SYS_ERR_READ_BYTE, bad_reply},
        {hex("26 28 8001"), host, C0_SYS_ERR_READ_BYTE, bad_reply},
    };
    for (const Refusal& refusal : refusals) {
        EXPECT_TRUE(trace_.refused(Send(refusal.message, true, refusal.c_class), refusal.error,
                                   refusal.text));
    }
    EXPECT_THAT(camera_.writes(), IsEmpty());
}

TEST_F(GateTest, RunningAcquisitionIsHaltedFirst) {
    camera_.cam_info().exp_started = uns16{1};
    EXPECT_EQ(Send(hex("26 0B 28 0002"), true), 1);
    EXPECT_THAT(camera_.writes(),
                ElementsAre(hex("3F 0003 33 0000"), hex("3F 0005 26 0B 28 0002")));
    EXPECT_EQ(camera_.cam_info().exp_started, 0);
}

}  // namespace
