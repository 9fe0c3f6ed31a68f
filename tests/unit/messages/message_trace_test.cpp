#include <gmock/gmock.h>

#include "messages/host_command_message.h"
#include "support/core/test_camera.h"
#include "support/core/trace_capture.h"

using testing::ElementsAre;

namespace {

constexpr const char* scope = "bv::HostCommandMessage::Execute: ";

// The lines of the exchange itself, without those of the layers below.
std::vector<std::string> ExchangeLines(support::TraceCapture& trace) {
    std::vector<std::string> lines;
    for (const std::string& message : trace.messages(bv::log_debug)) {
        const std::string prefix = scope;
        if (message.starts_with(prefix + "SEND_BUF") || message.starts_with(prefix + "RECV_BUF")) {
            lines.push_back(message.substr(prefix.size()));
        }
    }
    return lines;
}

void Exchange() {
    bv::HostCommandMessage message(support::TestCamera::hcam);
    message.AddWrite(SET_TEMP, int16{0x12AB});
    message.BeginReply();
    message.AddRead(CCD_TEMP_SET);
    message.AddWriteRead(SUBSYS_ID, uns8{1});
    message.AddReadCommand(191, 1, bv::HostCommandDataType::String);
    message.RequestReply();
    message.Execute();
}

TEST(MessageTrace, CommandsAndReplies) {
    support::TestCamera camera;
    camera.camera().on_write([](auto) { return support::hex("12AB 010203 41"); });
    support::TraceCapture trace;
    Exchange();
    EXPECT_THAT(
        ExchangeLines(trace),
        ElementsAre(
            "SEND_BUF_RAW: [0x2D,0x12,0xAB,0x26,0x23,0x21,0x01,0xBF,0x28,0x00,0x06]",
            "SEND_BUF    : [0x2D](SET_TEMP,W:2B-BigEndian),[0x12,0xAB],[0x26](CLEAR_STAT_BUF),"
            "[0x23](CCD_TEMP_SET,R:2B-BigEndian),[0x21](SUBSYS_ID,W:1B-BigEndian,R:3B-Raw),[0x01],"
            "[0xBF](<UNKNOWN>,R:1B-String),[0x28](SEND_STAT_BUF),[0x00,0x06]",
            "RECV_BUF_RAW: [0x12,0xAB,0x01,0x02,0x03,0x41]",
            "RECV_BUF    : [0x12,0xAB](CCD_TEMP_SET),[0x01,0x02,0x03](SUBSYS_ID),"
            "[0x41](<UNKNOWN>)"));
}

// Each command shows the byte behind its own reply; behind the last one lies the message.
TEST(MessageTrace, RepliesWithStatusByte) {
    support::TestCamera camera;
    camera.use_reply_status();
    camera.camera().on_write([](auto) { return support::hex("00 12AB 010203 41"); });
    support::TraceCapture trace;
    Exchange();
    EXPECT_EQ(ExchangeLines(trace)[3],
              "RECV_BUF    : (SET_TEMP,ERR:0x12),(CLEAR_STAT_BUF,ERR:0x12),"
              "[0x12,0xAB](CCD_TEMP_SET,ERR:0x01),[0x01,0x02,0x03](SUBSYS_ID,ERR:0x41),"
              "[0x41](<UNKNOWN>,ERR:0xBF),(SEND_STAT_BUF,ERR:0xBF)");
}

}  // namespace
