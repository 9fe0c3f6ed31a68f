// Cameras that answer wrongly while they are opened: at each single exchange in turn. Whatever
// happens, the library names an error or gets by, and the camera opens once it behaves.
#include <array>
#include <gtest/gtest.h>
#include <ostream>
#include <string>

#include "orvex/orvex.h"

#include "support/soft_cameras.h"

namespace {

// The library with one software camera that fails once, after so many exchanges.
class FaultyCamera {
  public:
    FaultyCamera(const std::string& model, const std::string& fault, int after)
        : cameras_(R"({"noise": false, "time_scale": 0, "cameras": [{"model": ")" + model +
                   R"(", "name": "Hostile", "faults": [{"fault": ")" + fault + R"(", "after": )" +
                   std::to_string(after) + "}]}]}") {
        EXPECT_EQ(ox_orvex_init(), 1);
    }
    ~FaultyCamera() { EXPECT_EQ(ox_orvex_uninit(), 1); }

    bool Open() {
        std::array<char, CAM_NAME_LEN> name{"Hostile"};
        return ox_cam_open(name.data(), &handle_, EXT_OPEN_EXCLUSIVE);
    }
    void Close() { EXPECT_EQ(ox_cam_close(handle_), 1); }
    int16 handle() const { return handle_; }

    uns16 Available(uns32 id) const {
        uns16 available = 0;
        EXPECT_EQ(ox_get_param(handle_, id, ATTR_AVAIL, &available), 1);
        return available;
    }
    std::string ChipName() const {
        std::array<char, 64> chip{};
        EXPECT_EQ(ox_get_param(handle_, PARAM_CHIP_NAME, ATTR_CURRENT, chip.data()), 1);
        return chip.data();
    }
    // 0 when the camera could not be asked.
    int16 Temperature() const {
        int16 temperature = 0;
        return ox_get_param(handle_, PARAM_TEMP, ATTR_CURRENT, &temperature) ? temperature
                                                                             : int16{0};
    }

  private:
    support::SoftCameras cameras_;
    int16 handle_ = -1;
};

struct DataSheet {
    const char* model;
    const char* chip;
    int16 setpoint;  // not 0, and the temperature at once
    uns16 metadata;
};
constexpr DataSheet ccd{"ccd", "SFT-1024-FT", -4000, 0};
constexpr DataSheet cmos{"cmos", "SCM-2048-BSI", 1200, 1};
constexpr DataSheet em{"em", "SEM-512-EM", -7000, 0};

void ExpectNamedError() {
    const int16 code = ox_error_code();
    EXPECT_NE(code, 0);
    std::array<char, ERROR_MSG_LEN> message{};
    EXPECT_EQ(ox_error_message(code, message.data()), 1);
    EXPECT_NE(message[0], '\0');
}

void ExpectHealthyOpen(FaultyCamera& camera, const DataSheet& sheet) {
    ASSERT_TRUE(camera.Open()) << "error " << ox_error_code();
    EXPECT_EQ(camera.ChipName(), sheet.chip);
    EXPECT_EQ(camera.Available(PARAM_METADATA_ENABLED), sheet.metadata);
    int16 setpoint = sheet.setpoint;
    EXPECT_EQ(ox_set_param(camera.handle(), PARAM_TEMP_SETPOINT, &setpoint), 1);
    EXPECT_EQ(camera.Temperature(), sheet.setpoint);
    uns32 bytes = 0;
    const rgn_type region{.s1 = 0, .s2 = 7, .sbin = 1, .p1 = 0, .p2 = 7, .pbin = 1};
    int32 mode = 0;
    EXPECT_EQ(ox_get_param(camera.handle(), PARAM_EXPOSURE_MODE, ATTR_DEFAULT, &mode), 1);
    EXPECT_EQ(ox_exp_setup_seq(camera.handle(), 1, 1, &region, static_cast<int16>(mode), 1, &bytes),
              1)
        << "error " << ox_error_code();
    EXPECT_EQ(bytes, 128u);
    camera.Close();
}

struct Sweep {
    const DataSheet& sheet;
    const char* fault;
    // Exchanges of an open, and how many of them the library can't do without, at least.
    int exchanges;
    int vital;
};

std::ostream& operator<<(std::ostream& out, const Sweep& sweep) {
    return out << sweep.sheet.model << "_" << sweep.fault;
}

class HostileOpen : public testing::TestWithParam<Sweep> {};

// The camera behaved until the end of the open, and the fault strikes only now.
bool IsFaultLeft(const FaultyCamera& camera, const DataSheet& sheet) {
    int16 setpoint = sheet.setpoint;
    return !ox_set_param(camera.handle(), PARAM_TEMP_SETPOINT, &setpoint) ||
           camera.Temperature() != sheet.setpoint;
}

TEST_P(HostileOpen, FailsByNameAndOpensAgain) {
    const Sweep& sweep = GetParam();
    constexpr int limit = 400;
    int vital = 0;
    bool survived = false;
    int after = 0;
    for (; after < limit && !survived; ++after) {
        SCOPED_TRACE("after " + std::to_string(after) + " exchanges");
        FaultyCamera camera(sweep.sheet.model, sweep.fault, after);
        if (camera.Open()) {
            survived = IsFaultLeft(camera, sweep.sheet);
            camera.Close();
        } else {
            ExpectNamedError();
            ++vital;
        }
        ExpectHealthyOpen(camera, sweep.sheet);
        if (HasFatalFailure()) return;
    }
    EXPECT_TRUE(survived);
    EXPECT_GE(after, sweep.exchanges);
    EXPECT_GE(vital, sweep.vital);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, HostileOpen,
    testing::Values(Sweep{cmos, "short_reply", 20, 1}, Sweep{cmos, "garbled_reply", 20, 1},
                    Sweep{em, "short_reply", 5, 0}, Sweep{em, "garbled_reply", 5, 4},
                    Sweep{ccd, "garbled_reply", 5, 1}, Sweep{em, "refused_command", 20, 15}),
    [](const auto& sweep) { return testing::PrintToString(sweep.param); });

}  // namespace
