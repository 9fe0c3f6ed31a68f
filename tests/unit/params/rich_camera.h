#pragma once

#include <array>

#include "camera/capabilities.h"
#include "camera/containers.h"
#include "log/enum_texts.h"
#include "params/dispatch.h"
#include "params/enumerations.h"
#include "support/core/test_camera.h"
#include "support/core/trace_capture.h"

// A camera that has every feature; all its values differ, so that no field can stand for another.
class RichCamera : public support::TestCamera {
  public:
    explicit RichCamera(uint32_t transport = DRIVER_TYPE_USB)
        : support::TestCamera(1, false, transport) {
        fill_flags();
        fill_values();
        fill_lists();
        fill_settings();
        teach_values();
        teach_post_processing();
        camera().answer(DV_GET_VER, support::hex("0201 0100 9900"));
        camera().answer(DV_GET_IRQCOUNT, support::hex("05000000 04000000"));
        camera().forget();
    }

    // Features of the camera, by their number of parameters; an index beyond is refused.
    std::vector<uns16> features = {1, 2, 3};
    uns16 feature = 1;
    uns16 parameter = 0;

  private:
    void fill_flags() {
        bv::SpreadCapabilities(std::array<uns8, capability_bytes>{0xFF, 0xFF, 0xFF, 0xFF}, reads());
        reads().frame_capable = 1;
    }

    void fill_values() {
        cam_reads_type& r = reads();
        r.mpp_capable = MPP_SELECTABLE;
        r.exp_res_total = 3;
        r.io_total = 4;
        r.port_total = 2;
        r.nvp_caps = 63;
        r.ifc_caps = 3;
        r.ifc_total = 2;
        r.ifc_types = {514, 8192};
        r.ifc_modes = {1, 2};
        (*r.exp_range_map)[EXP_RES_ONE_MICROSEC] = {EXP_RES_ONE_MICROSEC, 20, 900000};
    }

    static void put(nvp_container& container,
                    const std::vector<std::pair<uns16, const char*>>& items) {
        container.count = 0;
        for (const auto& [value, name] : items) oz_add_nvp_to_container(&container, name, value);
    }

    void fill_lists() {
        cam_reads_type& r = reads();
        put(r.exposure_mode_nvp, {{2304, "Edge"}, {1792, "Internal"}});
        put(r.expose_out_mode_nvp, {{2, "Any Row"}, {0, "First Row"}});
        put(r.binning_ser_nvp, {{1, "1x1"}, {2, "2x2"}, {4, "4x8"}});
        put(r.binning_par_nvp, {{1, "1x1"}, {2, "2x2"}, {8, "4x8"}});
        put(r.fan_speed_nvp, {{0, "High"}, {2, "Low"}, {3, "Off"}});
        put(r.color_mode_nvp, {{0, "Grayscale"}, {2, "Color (RGGB)"}, {4, "Color (GBRG)"}});
        put(r.pmode_nvp, {{1, "Frame Transfer"}, {5, "Alternate Frame Transfer"}});
        put(r.readout_port_nvp, {{0, "Multiplication Gain"}, {1, "Normal"}});
        put(r.trigtab_signal_nvp, {{0, "Expose Out"}, {6, "Other"}});
        put(r.centroids_mode_nvp, {{0, "Locate"}, {1, "Track"}});
        put(r.centroids_bg_count_nvp, {{10, "10"}, {50, "50"}});
        put(r.frame_delivery_mode_nvp, {{0, "Max FPS"}, {1, "Constant"}});
        put(r.clear_mode_nvp, {{2, "Pre-Sequence"}, {4, "Pre- and Post-Sequence"}});
    }

    void fill_settings() {
        cam_cfg_type& c = cfg();
        c.clear_mode = 4;
        c.clear_cycles = 3;
        c.pmode = 5;
        c.shtr_open_mode = 2;
        c.exp_res_index = EXP_RES_ONE_MICROSEC;
        c.io_addr = 2;
        cam_info().script_valid = 1;
        cam_info().exp_mode = 0x0902;
        cam_info().irq_mask = BEGIN_END_FRAME_IRQS;
        cam_info().buf_mode = CIRC_OVERWRITE;
        decode_info().frame_bytes = 1000000;
        decode_info().seq_bytes = 123;
        decode_info().frame_count = 10;
        decode_info().rgn_total = 3;
        decode_info().sbin_first = 2;
        decode_info().pbin_first = 8;
    }

