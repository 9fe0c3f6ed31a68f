#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "orvex/orvex_types.h"

#include "state/bridge_caps.h"
#include "state/word.h"

// Everything that the library knows of its cameras: one row per camera that the driver module
// reports, indexed by hcam, from ox_orvex_init to ox_orvex_uninit. The tables have no lock of
// their own; a call holds its camera's mutex. The pointers are null while the library is not
// initialised.

// Most cameras that are served: there are as many camera mutexes and rows of acq_cache.
constexpr int16 max_cameras = 16;

// A camera as an open object.
struct cam_info_type {
    const char* name = nullptr;  // in the device record
    bv::Word<uns16> open{0};
    int32 o_mode = 0;
    uns16 script_valid = 0;  // the camera holds the program of the last setup
    uns16 reads_done = 0;
    void* script_hook = nullptr;
    bv::Word<uns16> buf_mode{0};  // CIRC_NONE for a sequence
    uns16 rws_done = 0;           // the six sensor sizes have been read
    int16 irq_mask = 0;           // a FRAME_IRQS value
    uns16 exp_mode = 0;           // of the last setup; the low byte is the expose-out mode
    uns16 var_exp_time = 0;       // for VARIABLE_TIMED_MODE
    bv::Word<uns16> exp_started{0};
    int64 post_abort_delay = 0;  // nanoseconds
    std::unique_ptr<bv::BridgeCaps> bridge_caps;
};

// The shape of the current frame buffer. The notification thread reads it too.
struct decode_info_type {
    bv::Word<uns32> frame_bytes{0};
    bv::Word<uns32> seq_bytes{0};
    bv::Word<uns32> frame_count{0};
    uns16 rgn_total = 0;
    uns32 reserved = 0;               // cleared together with oldest_frame
    bv::Word<uns32> oldest_frame{0};  // frames consumed by the application
    bv::Word<void*> pixel_stream{nullptr};
    uns16 par_pixels = 0;  // of the region last measured
    uns16 ser_pixels = 0;
    uns16 sbin_first = 0;
    uns16 pbin_first = 0;
};

// One port action at a location of the camera program; element 0 of a list is only its head.
struct io_entry {
    uns16 addr = 0;
    uns32 type = 0;  // an IO_TYPE value
    flt64 state = -1.0;
    std::unique_ptr<io_entry> next;
};

constexpr int io_script_locations = 10;
using io_script_lists = std::array<io_entry, io_script_locations>;

constexpr uns16 pp_entries_not_counted = 65535;
constexpr uns16 pp_param_index_unknown = 65535;  // until the camera is asked

// What the application has chosen; a setter writes here and the next setup uses it.
struct cam_cfg_type {
    int16 clear_mode = CLEAR_PRE_EXPOSURE;
    uns16 clear_cycles = 2;
    int16 pmode = PMODE_NORMAL;
    int16 shtr_open_mode = OPEN_PRE_EXPOSURE;
    uns16 spdtab_time = 0;  // last pixel time read from the camera, ns
    uns32 preamp_off_control = 10000;
    uns16 exp_res_index = 0;
    uns16 io_addr = 0;
    uns16 par_size = 0;
    uns16 ser_size = 0;
    uns16 prescan = 0;
    uns16 postscan = 0;
    uns16 premask = 0;
    uns16 postmask = 0;
    std::unique_ptr<io_script_lists> io_script_info;
    uns16 pp_entries = pp_entries_not_counted;  // features of the camera's own list
    uns16 pp_use_plugin = 0;                    // the feature selected last belongs to the plug-in
    uns16 pop_feature_count = 0;
    uns16 pp_index = 0;  // as read back from the camera
    uns16 pp_param_index = 0;
    // State of the post-processing plug-in.
    uns16 pp_initialized = 0;
    uns32 module_count = 0;
    uns32 module_index = 0;
    uns32 parameter_index = 0;
    std::unique_ptr<uns8[]> alt_buffer;
    uns8* user_buffer = nullptr;  // the application's ring, borrowed
    uns32 alt_frame_bytes = 0;
    uns32 alt_frame_count = 0;
    uns32 alt_frame_index = 0;
    bv::Word<uns16> callback_registered{0};
    uns32 last_frame_nr = 0;
    uns16 md_frames = 0;
    uns16 kelmo_processing = 0;
};

