// Commands of the cameras, as bytes; what parameters make of them is tested through the library.

#include "firmware/firmware.h"

#include <map>

#include "orvex/orvex_types.h"

#include "softcam/models.h"

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
    static constexpr size_t ccd = 0, cmos = 1, plain = 2;
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

// Replies are counted by the host, so each must have exactly its size on every camera. Whatever the
// host can send, the camera with every feature or one of the others knows.
TEST_F(Firmware, RepliesHaveTheSizesThatHostsCountOn) {
    std::map<int, const firmware::Command*> known;
    for (const auto topic :
         {firmware::IdentityCommands(), firmware::SettingCommands(), firmware::FilterCommands(),
          firmware::TidalCommands(), firmware::PortCommands(), firmware::CentroidCommands(),
          firmware::ListCommands(), firmware::BlobCommands(), firmware::ControlCommands()}) {
        for (const firmware::Command& command : topic)
            EXPECT_TRUE(known.emplace(command.id, &command).second) << int{command.id};
    }
    for (const Row& row : rows) {
        const bool engine_knows = row.id == CLEAR_STAT_BUF || row.id == SEND_STAT_BUF;
        EXPECT_EQ(known.contains(row.id), row.write != HC_UNSENT && !engine_knows) << row.name;
    }
    for (const firmware::Command& command : firmware::BlobCommands()) known.erase(command.id);
    for (const firmware::Command& command : firmware::ControlCommands()) known.erase(command.id);
    size_t answered = 0;
    for (size_t index : {ccd, cmos, plain}) {
        client::Connection& camera = Camera(index);
        for (const auto& [id, command] : known) {
            const Row& row = rows[id];
            if (row.reply <= 0 || row.write < 0) continue;
            if (!command->available(softcam::AllTypes()[index].model)) continue;
            const auto size = static_cast<size_t>(row.reply);
            const Bytes zeros(static_cast<size_t>(row.write));
            EXPECT_EQ(camera.Ask(command->id, size + 5, zeros).size(), size) << row.name;
            ++answered;
        }
    }
    EXPECT_GT(answered, 150u);
}

TEST_F(Firmware, FiltersKeepTheirValuesUntilReset) {
    client::Connection& camera = Camera(cmos);
    camera.Tell(SET_PP_FEATURE_IDX, 1, 2);
    camera.Tell(SET_PP_PARAM_IDX, 1, 2);
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

}  // namespace
