#include "acquisition/io_script.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>

#include "orvex/orvex_errors.h"

#include "support/core/camera_test.h"

#include "unit/acquisition/program.h"

using program_test::Program;

namespace {

// Ports 0 TTL output, 1 DAC from 0.5 to 5, 2 TTL input.
class IoScript : public support::CameraTest<> {
  protected:
    void SetUp() override {
        cam_reads_type& reads = camera_.reads();
        reads.cap_io = 1;
        reads.io_total = 3;
        const auto by_port = [](std::initializer_list<uns16> values) {
            return [list = std::vector<uns16>(values)](std::span<const uint8_t> data) {
                return support::big_endian(list.at(data[1]), 2);
            };
        };
        camera_.firmware()
            .on_command(SEND_PORTS_TYPE, by_port({IO_TYPE_TTL, IO_TYPE_DAC, IO_TYPE_TTL}))
            .on_command(SEND_PORTS_DIR, by_port({IO_DIR_OUTPUT, IO_DIR_OUTPUT, IO_DIR_INPUT}))
            .on_command(SEND_PORTS_MIN, by_port({0, 500, 0}))
            .on_command(SEND_PORTS_MAX, by_port({255, 5000, 255}));
    }
    boolean16 Add(uns16 addr, flt64 state, uns32 location) {
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        return oz_io_script_control(hcam, addr, state, location);
    }
    // What a location's list puts into a program.
    std::string Written(size_t location) {
        const Program program;
        bv_io_setup(hcam, (*camera_.cfg().io_script_info)[location].next.get());
        return program.text();
    }
};

}  // namespace

TEST_F(IoScript, ActionsRunInTheirOrder) {
    camera_.cam_info().script_valid = 1;
    ASSERT_EQ(Add(1, 1.5, SCR_PRE_FLASH), 1);
    EXPECT_EQ(camera_.cam_info().script_valid, 0);
    ASSERT_EQ(Add(0, 1.0, SCR_PRE_FLASH), 1);
    ASSERT_EQ(Add(0, 255.0, SCR_POST_CLOSE_SHTR), 1);
    EXPECT_EQ(Written(SCR_PRE_FLASH), "port 1, dac 1500, port, ttl 1");
    EXPECT_EQ(Written(SCR_POST_CLOSE_SHTR), "port, ttl 255");
    EXPECT_EQ(Written(SCR_POST_FLASH), "");

    camera_.cam_info().script_valid = 1;
    oz_io_clear_script_control(hcam);
    oz_io_clear_script_control(hcam);
    EXPECT_EQ(Written(SCR_PRE_FLASH), "");
    EXPECT_EQ(camera_.cam_info().script_valid, 1);  // the camera still holds the actions
}

TEST_F(IoScript, Limits) {
    EXPECT_EQ(Add(1, 0.5, SCR_POST_CLOSE_SHTR), 1);
    EXPECT_EQ(Add(1, 5.0, 0), 1);

    struct Refusal {
        uns16 addr;
        flt64 state;
        uns32 location;
        int16 code;
        const char* words;
    };
    const char* dac_range = "Port value out of range, min=0.500000, max=5.000000";
    const Refusal refusals[] = {
        {3, 1.0, 0, C2_ADDR_OUT_OF_RANGE, "Port address out of range, max. is 3"},
        {2, 1.0, 0, C2_NOT_AVAILABLE, "This is input-only port"},
        {1, 0.4, 0, C2_NOT_AVAILABLE, dac_range},
        {1, 5.1, 0, C2_NOT_AVAILABLE, dac_range},
        {1, std::numeric_limits<flt64>::quiet_NaN(), 0, C2_NOT_AVAILABLE, dac_range},
        {0, 1.0, 10, C2_NOT_AVAILABLE, "Unknown port location 10"},
    };
    camera_.cam_info().script_valid = 1;
    for (const Refusal& refusal : refusals) {
        EXPECT_EQ(Add(refusal.addr, refusal.state, refusal.location), 0);
        EXPECT_TRUE(trace_.failed_with(refusal.code, refusal.words));
    }
    EXPECT_EQ(camera_.cam_info().script_valid, 1);

    camera_.camera().fail_write();
    EXPECT_EQ(Add(0, 1.0, 0), 0);
    EXPECT_TRUE(bv::ApiGlobal::IsErrorCodeSet());
}

TEST_F(IoScript, BadTypeOfALaterEntryDecides) {
    io_entry bad{.addr = 7, .type = 9, .state = 1.0, .next = std::make_unique<io_entry>()};
    bad.next->state = 1.0;
    const Program program;
    EXPECT_EQ(bv_io_setup(hcam, &bad), 1);  // the last one was good
    EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C2_NOT_AVAILABLE);
    bad.next.reset();
    EXPECT_EQ(bv_io_setup(hcam, &bad), 0);
    EXPECT_EQ(bv_io_setup(hcam, nullptr), 1);
    EXPECT_EQ(program.text(), "port 7, port, ttl 1, port 7");
    camera_.reads().cap_io = 0;
    EXPECT_EQ(bv_io_setup(hcam, nullptr), 0);
}

TEST_F(IoScript, LongListsAreFreedOneByOne) {
    io_entry* last = &(*camera_.cfg().io_script_info)[SCR_PRE_READOUT];
    for (int i = 0; i < 300000; ++i) {
        last->next = std::make_unique<io_entry>();
        last = last->next.get();
    }
    oz_io_clear_script_control(hcam);
    EXPECT_EQ((*camera_.cfg().io_script_info)[SCR_PRE_READOUT].next, nullptr);
}