// Limits of an nvp_container.
constexpr uns16 nvp_items_max = 20;
constexpr uns16 nvp_name_max = 256;  // with terminator

struct nvp_item {
    uns16 value = 0;
    char name[nvp_name_max] = {};
    uns16 name_length = 0;  // with terminator
};

// The (value, name) pairs of an enumerated parameter. Its count doubles as availability.
struct nvp_container {
    uns16 count = 0;
    std::array<nvp_item, nvp_items_max> items;
};

struct exp_range_type {
    uns32 resolution = 0;
    uns32 min = 0;
    uns32 max = 0;
};

// One record of the blob OX_BLOB_ID_PIAV.
struct piav_record {
    uns32 param_id = 0;
    uns16 attribute = 0;
    uns64 value = 0;
};

constexpr uns16 piav_items_max = 320;
constexpr int interface_types_max = 8;
constexpr int systems_info_max = 1025;  // with terminator

// Everything learnt from the camera at open; survives the close.
struct cam_reads_type {
    char chip_name[17] = {};
    char system_name[32] = {};
    char vendor_name[32] = {};
    char product_name[32] = {};
    char camera_part_number[32] = {};
    char head_ser_num_alpha[32] = {};
    char cam_fw_full_version_alpha[32] = {};
    char cam_systems_info[systems_info_max] = {};
    uns16 cooling_mode = 0;
    uns32 fwell_capacity = 0;  // electrons
    uns16 mpp_capable = 0;
    uns16 pix_par_dist = 0, pix_par_size = 0, pix_ser_dist = 0, pix_ser_size = 0;  // nm
    uns16 preamp_delay = 0, preflash = 0;
    uns16 serial_num = 0;
    int16 temp_min = 0, temp_max = 0;  // hundredths of a degree
    int16 spdtab_total = 0;
    uns16 fw_major = 0;
    uns16 exp_res_total = 0;
    flt64 exp_min_time = 0;
    uns16 io_total = 0;
    uns16 fw_minor = 0;
    int16 port_total = 0;
    uns16 par_ports = 1, ser_ports = 1;

    // Capability flags, each 0 or 1.
    uns16 frame_capable = 0;
    uns16 summing_well = 0;
    uns16 cap_adc_offset = 0;
    uns16 cap_color = 0;
    uns16 cap_exp_res = 0;
    uns16 cap_io = 0;
    uns16 cap_color_mask = 0;
    uns16 cap_head_ser_num = 0;
    uns16 cap_fw_full_version = 0;
    uns16 cap_parallel_clear = 0;
    uns16 accum_capable = 0;
    uns16 cap_gain_mult = 0;
    uns16 cap_flash_dwnld = 0;
    uns16 cap_pp = 0;
    uns16 cap_tidal_stream = 0;
    uns16 cap_readout_time = 0;
    uns16 cap_actual_gain = 0;
    uns16 cap_gain_name = 0;
    uns16 cap_system_name = 0;
    uns16 cap_vendor_name = 0;
    uns16 cap_product_name = 0;
    uns16 cap_part_number = 0;
    uns16 cap_exposure_time = 0;
    uns16 cap_clearing_time = 0;
    uns16 cap_trigger_delays = 0;
    uns16 cap_post_abort_delay = 0;
    uns16 cap_stop_acquisition = 0;
    uns16 cap_multiport = 0;
    uns16 cap_roi_count = 0;
    uns16 cap_centroids = 0;
    uns16 cap_metadata = 0;
    uns16 cap_ext_metadata = 0;
    uns16 cap_extended = 0;
    uns16 caps_inverted = 0;

    // Extended capabilities.
    uns32 ext_caps_flags = 0;
    uns32 ccl_caps = 0;
    uns8 ser_bin_type = 0;
    uns16 ser_bin_bytes = 0;
    std::vector<uns8> ser_bin_list;
    uns32 ser_bin_mask = 0;
    uns16 ser_bin_extra_bytes = 0;
    std::vector<uns16> ser_bin_extra;
    uns8 par_bin_type = 0;
    uns16 par_bin_bytes = 0;
    std::vector<uns8> par_bin_list;
    uns32 par_bin_mask = 0;
    uns16 par_bin_extra_bytes = 0;
    std::vector<uns16> par_bin_extra;
    uns32 trig_caps = 0;
    uns32 sensor_caps = 0;
    uns32 port_caps = 0;
    uns32 nvp_caps = 0;
    uns32 blob_caps = 0;
    uns32 exp_range_caps = 0;
    uns16 exp_range_total = 0;
    std::vector<exp_range_type> exp_ranges;
    uns32 ifc_caps = 0;
    uns32 ifc_total = 0;
    std::array<uns32, interface_types_max> ifc_types{};
    std::array<uns32, interface_types_max> ifc_modes{};

