#include "camera/reads.h"

#include <gmock/gmock.h>
#include <string>

#include "support/core/camera_test.h"

using support::hex;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class ReadsTest : public support::CameraTest<> {
  protected:
    boolean16 DoReads() {
        camera_.cam_info().reads_done = 0;
        return bv_cam_do_reads(hcam);
    }

    cam_reads_type& reads_ = camera_.reads();
};

TEST_F(ReadsTest, WhatCapabilitiesAdd) {
    // exposure resolutions, ports; system, vendor and product name, two readout registers; part
    // number
    camera_.firmware()
        .reply(SEND_CAPABILITIES, hex("18 00 87 01 00000000"))
        .reply(GET_PRODUCT_NAME, std::string(32, 'P'))
        .reply(PAR_PORT_NUM, 2, 1)
        .reply(SER_PORT_NUM, 2, 2)
        .reply(SEND_AVA_PORTS, 1, 4)
        .reply(AVL_RESOLTNS, 1, 3)
        .reply(MIN_RESOLTN, 2, 1000);
    EXPECT_EQ(DoReads(), 1);
    ASSERT_THAT(camera_.writes(), SizeIs(5));
    EXPECT_EQ(camera_.writes()[2],
              hex("3F 0019 26 04090A131403180D0C0F0E19243805 8283A4A5 8485 28 00AD"));
    EXPECT_EQ(camera_.writes()[3], hex("3F 0005 26 41 28 0001"));
    EXPECT_EQ(camera_.writes()[4], hex("3F 0006 26 3E 3F 28 0003"));
    EXPECT_EQ(std::string(reads_.product_name), std::string(31, 'P'));
    EXPECT_EQ(reads_.par_ports, 1);
    EXPECT_EQ(reads_.ser_ports, 2);
    EXPECT_EQ(reads_.io_total, 4);
    EXPECT_EQ(reads_.exp_res_total, 3);
    EXPECT_EQ(reads_.exp_min_time, 1000.0);

    camera_.camera().forget();
    EXPECT_EQ(bv_cam_do_reads(hcam), 1);
    EXPECT_THAT(camera_.writes(), IsEmpty()) << "what never changes";
}

TEST_F(ReadsTest, PortsPerRegisterAreOneOrTwo) {
    for (const unsigned ports : {0u, 3u}) {
        for (const auto id : {PAR_PORT_NUM, SER_PORT_NUM}) {
            camera_.firmware()
                .reply(SEND_CAPABILITIES, hex("00 00 04 00 00000000"))
                .reply(PAR_PORT_NUM, 2, 1)
                .reply(SER_PORT_NUM, 2, 1)
                .reply(static_cast<uns8>(id), 2, ports);
            EXPECT_TRUE(trace_.refused(DoReads(), C3_INVALID_CAPABILITIES,
                                       "Invalid multiport configuration"));
            EXPECT_EQ(camera_.cam_info().reads_done, 0);
        }
    }
}

TEST_F(ReadsTest, SensorSizesAreReadOnce) {
    camera_.cam_info().rws_done = 0;
    camera_.camera().fail_read();
    EXPECT_EQ(bv_cam_do_rws(hcam), 0);
    camera_.camera().fail_read(false).forget();
    for (int run = 0; run < 2; ++run) EXPECT_EQ(bv_cam_do_rws(hcam), 1);
    EXPECT_THAT(camera_.writes(), ElementsAre(hex("3F 000A 26 12 15 10 11 0B 16 28 000A")));
}

TEST_F(ReadsTest, StatusTableGivesAPrefix) {
    camera_.firmware().reply(STAT_TABLE_SIZE, 1, 5).reply(STAT_TABLE, hex("A0 A1 A2 A3 A4"));
    std::array<uns8, 4> table{};
    EXPECT_EQ(bv_cam_get_status_table(hcam, table.data(), 3), 1);
    EXPECT_THAT(table, ElementsAre(0xA0, 0xA1, 0xA2, 0));
    EXPECT_THAT(camera_.writes(),
                ElementsAre(hex("3F 0005 26 1E 28 0001"), hex("3F 0005 26 1D 28 0005")));
    EXPECT_TRUE(trace_.refused(bv_cam_get_status_table(hcam, table.data(), 6), C2_NOT_AVAILABLE,
                               "Status table has only 5 bytes"));
}

TEST_F(ReadsTest, DebugConsole) {
    camera_.firmware().on_command(
        DEBUG_CMD, [](auto) { return support::Bytes{'o', 'k', '!', '!', '!', '!'}; });
    std::array<char, 8> reply;
    reply.fill('x');
    EXPECT_EQ(bv_cam_send_debug(hcam, "ab", 5, reply.data()), 1);
    EXPECT_EQ(std::string(reply.data(), 5), std::string("ok!!\0", 5));
    EXPECT_EQ(reply[5], 'x');
    // The answer is the text and a little more, whatever room there is.
    std::vector<char> room(1000);
    EXPECT_EQ(bv_cam_send_debug(hcam, "ab", 1000, room.data()), 1);
    EXPECT_EQ(bv_cam_send_debug(hcam, "ab", 0, nullptr), 1);
    EXPECT_THAT(camera_.writes(), ElementsAre(hex("3F 0009 26 34 0002 6162 28 0005"),
                                              hex("3F 0009 26 34 0002 6162 28 000C"),
                                              hex("3F 0006 26 34 0002 6162")));
}

TEST_F(ReadsTest, DebugConsoleRefusals) {
    char reply = 0;
    EXPECT_TRUE(trace_.refused(bv_cam_send_debug(hcam, "ab", 1, nullptr), C0_NULL_POINTER,
                               "Null pointer given"));
    for (const std::string& text : {std::string(), std::string(32701, 'x')}) {
        EXPECT_TRUE(trace_.refused(bv_cam_send_debug(hcam, text.c_str(), 1, &reply),
                                   C0_SYS_ERR_SEND_BYTE,
                                   "debug_str is either empty or longer than 32700 chars"));
    }
    EXPECT_TRUE(trace_.refused(bv_cam_send_debug(hcam, "ab", 32769, &reply), C0_SYS_ERR_READ_BYTE,
                               "Expected response is longer than 32768 chars"));
    EXPECT_THAT(camera_.writes(), IsEmpty());
    EXPECT_EQ(bv_cam_send_debug(hcam, std::string(32700, 'x').c_str(), 0, nullptr), 1);
}

TEST_F(ReadsTest, ProgramMemoryOfOldFirmwareIsTheUsualOne) {
    camera_.firmware().reply(FIRMWARE_VER, 1, 5).reply(GET_CCL_SCRIPT_WORDS, 2, 4000);
    uns16 size = 0;
    EXPECT_EQ(bv_cam_get_ccs_mem(hcam, &size), 1);
    EXPECT_EQ(size, 8192);
}

}  // namespace
