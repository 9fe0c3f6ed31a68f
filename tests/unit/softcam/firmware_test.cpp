// Commands of the cameras, as bytes.

#include "softcam/firmware.h"

#include <map>

#include "orvex/orvex_types.h"

#include "module_fixture.h"

namespace {

using client::Big;
using client::Bytes;

class Firmware : public ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        ASSERT_TRUE(Configure(R"({"time_scale": 0})"));
    }
    static constexpr size_t ccd = 0, cmos = 1, plain = 2, em = 3;
};

struct Row {
    const char* name;
    int id;
    int write;
    int reply;
};
const Row rows[] = {
#define ROW(name, id, write, write_encoding, reply, reply_encoding) {#name, id, write, reply},
    ORVEX_HOST_COMMANDS(ROW)
#undef ROW
};

// Whatever the host can send, the camera with every feature or one of the others knows.
TEST_F(Firmware, SomeCameraKnowsEveryCommandThatIsSent) {
    std::map<int, const softcam::Command*> known;
    for (const auto topic :
         {softcam::IdentityCommands(), softcam::SettingCommands(), softcam::FilterCommands(),
          softcam::TidalCommands(), softcam::PortCommands(), softcam::CentroidCommands(),
          softcam::ListCommands(), softcam::BlobCommands(), softcam::ControlCommands()}) {
        for (const softcam::Command& command : topic)
            EXPECT_TRUE(known.emplace(command.id, &command).second) << int{command.id};
    }
    for (const Row& row : rows) {
        const bool engine_knows = row.id == CLEAR_STAT_BUF || row.id == SEND_STAT_BUF;
        EXPECT_EQ(known.contains(row.id), row.write != HC_UNSENT && !engine_knows) << row.name;
    }
}

// Replies are counted by the host, so each must have exactly its size on every camera.
TEST_F(Firmware, RepliesHaveTheSizesThatHostsCountOn) {
    size_t answered = 0;
    for (size_t index : {ccd, cmos, plain}) {
        client::Connection& camera = Camera(index);
        const softcam::Model& model = softcam::AllModels()[index];
        for (const auto topic :
             {softcam::IdentityCommands(), softcam::SettingCommands(), softcam::FilterCommands(),
              softcam::TidalCommands(), softcam::PortCommands(), softcam::CentroidCommands(),
              softcam::ListCommands()}) {
            for (const softcam::Command& command : topic) {
                const Row& row = rows[command.id];
                if (row.reply <= 0 || row.write < 0 || !command.available(model)) continue;
                const auto size = static_cast<size_t>(row.reply);
                const Bytes zeros(static_cast<size_t>(row.write));
                EXPECT_EQ(camera.Ask(command.id, size + 5, zeros).size(), size) << row.name;
                ++answered;
            }
        }
    }
    EXPECT_GT(answered, 150u);
}

struct Setter {
    const char* name;
    size_t camera;
    uint8_t set, get;
    size_t size;
    uint64_t good, bad;
};

class Setters : public Firmware, public testing::WithParamInterface<Setter> {};

TEST_P(Setters, KeepWhatIsInRange) {
    const Setter& row = GetParam();
    client::Connection& camera = Camera(row.camera);
    ASSERT_TRUE(camera.Tell(row.set, row.good, row.size));
    EXPECT_EQ(camera.AskNumber(row.get, row.size), row.good);
    ASSERT_TRUE(camera.Tell(row.set, row.bad, row.size));
    EXPECT_EQ(camera.AskNumber(row.get, row.size), row.good);
}

