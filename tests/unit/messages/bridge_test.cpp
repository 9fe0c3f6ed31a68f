#include "messages/bridge.h"

#include <gmock/gmock.h>
#include <string>
#include <utility>
#include <vector>

#include "support/core/camera_test.h"

using support::Bytes;
using support::hex;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class BridgeTest : public support::CameraTest<> {
  protected:
    static Bytes Of(const std::string& text) { return {text.begin(), text.end()}; }

    using Entries = std::vector<std::pair<uns8, std::string>>;

    void AddNode(uns8 node, const std::string& name, const Entries& entries) {
        Bytes versions;
        for (const auto& [tag, text] : entries) {
            versions.push_back(tag);
            versions.insert(versions.end(), text.begin(), text.end());
            versions.push_back(0);
        }
        camera_.firmware()
            .bridge_reply(OZ_DATA_GET_FRIENDLY_NAME, node, BC_STATUS_SUCCESS, Of(name))
            .bridge_reply(OZ_DATA_GET_VERSION_INFO_LENGTH, node, BC_STATUS_SUCCESS,
                          support::big_endian(versions.size(), 2))
            .bridge_reply(OZ_DATA_GET_VERSION_INFO, node, BC_STATUS_SUCCESS, versions);
    }

    // The code is a bridge status, to be read by the bridge's own table.
    static std::string ErrorMessage() {
        char message[ERROR_MSG_LEN];
        bv::ApiGlobal::GetErrorMessage(bv::ApiGlobal::GetErrorCode(), message);
        return message;
    }
};

TEST_F(BridgeTest, FrameAndReply) {
    camera_.firmware().bridge_reply(OZ_DATA_READ_NV_MEMORY_BLOCK, 3, BC_STATUS_SUCCESS,
                                    hex("A1A2A3"));
    const Bytes data = hex("0102");
    Bytes reply(3);
    EXPECT_EQ(oz_bridge_command_unlocked(hcam, 3, OZ_DATA_READ_NV_MEMORY_BLOCK, 2, data.data(), 3,
                                         reply.data()),
              1);
    EXPECT_THAT(camera_.writes(), ElementsAre(hex("23 0005 09 00 03 0102")));
    EXPECT_EQ(reply, hex("A1A2A3"));
}

TEST_F(BridgeTest, ErrorStatusIsTheErrorCodeAndTheDataIsCopiedAllTheSame) {
    camera_.firmware().bridge_reply(OZ_DATA_READ_NV_MEMORY_SIZE, 0, BC_INVALID_OPCODE, hex("77"));
    uns8 reply = 0;
    EXPECT_EQ(
        oz_bridge_command_unlocked(hcam, 0, OZ_DATA_READ_NV_MEMORY_SIZE, 0, nullptr, 1, &reply), 0);
    EXPECT_EQ(reply, 0x77);
    EXPECT_TRUE(trace_.failed_with(BC_INVALID_OPCODE, "Got error status from bridge FW"));
    EXPECT_EQ(ErrorMessage(),
              "BC_INVALID_OPCODE             Bridge command is not recognized by this camera");
}

TEST_F(BridgeTest, NullAndLargestBuffers) {
    EXPECT_TRUE(trace_.refused(oz_bridge_command_unlocked(hcam, 0, 3, 4, nullptr, 0, nullptr),
                               C0_NULL_POINTER,
                               "Requested to send 4 bytes from null write buffer"));
    EXPECT_TRUE(trace_.refused(oz_bridge_command_unlocked(hcam, 0, 3, 0, nullptr, 5, nullptr),
                               C0_NULL_POINTER,
                               "Requested to receive 5 bytes to null read buffer"));
    EXPECT_THAT(camera_.writes(), IsEmpty());
    // Length fields of 16 bits wrap; the work buffers have room for all that is copied.
    const Bytes data(65535, 0x5A);
    Bytes reply(65535);
    camera_.camera().queue_reply(Bytes(5));
    EXPECT_EQ(oz_bridge_command_unlocked(hcam, 0, 3, 65535, data.data(), 65535, reply.data()), 1);
    EXPECT_THAT(camera_.writes(), ElementsAre(hex("23 0002 03 00")));
}

TEST_F(BridgeTest, SystemsInfoHasOneLineANodeAndIsCutToItsField) {
    AddNode(0, "  Link \n", {{7, "Bridge"}, {4, "1"}, {5, "2"}, {6, "3"}});
    AddNode(1, std::string(32, 'H'), {{4, "4"}, {5, "5"}, {6, "6"}});
    EXPECT_EQ(oz_bridge_read_cam_systems_info(hcam), 1);
    EXPECT_EQ(std::string(camera_.reads().cam_systems_info),
              "Link(I/F) - Bridge @ 1.2.3\n" + std::string(32, 'H') + "(CAM) -  @ 4.5.6");
    EXPECT_FALSE(bv::ApiGlobal::IsErrorCodeSet());

    for (uns8 node = 0; node < 8; ++node) AddNode(node, "N", {});
    EXPECT_EQ(oz_bridge_read_cam_systems_info(hcam), 1);
    const std::string info = camera_.reads().cam_systems_info;
    EXPECT_EQ(std::count(info.begin(), info.end(), '\n'), 5) << "nodes";

    AddNode(0, "Link", {{7, std::string(3000, 'v')}});
    EXPECT_EQ(oz_bridge_read_cam_systems_info(hcam), 1);
    EXPECT_EQ(std::string(camera_.reads().cam_systems_info).size(), 1024u);
}

TEST_F(BridgeTest, SystemsInfoFailsWithoutVersions) {
    AddNode(0, "Link", {{4, "1"}});
    for (const auto command : {OZ_DATA_GET_VERSION_INFO, OZ_DATA_GET_VERSION_INFO_LENGTH}) {
        camera_.firmware().bridge_reply(static_cast<uns8>(command), 0, BC_TIMEOUT, {});
        EXPECT_EQ(support::ErrorOf(oz_bridge_read_cam_systems_info(hcam)), BC_TIMEOUT);
    }
}

}  // namespace
