#include "camera/capabilities.h"

#include <algorithm>
#include <array>

#include "orvex/orvex_protocol.h"

#include "camera/containers.h"
#include "camera/extended_capabilities.h"
#include "messages/host_command_message.h"
#include "state/call.h"
#include "state/camera_rows.h"

namespace {

struct capability_bit {
    uns8 byte;
    uns8 bit;
    uns16 cam_reads_type::* flag;
};

constexpr capability_bit capability_bits[] = {
    {0, 0, &cam_reads_type::cap_adc_offset},
    {0, 1, &cam_reads_type::cap_color},
    {0, 2, &cam_reads_type::accum_capable},
    {0, 3, &cam_reads_type::cap_exp_res},
    {0, 4, &cam_reads_type::cap_io},
    {0, 5, &cam_reads_type::cap_color_mask},
    {0, 6, &cam_reads_type::cap_head_ser_num},
    {0, 7, &cam_reads_type::cap_parallel_clear},
    {1, 0, &cam_reads_type::cap_gain_mult},
    {1, 1, &cam_reads_type::cap_fw_full_version},
    {1, 2, &cam_reads_type::cap_flash_dwnld},
    {1, 3, &cam_reads_type::cap_pp},
    {1, 4, &cam_reads_type::cap_tidal_stream},
    {1, 5, &cam_reads_type::cap_readout_time},
    {1, 6, &cam_reads_type::cap_gain_name},
    {1, 7, &cam_reads_type::cap_actual_gain},
    {2, 0, &cam_reads_type::cap_system_name},
    {2, 1, &cam_reads_type::cap_vendor_name},
    {2, 2, &cam_reads_type::cap_multiport},
    {2, 3, &cam_reads_type::cap_roi_count},
    {2, 4, &cam_reads_type::cap_centroids},
    {2, 5, &cam_reads_type::cap_metadata},
    {2, 6, &cam_reads_type::cap_ext_metadata},
    {2, 7, &cam_reads_type::cap_product_name},
    {3, 0, &cam_reads_type::cap_part_number},
    {3, 1, &cam_reads_type::cap_exposure_time},
    {3, 2, &cam_reads_type::cap_clearing_time},
    {3, 3, &cam_reads_type::cap_trigger_delays},
    {3, 4, &cam_reads_type::cap_post_abort_delay},
    {3, 6, &cam_reads_type::cap_stop_acquisition},
    {4, 2, &cam_reads_type::cap_extended},
};

// The bytes from here on may be stored inverted.
constexpr size_t second_word = 4;

uns16 Bit(uns8 byte, unsigned bit) {
    return static_cast<uns16>(byte >> bit & 1);
}

// A resolution chosen in an earlier open may be none of this camera any more.
void KeepKnownResolution(int16 hcam, const cam_reads_type& reads) {
    uns16& chosen = bv::ConfigOf(hcam).exp_res_index;
    if (reads.exp_range_map && !reads.exp_range_map->contains(chosen)) {
        chosen = EXP_RES_ONE_MILLISEC;
    }
}

// In the order in which later ones rely on earlier ones.
constexpr boolean16 (*table_builders[])(int16) = {
    oz_cam_set_pmode_capabilities,         oz_cam_set_timingMode_capabilities,
    oz_cam_set_exposeOutMode_capabilities, oz_cam_set_colorMode_capabilities,
    oz_cam_set_binning_capabilities,       oz_cam_set_readoutPort_capabilities,
    oz_cam_set_nvpContainers_capabilities, oz_cam_set_binaryBlobs_capabilities,
    oz_cam_set_clearMode_capabilities,
};

}  // namespace

namespace bv {

void SpreadCapabilities(std::span<const uns8, capability_bytes> bytes, cam_reads_type& reads) {
    std::array<uns8, capability_bytes> decoded{};
    std::ranges::copy(bytes, decoded.begin());
    reads.caps_inverted = Bit(decoded.back(), 7);
    if (reads.caps_inverted) {
        for (size_t i = second_word; i < decoded.size(); ++i) {
            decoded[i] = static_cast<uns8>(~decoded[i]);
        }
    }
    for (const capability_bit& bit : capability_bits) {
        reads.*bit.flag = Bit(decoded[bit.byte], bit.bit);
    }
}

}  // namespace bv

boolean16 bv_cam_get_capabilities(int16 hcam) {
    bv::Call call("bv_cam_get_capabilities", bv::arg("hcam", hcam));
    bv::HostCommandMessage message(hcam);
    message.BeginReply();
    message.AddRead(SEND_CAPABILITIES);
    message.AddRead(FRAME_CAP);
    message.AddRead(SUM_WELL_PRESENT);
    message.RequestReply();
    if (!message.Execute()) return call.failed();

    cam_reads_type& reads = bv::ReadsOf(hcam);
    std::array<uns8, capability_bytes> bytes{};
    message.GetReply(SEND_CAPABILITIES, bytes.data());
    bv::SpreadCapabilities(bytes, reads);
    reads.frame_capable = Bit(message.Reply<uns8>(FRAME_CAP), 0);
    reads.summing_well = Bit(message.Reply<uns8>(SUM_WELL_PRESENT), 0);

    bv::ForgetExtendedCapabilities(reads);
    if (reads.cap_extended && !bv_cam_get_extended_capabilities(hcam)) return call.failed();
    KeepKnownResolution(hcam, reads);
    for (const auto build : table_builders) {
        if (!build(hcam)) return call.failed();
    }
    return call.ok();
}
