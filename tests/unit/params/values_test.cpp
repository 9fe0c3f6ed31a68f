#include <cstring>

#include "rich_camera.h"

class Values : public RichCameraTest {};

// The walk over the software cameras asks for every attribute of every parameter. These are the
// values that those cameras leave at zero or have more than once.
TEST_F(Values, NoFieldStandsForAnother) {
    const std::pair<uns32, uns64> values[] = {
        {PARAM_CCS_STATUS, 2},  {PARAM_FLASH_DWNLD_CAPABLE, 1}, {PARAM_ROI_COUNT, 3},
        {PARAM_BINNING_SER, 2}, {PARAM_BINNING_PAR, 8},
    };
    for (const auto& [id, value] : values) {
        EXPECT_EQ(Get<uns64>(id), value) << bv_text_param_id(id);
    }
}

// What was learnt at open and what is kept here must not cost an exchange.
TEST_F(Values, CachedOnesCostNoTraffic) {
    for (uns32 id :
         {PARAM_CHIP_NAME, PARAM_SYSTEM_NAME, PARAM_SERIAL_NUM, PARAM_PIX_PAR_SIZE, PARAM_PAR_SIZE,
          PARAM_CLEAR_MODE, PARAM_CLEAR_CYCLES, PARAM_PMODE, PARAM_SHTR_OPEN_MODE,
          PARAM_PREAMP_OFF_CONTROL, PARAM_EXP_RES, PARAM_EXP_RES_INDEX, PARAM_IO_ADDR,
          PARAM_FRAME_BUFFER_SIZE, PARAM_CAM_FW_VERSION, PARAM_EXPOSURE_MODE}) {
        for (int16 attribute = ATTR_CURRENT; attribute <= ATTR_AVAIL; ++attribute) {
            uns8 storage[64];
            EXPECT_EQ(bv_get_param(0, id, attribute, storage), 1) << bv_text_param_id(id);
        }
    }
    for (uns32 id : {PARAM_FAN_SPEED_SETPOINT, PARAM_TRIGTAB_SIGNAL, PARAM_CENTROIDS_MODE}) {
        for (int16 attribute : {ATTR_COUNT, ATTR_MIN, ATTR_MAX, ATTR_DEFAULT}) {
            Get<uns32>(id, attribute);
        }
    }
    EXPECT_EQ(camera_.writes().size(), 0u);
    EXPECT_EQ(camera_.camera().ioctl_codes().size(), 0u);
    Get<int16>(PARAM_TEMP);
    EXPECT_EQ(camera_.writes().size(), 1u);
}

// Any exchange that a value needs may fail, and then so does the read.
TEST_F(Values, LostExchangeFailsTheRead) {
    camera_.camera().fail_write();
    // Systems that nobody tells of are none, which is no failure.
    std::strcpy(camera_.reads().cam_systems_info, "0: Bridge");
#define ID(name, id) id,
    for (const uns32 id : std::initializer_list<uns32>{ORVEX_PARAMS(ID)}) {
#undef ID
        camera_.camera().forget();
        const bool failed = Fails(id, ATTR_CURRENT, C7_DRIVER_COM_ERROR);
        EXPECT_TRUE(failed || camera_.writes().empty()) << bv_text_param_id(id);
    }
}
