#include <algorithm>
#include <span>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_protocol.h"

#include "camera/blobs.h"
#include "camera/containers.h"
#include "messages/host_command_message.h"
#include "state/bytes.h"
#include "state/call.h"
#include "state/camera_rows.h"

// The builders of the containers behind enumerated parameters.
namespace {

struct named_value {
    const char* name;
    uns16 value;
};

constexpr named_value default_exposure_modes[] = {{"Timed", TIMED_MODE},
                                                  {"Strobed", STROBED_MODE},
                                                  {"Bulb", BULB_MODE},
                                                  {"Trigger First", TRIGGER_FIRST_MODE},
                                                  {"Variable Timed", VARIABLE_TIMED_MODE}};

constexpr named_value default_clear_modes[] = {
    {"Never", CLEAR_NEVER},
    {"Pre-Exposure", CLEAR_PRE_EXPOSURE},
    {"Pre-Sequence", CLEAR_PRE_SEQUENCE},
    {"Post-Sequence", CLEAR_POST_SEQUENCE},
    {"Pre- and Post-Sequence", CLEAR_PRE_POST_SEQUENCE},
    {"Pre-Exposure and Post-Sequence", CLEAR_PRE_EXPOSURE_POST_SEQ}};

constexpr named_value frame_transfer_pmodes[] = {{"Frame Transfer", PMODE_FT},
                                                 {"Alternate Frame Transfer", PMODE_ALT_FT}};
constexpr named_value frame_transfer_mpp_pmodes[] = {
    {"Frame Transfer with MPP", PMODE_FT_MPP},
    {"Alternate Frame Transfer with MPP", PMODE_ALT_FT_MPP}};
constexpr named_value normal_pmodes[] = {{"Normal", PMODE_NORMAL},
                                         {"Alternate Normal", PMODE_ALT_NORMAL}};
constexpr named_value normal_mpp_pmodes[] = {{"MPP", PMODE_MPP}, {"Alternate MPP", PMODE_ALT_MPP}};

constexpr named_value no_colors[] = {{"Grayscale", COLOR_NONE}};
constexpr named_value usual_colors[] = {{"Color (RGGB)", COLOR_RGGB}};
constexpr named_value masked_colors[] = {
    {"Color (GRBG)", COLOR_GRBG}, {"Color (GBRG)", COLOR_GBRG}, {"Color (BGGR)", COLOR_BGGR}};

// Forms of a camera's binning lists.
constexpr uns8 binning_range = 3;
constexpr uns8 binning_list = 4;

boolean16 AddAll(nvp_container& container, std::span<const named_value> items) {
    return std::ranges::all_of(items, [&](const named_value& item) {
        return oz_add_nvp_to_container(&container, item.name, item.value);
    });
}

bool HasSection(const cam_reads_type& reads, ext_caps_flag flag) {
    return reads.cap_extended && (reads.ext_caps_flags & flag);
}

bool HasContainer(const cam_reads_type& reads, nvp_caps_bit bit) {
    return HasSection(reads, EXT_CAPS_NVP) && (reads.nvp_caps & bit);
}

// One binning of both directions; the two containers stay parallel.
boolean16 AddBinning(cam_reads_type& reads, uns32 ser, uns32 par) {
    const std::string name = bv::FormatText("%ux%u", ser, par);
    return oz_add_nvp_to_container(&reads.binning_ser_nvp, name.c_str(), static_cast<uns16>(ser)) &&
           oz_add_nvp_to_container(&reads.binning_par_nvp, name.c_str(), static_cast<uns16>(par));
}

// Powers of two up to the largest binning of each direction.
boolean16 AddBinningRange(bv::Call& call, cam_reads_type& reads) {
    if (reads.ser_bin_list.size() < sizeof(uns16) || reads.par_bin_list.size() < sizeof(uns16)) {
        return call.fail(C0_INVALID_DATA, "Binning range is incomplete");
    }
    const uns32 ser_max = bv::LoadLittleEndian<uns16>(reads.ser_bin_list.data());
    const uns32 par_max = bv::LoadLittleEndian<uns16>(reads.par_bin_list.data());
    for (uns32 ser = 1; ser <= ser_max; ser *= 2) {
        for (uns32 par = 1; par <= par_max; par *= 2) {
            if (!AddBinning(reads, ser, par)) return call.failed();
        }
    }
    return call.ok();
}

boolean16 AddBinningList(bv::Call& call, cam_reads_type& reads) {
    const size_t bytes = std::min(reads.ser_bin_list.size(), reads.par_bin_list.size());
    for (size_t at = 0; at + sizeof(uns16) <= bytes; at += sizeof(uns16)) {
        if (!AddBinning(reads, bv::LoadLittleEndian<uns16>(&reads.ser_bin_list[at]),
                        bv::LoadLittleEndian<uns16>(&reads.par_bin_list[at]))) {
            return call.failed();
        }
    }
    return call.ok();
}

}  // namespace

