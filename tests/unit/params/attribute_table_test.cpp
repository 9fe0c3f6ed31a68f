#include <array>
#include <variant>

#include "rich_camera.h"

// What an application gets for every attribute of every parameter, from a camera with everything
// and from one with nothing.
namespace {

struct Fail {
    int16 code;
};
using Cell = std::variant<double, const char*, Fail>;

struct Answers {
    int access;
    int available;
    // current, count, min, max, default, increment
    std::array<Cell, 6> cells;
};

struct Expected {
    uns32 id;
    int type;
    Answers rich;
    Answers poor;
};

constexpr Fail x25{C2_NOT_AVAILABLE};
constexpr Fail x49{C0_ACQ_NOT_CONFIGURED};

Answers absent(int access = 1) {
    return {access, 0, {x25, x25, x25, x25, x25, x25}};
}
Answers fixed(double v) {
    return {1, 1, {v, 1., v, v, v, 0.}};
}
Answers text(const char* v) {
    return {1, 1, {v, static_cast<double>(std::strlen(v) + 1), "", "", "", ""}};
}
Answers on_off(double v, int access = 2) {
    return {access, 1, {v, 0., 0., 1., 0., 1.}};
}
Answers list(int access, double v, double count, double first, double last, double standard) {
    return {access, 1, {v, count, first, last, standard, 0.}};
}
Answers range(int access, double v, double count, double min, double max, double standard) {
    return {access, 1, {v, count, min, max, standard, 1.}};
}
Answers fact(double v, int access) {
    return {access, static_cast<int>(v), {v, 1., v, v, v, 0.}};
}

const Expected expectations[] = {
    {PARAM_DD_INFO_LENGTH, 1, fixed(6), fixed(0)},
    {PARAM_ADC_OFFSET, 1, range(2, -2, 0, -32768, 32767, 0), absent(2)},
    {PARAM_CCS_STATUS, 1, list(1, 2, 4, 0, 3, 0), list(1, 0, 4, 0, 3, 0)},
    {PARAM_BIT_DEPTH, 1, fixed(16), fixed(16)},
    {PARAM_GAIN_INDEX, 1, range(2, 1, 3, 1, 3, 1), range(2, 1, 3, 1, 3, 1)},
    {PARAM_SPDTAB_INDEX, 1, range(2, 1, 2, 0, 1, 0), range(2, 0, 2, 0, 1, 0)},
    {PARAM_TEMP, 1, range(1, 2500, 0, -32768, 32767, 0), range(1, 2500, 0, -32768, 32767, 0)},
    {PARAM_TEMP_SETPOINT, 1, range(2, -4000, 6501, -4000, 2500, -4000),
     range(2, 0, 6501, -4000, 2500, -4000)},
    {PARAM_PP_INDEX, 1, range(2, 1, 3, 0, 2, 0), absent(2)},
    {PARAM_PP_PARAM_INDEX, 1, range(2, 0, 2, 0, 1, 0), absent(2)},
    {PARAM_CURRENT_OZTIME, 1, range(1, 12345, 0, -32768, 32767, 0),
     range(1, 0, 0, -32768, 32767, 0)},
    {PARAM_READOUT_TIME, 4, fixed(70000), absent()},
    {PARAM_IO_STATE, 4, {2, 1, {170., 0., 1., 254., 1., 0.}}, absent()},
    {PARAM_EXP_MIN_TIME, 4, fixed(2.5), absent()},
    {PARAM_LAST_MUXED_SIGNAL, 5, range(2, 3, 4, 1, 4, 1), absent(2)},
    {PARAM_DD_VERSION, 6, fixed(0x0102), fixed(0)},
    {PARAM_DD_RETRIES, 6, range(2, 4, 0, 0, 65535, 0), range(2, 0, 0, 0, 65535, 0)},
    {PARAM_DD_TIMEOUT, 6, range(2, 3000, 0, 0, 65535, 0), range(2, 0, 0, 0, 65535, 0)},
    {PARAM_PREMASK, 6, {2, 1, {13., 1., 13., 13., 13., 0.}}, {1, 0, {0., 1., 0., 0., 0., 0.}}},
    {PARAM_POSTMASK, 6, {2, 1, {14., 1., 14., 14., 14., 0.}}, {1, 0, {0., 1., 0., 0., 0., 0.}}},
    {PARAM_PRESCAN, 6, {2, 1, {11., 1., 11., 11., 11., 0.}}, {1, 0, {0., 1., 0., 0., 0., 0.}}},
    {PARAM_POSTSCAN, 6, {2, 1, {12., 1., 12., 12., 12., 0.}}, {1, 0, {0., 1., 0., 0., 0., 0.}}},
    {PARAM_PAR_SIZE, 6, {2, 1, {256., 1., 256., 256., 256., 0.}}, fixed(256)},
    {PARAM_SER_SIZE, 6, {2, 1, {512., 1., 512., 512., 512., 0.}}, fixed(512)},
    {PARAM_PIX_SER_SIZE, 6, fixed(104), fixed(6500)},
    {PARAM_PIX_PAR_SIZE, 6, fixed(102), fixed(6500)},
    {PARAM_CLEAR_CYCLES, 6, range(2, 3, 0, 0, 65535, 2), range(2, 2, 0, 0, 65535, 2)},
    {PARAM_PIX_PAR_DIST, 6, fixed(101), fixed(6500)},
    {PARAM_PIX_SER_DIST, 6, fixed(103), fixed(6500)},
    {PARAM_PREAMP_DELAY, 6, fixed(7), fixed(0)},
    {PARAM_SERIAL_NUM, 6, fixed(1234), fixed(1234)},
    {PARAM_PIX_TIME, 6, fixed(100), fixed(100)},
    {PARAM_SHTR_CLOSE_DELAY, 6, range(2, 21, 0, 0, 65535, 0), range(2, 0, 0, 0, 65535, 0)},
    {PARAM_SHTR_OPEN_DELAY, 6, range(2, 22, 0, 0, 65535, 0), range(2, 0, 0, 0, 65535, 0)},
    {PARAM_IO_ADDR, 6, range(2, 2, 4, 0, 3, 0), absent(2)},
    {PARAM_IO_BITDEPTH, 6, fixed(8), absent()},
    {PARAM_CAM_FW_VERSION, 6, fixed(0x0601), fixed(0x0601)},
    {PARAM_PCI_FW_VERSION, 6, fixed(1), fixed(0)},
    {PARAM_GAIN_MULT_FACTOR, 6, range(2, 12, 300, 1, 300, 1), absent(2)},
    {PARAM_ACTUAL_GAIN, 6, fixed(150), absent()},
    {PARAM_READ_NOISE, 6, fixed(160), absent()},
    {PARAM_PP_FEAT_ID, 7, range(1, 0x70010, 0, 0, 4294967295., 0), absent()},
    {PARAM_PP_PARAM_ID, 7, range(1, 0x10010, 0, 0, 4294967295., 0), absent()},
    {PARAM_TIDAL_STREAM_MODE, 6, list(2, 0, 1, 0, 0, 0), absent(2)},
    {PARAM_EXP_TIME, 6, range(2, 444, 0, 0, 65535, 0), range(2, 0, 0, 0, 65535, 0)},
    {PARAM_EXP_RES_INDEX, 6, range(2, 1, 3, 0, 2, 0), absent(2)},
    {PARAM_ROI_COUNT, 6, range(1, 3, 15, 1, 15, 1), range(1, 1, 1, 1, 1, 1)},
    {PARAM_CENTROIDS_RADIUS, 6, range(2, 6, 14, 2, 15, 15), absent(2)},
    {PARAM_CENTROIDS_COUNT, 6, range(2, 100, 500, 1, 500, 500), absent(2)},
    // Without the accumulation plug-in the caller's storage stays as it is.
    {PARAM_ACCUM_FLAG, 11, on_off(0xA5A5), absent(2)},
    {PARAM_PAIRED_FLAG, 11, on_off(0xA5A5), absent(2)},
    {PARAM_FWELL_CAPACITY, 7, fixed(30000), fixed(30000)},
    {PARAM_PREAMP_OFF_CONTROL, 7, range(2, 4000000000., 0, 0, 4294967295., 0),
     range(2, 10000, 0, 0, 4294967295., 0)},
    {PARAM_PP_PARAM, 7, {2, 1, {1016., x25, 16., 9016., 4016., x25}}, absent(2)},
    {PARAM_BOF_EOF_COUNT, 7, fixed(9), fixed(0)},
    {PARAM_CENTROIDS_THRESHOLD, 7, range(2, 200, 4080, 16, 4095, 160), absent(2)},
    {PARAM_ACCUM_NUMBER, 7, range(2, 0xA5A5A5A5, 0, 1, 4294967295., 1), absent(2)},
    {PARAM_EXPOSURE_TIME, 8, range(1, 5999, 0, 20, 900000, 20), range(1, 0, 0, 0, 4294967295., 0)},
    {PARAM_FRAME_BUFFER_SIZE,
     8,
     {1, 1, {10e6, 0., 1e6, 2147e6, 134e6, 1e6}},
     {1, 1, {x49, x49, x49, x49, x49, x49}}},
    {PARAM_CAM_INTERFACE_TYPE, 9, list(1, 8192, 2, 514, 8192, 514), absent()},
    {PARAM_CAM_INTERFACE_MODE, 9, list(1, 2, 2, 1, 2, 1), absent()},
    {PARAM_COOLING_MODE, 9, list(1, 1, 3, 0, 2, 0), list(1, 0, 3, 0, 2, 0)},
    {PARAM_MPP_CAPABLE, 9, list(1, 3, 4, 0, 3, 0), absent()},
    {PARAM_READOUT_PORT, 9, list(2, 1, 2, 0, 1, 0), list(2, 0, 0, 0, 0, 0)},
    {PARAM_COLOR_MODE, 9, list(1, 4, 3, 0, 4, 0), {1, 0, {0., 0., 0., 0., 0., 0.}}},
    {PARAM_SHTR_OPEN_MODE, 9, list(2, 2, 5, 0, 4, 1), list(2, 1, 5, 0, 4, 1)},
    {PARAM_SHTR_STATUS, 9, list(1, 0, 6, 0, 5, 5), list(1, 0, 6, 0, 5, 5)},
    {PARAM_CLEAR_MODE, 9, list(2, 4, 2, 2, 4, 2), list(2, 1, 0, 0, 0, 1)},
    {PARAM_PMODE, 9, list(2, 5, 2, 1, 5, 1), absent(2)},
    {PARAM_IO_TYPE, 9, list(1, 0, 2, 0, 1, 0), absent()},
    {PARAM_IO_DIRECTION, 9, list(2, 2, 3, 0, 2, 0), absent()},
    {PARAM_EXPOSURE_MODE, 9, list(1, 2304, 2, 2304, 1792, 2304), absent()},
    {PARAM_EXPOSE_OUT_MODE, 9, list(1, 2, 2, 2, 0, 2), absent()},
    {PARAM_FAN_SPEED_SETPOINT, 9, list(2, 2, 3, 0, 3, 3), absent(2)},
    {PARAM_EXP_RES, 9, list(2, 1, 3, 0, 2, 0), absent(2)},
    {PARAM_BOF_EOF_ENABLE, 9, list(2, 3, 4, 0, 3, 0), absent(2)},
    {PARAM_BINNING_SER, 9, list(1, 2, 3, 1, 4, 1), absent()},
    {PARAM_BINNING_PAR, 9, list(1, 8, 3, 1, 8, 1), absent()},
    {PARAM_CENTROIDS_MODE, 9, list(2, 1, 2, 0, 1, 0), absent(2)},
    {PARAM_CENTROIDS_BG_COUNT, 9, list(2, 50, 2, 10, 50, 10), absent(2)},
    {PARAM_TRIGTAB_SIGNAL, 9, list(2, 6, 2, 0, 6, 0), absent(2)},
    {PARAM_FRAME_DELIVERY_MODE, 9, list(2, 1, 2, 0, 1, 0), absent(2)},
    {PARAM_SUMMING_WELL, 11, fact(1, 3), fact(0, 3)},
    {PARAM_FRAME_CAPABLE, 11, fact(1, 3), fact(0, 3)},
    {PARAM_ACCUM_CAPABLE, 11, fact(1, 1), fact(0, 1)},
    {PARAM_FLASH_DWNLD_CAPABLE, 11, fact(1, 1), fact(0, 1)},
    {PARAM_GAIN_MULT_ENABLE, 11, on_off(1, 1), absent()},
    {PARAM_TIDAL_STREAM_MODE_ENABLED, 11, list(2, 1, 0, 0, 1, 0), absent(2)},
    {PARAM_SENSOR_CORRECTION_STATE, 11, on_off(1), on_off(0)},
    {PARAM_BOF_EOF_CLR, 11, {4, 1, {0., 1., 0., 0., 0., 0.}}, {4, 1, {0., 1., 0., 0., 0., 0.}}},
    {PARAM_METADATA_ENABLED, 11, on_off(1), absent(2)},
    {PARAM_CENTROIDS_ENABLED, 11, on_off(1), absent(2)},
    {PARAM_CIRC_BUFFER, 11, fact(1, 3), fact(1, 3)},
    {PARAM_DD_INFO, 13, text("Driver"), text("")},
    {PARAM_CHIP_NAME, 13, text("KX-512"), text("KX-512")},
    {PARAM_SYSTEM_NAME, 13, text("Sys"), absent()},
    {PARAM_VENDOR_NAME, 13, text("Vend"), absent()},
    {PARAM_PRODUCT_NAME, 13, text("Prod"), absent()},
    {PARAM_CAMERA_PART_NUMBER, 13, text("Part-1"), absent()},
    {PARAM_GAIN_NAME, 13, text("HDR"), absent()},
    {PARAM_HEAD_SER_NUM_ALPHA, 13, text("A-12345"), absent()},
    {PARAM_CAM_FW_FULL_VERSION, 13, text("6.1.0009"), absent()},
    {PARAM_CAM_SYSTEMS_INFO, 13, text("0: Bridge"), text("0: Old")},
    {PARAM_PP_FEAT_NAME, 13, text("Feature 1"), absent()},
    {PARAM_PP_PARAM_NAME, 13, text("Param 1.0"), absent()},
    {PARAM_TIDAL_STREAM_EXP_PARAMS, 18, {}, absent(2)},
    {PARAM_TIDAL_STREAM_DLY_PARAMS, 18, absent(2), absent(2)},
    {PARAM_CLEARING_TIME, 16, fixed(31), absent()},
    {PARAM_POST_TRIGGER_DELAY, 16, fixed(33), absent()},
    {PARAM_PRE_TRIGGER_DELAY, 16, fixed(32), absent()},
};

size_t SizeOf(int type) {
    switch (type) {
        case 5: return 1;
        case 1:
        case 6:
        case 11: return 2;
        case 7:
        case 9: return 4;
        default: return 8;
    }
}

template <class T>
double As(const uns8* storage) {
    T value;
    std::memcpy(&value, storage, sizeof value);
    return static_cast<double>(value);
}

double NumberIn(const uns8* storage, int type) {
    switch (type) {
        case 1: return As<int16>(storage);
        case 4: return As<flt64>(storage);
        case 5: return As<uns8>(storage);
        case 6:
        case 11: return As<uns16>(storage);
        case 7: return As<uns32>(storage);
        case 8: return As<uns64>(storage);
        case 9: return As<int32>(storage);
        default: return As<int64>(storage);
    }
}

// One read, into storage that shows what was written and how far.
class Answer {
  public:
    Answer(uns32 id, int attribute) {
        storage_.fill(0xA5);
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        result_ = bv_get_param(0, id, static_cast<int16>(attribute), storage_.data());
        error_ = bv::ApiGlobal::GetErrorCode();
    }

