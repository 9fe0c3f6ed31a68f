#include "params/io_ports.h"

#include "rich_camera.h"

using support::hex;

class IoPorts : public RichCameraTest {};

TEST_F(IoPorts, TypeAndStateTravelTogether) {
    flt64 state = 0;
    EXPECT_EQ(bv_io_get_current_state(0, 2, &state), 1);
    EXPECT_EQ(state, 170.0);
    EXPECT_EQ(camera_.writes().back(), hex("3F 000A 26 46 0002 47 0002 28 0004"));
    EXPECT_EQ(Get<uns16>(PARAM_IO_BITDEPTH), 8);
    EXPECT_EQ(camera_.writes().back(), hex("3F 0007 26 42 0002 28 0001"));
}

TEST_F(IoPorts, AnalogueLimitsAreInThousandths) {
    camera_.firmware().reply(SEND_PORTS_TYPE, 2, IO_TYPE_DAC).reply(SEND_PORTS_MAX, 2, 5000);
    EXPECT_EQ(Get<flt64>(PARAM_IO_STATE, ATTR_MAX), 5.0);
    EXPECT_EQ(Get<flt64>(PARAM_IO_STATE, ATTR_MIN), 0.001);
    EXPECT_TRUE(Fails(PARAM_IO_STATE, ATTR_CURRENT, C2_IO_TYPE_INVALID));
    EXPECT_TRUE(trace_.failed_with(C2_IO_TYPE_INVALID, "IO port is not IO_TYPE_TTL"));
    camera_.firmware().reply(SEND_PORTS_TYPE, 2, 2);
    EXPECT_TRUE(Fails(PARAM_IO_STATE, ATTR_MAX, C2_IO_TYPE_INVALID));
    EXPECT_TRUE(trace_.failed_with(C2_IO_TYPE_INVALID, "Unknown port type 2"));
}

TEST_F(IoPorts, AccessFollowsThePort) {
    struct AccessCase {
        uns16 attribute;
        uns16 direction;
        uns16 direction_access;
        uns16 state_access;
    };
    const AccessCase cases[] = {
        {IO_ATTR_DIR_FIXED, IO_DIR_INPUT, ACC_READ_ONLY, ACC_READ_ONLY},
        {IO_ATTR_DIR_FIXED, IO_DIR_OUTPUT, ACC_READ_ONLY, ACC_WRITE_ONLY},
        {IO_ATTR_DIR_FIXED, IO_DIR_INPUT_OUTPUT, ACC_READ_ONLY, ACC_READ_WRITE},
        {IO_ATTR_DIR_VARIABLE_ALWAYS_READ, IO_DIR_INPUT, ACC_READ_WRITE, ACC_READ_ONLY},
        {IO_ATTR_DIR_VARIABLE_ALWAYS_READ, IO_DIR_OUTPUT, ACC_READ_WRITE, ACC_READ_WRITE},
    };
    for (const AccessCase& c : cases) {
        camera_.firmware()
            .reply(SEND_PORTS_ATTRIBUTES, 2, c.attribute)
            .reply(SEND_PORTS_DIR, 2, c.direction);
        EXPECT_EQ(Get<uns16>(PARAM_IO_DIRECTION, ATTR_ACCESS), c.direction_access);
        EXPECT_EQ(Get<uns16>(PARAM_IO_STATE, ATTR_ACCESS), c.state_access);
    }
    camera_.firmware().reply(SEND_PORTS_DIR, 2, 3);
    EXPECT_TRUE(Fails(PARAM_IO_STATE, ATTR_ACCESS, C2_IO_DIRECTION_INVALID));
    EXPECT_EQ(trace_.last_error(), "bv_get_io_state: Unknown IO port direction");
    EXPECT_TRUE(Fails(PARAM_IO_DIRECTION, ATTR_CURRENT, C2_IO_DIRECTION_INVALID));
    camera_.firmware().reply(SEND_PORTS_ATTRIBUTES, 2, 2);
    EXPECT_TRUE(Fails(PARAM_IO_DIRECTION, ATTR_ACCESS, C2_ACCESS_ATTR_INVALID));
    EXPECT_TRUE(Fails(PARAM_IO_STATE, ATTR_ACCESS, C2_ACCESS_ATTR_INVALID));
    EXPECT_EQ(trace_.last_error(), "bv_get_io_state: Unknown IO port access");
}

TEST_F(IoPorts, StatesAreWrittenInThePortsUnit) {
    EXPECT_EQ(Put<flt64>(PARAM_IO_STATE, 85.0), 1);
    EXPECT_EQ(camera_.firmware().written(SET_CURRENT_PORT_ST), hex("0002 0055"));
    camera_.firmware().reply(SEND_PORTS_TYPE, 2, IO_TYPE_DAC);
    EXPECT_EQ(Put<flt64>(PARAM_IO_STATE, 1.001), 1);
    EXPECT_EQ(camera_.firmware().written(SET_CURRENT_PORT_ST), hex("0002 03E9"));
    for (flt64 beyond : {-0.5, 65.536, std::numeric_limits<flt64>::quiet_NaN()}) {
        EXPECT_EQ(Put<flt64>(PARAM_IO_STATE, beyond), 0);
    }
    EXPECT_EQ(camera_.firmware().count(SET_CURRENT_PORT_ST), 2u);
}

TEST_F(IoPorts, DirectionIsReadBack) {
    EXPECT_EQ(bv_io_set_direction(0, 1, IO_DIR_INPUT_OUTPUT), 1);
    EXPECT_EQ(camera_.writes().back(), hex("3F 000C 4A 0001 0002 26 45 0001 28 0002"));
    camera_.firmware()
        .on_command(SET_DIRECTION, [](auto) { return support::Bytes(); })
        .on_command(SEND_PORTS_DIR, [](auto) { return hex("0000"); });
    EXPECT_TRUE(trace_.refused(bv_io_set_direction(0, 1, IO_DIR_OUTPUT), C2_FAILED_TO_SET_VALUE,
                               "Value read back from camera differs: 0"));
    EXPECT_EQ(support::ErrorOf(bv_io_set_direction(0, 1, 3)), C2_IO_DIRECTION_INVALID);
}
