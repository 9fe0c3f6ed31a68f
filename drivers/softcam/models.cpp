#include "softcam/models.h"

#include <array>

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_types.h"

#include "engine/module.h"

namespace softcam {
namespace {

using firmware::Centroids;
using firmware::Extended;
using firmware::FilterFeature;
using firmware::TidalStreaming;

// A frame-transfer sensor. Its storage area is what it calls the pre-mask: as many masked rows as
// there are image rows and a few more, between image and serial register. One shift by the
// pre-mask brings image row 0 to the register.
CameraType Ccd() {
    return {
        .name = "ccd",
        .model = {.name = "SoftCCD-1024",
                  .driver_type = DRIVER_TYPE_PCI,
                  .dialect = Dialect::full,
                  .shutter = true,
                  .mpp = MPP_SELECTABLE,
                  .cooling = NORMAL_COOL,
                  .pixel_size_nm = 13000,
                  .shutter_open_ms = 10,
                  .shutter_close_ms = 20,
                  .firmware_minor = 12,
                  .exposure_resolutions = 2,
                  .geometry = {.columns = 1024,
                               .rows = 1024,
                               .premask = 1032,
                               .postmask = 4,
                               .prescan = 16,
                               .postscan = 8},
                  .abilities = {.frame_transfer = true,
                                .summing_well = true,
                                .adc_offset = true,
                                .parallel_clear = true},
                  .full_well = 100000,
                  .bias = 200,
                  .temperatures = {.min = -7000, .max = 2000, .first_setpoint = -4000},
                  .texts = {.chip = "SFT-1024-FT", .serial = "SC1-0001", .firmware = "6.12.0"},
                  .ports = {{.name = "Normal",
                             .speeds = {{.pixel_time_ns = 1000,
                                         .bits = 16,
                                         .electrons_per_count = {4.0, 2.0, 1.0},
                                         .gain_names = {"Low", "Medium", "High"},
                                         .read_noise = {6.5, 6.2, 6.0}},
                                        {.pixel_time_ns = 200,
                                         .bits = 14,
                                         .electrons_per_count = {8.0, 4.0},
                                         .gain_names = {"Low", "High"},
                                         .read_noise = {12.0, 11.0}}}}},
                  .io_ports =
                      {{.type = IO_TYPE_TTL, .direction = IO_DIR_OUTPUT, .bits = 8, .max = 255},
                       {.type = IO_TYPE_TTL,
                        .direction = IO_DIR_INPUT_OUTPUT,
                        .variable = true,
                        .bits = 8,
                        .max = 255},
                       {.type = IO_TYPE_TTL, .direction = IO_DIR_INPUT, .bits = 1, .max = 1},
                       {.type = IO_TYPE_DAC, .direction = IO_DIR_OUTPUT, .bits = 12, .max = 5000}}},
        .physics = {.dark_current = 20.0, .dark_spread = 0.1, .prnu = 0.01, .transfer_loss = 1e-6},
    };
}

std::vector<FilterFeature> CmosFilters() {
    return {
        {.name = "Background Subtraction",
         .id = 1,
         .kind = FilterKind::background,
         .parameters = {{.name = "Enabled", .id = 10},
                        {.name = "Level", .id = 11, .max = 4095, .initial = 100}}},
        {.name = "Despeckle Bright",
         .id = 2,
         .kind = FilterKind::despeckle,
         .parameters =
             {{.name = "Enabled", .id = 20},
              {.name = "Threshold Percent", .id = 21, .min = 100, .max = 1000, .initial = 200}}},
        {.name = "Median Filter",
         .id = 3,
         .kind = FilterKind::median,
         .parameters = {{.name = "Enabled", .id = 30}}},
        // Hosts know the id 120: with it in use, a frame may take any time.
        {.name = "Rolling Average",
         .id = 4,
         .kind = FilterKind::average,
         .parameters = {{.name = "Frames", .id = 120, .max = 16}}},
    };
}

Extended CmosExtended() {
    return {
        .binnings = {{1, 1}, {2, 2}, {4, 4}, {8, 8}, {1, 2}, {2, 1}},
        .trigger_modes = {{EXT_TRIG_INTERNAL, "Internal Trigger"},
                          {EXT_TRIG_TRIG_FIRST, "Trigger First"},
                          {EXT_TRIG_EDGE_RISING, "Edge Trigger"}},
        .expose_out_modes = {{EXPOSE_OUT_FIRST_ROW, "First Row"},
                             {EXPOSE_OUT_ALL_ROWS, "All Rows"},
                             {EXPOSE_OUT_ANY_ROW, "Any Row"},
                             {EXPOSE_OUT_ROLLING_SHUTTER, "Rolling Shutter"}},
        .fan_speeds = {{FAN_SPEED_HIGH, "High"},
                       {FAN_SPEED_MEDIUM, "Medium"},
                       {FAN_SPEED_LOW, "Low"},
                       {FAN_SPEED_OFF, "Off"}},
        .trigger_signals = {{OX_TRIGTAB_SIGNAL_EXPOSE_OUT, "Expose Out"}},
        .frame_delivery_modes = {{OX_FRAME_DELIVERY_MODE_MAX_FPS, "Maximum Frame Rate"},
                                 {OX_FRAME_DELIVERY_MODE_CONSTANT_INTERVALS, "Constant Intervals"}},
        .clear_modes = {{CLEAR_PRE_EXPOSURE, "Pre-Exposure"},
                        {CLEAR_NEVER, "Never"},
                        {CLEAR_PRE_SEQUENCE, "Pre-Sequence"}},
        .exposure_ranges = {{EXP_RES_ONE_MILLISEC, 0, 3600000},
                            {EXP_RES_ONE_MICROSEC, 0, 0xFFFFFFFF},
                            {EXP_RES_ONE_SEC, 0, 3600}},
        .interfaces = {{OX_CAM_IFC_TYPE_USB_3_0, OX_CAM_IFC_MODE_IMAGING},
                       {OX_CAM_IFC_TYPE_PCIE_X4, OX_CAM_IFC_MODE_IMAGING},
                       {OX_CAM_IFC_TYPE_1394_B, OX_CAM_IFC_MODE_IMAGING},
                       {OX_CAM_IFC_TYPE_PCI_LVDS, OX_CAM_IFC_MODE_IMAGING},
                       {OX_CAM_IFC_TYPE_VIRTUAL, OX_CAM_IFC_MODE_IMAGING}},
        .port_names = true,
        .geometry_fixed = true,
        .startup_values_blob = true,
        .last_muxed_signal_max = 3,
    };
}

// Everything that a recent camera can do.
CameraType Cmos() {
    return {
        .name = "cmos",
        .model = {.name = "SoftCMOS-2048",
                  .driver_type = DRIVER_TYPE_PCIE,
                  .dialect = Dialect::simplified,
                  .cooling = NORMAL_COOL,
                  .region_limit = 15,
                  .pixel_size_nm = 6500,
                  .firmware_minor = 40,
                  .exposure_resolutions = 3,
                  .geometry = {.columns = 2048, .rows = 2048},
                  .abilities = {.adc_offset = true,
                                .readout_time = true,
                                .actual_gain = true,
                                .gain_name = true,
                                .exposure_time = true,
                                .clearing_time = true,
                                .trigger_delays = true,
                                .post_abort_delay = true,
                                .stop_acquisition = true,
                                .multiport = true,
                                .metadata = true,
                                .extended_metadata = true},
                  .full_well = 45000,
                  .bias = 100,
                  .temperatures = {.min = -1500, .max = 2500, .first_setpoint = 0},
                  .texts = {.chip = "SCM-2048-BSI",
                            .system = "SoftCMOS System",
                            .vendor = "Orvex",
                            .product = "SoftCMOS",
                            .part_number = "OX-SCM-2048",
                            .serial = "SC2-0001",
                            .firmware = "6.40.1"},
                  .ports = {{.name = "Sensitivity",
                             .speeds = {{.pixel_time_ns = 10,
                                         .row_time_us = 10.0,
                                         .bits = 12,
                                         .electrons_per_count = {1.0, 11.3},
                                         .gain_names = {"Sensitivity", "Full Well"},
                                         .read_noise = {1.6, 5.0}},
                                        {.pixel_time_ns = 5,
                                         .row_time_us = 5.0,
                                         .bits = 11,
                                         .electrons_per_count = {2.0},
                                         .gain_names = {"Speed"},
                                         .read_noise = {2.2}}}},
                            {.name = "Dynamic Range",
                             .speeds = {{.pixel_time_ns = 20,
                                         .row_time_us = 20.0,
                                         .bits = 16,
                                         .electrons_per_count = {0.7},
                                         .gain_names = {"HDR"},
                                         .read_noise = {1.8}},
                                        {.pixel_time_ns = 10,
                                         .row_time_us = 10.0,
                                         .bits = 14,
                                         .electrons_per_count = {2.8},
                                         .gain_names = {"HDR Fast"},
                                         .read_noise = {3.0}}}}},
                  .filters = CmosFilters(),
                  .centroids =
                      Centroids{
                          .modes = {{OX_CENTROIDS_MODE_LOCATE, "Locate"},
                                    {OX_CENTROIDS_MODE_TRACK, "Track"}},
                          .background_counts = {{0, "1 Frame"}, {1, "4 Frames"}, {2, "16 Frames"}},
                          .background_frames = {1, 4, 16}},
                  .tidal = TidalStreaming{.max_entries = 16, .step = 1},
                  .extended = CmosExtended()},
        .physics = {.dark_current = 5.0, .dark_spread = 0.3, .prnu = 0.005, .dsnu = 0.3},
    };
}

// What a camera of the first generation says of itself: next to nothing. Its driver delivers
// events by itself.
CameraType Plain() {
    return {
        .name = "plain",
        .model = {.name = "SoftPlain-512",
                  .driver_type = DRIVER_TYPE_USB,
                  .kernel_driver = false,
                  .dialect = Dialect::full,
                  .shutter = true,
                  .mpp = MPP_ALWAYS_OFF,
                  .cooling = NORMAL_COOL,
                  .pixel_size_nm = 20000,
                  .shutter_open_ms = 8,
                  .shutter_close_ms = 12,
                  .firmware_major = 5,
                  .geometry = {.columns = 512,
                               .rows = 512,
                               .premask = 6,
                               .postmask = 2,
                               .prescan = 10,
                               .postscan = 4},
                  .full_well = 300000,
                  .bias = 400,
                  .temperatures = {.min = -4500, .max = 2500, .first_setpoint = -2500},
                  .texts = {.chip = "SPL-512", .serial = "SC3-0001", .firmware = "5.0"},
                  .ports = {{.name = "Normal",
                             .speeds = {{.pixel_time_ns = 500,
                                         .bits = 16,
                                         .electrons_per_count = {8.0, 4.0},
                                         .gain_names = {"Low", "High"},
                                         .read_noise = {14.0, 12.0}}}}}},
        .physics = {.dark_current = 60.0, .dark_spread = 0.2, .prnu = 0.02, .transfer_loss = 1e-5},
    };
}

// Two readout amplifiers, one with an electron multiplier in front, and replies that begin with a
// status byte.
CameraType ElectronMultiplying() {
    return {
        .name = "em",
        .model = {.name = "SoftEM-512",
                  .driver_type = DRIVER_TYPE_1394,
                  .reply_status = true,
                  .dialect = Dialect::full,
                  .shutter = true,
                  .mpp = MPP_ALWAYS_ON,
                  .cooling = NORMAL_COOL,
                  .pixel_size_nm = 16000,
                  .shutter_open_ms = 5,
                  .shutter_close_ms = 5,
                  .max_gain_factor = 1000,
                  .firmware_minor = 3,
                  .exposure_resolutions = 2,
                  .geometry = {.columns = 512,
                               .rows = 512,
                               .premask = 528,
                               .postmask = 2,
                               .prescan = 4,
                               .postscan = 4},
                  .abilities = {.frame_transfer = true, .adc_offset = true, .readout_time = true},
                  .full_well = 180000,
                  .bias = 300,
                  .temperatures = {.min = -8000, .max = 0, .first_setpoint = -7000},
                  .texts = {.chip = "SEM-512-EM", .serial = "SC4-0001", .firmware = "6.3.7"},
                  .ports = {{.name = "Multiplication Gain",
                             .multiplies = true,
                             .speeds = {{.pixel_time_ns = 100,
                                         .bits = 14,
                                         .electrons_per_count = {12.0, 6.0, 3.0},
                                         .gain_names = {"1x", "2x", "4x"},
                                         .read_noise = {50.0, 46.0, 45.0}},
                                        {.pixel_time_ns = 200,
                                         .bits = 16,
                                         .electrons_per_count = {12.0, 6.0, 3.0},
                                         .gain_names = {"1x", "2x", "4x"},
                                         .read_noise = {42.0, 40.0, 38.0}}}},
                            {.name = "Normal",
                             .speeds = {{.pixel_time_ns = 1000,
                                         .bits = 16,
                                         .electrons_per_count = {4.0, 2.0},
                                         .gain_names = {"1x", "2x"},
                                         .read_noise = {6.0, 5.0}},
                                        {.pixel_time_ns = 200,
                                         .bits = 16,
                                         .electrons_per_count = {4.0, 2.0},
                                         .gain_names = {"1x", "2x"},
                                         .read_noise = {12.0, 10.0}}}}}},
        .physics = {.dark_current = 30.0, .dark_spread = 0.1, .prnu = 0.01, .transfer_loss = 5e-6},
    };
}

}  // namespace

std::span<const CameraType> AllTypes() {
    static const engine::SharedByCameras types(
        std::array{Ccd(), Cmos(), Plain(), ElectronMultiplying()});
    return *types;
}

const CameraType* FindType(std::string_view name) {
    for (const CameraType& type : AllTypes())
        if (type.name == name) return &type;
    return nullptr;
}

}  // namespace softcam
