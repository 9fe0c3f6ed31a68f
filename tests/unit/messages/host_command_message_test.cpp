#include "messages/host_command_message.h"

#include <gmock/gmock.h>
#include <stdexcept>

#include "support/core/camera_test.h"

using bv::HostCommandMessage;
using support::hex;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using HostCommandMessageTest = support::CameraTest<>;

// One pattern of a message, and the bytes that it must have on both kinds of cameras.
struct Pattern {
    const char* name;
    void (*build)(HostCommandMessage& message);
    const char* wire;
    const char* wire_with_status;
};

const Pattern patterns[] = {
    {"Read",
     [](HostCommandMessage& m) {
         m.BeginReply();
         m.AddRead(CUR_CCD_TEMP);
         m.RequestReply();
     },
     "3F 0005 26 07 28 0002", "3F 0005 26 07 28 0003"},
    {"WriteOnly",
     [](HostCommandMessage& m) {
         m.AddWrite(SET_TEMP, int16{-500});
         m.AddReadLength();
     },
     "3F 0003 2D FE0C", "3F 0006 2D FE0C 28 0001"},
    {"NoDataAtAll",
     [](HostCommandMessage& m) {
         m.AddCommand(EXECUTE_CCL);
         m.AddReadLength();
     },
     "3F 0001 2E", "3F 0004 2E 28 0001"},
    {"RawBlocksKeepTheirOrder",
     [](HostCommandMessage& m) {
         m.AddWrite(SET_CURRENT_PORT_ST, hex("00 01 7F FE"));
         m.BeginReply();
         m.AddWriteRead(GET_BINARY_BLOB_SIZE, hex("0000 0000"));
         m.AddRead(GET_FAN_SPEEDS, 0x0201);
         m.RequestReply();
     },
     "3F 000F 48 00017FFE 26 99 00000000 97 28 0205",
     "3F 000F 48 00017FFE 26 99 00000000 97 28 0206"},
};

TEST_F(HostCommandMessageTest, PatternsHaveTheseBytes) {
    for (const bool with_status : {false, true}) {
        if (with_status) camera_.use_reply_status();
        for (const Pattern& pattern : patterns) {
            HostCommandMessage message(hcam);
            pattern.build(message);
            ASSERT_EQ(message.Execute(), 1);
            EXPECT_EQ(camera_.writes().back(),
                      hex(with_status ? pattern.wire_with_status : pattern.wire))
                << pattern.name;
        }
    }
}

TEST_F(HostCommandMessageTest, RepliesAreFoundByCommandWhateverTheirOrderAndEncoding) {
    camera_.firmware()
        .reply(SPD_BIT_DEPTH, 1, 0x9C)
        .reply(CUR_CCD_TEMP, hex("FF38"))
        .reply(GET_PP_PARAM, 4, 0x01020304)
        .reply(GET_CLEARING_TIME, hex("0102030405060708"))
        .reply(TEMP_RANGE, hex("0014FFCE"))
        .reply(GET_GAIN_NAME, "High sensitivity")
        .reply(GET_SYSTEM_NAME, std::string(32, 'x'));
    for (const bool with_status : {false, true}) {
        SCOPED_TRACE(with_status);
        if (with_status) camera_.use_reply_status();
        HostCommandMessage message(hcam);
        message.BeginReply();
        for (const auto id : {SPD_BIT_DEPTH, CUR_CCD_TEMP, GET_PP_PARAM, GET_CLEARING_TIME,
                              TEMP_RANGE, GET_GAIN_NAME, GET_SYSTEM_NAME}) {
            message.AddRead(id);
        }
        message.RequestReply();
        ASSERT_EQ(message.Execute(), 1);

        EXPECT_EQ(message.Reply<uns8>(SPD_BIT_DEPTH), 0x9C);
        EXPECT_EQ(message.Reply<int16>(CUR_CCD_TEMP), -200);
        EXPECT_EQ(message.Reply<uns32>(GET_PP_PARAM), 0x01020304u);
        EXPECT_EQ(message.Reply<int64>(GET_CLEARING_TIME), 0x0102030405060708);
        int16 temperature = 0;
        message.GetReply(CUR_CCD_TEMP, &temperature);
        EXPECT_EQ(temperature, -200);
        EXPECT_THAT(message.ReplyBytes(TEMP_RANGE), ElementsAre(0x00, 0x14, 0xFF, 0xCE));
        EXPECT_EQ(message.GetReplyData(TEMP_RANGE), message.ReplyBytes(TEMP_RANGE).data());
        char name[32];
        message.GetReply(GET_GAIN_NAME, name);
        EXPECT_STREQ(name, "High sensitivity");
        message.GetReply(GET_SYSTEM_NAME, name);
        EXPECT_EQ(std::string(name), std::string(31, 'x'));
    }
}

