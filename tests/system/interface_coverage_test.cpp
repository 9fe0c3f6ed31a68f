// The older half of the interface through its exported functions: each reaches the work that it
// stands for, and those that do nothing do nothing.
#include <array>
#include <atomic>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "orvex/orvex.h"

#include "support/eventually.h"
#include "support/scripted_driver.h"

#include "walked_camera.h"

namespace {

// A getter's value; -999999 for a failure or when it wrote past its value.
using Ask = std::function<double(int16)>;
template <class T>
Ask Asking(boolean16 (*get)(int16, T*)) {
    return [get](int16 hcam) {
        std::array<T, 2> storage;
        std::memset(storage.data(), 0xA5, sizeof storage);
        const T guard = storage[1];
        const bool well = get(hcam, storage.data()) == 1 && storage[1] == guard;
        return well ? static_cast<double>(storage[0]) : -999999;
    };
}

struct OldGetter {
    const char* name;
    Ask ask;
    double value;
    uns8 command = 0;  // that has this value as its answer
    size_t bytes = 0;
};
#define GETTER(function, value) {#function, Asking(function), value}
#define ANSWERED(function, value, command, bytes) \
    {#function, Asking(function), value, command, bytes}

// Each has the value of its own source, in its own width.
const OldGetter getters[] = {
    GETTER(ox_dd_get_info_length, 6),
    GETTER(ox_dd_get_ver, 0x0102),
    GETTER(ox_dd_get_retries, 4),
    GETTER(ox_dd_get_timeout, 3000),
    GETTER(ox_ccd_get_clear_cycles, 2),
    GETTER(ox_ccd_get_clear_mode, CLEAR_PRE_EXPOSURE),
    GETTER(ox_ccd_get_color_mode, COLOR_NONE),
    ANSWERED(ox_ccd_get_cooling_mode, CRYO_COOL, COOLING, 1),
    ANSWERED(ox_ccd_get_frame_capable, 1, FRAME_CAP, 1),
    GETTER(ox_ccd_get_fwell_capacity, 313000),
    ANSWERED(ox_ccd_get_mpp_capable, MPP_SELECTABLE, MPP_CAP, 1),
    ANSWERED(ox_ccd_get_preamp_dly, 15, PREAMP_DELAY, 2),
    GETTER(ox_ccd_get_preamp_off_control, 10000),
    ANSWERED(ox_ccd_get_preflash, 16, PRE_FLASH, 2),
    GETTER(ox_ccd_get_pmode, PMODE_FT),
    ANSWERED(ox_ccd_get_premask, 11, PRE_MASK, 2),
    ANSWERED(ox_ccd_get_postmask, 12, POST_MASK, 2),
    ANSWERED(ox_ccd_get_prescan, 13, PRESCAN, 1),
    ANSWERED(ox_ccd_get_postscan, 14, POSTSCAN, 1),
    ANSWERED(ox_ccd_get_par_size, 520, PAR_SIZE, 2),
    ANSWERED(ox_ccd_get_ser_size, 776, SER_SIZE, 2),
    ANSWERED(ox_ccd_get_serial_num, 4711, CAM_SER_NUM, 2),
    ANSWERED(ox_ccd_get_summing_well, 1, SUM_WELL_PRESENT, 1),
    ANSWERED(ox_ccd_get_tmp, -1234, CUR_CCD_TEMP, 2),
    ANSWERED(ox_ccd_get_tmp_setpoint, -1500, CCD_TEMP_SET, 2),
    ANSWERED(ox_ccd_get_pix_par_size, 1301, PAR_PIX_SIZE, 2),
    ANSWERED(ox_ccd_get_pix_ser_size, 1302, SER_PIX_SIZE, 2),
    ANSWERED(ox_ccd_get_pix_par_dist, 1303, PAR_PIX_SPACE, 2),
    ANSWERED(ox_ccd_get_pix_ser_dist, 1304, SER_PIX_SPACE, 2),
    GETTER(ox_ccs_get_status, 0),
    ANSWERED(ox_spdtab_get_bits, 14, SPD_BIT_DEPTH, 1),
    ANSWERED(ox_spdtab_get_gain, 2, SPD_USER_GAIN, 1),
    ANSWERED(ox_spdtab_get_max_gain, 4, SPD_MAX_GAIN, 1),
    ANSWERED(ox_spdtab_get_num, 1, CUR_SPD, 1),
    ANSWERED(ox_spdtab_get_entries, 3, TOTAL_SPD, 1),
    ANSWERED(ox_spdtab_get_port, 1, READ_PORT_NUM, 1),
    ANSWERED(ox_spdtab_get_port_total, 2, TOTAL_PORTS, 1),
    GETTER(ox_spdtab_get_time, 250),
    ANSWERED(ox_shtr_get_open_dly, 17, SH_OPEN_DELAY, 2),
    GETTER(ox_shtr_get_open_mode, OPEN_PRE_EXPOSURE),
    GETTER(ox_shtr_get_status, SHTR_OPEN),
    ANSWERED(ox_exp_get_time_seq, 18, EXP_TIME, 2),
    GETTER(oz_ccd_get_accum_capable, 0),
    ANSWERED(oz_cam_get_ccs_mem, 4096, GET_CCL_SCRIPT_WORDS, 2),
};

// A camera whose answers all differ, so that none can stand for another.
class DistinctCamera : public testing::Test {
  protected:
    DistinctCamera() {
        auto& camera = driver_.add_camera("Distinct").transport(DRIVER_TYPE_USB);
        camera.firmware()
            .reply(CHIP_NAME, "KX-0131")
            .reply(TEMP_RANGE, support::Bytes{0x03, 0xE8, 0xF0, 0x60})
            .reply(FULL_WELL_CAP, 2, 313)
            .reply(FIRMWARE_VER, 1, 6)
            .reply(STAT_TABLE_SIZE, 1, 10)
            .reply(STAT_TABLE, support::Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0x20, 2})
            .reply(SUBSYS_ID, support::Bytes{0x12, 0x34, 0x56})
            .reply(SUBSYS_NAME, "Readout board")
            .reply(SUBSYS_DIAG, 2, 77);
        for (const OldGetter& getter : getters) {
            if (getter.bytes == 0) continue;
            const auto answer = static_cast<int64>(getter.value);
            camera.firmware().reply(getter.command, getter.bytes, static_cast<uns64>(answer));
        }
        camera.answer(DV_GET_VER, support::hex("0201 0000 0000"))
            .answer(DV_GET_INFO_LENGTH, support::hex("0600"))
            .answer(DV_GET_INFO_DUMP, support::hex("447269766572"))
            .answer(DV_GET_RETRIES, support::hex("0400"))
            .answer(DV_GET_TIMEOUT, support::hex("B80B"));
        driver_.publish();
        EXPECT_EQ(ox_orvex_init(), 1);
        std::string name = "Distinct";
        EXPECT_EQ(ox_cam_open(name.data(), &hcam_, EXT_OPEN_EXCLUSIVE), 1) << ox_error_code();
        // The open has set a pixel time of its own.
        camera.firmware().reply(SPD_SPEED, 2, 250);
    }
    ~DistinctCamera() override { ox_orvex_uninit(); }

    support::ScriptedDriver driver_;
    int16 hcam_ = -1;
};

TEST_F(DistinctCamera, GettersTellTheirOwnValues) {
    for (const OldGetter& getter : getters)
        EXPECT_EQ(getter.ask(hcam_), getter.value) << getter.name;

    int16 high = 0, low = 0;
    EXPECT_EQ(ox_ccd_get_tmp_range(hcam_, &high, &low), 1);
    EXPECT_EQ(high, 1000);
    EXPECT_EQ(low, -4000);
    uns16 id = 0;
    uns8 version = 0;
    EXPECT_EQ(ox_subsys_get_id(hcam_, 1, &id, &version), 1);
    EXPECT_EQ(id, 0x1234);
    EXPECT_EQ(version, 0x56);
    EXPECT_EQ(ox_subsys_do_diag(hcam_, 1, &id), 1);
    EXPECT_EQ(id, 77);
    EXPECT_EQ(driver_.camera(0).firmware().written(SUBSYS_DIAG), support::Bytes{1});
    std::array<char, 128> text{};
    EXPECT_EQ(ox_subsys_get_name(hcam_, 1, text.data()), 1);
    EXPECT_STREQ(text.data(), "Readout board");
    EXPECT_EQ(ox_ccd_get_chip_name(hcam_, text.data()), 1);
    EXPECT_STREQ(text.data(), "KX-0131");
    text.fill(0);
    EXPECT_EQ(ox_dd_get_info(hcam_, 7, text.data()), 1);
    EXPECT_STREQ(text.data(), "Driver");
    EXPECT_EQ(oz_cam_do_reads(hcam_), 1);
}

class OldCalls : public testing::Test {
  protected:
    template <class T>
    double Get(uns32 id) const {
        T value{};
        EXPECT_EQ(ox_get_param(hcam_, id, ATTR_CURRENT, &value), 1) << id;
        return static_cast<double>(value);
    }
    uns32 SetUpSequence(uns16 frames) const {
        uns32 bytes = 0;
        EXPECT_EQ(ox_exp_setup_seq(hcam_, frames, 1, &region, TIMED_MODE, 1, &bytes), 1);
        return bytes;
    }
    static void Await(const std::function<bool()>& condition) {
        ASSERT_TRUE(support::Eventually(condition));
    }
    void AwaitSequence() const {
        Await([this] {
            int16 status = 0;
            uns32 bytes = 0;
            EXPECT_EQ(ox_exp_check_status(hcam_, &status, &bytes), 1);
            return status == READOUT_COMPLETE;
        });
    }

