#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What a camera type is, as its data sheet would say it. Everything that cannot change while the
// camera runs stands here; what can is in Settings.
namespace firmware {

enum class Dialect : uint8_t { full, simplified };

// Sizes in rows and columns. Rows leave the sensor at the serial register: first the pre-mask, then
// image rows from 0 on, then the post-mask. A line begins with the prescan.
struct Geometry {
    uint16_t columns = 0;
    uint16_t rows = 0;
    uint16_t premask = 0;
    uint16_t postmask = 0;
    uint8_t prescan = 0;
    uint8_t postscan = 0;
};

struct Speed {
    uint16_t pixel_time_ns = 0;
    double row_time_us = 0;  // readout of one row where rows are converted at once
    uint8_t bits = 16;
    std::vector<double> electrons_per_count{};  // by gain index, from 1
    std::vector<std::string> gain_names{};
    std::vector<double> read_noise{};  // electrons, root mean square, by gain index
};

struct ReadoutPort {
    std::string name{};
    bool multiplies = false;
    std::vector<Speed> speeds{};
};

struct IoPort {
    uint16_t type = 0;       // IO_TYPE_
    uint16_t direction = 0;  // IO_DIR_
    bool variable = false;   // direction can be set, state can always be read
    uint8_t bits = 1;
    uint16_t min = 0;  // a DAC counts thousandths
    uint16_t max = 1;
};

struct NamedValue {
    uint16_t value = 0;
    std::string name{};
};

struct FilterParameter {
    std::string name{};
    uint32_t id = 0;
    uint32_t min = 0;
    uint32_t max = 1;
    uint32_t initial = 0;
};

enum class FilterKind : uint8_t { background, despeckle, median, average };

struct FilterFeature {
    std::string name{};
    uint32_t id = 0;
    FilterKind kind{};
    std::vector<FilterParameter> parameters{};
};

struct ExposureRange {
    uint32_t resolution = 0;  // EXP_RES_
    uint32_t min = 0;
    uint32_t max = 0;
};

struct Interface {
    uint32_t type = 0;  // OX_CAM_IFC_TYPE_
    uint32_t mode = 0;  // OX_CAM_IFC_MODE_
};

struct BinningPair {
    uint16_t serial = 1;
    uint16_t parallel = 1;
};

// The centroid finder of a camera.
struct Centroids {
    uint16_t min_radius = 2;
    uint16_t max_radius = 15;
    uint16_t min_count = 1;
    uint16_t max_count = 100;
    std::vector<NamedValue> modes{};
    std::vector<NamedValue> background_counts{};
    std::vector<uint16_t> background_frames{};  // by the values of background_counts
};

// The self-description block of newer cameras.
struct Extended {
    std::vector<BinningPair> binnings{};
    std::vector<NamedValue> trigger_modes{};
    std::vector<NamedValue> expose_out_modes{};
    std::vector<NamedValue> fan_speeds{};
    std::vector<NamedValue> trigger_signals{};
    std::vector<NamedValue> frame_delivery_modes{};
    std::vector<NamedValue> clear_modes{};
    std::vector<ExposureRange> exposure_ranges{};
    std::vector<Interface> interfaces{};
    bool port_names = false;
    bool geometry_fixed = false;  // masks and sizes can be read only
    bool startup_values_blob = false;
    uint8_t last_muxed_signal_max = 0;
};

struct TidalStreaming {
    uint16_t max_entries = 16;
    uint32_t step = 1;  // exposure times are rounded down to multiples of this
};

struct Texts {
    std::string chip{};
    std::string system{};
    std::string vendor{};
    std::string product{};
    std::string part_number{};
    std::string serial{};
    std::string firmware{};
};

// Capabilities that are nothing but a bit.
struct Abilities {
    bool frame_transfer = false;
    bool summing_well = false;
    bool adc_offset = false;
    bool parallel_clear = false;
    bool color = false;
    bool color_mask = false;
    bool readout_time = false;
    bool actual_gain = false;
    bool gain_name = false;
    bool exposure_time = false;
    bool clearing_time = false;
    bool trigger_delays = false;
    bool post_abort_delay = false;
    bool stop_acquisition = false;
    bool multiport = false;
    bool metadata = false;
    bool extended_metadata = false;
};

// Of the sensor, in hundredths of a degree Celsius.
struct Temperatures {
    int16_t min = -3000;
    int16_t max = 2500;
    int16_t first_setpoint = -1000;
};

struct Model {
    std::string name{};  // of the type, as a bridge tells it
    uint32_t driver_type = 0;
    bool kernel_driver = true;
    bool reply_status = false;
    Dialect dialect = Dialect::full;
    bool shutter = false;
    uint8_t mpp = 1;      // MPP_
    uint8_t cooling = 0;  // a COOL value
    uint8_t color = 0;    // COLOR_
    uint16_t region_limit = 1;
    uint16_t pixel_size_nm = 0;
    uint16_t shutter_open_ms = 0;
    uint16_t shutter_close_ms = 0;
    uint16_t max_gain_factor = 0;  // of the multiplying port; 0 for none
    uint8_t firmware_major = 6;
    uint8_t firmware_minor = 0;
    uint8_t exposure_resolutions = 1;  // milliseconds, then microseconds
    Geometry geometry{};
    Abilities abilities{};
    uint32_t full_well = 0;  // electrons
    int16_t bias = 0;        // counts, until another offset is set
    Temperatures temperatures{};
    Texts texts{};
    std::vector<ReadoutPort> ports{};
    std::vector<IoPort> io_ports{};
    std::vector<FilterFeature> filters{};
    std::optional<Centroids> centroids{};
    std::optional<TidalStreaming> tidal{};
    std::optional<Extended> extended{};
};

}  // namespace firmware