// The first entry of a repeated id stays, and the second one's bytes are part of the reply.
TEST_F(HostCommandMessageTest, RepeatedReadGivesTheFirstReply) {
    int answer = 0;
    camera_.firmware().on_command(
        GET_OFFSET, [&](auto) { return support::big_endian(static_cast<uint64_t>(++answer), 2); });
    HostCommandMessage message(hcam);
    message.BeginReply();
    message.AddRead(GET_OFFSET);
    message.AddRead(GET_OFFSET);
    message.AddRead(SPD_BIT_DEPTH);
    message.RequestReply();
    ASSERT_EQ(message.Execute(), 1);
    EXPECT_EQ(camera_.writes().back(), hex("3F 0007 26 3C 3C 00 28 0005"));
    EXPECT_EQ(message.Reply<uns16>(GET_OFFSET), 1);
    EXPECT_EQ(message.Reply<uns8>(SPD_BIT_DEPTH), 16);
}

TEST_F(HostCommandMessageTest, ReplyOfACommandThatWasNotAdded) {
    HostCommandMessage message(hcam);
    uns16 value = 0;
    EXPECT_THAT([&] { message.GetReply(GET_OFFSET, &value); },
                testing::ThrowsMessage<std::out_of_range>("invalid map<K, T> key"));
    EXPECT_EQ(message.GetReplyData(GET_OFFSET), nullptr);
    EXPECT_THAT(message.ReplyBytes(GET_OFFSET), IsEmpty());
}

TEST_F(HostCommandMessageTest, AReplyWithoutItsStatusIsAFailure) {
    camera_.use_reply_status();
    camera_.camera().queue_reply({});
    support::TraceCapture trace;
    HostCommandMessage message(hcam);
    message.AddWriteAndReadBack(SET_OFFSET, uns16{1}, GET_OFFSET);
    EXPECT_TRUE(trace.refused(
        message.Execute(), C7_DRIVER_COM_ERROR,
        "Host command message failed with code " + std::to_string(static_cast<int>(SET_OFFSET))));
}

// 16 bits hold neither length; nothing may go out that the camera would take for something else.
TEST_F(HostCommandMessageTest, LengthBeyondSixteenBitsIsRefused) {
    const std::vector<uns8> block(65533);
    HostCommandMessage message(hcam);
    message.AddWrite(SET_TIDAL_STREAM_EXP_PARAMS, block);
    message.AddWrite(SET_TEMP, int16{1});
    message.AddReadLength();
    EXPECT_EQ(support::ErrorOf(message.Execute()), C0_SYS_ERR_SEND_BYTE);
    EXPECT_THAT(camera_.writes(), IsEmpty());
}

// With the status byte the lengths add up to 65536, which wraps to none.
TEST_F(HostCommandMessageTest, ReplyBeyondSixteenBitsReadsAsNothing) {
    camera_.use_reply_status();
    bv::SingleReadHostCommandMessage message(hcam, GET_EXTENDED_CAPABILITIES, 65535);
    message.Execute();
    EXPECT_THAT(message.ReplyBytes(GET_EXTENDED_CAPABILITIES), IsEmpty());
    std::vector<uns8> bytes(65535, 0xEE);
    message.GetReply(GET_EXTENDED_CAPABILITIES, bytes.data());
    EXPECT_THAT(bytes, Each(0));
}

TEST_F(HostCommandMessageTest, SetterComparesWhatIsReadBack) {
    support::TraceCapture trace;
    bv::Call call("test");
    EXPECT_EQ(bv::SetWithReadBack(call, hcam, SET_OFFSET, GET_OFFSET, int16{-2}), 1);
    EXPECT_EQ(camera_.writes().back(), hex("3F 0008 3D FFFE 26 3C 28 0002"));

    camera_.firmware().ignore(SET_OFFSET);
    EXPECT_TRUE(trace.refused(bv::SetWithReadBack(call, hcam, SET_OFFSET, GET_OFFSET, int16{5}),
                              C2_FAILED_TO_SET_VALUE, "Value read back from camera differs: -2"));
    EXPECT_TRUE(trace.refused(bv::SetWithReadBack(call, hcam, SET_OFFSET, GET_OFFSET, uns16{5}),
                              C2_FAILED_TO_SET_VALUE,
                              "Value read back from camera differs: 65534"));
    camera_.camera().fail_write();
    EXPECT_EQ(bv::SetWithReadBack(call, hcam, SET_OFFSET, GET_OFFSET, uns16{5}), 0);
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C7_DRIVER_COM_ERROR);
}

}  // namespace
