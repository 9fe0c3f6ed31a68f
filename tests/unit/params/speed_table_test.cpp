#include "params/speed_table.h"

#include <gmock/gmock.h>

#include "rich_camera.h"

using support::hex;

class SpeedTable : public RichCameraTest {};

TEST_F(SpeedTable, CameraWithoutSpeeds) {
    camera_.reads().spdtab_total = 0;
    int16 number = 0;
    uns16 time = 0;
    const boolean16 results[] = {
        bv_spdtab_get_bits(0, &number),
        bv_spdtab_get_gain(0, &number),
        bv_spdtab_get_max_gain(0, &number),
        bv_spdtab_get_num(0, &number),
        bv_spdtab_get_port(0, &number),
        bv_spdtab_get_port_total(0, &number),
        bv_spdtab_get_time(0, &time),
        bv_spdtab_set_gain(0, 1),
        bv_spdtab_set_num(0, 0),
    };
    EXPECT_THAT(results, testing::Each(0));
    EXPECT_TRUE(trace_.failed_with(C2_NOT_AVAILABLE, "No speed choices available"));
    EXPECT_EQ(camera_.writes().size(), 0u);
    char name[32];
    uns32 length = 0;
    EXPECT_EQ(bv_spdtab_get_gain_name(0, name, &length), 1);
    EXPECT_STREQ(name, "HDR");
    EXPECT_EQ(length, 3u);
}

TEST_F(SpeedTable, PixelTimeIsKept) {
    camera_.firmware().reply(SPD_SPEED, 2, 300);
    int16 number = -1;
    EXPECT_EQ(bv_spdtab_get_num(0, &number), 1);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(camera_.writes().back(), hex("3F 0006 26 29 02 28 0003"));
    EXPECT_EQ(camera_.cfg().spdtab_time, 300);
    camera_.firmware().reply(SPD_SPEED, 2, 301);
    uns16 time = 0;
    EXPECT_EQ(bv_spdtab_get_time(0, &time), 1);
    EXPECT_EQ(camera_.cfg().spdtab_time, 301);
}

TEST(SpeedTableOf1394, SelectionTellsTheInterface) {
    RichCamera camera(DRIVER_TYPE_1394);
    camera.firmware().reply(SPD_SPEED, 2, 55);
    EXPECT_EQ(bv_spdtab_set_num(0, 0), 1);
    EXPECT_EQ(camera.cfg().spdtab_time, 55);
    EXPECT_THAT(camera.camera().ioctl_codes(), testing::ElementsAre(DV_CAM_PREP_TRANSFER));
}
