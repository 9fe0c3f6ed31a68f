#include "engine/message_port.h"

#include <gtest/gtest.h>
#include <random>

#include "orvex/orvex_protocol.h"

namespace {

using Bytes = std::vector<uint8_t>;

// A camera that knows a few commands and notes what reaches it.
class Probe : public engine::Sensor {
  public:
    const engine::Description& About() const override { return about; }
    std::span<const engine::BridgeNode> BridgeNodes() const override { return {}; }
    bool Connect(engine::HostSide&) override { return true; }
    void Disconnect() override {}
    void Reset() override {}

    engine::Outcome HostCommand(uint8_t id, engine::Bytes data, Bytes& reply) override {
        heard.push_back({id, Bytes(data.begin(), data.end())});
        if (id == refused) return engine::Outcome::refused;
        if (id == PAR_SIZE) engine::ByteWriter(reply).U16(0x0102);
        if (id == PRESCAN) engine::ByteWriter(reply).U8(7);
        return engine::Outcome::done;
    }
    engine::Outcome PluginCommand(uint8_t id, engine::Bytes data, Bytes& reply) override {
        heard.push_back({id, Bytes(data.begin(), data.end())});
        if (id == 7) engine::ByteWriter(reply).U16(0x0A0B);
        return engine::Outcome::done;
    }
    engine::Outcome LoadProgram(uint8_t message_class, engine::Bytes program) override {
        heard.push_back({message_class, Bytes(program.begin(), program.end())});
        return program.empty() ? engine::Outcome::refused : engine::Outcome::done;
    }

    engine::Description about;
    std::vector<std::pair<uint8_t, Bytes>> heard;
    int refused = -1;
};

class MessagePort : public testing::Test {
  protected:
    Bytes Reply(size_t size = 1000) {
        Bytes reply(size);
        reply.resize(port.Read(reply.data(), reply.size()));
        return reply;
    }

    Probe probe;
    engine::MessagePort port{probe};
};

TEST_F(MessagePort, TheStatusBufferStaysUntilItIsCleared) {
    port.Take(Bytes{63, 0, 1, PRESCAN});
    port.Take(Bytes{63, 0, 4, PAR_SIZE, SEND_STAT_BUF, 0, 9});
    EXPECT_EQ(Reply(), (Bytes{7, 1, 2}));
    port.Take(Bytes{63, 0, 5, CLEAR_STAT_BUF, PRESCAN, SEND_STAT_BUF, 0, 9});
    EXPECT_EQ(Reply(), (Bytes{7}));
}

struct Broken {
    const char* name;
    Bytes frame;
    uint8_t status;
};

class BrokenFrames : public testing::TestWithParam<Broken> {};

TEST_P(BrokenFrames, GetNoAcknowledgeOrAStatus) {
    Probe plain;
    plain.refused = SET_OFFSET;
    EXPECT_FALSE(engine::MessagePort(plain).Take(GetParam().frame).acknowledged);

    Probe with_status;
    with_status.refused = SET_OFFSET;
    with_status.about.reply_status = true;
    engine::MessagePort port(with_status);
    const auto result = port.Take(GetParam().frame);
    if (GetParam().status == 0) {
        EXPECT_FALSE(result.acknowledged);
        return;
    }
    EXPECT_TRUE(result.has_reply);
    EXPECT_EQ(port.Reply(), Bytes{GetParam().status});
}

// Status 0 here: not even a frame, so that nobody can answer.
INSTANTIATE_TEST_SUITE_P(
    Cases, BrokenFrames,
    testing::Values(Broken{"Empty", {}, 0}, Broken{"HeaderCut", {63, 0}, 0},
                    Broken{"LengthTooLong", {63, 0, 2, PRESCAN}, 0},
                    Broken{"LengthTooShort", {63, 0, 1, PRESCAN, PRESCAN}, 0},
                    Broken{"UnknownClass", {64, 0, 1, PRESCAN}, 0},
                    Broken{"NoCommands", {63, 0, 0}, 1},
                    Broken{"UnknownCommand", {63, 0, 1, 200}, 2},
                    Broken{"CommandNobodySends", {63, 0, 3, SET_PAR_SIZE, 1, 2}, 2},
                    Broken{"DataCut", {63, 0, 2, SET_TEMP, 1}, 2},
                    Broken{"ListCut", {63, 0, 6, SET_TIDAL_STREAM_EXP_PARAMS, 0, 2, 1, 2, 3}, 2},
                    Broken{"BlobCut", {63, 0, 4, GET_BINARY_BLOB, 0, 0, 0}, 2},
                    Broken{"Refused", {63, 0, 3, SET_OFFSET, 0, 1}, 3}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(MessagePort, PluginCommandsHaveTheirOwnSizes) {
    const Bytes frame = {49, 0, 8, 10, 0x12, 0x34, CLEAR_STAT_BUF, 7, SEND_STAT_BUF, 0, 2};
    EXPECT_TRUE(port.Take(frame).acknowledged);
    EXPECT_EQ(Reply(), (Bytes{0x0A, 0x0B}));
    EXPECT_EQ(probe.heard.front().second, (Bytes{0x12, 0x34}));
    EXPECT_FALSE(port.Take(Bytes{49, 0, 1, 11}).acknowledged);
}

// Any bytes: the walk never leaves the frame (the sanitizers look on) and never grows without end.
TEST_F(MessagePort, SurvivesAnyFrame) {
    std::mt19937 random(7);
    for (int round = 0; round < 20000; ++round) {
        Bytes frame(random() % 60 + 3);
        for (uint8_t& byte : frame) byte = static_cast<uint8_t>(random());
        constexpr std::array<uint8_t, 5> classes = {35, 38, 49, 61, 63};
        frame[0] = classes[random() % classes.size()];
        frame[1] = 0;
        frame[2] = static_cast<uint8_t>(frame.size() - 3);
        probe.heard.clear();
        port.Take(frame);
        EXPECT_LE(port.Reply().size(), 32769u);
    }
}

}  // namespace
