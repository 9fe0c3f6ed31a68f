// The parameters of the frame-accumulation plug-in, as an application meets them.
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <system_error>

#include "orvex/orvex.h"

#include "support/environment.h"
#include "support/scripted_driver.h"

namespace {

class AccumulatingCamera : public testing::Test {
  protected:
    AccumulatingCamera() {
        constexpr uint8_t accumulates = 1 << 2;
        driver_.add_camera("Sums")
            .transport(DRIVER_TYPE_USB)
            .firmware()
            .reply(SEND_CAPABILITIES, support::Bytes{accumulates, 0, 0, 0, 0, 0, 0, 0})
            .reply(CHIP_NAME, "KX-512")
            .reply(TOTAL_PORTS, 1, 1)
            .reply(TOTAL_SPD, 1, 1)
            .reply(PAR_SIZE, 2, 256)
            .reply(SER_SIZE, 2, 512)
            .reply(SPD_BIT_DEPTH, 1, 16);
        driver_.publish();
        EXPECT_EQ(ox_orvex_init(), 1);
        plugins_.emplace("ORVEX_MODULE_PATH", ORVEX_LIBRARY_DIR "/plugins");
        std::string name = "Sums";
        EXPECT_EQ(ox_cam_open(name.data(), &hcam_, EXT_OPEN_EXCLUSIVE), 1) << ox_error_code();
    }
    ~AccumulatingCamera() override { ox_orvex_uninit(); }

    support::ScriptedDriver driver_;
    std::optional<support::Environment> plugins_;
    int16 hcam_ = -1;
};

// Their access takes the mutex that the call holds already. It ends there, with the mutex free for
// the next call.
TEST_F(AccumulatingCamera, AccessToTheParametersRaises) {
    uns32 value = 1;
    EXPECT_THROW(ox_set_param(hcam_, PARAM_ACCUM_FLAG, &value), std::system_error);
    EXPECT_THROW(ox_set_param(hcam_, PARAM_PAIRED_FLAG, &value), std::system_error);
    EXPECT_THROW(ox_set_param(hcam_, PARAM_ACCUM_NUMBER, &value), std::system_error);
    for (const uns32 id : {PARAM_ACCUM_FLAG, PARAM_PAIRED_FLAG, PARAM_ACCUM_NUMBER}) {
        try {
            ox_get_param(hcam_, id, ATTR_CURRENT, &value);
            ADD_FAILURE() << id;
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code(), std::errc::resource_deadlock_would_occur);
        }
    }
    EXPECT_EQ(value, 1U);

    // What doesn't need the plug-in is answered as ever.
    uns16 available = 0;
    EXPECT_EQ(ox_get_param(hcam_, PARAM_ACCUM_FLAG, ATTR_AVAIL, &available), 1);
    EXPECT_EQ(available, 1);
    uns16 capable = 0;
    EXPECT_EQ(ox_get_param(hcam_, PARAM_ACCUM_CAPABLE, ATTR_CURRENT, &capable), 1);
    EXPECT_EQ(capable, 1);
}

}  // namespace