INSTANTIATE_TEST_SUITE_P(
    All, Setters,
    testing::Values(
        Setter{"Speed", 0, SELECT_SPD, CUR_SPD, 1, 1, 2},
        Setter{"Gain", 0, SET_SPD_GAIN, SPD_USER_GAIN, 1, 3, 4},
        Setter{"GainZero", 0, SET_SPD_GAIN, SPD_USER_GAIN, 1, 2, 0},
        Setter{"Temperature", 0, SET_TEMP, CCD_TEMP_SET, 2, 0xFC18, 2001},
        Setter{"Port", 1, SET_OUTPUT_PORT, GET_OUTPUT_PORT, 2, 1, 2},
        Setter{"FanSpeed", 1, SET_FAN_SPEED_SETPOINT, GET_FAN_SPEED_SETPOINT, 2, 3, 4},
        Setter{"TriggerSignal", 1, SET_TRIGTAB_SIGNAL, GET_TRIGTAB_SIGNAL, 2, 0, 1},
        Setter{"MuxedSignal", 1, SET_LAST_MUXED_SIGNAL, GET_LAST_MUXED_SIGNAL, 1, 3, 4},
        Setter{"Radius", 1, SET_CENTROIDS_RADIUS, GET_CENTROIDS_RADIUS, 2, 5, 16},
        Setter{"Count", 1, SET_CENTROIDS_COUNT, GET_CENTROIDS_COUNT, 2, 100, 0},
        Setter{"Mode", 1, SET_CENTROIDS_MODE, GET_CENTROIDS_MODE_CURRENT, 2, 1, 2},
        Setter{"Background", 1, SET_CENTROIDS_BG_COUNT, GET_CENTROIDS_BG_COUNT_CURRENT, 2, 2, 3},
        Setter{"Threshold", 1, SET_CENTROIDS_THRESHOLD, GET_CENTROIDS_THRESHOLD, 4, 4095, 4096},
        Setter{"Delivery", 1, SET_FRAME_DELIVERY_MODE, GET_FRAME_DELIVERY_MODE_CURRENT, 2, 1, 2},
        Setter{"Feature", 1, SET_PP_FEATURE_IDX, GET_PP_FEATURE_IDX, 2, 3, 4}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(Firmware, ASpeedHasItsOwnDepthAndGains) {
    client::Connection& camera = Camera(ccd);
    EXPECT_EQ(camera.AskNumber(SPD_BIT_DEPTH, 1), 16u);
    EXPECT_EQ(camera.AskNumber(SPD_MAX_GAIN, 1), 3u);
    camera.Tell(SET_SPD_GAIN, 3, 1);
    camera.Tell(SELECT_SPD, 1, 1);
    EXPECT_EQ(camera.AskNumber(SPD_BIT_DEPTH, 1), 14u);
    EXPECT_EQ(camera.AskNumber(SPD_SPEED, 2), 200u);
    EXPECT_EQ(camera.AskNumber(SPD_USER_GAIN, 1), 1u);
}

TEST_F(Firmware, TheCapabilitiesOfTheFullCameraAreBytesThatHostsDecode) {
    EXPECT_EQ(Camera(cmos).Ask(SEND_CAPABILITIES, 8),
              (Bytes{0x49, 0xFA, 0xFF, 0x5F, 0xFB, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(Camera(plain).Ask(SEND_CAPABILITIES, 8), (Bytes{0x40, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(Firmware, TheExtendedBlockHoldsItsSections) {
    client::Connection& camera = Camera(cmos);
    const uint64_t size = camera.AskNumber(GET_EXTENDED_CAPABILITIES_SIZE, 4);
    const Bytes block = camera.Ask(GET_EXTENDED_CAPABILITIES, size);
    ASSERT_EQ(block.size(), size);
    EXPECT_EQ(Big(block, 0, 4), 1u + 2 + 16 + 32 + 64 + 128 + 256 + 512 + 1024);
    EXPECT_EQ(Big(block, 4, 4), 2u);
    EXPECT_EQ(block[8], 4);
    EXPECT_EQ(Big(block, 9, 2), 12u);
    // Two binning lists of six, then five words, the ranges and the interfaces.
    const size_t ranges = 8 + 2 * (3 + 12 + 4 + 2) + 5 * 4;
    EXPECT_EQ(Big(block, ranges, 4), 1u);
    EXPECT_EQ(Big(block, ranges + 4, 2), 3u);
    EXPECT_EQ(block.size(), ranges + 6 + 3 * 12 + 8 + 5 * 8);
}

TEST_F(Firmware, ListsAnnounceTheirSize) {
    client::Connection& camera = Camera(cmos);
    for (const uint8_t command :
         {GET_EXTENDED_TRIG_MODES_SIZE, GET_EXPOSE_OUT_BEHAVE_SIZE, GET_EXTENDED_READOUT_PORTS_SIZE,
          GET_FAN_SPEEDS_SIZE, GET_TRIGTAB_SIGNALS_SIZE, GET_CENTROIDS_MODES_SIZE,
          GET_CENTROIDS_BG_COUNTS_SIZE, GET_FRAME_DELIVERY_MODES_SIZE, GET_CLEAR_MODES_SIZE}) {
        const uint64_t size = camera.AskNumber(command, 4);
        const Bytes list = camera.Ask(static_cast<uint8_t>(command + 1), size + 1);
        ASSERT_EQ(list.size(), size);
        EXPECT_GT(Big(list, 0, 2), 0u);
        EXPECT_EQ(list.back(), 0);
    }
}

TEST_F(Firmware, FiltersKeepTheirValuesUntilReset) {
    client::Connection& camera = Camera(cmos);
    camera.Tell(SET_PP_FEATURE_IDX, 1, 2);
    camera.Tell(SET_PP_PARAM_IDX, 1, 2);
    EXPECT_EQ(camera.AskNumber(GET_PP_PARAM_ID, 4), 21u);
    camera.Tell(SET_PP_PARAM, 99, 4);
    EXPECT_EQ(camera.AskNumber(GET_PP_PARAM, 4), 200u);
    camera.Tell(SET_PP_PARAM, 300, 4);
    camera.Tell(SET_PP_FEATURE_IDX, 0, 2);
    camera.Tell(SET_PP_FEATURE_IDX, 1, 2);
    camera.Tell(SET_PP_PARAM_IDX, 1, 2);
    EXPECT_EQ(camera.AskNumber(GET_PP_PARAM, 4), 300u);
    ASSERT_TRUE(camera.Send(CLASS_HOST_COMMANDS, {RESET_PP}));
    EXPECT_EQ(camera.AskNumber(GET_PP_PARAM, 4), 200u);
}

TEST_F(Firmware, ExposureListsAreRoundedToTheStep) {
    client::Connection& camera = Camera(cmos);
    EXPECT_EQ(camera.Console("tidal_step 5"), "ok");
    Bytes message = {SET_TIDAL_STREAM_EXP_PARAMS, 0, 2, 0, 0, 0, 12, 0, 0, 0, 20};
    ASSERT_TRUE(camera.Send(CLASS_HOST_COMMANDS, message));
    EXPECT_EQ(camera.AskNumber(GET_TIDAL_STREAM_EXP_COUNT, 2), 2u);
    EXPECT_EQ(camera.Ask(GET_TIDAL_STREAM_EXP_PARAMS, 10), (Bytes{0, 2, 0, 0, 0, 10, 0, 0, 0, 20}));
    message = {SET_TIDAL_STREAM_EXP_PARAMS, 0, 17};
    message.resize(3 + 17 * 4);
    ASSERT_TRUE(camera.Send(CLASS_HOST_COMMANDS, message));
    EXPECT_EQ(camera.AskNumber(GET_TIDAL_STREAM_EXP_COUNT, 2), 2u);
}

TEST_F(Firmware, PortsRefuseWhatTheyCannotDo) {
    client::Connection& camera = Camera(ccd);
    EXPECT_EQ(camera.AskNumber(SEND_AVA_PORTS, 1), 4u);
    EXPECT_EQ(camera.Ask(SEND_PORTS_TYPE, 2, {0, 3}), (Bytes{0, IO_TYPE_DAC}));
    EXPECT_EQ(Big(camera.Ask(SEND_PORTS_MAX, 2, {0, 3}), 0, 2), 5000u);
    ASSERT_TRUE(camera.Send(CLASS_HOST_COMMANDS, {SET_CURRENT_PORT_ST, 0, 0, 0, 77}));
    EXPECT_EQ(camera.Ask(GET_CURRENT_PORT_ST, 2, {0, 0}), (Bytes{0, 77}));
    ASSERT_TRUE(camera.Send(CLASS_HOST_COMMANDS, {SET_CURRENT_PORT_ST, 0, 2, 0, 1}));
    EXPECT_EQ(camera.Ask(GET_CURRENT_PORT_ST, 2, {0, 2}), (Bytes{0, 0}));
    ASSERT_TRUE(camera.Send(CLASS_HOST_COMMANDS, {SET_DIRECTION, 0, 1, 0, IO_DIR_INPUT}));
    EXPECT_EQ(camera.Ask(SEND_PORTS_DIR, 2, {0, 1}), (Bytes{0, IO_DIR_INPUT}));
    EXPECT_TRUE(camera.Ask(SEND_PORTS_TYPE, 2, {0, 4}).empty());
}

TEST_F(Firmware, ABlobIsFetchedAndStoredInPieces) {
    client::Connection& camera = Camera(cmos);
    const Bytes size = camera.Ask(GET_BINARY_BLOB_SIZE, 4, {0, 0, 0, 0});
    const auto total = static_cast<uint8_t>(Big(size, 0, 4));
    ASSERT_EQ(total, 2 + 4 * 14);
    const auto get = [&](uint8_t offset, uint8_t length) {
        return camera.Ask(GET_BINARY_BLOB, length, {0, 0, 0, 0, 0, offset, 0, length, 0, 0});
    };
    EXPECT_EQ(get(0, 2), (Bytes{4, 0}));
    EXPECT_EQ(get(2, 4), (Bytes{0x00, 0x02, 0x02, 0x01}));
    EXPECT_TRUE(get(total, 1).empty());
    EXPECT_EQ(camera.Ask(SET_BINARY_BLOB, 2, {0, 0, 0, 0, 0, total, 0, 0, 0, 8, 0, 1, 99, 0, 0}),
              (Bytes{0, 0}));
    EXPECT_EQ(get(8, 1), Bytes{99});
    EXPECT_EQ(
        camera.Ask(SET_BINARY_BLOB, 2, {0, 0, 0, 0, 0, total, 0, 0, 0, total, 0, 1, 99, 0, 0}),
        (Bytes{0, 1}));
}

TEST_F(Firmware, TheStatusTableShowsTheShutter) {
    client::Connection& camera = Camera(ccd);
    const uint64_t size = camera.AskNumber(STAT_TABLE_SIZE, 1);
    ASSERT_GE(size, 10u);
    EXPECT_EQ(camera.Ask(STAT_TABLE, size).at(8), 128);
    camera.Tell(STOP_CCS, HC_CCS_OPEN_SHTR, 2);
    EXPECT_EQ(camera.Ask(STAT_TABLE, size).at(8), 32);
    camera.Tell(STOP_CCS, HC_CCS_CLOSE_SHTR | HC_CCS_CONT_CLEAR, 2);
    EXPECT_EQ(camera.Ask(STAT_TABLE, size).at(8), 128);
    EXPECT_EQ(camera.Ask(STAT_TABLE, size).at(9), 3);
}

TEST_F(Firmware, CommandsOfOtherCamerasAreRefused) {
    EXPECT_TRUE(Camera(plain).Ask(GET_CENTROIDS_COUNT, 2).empty());
    client::Connection& with_status = Camera(em);
    EXPECT_EQ(with_status.Ask(GET_CENTROIDS_COUNT, 3), Bytes{3});
    EXPECT_EQ(with_status.Ask(PAR_SIZE, 3), (Bytes{0, 2, 0}));
}

TEST_F(Firmware, TheSensorCoolsTowardsItsSetpoint) {
    const softcam::Physics physics{.max_temperature = 2000, .first_setpoint = -1000};
    softcam::Cooler slow(physics, 1.0);
    EXPECT_GT(slow.Temperature(), 1900);
    softcam::Cooler quick(physics, 0.0005);
    EXPECT_TRUE(client::Eventually([&] { return quick.Temperature() == -1000; }));
    quick.SetSetpoint(500);
    EXPECT_TRUE(client::Eventually([&] { return quick.Temperature() == 500; }));
}

}  // namespace