    void expect(const Cell& cell, int type) const {
        if (const auto* failure = std::get_if<Fail>(&cell)) {
            EXPECT_EQ(result_, 0);
            EXPECT_EQ(error_, failure->code);
            return;
        }
        ASSERT_EQ(result_, 1) << "error " << error_;
        if (const auto* words = std::get_if<const char*>(&cell)) {
            EXPECT_STREQ(reinterpret_cast<const char*>(storage_.data()), *words);
            expect_untouched(std::strlen(*words) + 1);
        } else {
            EXPECT_EQ(NumberIn(storage_.data(), type), std::get<double>(cell));
            expect_untouched(SizeOf(type));
        }
    }

  private:
    void expect_untouched(size_t from) const {
        for (size_t i = from; i < storage_.size(); ++i) {
            ASSERT_EQ(storage_[i], 0xA5) << "byte " << i << " was written";
        }
    }

    std::array<uns8, 64> storage_;
    boolean16 result_;
    int16 error_;
};

void Expect(const Expected& row, const Answers& answers) {
    SCOPED_TRACE(bv_text_param_id(row.id));
    Answer(row.id, ATTR_TYPE).expect(double(row.type), 6);
    Answer(row.id, ATTR_ACCESS).expect(double(answers.access), 6);
    Answer(row.id, ATTR_AVAIL).expect(double(answers.available), 6);
    constexpr int attributes[] = {ATTR_CURRENT, ATTR_COUNT,   ATTR_MIN,
                                  ATTR_MAX,     ATTR_DEFAULT, ATTR_INCREMENT};
    for (size_t i = 0; i < answers.cells.size(); ++i) {
        SCOPED_TRACE(bv_text_attribute(attributes[i]));
        Answer(row.id, attributes[i])
            .expect(answers.cells[i], attributes[i] == ATTR_COUNT ? 7 : row.type);
    }
    // What needs a setup says so, whatever it is asked.
    const auto* current = std::get_if<Fail>(&answers.cells[0]);
    const bool waits = current && current->code == C0_ACQ_NOT_CONFIGURED;
    for (int unknown : {9, -1, 256}) Answer(row.id, unknown).expect(waits ? x49 : x25, 6);
}

bool HoldsRecord(uns32 id) {
    return id == PARAM_TIDAL_STREAM_EXP_PARAMS;
}

}  // namespace