// MPP_CAP is read after the tables are built, so that a camera's MPP modes appear from its second
// open on; applications that keep lists of the first open rely on the order.
boolean16 oz_cam_set_pmode_capabilities(int16 hcam) {
    bv::Call call("oz_cam_set_pmode_capabilities", bv::arg("hcam", hcam));
    cam_reads_type& reads = bv::ReadsOf(hcam);
    reads.pmode_nvp = {};
    const bool transfer = reads.frame_capable;
    boolean16 added = transfer ? AddAll(reads.pmode_nvp, frame_transfer_pmodes)
                               : AddAll(reads.pmode_nvp, normal_pmodes);
    if (added && reads.mpp_capable == MPP_SELECTABLE) {
        added = transfer ? AddAll(reads.pmode_nvp, frame_transfer_mpp_pmodes)
                         : AddAll(reads.pmode_nvp, normal_mpp_pmodes);
    }
    return call.result(added);
}

boolean16 oz_cam_set_timingMode_capabilities(int16 hcam) {
    bv::Call call("oz_cam_set_timingMode_capabilities", bv::arg("hcam", hcam));
    cam_reads_type& reads = bv::ReadsOf(hcam);
    reads.exposure_mode_nvp = {};
    if (HasSection(reads, EXT_CAPS_TRIGGER)) {
        return call.result(oz_cam_append_nvp_container(hcam, &reads.exposure_mode_nvp,
                                                       GET_EXTENDED_TRIG_MODES_SIZE));
    }
    return call.result(AddAll(reads.exposure_mode_nvp, default_exposure_modes));
}

boolean16 oz_cam_set_exposeOutMode_capabilities(int16 hcam) {
    bv::Call call("oz_cam_set_exposeOutMode_capabilities", bv::arg("hcam", hcam));
    cam_reads_type& reads = bv::ReadsOf(hcam);
    reads.expose_out_mode_nvp = {};
    if (!HasSection(reads, EXT_CAPS_TRIGGER)) return call.ok();
    return call.result(
        oz_cam_append_nvp_container(hcam, &reads.expose_out_mode_nvp, GET_EXPOSE_OUT_BEHAVE_SIZE));
}

boolean16 oz_cam_set_colorMode_capabilities(int16 hcam) {
    bv::Call call("oz_cam_set_colorMode_capabilities", bv::arg("hcam", hcam));
    cam_reads_type& reads = bv::ReadsOf(hcam);
    nvp_container& colors = reads.color_mode_nvp;
    colors = {};
    if (!AddAll(colors, no_colors)) return call.failed();
    if (reads.cap_color && !AddAll(colors, usual_colors)) return call.failed();
    if (reads.cap_color && reads.cap_color_mask && !AddAll(colors, masked_colors)) {
        return call.failed();
    }
    return call.ok();
}

boolean16 oz_cam_set_binning_capabilities(int16 hcam) {
    bv::Call call("oz_cam_set_binning_capabilities", bv::arg("hcam", hcam));
    cam_reads_type& reads = bv::ReadsOf(hcam);
    reads.binning_ser_nvp = {};
    reads.binning_par_nvp = {};
    if (!HasSection(reads, EXT_CAPS_BINNING) || reads.ser_bin_type != reads.par_bin_type ||
        reads.ser_bin_list.empty() || reads.par_bin_list.empty()) {
        return call.ok();
    }
    if (reads.ser_bin_type == binning_range) return AddBinningRange(call, reads);
    if (reads.ser_bin_type == binning_list) return AddBinningList(call, reads);
    return call.ok();
}