    void teach_values() {
        firmware()
            .reply(CCD_TEMP_SET, 2, 0xF060)  // -4000
            .reply(GET_OUTPUT_PORT, 2, 1)
            .reply(CUR_SPD, 1, 1)
            .reply(GET_EXPOSURE_TIME, 8, 5999999)
            .reply(GET_SENSOR_CORRECTION_STATE, 2, 256)
            .reply(GET_SENSOR_MASK_TYPE, 1, COLOR_GBRG)
            .reply(GET_METADATA_ENABLED, 2, 1)
            .reply(GET_ROI_COUNT_MAX, 2, 15)
            .reply(GET_CENTROIDS_ENABLED, 2, 1)
            .reply(GET_CENTROIDS_MODE_CURRENT, 2, 1)
            .reply(GET_FRAME_DELIVERY_MODE_CURRENT, 2, 1)
            .reply(GET_CAM_IFC_TYPE_CURRENT, 4, 8192)
            .reply(GET_TRIGTAB_SIGNAL, 2, 6)
            .reply(STAT_TABLE, support::hex("00 00 00 00 00 00 00 00 00 02"))
            .reply(SEND_PORTS_ATTRIBUTES, 2, IO_ATTR_DIR_VARIABLE_ALWAYS_READ)
            .reply(SEND_PORTS_DIR, 2, IO_DIR_INPUT_OUTPUT)
            .reply(SEND_PORTS_TYPE, 2, IO_TYPE_TTL)
            .reply(SEND_PORTS_MIN, 2, 1)
            .reply(SEND_PORTS_MAX, 2, 254)
            .reply(SEND_PORTS_RESL, 1, 8)
            .reply(GET_CURRENT_PORT_ST, 2, 170)
            .reply(GET_GAIN_NAME, "HDR")
            .reply(GET_TIDAL_STREAM_ENABLED, 2, 1)
            .reply(GET_TIDAL_STREAM_EXP_COUNT, 2, 3)
            .reply(GET_TIDAL_STREAM_DLY_COUNT, 2, 2)
            .reply(GET_TIDAL_STREAM_MAX_EXP_COUNT, 2, 16)
            .reply(GET_TIDAL_STREAM_EXP_PARAMS, support::hex("0003 00000001 00000002 00000003"));
    }

    static uns16 index_in(std::span<const uint8_t> data) {
        return static_cast<uns16>(data[0] << 8 | data[1]);
    }

    void teach_post_processing() {
        auto number = [](uns16& place) {
            return [&place](auto) { return support::big_endian(place, 2); };
        };
        auto value = [this](uns32 base) {
            return [this, base](auto) {
                return support::big_endian(base + feature * 16u + parameter, 4);
            };
        };
        firmware()
            .on_command(SET_PP_FEATURE_IDX,
                        [this](std::span<const uint8_t> data) {
                            if (index_in(data) >= features.size()) return support::Bytes();
                            feature = index_in(data);
                            parameter = 0;
                            return support::Bytes();
                        })
            .on_command(SET_PP_PARAM_IDX,
                        [this](std::span<const uint8_t> data) {
                            if (index_in(data) < features[feature]) parameter = index_in(data);
                            return support::Bytes();
                        })
            .on_command(GET_PP_FEATURE_IDX, number(feature))
            .on_command(GET_PP_PARAM_IDX, number(parameter))
            .on_command(GET_PP_PARAM_ID, value(0x10000))
            .on_command(GET_PP_PARAM, value(1000));
    }
};

template <class T>
T Get(uns32 id, int16 attribute = ATTR_CURRENT) {
    T value{};
    EXPECT_EQ(bv_get_param(support::TestCamera::hcam, id, attribute, &value), 1)
        << bv_text_param_id(id) << ", attribute " << attribute;
    return value;
}

inline boolean16 Fails(uns32 id, int16 attribute, int16 error) {
    uns8 storage[64] = {};
    bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    return bv_get_param(support::TestCamera::hcam, id, attribute, storage) == 0 &&
           bv::ApiGlobal::GetErrorCode() == error;
}

template <class T>
boolean16 Put(uns32 id, T value) {
    bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    return bv_set_param(support::TestCamera::hcam, id, &value);
}

// What the library does with such a camera, and says.
class RichCameraTest : public testing::Test {
  protected:
    RichCameraTest() { trace_.clear(); }

    support::TraceCapture trace_;
    RichCamera camera_;
};