TEST(AttributeTable, HasEveryParameter) {
    std::vector<uns32> ids;
    for (const Expected& row : expectations) ids.push_back(row.id);
#define ID(name, id) id,
    EXPECT_EQ(ids, (std::vector<uns32>{ORVEX_PARAMS(ID)}));
#undef ID
}

TEST(AttributeTable, CameraWithEverything) {
    RichCamera camera;
    for (const Expected& row : expectations) {
        if (!HoldsRecord(row.id)) Expect(row, row.rich);
    }
}

TEST(AttributeTable, CameraWithNothing) {
    support::TestCamera camera;
    camera.firmware().reply(STAT_TABLE, support::Bytes(10, 0));
    camera.camera().answer(DV_GET_VER, support::Bytes(6, 0));
    camera.reads().sensor_caps = SENSOR_CAPS_HIDDEN | SENSOR_CAPS_FIXED;
    std::strcpy(camera.reads().cam_systems_info, "0: Old");
    for (const Expected& row : expectations) {
        // Features without a camera's list belong to the plug-in, where they have no ids.
        if (row.id == PARAM_PP_FEAT_ID || row.id == PARAM_PP_PARAM_ID) {
            EXPECT_TRUE(Fails(row.id, ATTR_CURRENT, 0));
        } else {
            Expect(row, row.poor);
        }
    }
}