    static constexpr rgn_type region{.s1 = 0, .s2 = 15, .sbin = 1, .p1 = 0, .p2 = 7, .pbin = 1};
    WalkedCamera camera_{"ccd"};
    int16 hcam_ = camera_.handle();
};

TEST_F(OldCalls, SettersSetWhatTheParametersShow) {
    const auto is = [this]<class T>(boolean16 (*set)(int16, T), T value, uns32 id) {
        EXPECT_EQ(set(hcam_, value), 1) << id << ": error " << ox_error_code();
        EXPECT_EQ(Get<T>(id), static_cast<double>(value)) << id;
    };
    is(ox_dd_set_retries, uns16{5}, PARAM_DD_RETRIES);
    is(ox_dd_set_timeout, uns16{1700}, PARAM_DD_TIMEOUT);
    is(ox_ccd_set_adc_offset, int16{-19}, PARAM_ADC_OFFSET);
    is(ox_ccd_set_clear_cycles, uns16{7}, PARAM_CLEAR_CYCLES);
    is(ox_ccd_set_clear_mode, int32{CLEAR_PRE_SEQUENCE}, PARAM_CLEAR_MODE);
    is(ox_ccd_set_preamp_off_control, uns32{70000}, PARAM_PREAMP_OFF_CONTROL);
    is(ox_ccd_set_pmode, int32{PMODE_MPP}, PARAM_PMODE);
    is(ox_ccd_set_tmp_setpoint, int16{-2100}, PARAM_TEMP_SETPOINT);
    is(ox_spdtab_set_gain, int16{2}, PARAM_GAIN_INDEX);
    is(ox_spdtab_set_num, int16{1}, PARAM_SPDTAB_INDEX);
    is(ox_shtr_set_open_dly, uns16{33}, PARAM_SHTR_OPEN_DELAY);
    is(ox_shtr_set_open_mode, int32{OPEN_NEVER}, PARAM_SHTR_OPEN_MODE);
    EXPECT_EQ(Asking(ox_ccd_get_adc_offset)(hcam_), -19);
    // Programs of this mode take the time at their start.
    uns32 bytes = 0;
    EXPECT_EQ(ox_exp_setup_seq(hcam_, 1, 1, &region, VARIABLE_TIMED_MODE, 1, &bytes), 1);
    EXPECT_EQ(ox_exp_set_time_seq(hcam_, 44), 1);
    std::vector<uns8> pixels(bytes);
    EXPECT_EQ(ox_exp_start_seq(hcam_, pixels.data()), 1);
    AwaitSequence();
    EXPECT_EQ(Asking(ox_exp_get_time_seq)(hcam_), 44);
}

TEST_F(OldCalls, RawExchangesBringTheSameAnswer) {
    std::array<uns8, 8> frame = {CLASS_HOST_COMMANDS, 0, 5, CLEAR_STAT_BUF, SPD_SPEED,
                                 SEND_STAT_BUF,       0, 2};
    uns8* payload = frame.data() + 3;
    std::array<std::array<uns8, 2>, 3> answers{};
    EXPECT_EQ(oz_cam_write_read(hcam_, CLASS_HOST_COMMANDS, 5, payload, answers[0].data()), 1);
    EXPECT_EQ(bv_cam_write_read(hcam_, CLASS_HOST_COMMANDS, 5, payload, answers[1].data()), 1);
    EXPECT_EQ(ox_internal_cam_write_read_passthrough(hcam_, 8, frame.data(), 2, answers[2].data()),
              1);
    for (const auto& answer : answers) EXPECT_EQ(answer[0] * 256 + answer[1], 1000);

    std::array<std::array<char, 64>, 2> names{};
    EXPECT_EQ(
        oz_bridge_command(hcam_, 0, OZ_DATA_GET_FRIENDLY_NAME, 0, nullptr, 64, names[0].data()), 1);
    EXPECT_EQ(ox_internal_bridge_command(hcam_, 0, OZ_DATA_GET_FRIENDLY_NAME, 0, nullptr, 64,
                                         names[1].data()),
              1);
    EXPECT_STRNE(names[0].data(), "");
    EXPECT_STREQ(names[0].data(), names[1].data());

    std::array<char, 32> answer{};
    std::string question = "scene          ";
    EXPECT_EQ(oz_cam_send_debug(hcam_, question.data(), answer.size(), answer.data()), 1);
    EXPECT_STREQ(answer.data(), "chart");
}

TEST_F(OldCalls, DirectAccessStartsAndWatchesASequence) {
    const uns32 bytes = SetUpSequence(2);
    std::vector<uns8> pixels(bytes);
    EXPECT_EQ(Asking(oz_exp_get_bytes)(hcam_), bytes);
    EXPECT_EQ(Asking(oz_exp_get_frames)(hcam_), 2);
    EXPECT_EQ(Asking(oz_exp_get_script)(hcam_), 1);
    EXPECT_EQ(oz_exp_set_script(hcam_, 0), 1);
    EXPECT_EQ(oz_dd_active(hcam_, pixels.data()), 0);
    EXPECT_EQ(ox_error_code(), C3_INVALID_SCRIPT);
    EXPECT_EQ(oz_exp_set_script(hcam_, 1), 1);

    EXPECT_EQ(oz_exp_set_bytes(hcam_, 2, bytes, pixels.data()), 1);
    EXPECT_EQ(oz_dd_active(hcam_, pixels.data()), 1) << "again";
    std::array<uns8, 4> execute = {EXECUTE_CCL, SEND_STAT_BUF, 0, 0};
    EXPECT_EQ(oz_cam_write_read(hcam_, CLASS_HOST_COMMANDS, 1, execute.data(), nullptr), 1);
    int16 status = 0;
    uns32 arrived = 0, frames = 0;
    Await([&] {
        EXPECT_EQ(oz_exp_get_status(hcam_, &status, &arrived, &frames), 1);
        return status == READOUT_COMPLETE && frames == 2;
    });
    EXPECT_EQ(arrived, bytes);
    EXPECT_EQ(ox_exp_check_progress(hcam_, &status, &arrived), 1);
    EXPECT_EQ(status, READOUT_COMPLETE);
    EXPECT_EQ(ox_exp_finish_seq(hcam_, pixels.data(), 0), 1);
}

std::atomic<int> plain_calls{0};

TEST_F(OldCalls, CallbacksOfEveryFormAreCalled) {
    std::atomic<int> context{0};
    static std::atomic<int> frame_number{0};
    void (*const plain)() = [] { ++plain_calls; };
    void (*const with_context)(void*) = [](void* at) { ++*static_cast<std::atomic<int>*>(at); };
    void (*const with_info)(const FRAME_INFO*) = [](const FRAME_INFO* info) {
        frame_number = info->FrameNr;
    };
    plain_calls = frame_number = 0;
    const auto address = [](auto function) { return reinterpret_cast<void*>(function); };
    std::vector<uns8> pixels(SetUpSequence(1));
    const auto expect_call = [&](boolean16 registered, const std::atomic<int>& seen) {
        EXPECT_EQ(registered, 1);
        EXPECT_EQ(ox_exp_start_seq(hcam_, pixels.data()), 1);
        Await([&] { return seen == 1; });
        AwaitSequence();
        EXPECT_EQ(ox_exp_finish_seq(hcam_, pixels.data(), 0), 1);
    };
    expect_call(ox_cam_register_callback(hcam_, OX_CALLBACK_EOF, address(plain)), plain_calls);
    expect_call(
        ox_cam_register_callback_ex(hcam_, OX_CALLBACK_EOF, address(with_context), &context),
        context);
    expect_call(ox_cam_register_callback_ex2(hcam_, OX_CALLBACK_EOF, address(with_info)),
                frame_number);
    EXPECT_EQ(plain_calls, 1) << "a later callback takes the place of an earlier one";
    EXPECT_EQ(ox_cam_deregister_callback(hcam_, OX_CALLBACK_EOF), 1);
}

}  // namespace