boolean16 oz_cam_set_readoutPort_capabilities(int16 hcam) {
    bv::Call call("oz_cam_set_readoutPort_capabilities", bv::arg("hcam", hcam));
    cam_reads_type& reads = bv::ReadsOf(hcam);
    nvp_container& ports = reads.readout_port_nvp;
    ports = {};
    bv::SingleReadHostCommandMessage message(hcam, TOTAL_PORTS);
    if (!message.Execute()) return call.failed();
    // Cameras of one port may answer 0.
    reads.port_total = std::max<int16>(message.Reply<int16>(TOTAL_PORTS), 1);

    if (HasSection(reads, EXT_CAPS_PORT)) {
        if (!oz_cam_append_nvp_container(hcam, &ports, GET_EXTENDED_READOUT_PORTS_SIZE)) {
            return call.failed();
        }
        if (ports.count != reads.port_total) {
            return call.fail(C2_INDEX_OUT_OF_RANGE, "Got %u readout ports, expected %u",
                             static_cast<unsigned>(ports.count),
                             static_cast<unsigned>(reads.port_total));
        }
        return call.ok();
    }
    for (int16 port = 0; port < reads.port_total; ++port) {
        if (port > 1) {
            return call.fail(C2_INDEX_OUT_OF_RANGE, "Unknown readout port index %d", port);
        }
        const char* name = port == 0 && reads.cap_gain_mult ? "Multiplication Gain" : "Normal";
        if (!oz_add_nvp_to_container(&ports, name, static_cast<uns16>(port))) return call.failed();
    }
    return call.ok();
}

boolean16 oz_cam_set_nvpContainers_capabilities(int16 hcam) {
    bv::Call call("oz_cam_set_nvpContainers_capabilities", bv::arg("hcam", hcam));
    struct supplied_container {
        nvp_caps_bit bit;
        nvp_container cam_reads_type::* container;
        orvex_host_command size_command;
    };
    constexpr supplied_container supplied[] = {
        {NVP_CAPS_FAN_SPEEDS, &cam_reads_type::fan_speed_nvp, GET_FAN_SPEEDS_SIZE},
        {NVP_CAPS_TRIGTAB_SIGNALS, &cam_reads_type::trigtab_signal_nvp, GET_TRIGTAB_SIGNALS_SIZE},
        {NVP_CAPS_CENTROIDS_MODES, &cam_reads_type::centroids_mode_nvp, GET_CENTROIDS_MODES_SIZE},
        {NVP_CAPS_CENTROIDS_BG_COUNTS, &cam_reads_type::centroids_bg_count_nvp,
         GET_CENTROIDS_BG_COUNTS_SIZE},
        {NVP_CAPS_FRAME_DELIVERY_MODES, &cam_reads_type::frame_delivery_mode_nvp,
         GET_FRAME_DELIVERY_MODES_SIZE},
    };
    cam_reads_type& reads = bv::ReadsOf(hcam);
    for (const supplied_container& row : supplied) reads.*row.container = {};
    for (const supplied_container& row : supplied) {
        if (HasContainer(reads, row.bit) &&
            !oz_cam_append_nvp_container(hcam, &(reads.*row.container), row.size_command)) {
            return call.failed();
        }
    }
    return call.ok();
}

boolean16 oz_cam_set_binaryBlobs_capabilities(int16 hcam) {
    bv::Call call("oz_cam_set_binaryBlobs_capabilities", bv::arg("hcam", hcam));
    return call.result(bv_cam_get_binary_blob_piav(hcam));
}

boolean16 oz_cam_set_clearMode_capabilities(int16 hcam) {
    bv::Call call("oz_cam_set_clearMode_capabilities", bv::arg("hcam", hcam));
    cam_reads_type& reads = bv::ReadsOf(hcam);
    reads.clear_mode_nvp = {};
    if (HasContainer(reads, NVP_CAPS_CLEAR_MODES)) {
        return call.result(
            oz_cam_append_nvp_container(hcam, &reads.clear_mode_nvp, GET_CLEAR_MODES_SIZE));
    }
    return call.result(AddAll(reads.clear_mode_nvp, default_clear_modes));
}