TEST(AttributeTable, ExposureListIsARecord) {
    RichCamera camera;
    uns32 values[3] = {};
    tidal_stream_type list{3, values};
    EXPECT_EQ(Get<uns16>(PARAM_TIDAL_STREAM_EXP_PARAMS, ATTR_TYPE), TYPE_TIDAL_STREAM_TYPE_PTR);
    EXPECT_EQ(Get<uns16>(PARAM_TIDAL_STREAM_EXP_PARAMS, ATTR_ACCESS), ACC_READ_WRITE);
    EXPECT_EQ(Get<uns32>(PARAM_TIDAL_STREAM_EXP_PARAMS, ATTR_COUNT), 3u);
    ASSERT_EQ(bv_get_param(0, PARAM_TIDAL_STREAM_EXP_PARAMS, ATTR_CURRENT, &list), 1);
    EXPECT_EQ(values[2], 3u);
    const std::pair<int16, uns16> lengths[] = {
        {ATTR_MIN, 1}, {ATTR_MAX, 16}, {ATTR_DEFAULT, 1}, {ATTR_INCREMENT, 1}};
    for (const auto& [attribute, entries] : lengths) {
        ASSERT_EQ(bv_get_param(0, PARAM_TIDAL_STREAM_EXP_PARAMS, attribute, &list), 1);
        EXPECT_EQ(list.entries, entries);
    }
    EXPECT_TRUE(Fails(PARAM_TIDAL_STREAM_EXP_PARAMS, 9, C2_NOT_AVAILABLE));
}

// What was learnt at open and what is kept here must not cost an exchange.
TEST(AttributeTable, CachedValuesCostNoTraffic) {
    RichCamera camera;
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
    EXPECT_EQ(camera.writes().size(), 0u);
    EXPECT_EQ(camera.camera().ioctl_codes().size(), 0u);
    Get<int16>(PARAM_TEMP);
    EXPECT_EQ(camera.writes().size(), 1u);
}

// Any exchange that a value needs may fail, and then so does the read.
TEST(AttributeTable, LostExchangeFailsTheRead) {
    RichCamera camera;
    camera.camera().fail_write();
    for (const Expected& row : expectations) {
        camera.camera().forget();
        camera.cam_info().rws_done = 1;
        uns8 storage[64] = {};
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        const boolean16 result = bv_get_param(0, row.id, ATTR_CURRENT, storage);
        if (!camera.writes().empty()) {
            EXPECT_EQ(result, 0) << bv_text_param_id(row.id);
            EXPECT_EQ(bv::ApiGlobal::GetErrorCode(), C7_DRIVER_COM_ERROR)
                << bv_text_param_id(row.id);
        }
    }
}
