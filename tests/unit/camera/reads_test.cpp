#include "camera/reads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "support/core/test_camera.h"
#include "support/core/trace_capture.h"

using support::hex;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class ReadsTest : public testing::Test {
  protected:
    static constexpr int16 hcam = support::TestCamera::hcam;

    boolean16 DoReads() {
        camera_.cam_info().reads_done = 0;
        return bv_cam_do_reads(hcam);
    }

    support::TestCamera camera_;
    support::TraceCapture trace_;
    cam_reads_type& reads_ = camera_.reads();
};

TEST_F(ReadsTest, EverythingFixedTravelsInOneMessage) {
    camera_.firmware()
        .reply(COOLING, 1, CRYO_COOL)
        .reply(FULL_WELL_CAP, 2, 65535)
        .reply(MPP_CAP, 1, MPP_SELECTABLE)
        .reply(PREAMP_DELAY, 2, 300)
        .reply(PRE_FLASH, 2, 301)
        .reply(CAM_SER_NUM, 2, 302)
        .reply(TEMP_RANGE, hex("0014 FFCE"))
        .reply(PAR_PIX_SPACE, 2, 303)
        .reply(PAR_PIX_SIZE, 2, 304)
        .reply(SER_PIX_SPACE, 2, 305)
        .reply(SER_PIX_SIZE, 2, 306)
        .reply(TOTAL_SPD, 1, 200)
        .reply(FIRMWARE_VER, 1, 21)
        .reply(FIRMWARE_MINOR_VER, 1, 22)
        .reply(CHIP_NAME, "SIXTEEN-LETTERS!");
    reads_ = {};
    reads_.io_total = 9;
    EXPECT_EQ(DoReads(), 1);
    EXPECT_EQ(camera_.writes().back(), hex("3F 0013 26 04090A131403180D0C0F0E19243805 28 0029"));
    EXPECT_THAT(
        (std::array{reads_.cooling_mode, reads_.mpp_capable, reads_.preamp_delay, reads_.preflash,
                    reads_.serial_num, reads_.pix_par_dist, reads_.pix_par_size,
                    reads_.pix_ser_dist, reads_.pix_ser_size, reads_.fw_major, reads_.fw_minor}),
        ElementsAre(CRYO_COOL, MPP_SELECTABLE, 300, 301, 302, 303, 304, 305, 306, 21, 22));
    EXPECT_EQ(reads_.fwell_capacity, 65535000u);
    EXPECT_EQ(reads_.temp_max, 20);
    EXPECT_EQ(reads_.temp_min, -50);
    EXPECT_EQ(reads_.spdtab_total, 200);
    EXPECT_STREQ(reads_.chip_name, "SIXTEEN-LETTERS!");
    EXPECT_EQ(reads_.par_ports, 1);
    EXPECT_EQ(reads_.io_total, 9) << "never asked for";

    camera_.camera().forget();
    EXPECT_EQ(bv_cam_do_reads(hcam), 1);
    EXPECT_THAT(camera_.writes(), IsEmpty());
}

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
    camera_.firmware()
        .reply(PRE_MASK, 2, 301)
        .reply(PRESCAN, 1, 202)
        .reply(POST_MASK, 2, 303)
        .reply(POSTSCAN, 1, 204);
    camera_.cam_info().rws_done = 0;
    EXPECT_EQ(bv_cam_do_rws(hcam), 1);
    EXPECT_EQ(bv_cam_do_rws(hcam), 1);
    EXPECT_THAT(camera_.writes(), ElementsAre(hex("3F 000A 26 12 15 10 11 0B 16 28 000A")));
    const cam_cfg_type& cfg = camera_.cfg();
    EXPECT_THAT((std::array{cfg.premask, cfg.prescan, cfg.postmask, cfg.postscan, cfg.par_size,
                            cfg.ser_size}),
                ElementsAre(301, 202, 303, 204, support::TestCamera::par_size,
                            support::TestCamera::ser_size));
    camera_.cam_info().rws_done = 0;
    camera_.camera().fail_read();
    EXPECT_EQ(bv_cam_do_rws(hcam), 0);
    EXPECT_EQ(camera_.cam_info().rws_done, 0);
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

TEST_F(ReadsTest, ProgramMemory) {
    camera_.firmware().reply(FIRMWARE_VER, 1, 6).reply(GET_CCL_SCRIPT_WORDS, 2, 4000);
    uns16 size = 0;
    EXPECT_EQ(bv_cam_get_ccs_mem(hcam, &size), 1);
    EXPECT_EQ(size, 4000);
    EXPECT_THAT(camera_.writes(), ElementsAre(hex("3F 0006 26 24 37 28 0003")));
    camera_.firmware().reply(FIRMWARE_VER, 1, 5);
    EXPECT_EQ(bv_cam_get_ccs_mem(hcam, &size), 1);
    EXPECT_EQ(size, 8192);
}

TEST_F(ReadsTest, Subsystems) {
    camera_.firmware()
        .reply(SUBSYS_ID, hex("0102 03"))
        .reply(SUBSYS_NAME, "Main board")
        .reply(SUBSYS_DIAG, 2, 0x0405);
    uns16 id = 0;
    uns8 version = 0;
    uns16 err_code = 0;
    std::array<char, subsystem_name_bytes> name{};
    EXPECT_EQ(bv_subsys_get_id(hcam, 7, &id, &version), 1);
    EXPECT_EQ(bv_subsys_get_name(hcam, 8, name.data()), 1);
    EXPECT_EQ(bv_subsys_do_diag(hcam, 9, &err_code), 1);
    EXPECT_EQ(id, 0x0102);
    EXPECT_EQ(version, 3);
    EXPECT_STREQ(name.data(), "Main board");
    EXPECT_EQ(err_code, 0x0405);
    EXPECT_THAT(camera_.writes(),
                ElementsAre(hex("3F 0006 26 21 07 28 0003"), hex("3F 0006 26 22 08 28 0080"),
                            hex("3F 0006 26 2F 09 28 0002")));
}

}  // namespace