    nvp_container exposure_mode_nvp;
    nvp_container expose_out_mode_nvp;
    nvp_container binning_par_nvp;
    nvp_container binning_ser_nvp;
    nvp_container fan_speed_nvp;
    nvp_container color_mode_nvp;
    nvp_container pmode_nvp;
    nvp_container readout_port_nvp;
    nvp_container trigtab_signal_nvp;
    nvp_container centroids_mode_nvp;
    nvp_container centroids_bg_count_nvp;
    nvp_container frame_delivery_mode_nvp;
    nvp_container clear_mode_nvp;

    std::vector<piav_record> blob_piav;
    // Parameter id to attribute to value.
    std::unique_ptr<std::map<uns32, std::map<uns16, uns64>>> blob_piav_map;
    // Exposure resolution to its range.
    std::unique_ptr<std::map<int32, exp_range_type>> exp_range_map;
};

// Bits of cam_reads_type::ext_caps_flags: the sections that are present.
enum ext_caps_flag : uns32 {
    EXT_CAPS_CCL = 1,
    EXT_CAPS_BINNING = 2,
    EXT_CAPS_TRIGGER = 16,
    EXT_CAPS_SENSOR = 32,
    EXT_CAPS_PORT = 64,
    EXT_CAPS_NVP = 128,
    EXT_CAPS_BLOB = 256,
    EXT_CAPS_EXP_RANGES = 512,
    EXT_CAPS_INTERFACES = 1024,
};

// Bits of cam_reads_type::nvp_caps: the containers that the camera supplies.
enum nvp_caps_bit : uns32 {
    NVP_CAPS_FAN_SPEEDS = 1,
    NVP_CAPS_TRIGTAB_SIGNALS = 2,
    NVP_CAPS_CENTROIDS_MODES = 4,
    NVP_CAPS_CENTROIDS_BG_COUNTS = 8,
    NVP_CAPS_FRAME_DELIVERY_MODES = 16,
    NVP_CAPS_CLEAR_MODES = 32,
};

constexpr uns32 CCL_CAPS_SIMPLIFIED = 2;  // ccl_caps: the camera takes simplified programs
constexpr uns32 SENSOR_CAPS_HIDDEN = 1;   // sensor_caps: masks and scans are not available
constexpr uns32 SENSOR_CAPS_FIXED = 2;    // sensor_caps: they are read-only

// A post-processing parameter of the camera, as last seen.
struct pp_param_type {
    std::string name;
    uns16 feature_index = 0;
    uns16 param_index = 0;
    uns32 value = 0;
};

// What survives between setups.
struct acq_cache_type {
    uns16 valid = 0;
    uns16 exp_total = 0;
    uns16 rgn_total = 0;
    std::vector<rgn_type> regions;
    int16 exp_mode = 0;
    uns32 exposure_time = 0;
    int16 buf_mode = 0;
    std::map<int32, pp_param_type> pp_param_cache;
    uns16 tidal_stream_mode = 0;
    uns16 tidal_stream_enabled = 0;
    std::vector<uns32> tidal_exp_params;
    std::vector<uns32> tidal_dly_params;
};

// A handle as an index of the tables.
constexpr size_t row_of(int16 hcam) {
    return static_cast<size_t>(hcam);
}

// References to storage that the end of the process leaves alone.
extern std::unique_ptr<cam_info_type[]>& pg_cam_info;
extern std::unique_ptr<decode_info_type[]>& pg_decode_info;
extern std::unique_ptr<cam_cfg_type[]>& pg_cam_cfg;
extern std::unique_ptr<cam_reads_type[]>& pg_cam_reads;
extern std::array<acq_cache_type, max_cameras>& acq_cache;
extern bv::Word<int16> total_cams;

// The tables exist and reach that far; what comes from the driver may ask for other rows.
inline bool has_row(int16 hcam) {
    return pg_cam_info && hcam >= 0 && hcam < total_cams;
}

// 1 when the handle may be used: initialised, in range and open.
boolean16 oz_cam_check(int16 hcam);
