#include "camera/extended_capabilities.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_protocol.h"

#include "messages/host_command_message.h"
#include "state/bytes.h"
#include "state/call.h"
#include "state/camera_rows.h"

namespace bv {
namespace {

constexpr uns32 bit_list_present = 1;   // exp_range_caps, ifc_caps
constexpr uns32 bit_modes_present = 2;  // ifc_caps
constexpr size_t exposure_range_bytes = 12;

struct word_section {
    ext_caps_flag flag;
    uns32 cam_reads_type::* word;
};

// The sections between binning and exposure ranges, in the order of the wire.
constexpr word_section word_sections[] = {
    {EXT_CAPS_TRIGGER, &cam_reads_type::trig_caps}, {EXT_CAPS_SENSOR, &cam_reads_type::sensor_caps},
    {EXT_CAPS_PORT, &cam_reads_type::port_caps},    {EXT_CAPS_NVP, &cam_reads_type::nvp_caps},
    {EXT_CAPS_BLOB, &cam_reads_type::blob_caps},
};

// The fields of the binning section for one direction.
struct binning_fields {
    uns8 cam_reads_type::* type;
    uns16 cam_reads_type::* bytes;
    std::vector<uns8> cam_reads_type::* list;
    uns32 cam_reads_type::* mask;
    uns16 cam_reads_type::* extra_bytes;
    std::vector<uns16> cam_reads_type::* extra;
};

constexpr binning_fields binning_directions[] = {
    {&cam_reads_type::ser_bin_type, &cam_reads_type::ser_bin_bytes, &cam_reads_type::ser_bin_list,
     &cam_reads_type::ser_bin_mask, &cam_reads_type::ser_bin_extra_bytes,
     &cam_reads_type::ser_bin_extra},
    {&cam_reads_type::par_bin_type, &cam_reads_type::par_bin_bytes, &cam_reads_type::par_bin_list,
     &cam_reads_type::par_bin_mask, &cam_reads_type::par_bin_extra_bytes,
     &cam_reads_type::par_bin_extra},
};

// Keeps a list, its values high byte first. Without memory for it the camera has none: binning is
// no reason to fail an open.
template <class T>
void KeepList(std::span<const uns8> bytes, std::vector<T>& list) {
    list.clear();
    try {
        list.reserve(bytes.size() / sizeof(T));
    } catch (const std::bad_alloc&) {
        return;
    }
    BigEndianReader reader(bytes);
    while (reader.left() >= sizeof(T)) list.push_back(reader.take<T>());
}

void ParseBinning(BigEndianReader& reader, const binning_fields& fields, cam_reads_type& reads) {
    reads.*fields.type = reader.take<uns8>();
    reads.*fields.bytes = reader.take<uns16>();
    KeepList(reader.take_bytes(reads.*fields.bytes), reads.*fields.list);
    reads.*fields.mask = reader.take<uns32>();
    reads.*fields.extra_bytes = reader.take<uns16>();
    KeepList(reader.take_bytes(reads.*fields.extra_bytes), reads.*fields.extra);
}

ExtendedCapabilitiesFault ParseExposureRanges(BigEndianReader& reader, cam_reads_type& reads) {
    reads.exp_range_caps = reader.take<uns32>();
    reads.exp_range_total = 0;
    reads.exp_ranges.clear();
    if (!(reads.exp_range_caps & bit_list_present)) return ExtendedCapabilitiesFault::none;
    reads.exp_range_total = reader.take<uns16>();
    if (reader.overrun() || reader.left() / exposure_range_bytes < reads.exp_range_total) {
        return ExtendedCapabilitiesFault::truncated;
    }
    if (reads.exp_range_total == 0) return ExtendedCapabilitiesFault::no_exposure_ranges;
    try {
        reads.exp_ranges.reserve(reads.exp_range_total);
        for (uns16 i = 0; i < reads.exp_range_total; ++i) {
            exp_range_type& range = reads.exp_ranges.emplace_back();
            range.resolution = reader.take<uns32>();
            range.min = reader.take<uns32>();
            range.max = reader.take<uns32>();
            if (!reads.exp_range_map) continue;
            (*reads.exp_range_map)[static_cast<int32>(range.resolution)] = range;
        }
    } catch (const std::bad_alloc&) {
        return ExtendedCapabilitiesFault::no_memory;
    }
    return ExtendedCapabilitiesFault::none;
}

ExtendedCapabilitiesFault ParseInterfaces(BigEndianReader& reader, cam_reads_type& reads) {
    reads.ifc_caps = reader.take<uns32>();
    reads.ifc_total = 0;
    reads.ifc_types.fill(0);
    reads.ifc_modes.fill(0);
    if (!(reads.ifc_caps & bit_list_present)) return ExtendedCapabilitiesFault::none;
    reads.ifc_total = reader.take<uns32>();
    if (reader.overrun()) return ExtendedCapabilitiesFault::truncated;
    if (reads.ifc_total == 0 || reads.ifc_total > interface_types_max) {
        return ExtendedCapabilitiesFault::interface_count;
    }
    for (uns32 i = 0; i < reads.ifc_total; ++i) reads.ifc_types[i] = reader.take<uns32>();
    if (reads.ifc_caps & bit_modes_present) {
        for (uns32 i = 0; i < reads.ifc_total; ++i) reads.ifc_modes[i] = reader.take<uns32>();
    }
    return ExtendedCapabilitiesFault::none;
}

}  // namespace

ExtendedCapabilitiesFault ParseExtendedCapabilities(std::span<const uns8> block,
                                                    cam_reads_type& reads) {
    BigEndianReader reader(block);
    reads.ext_caps_flags = reader.take<uns32>();
    // A section that is absent reads as one of zeros.
    BigEndianReader zeros({});
    const auto section = [&](ext_caps_flag flag) -> BigEndianReader& {
        return reads.ext_caps_flags & flag ? reader : zeros;
    };

    reads.ccl_caps = section(EXT_CAPS_CCL).take<uns32>();
    for (const binning_fields& fields : binning_directions) {
        ParseBinning(section(EXT_CAPS_BINNING), fields, reads);
    }
    for (const word_section& words : word_sections) {
        reads.*words.word = section(words.flag).take<uns32>();
    }
    ExtendedCapabilitiesFault fault = ParseExposureRanges(section(EXT_CAPS_EXP_RANGES), reads);
    if (fault != ExtendedCapabilitiesFault::none) return fault;
    fault = ParseInterfaces(section(EXT_CAPS_INTERFACES), reads);
    if (fault != ExtendedCapabilitiesFault::none) return fault;
    return reader.overrun() ? ExtendedCapabilitiesFault::truncated
                            : ExtendedCapabilitiesFault::none;
}

void SeedExposureRanges(std::map<int32, exp_range_type>& ranges) {
    constexpr std::array resolutions{EXP_RES_ONE_MILLISEC, EXP_RES_ONE_MICROSEC, EXP_RES_ONE_SEC};
    std::erase_if(ranges, [&](const auto& range) {
        return std::ranges::find(resolutions, range.first) == resolutions.end();
    });
    for (const int32 resolution : resolutions) {
        ranges[resolution] = {.resolution = static_cast<uns32>(resolution),
                              .min = 0,
                              .max = std::numeric_limits<uns32>::max()};
    }
}

void ForgetExtendedCapabilities(cam_reads_type& reads) {
    constexpr std::array<uns8, sizeof(reads.ext_caps_flags)> no_sections{};
    ParseExtendedCapabilities(no_sections, reads);
    if (reads.exp_range_map) SeedExposureRanges(*reads.exp_range_map);
}

}  // namespace bv

namespace {

constexpr uns32 size_max = std::numeric_limits<uns16>::max();

boolean16 Report(bv::Call& call, bv::ExtendedCapabilitiesFault fault, uns32 ifc_total) {
    switch (fault) {
        case bv::ExtendedCapabilitiesFault::none: return call.ok();
        case bv::ExtendedCapabilitiesFault::truncated:
            return call.fail(C0_INVALID_DATA, "Ext. caps. end before all sections were read");
        case bv::ExtendedCapabilitiesFault::no_exposure_ranges:
            return call.fail(C0_INVALID_DATA, "Got no exposure ranges");
        case bv::ExtendedCapabilitiesFault::no_memory:
            return call.fail(C2_CANNOT_ALLOCATE_MEMORY,
                             "Cannot allocate array for exposure ranges");
        case bv::ExtendedCapabilitiesFault::interface_count:
            return call.fail(C0_INVALID_DATA, "Invalid number of interface types (%u)", ifc_total);
    }
    return call.failed();
}

}  // namespace

boolean16 bv_cam_get_extended_capabilities(int16 hcam) {
    bv::Call call("bv_cam_get_extended_capabilities", bv::arg("hcam", hcam));
    bv::SingleReadHostCommandMessage size_message(hcam, GET_EXTENDED_CAPABILITIES_SIZE);
    if (!size_message.Execute()) return call.failed();
    const uns32 size = size_message.Reply<uns32>(GET_EXTENDED_CAPABILITIES_SIZE);
    call.debug("Extended capabilities size: %u", size);
    if (size == 0 || size > size_max) {
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY,
                         "Ext. caps. size is either zero or greater than %u bytes", size_max);
    }
    bv::SingleReadHostCommandMessage message(hcam, GET_EXTENDED_CAPABILITIES,
                                             static_cast<uns16>(size));
    if (!message.Execute()) return call.failed();

    cam_reads_type& reads = bv::ReadsOf(hcam);
    const bv::ExtendedCapabilitiesFault fault =
        bv::ParseExtendedCapabilities(message.ReplyBytes(GET_EXTENDED_CAPABILITIES), reads);
    const boolean16 result = Report(call, fault, reads.ifc_total);
    if (!result) {
        // Nobody may take a count that was refused for one of ifc_types.
        reads.ifc_total = 0;
        bv_cam_release_extended_capabilities(hcam);
    }
    return result;
}

void bv_cam_release_extended_capabilities(int16 hcam) {
    bv::Call call("bv_cam_release_extended_capabilities", bv::arg("hcam", hcam));
    cam_reads_type& reads = bv::ReadsOf(hcam);
    if (!reads.cap_extended) return;
    reads.ser_bin_list = {};
    reads.ser_bin_extra = {};
    reads.par_bin_list = {};
    reads.par_bin_extra = {};
    reads.exp_ranges = {};
}

boolean16 bv_cam_get_interface_type_current(int16 hcam, uns32* ifcType) {
    bv::Call call("bv_cam_get_interface_type_current", bv::arg("hcam", hcam),
                  bv::arg("ifcType", ifcType));
    bv::SingleReadHostCommandMessage message(hcam, GET_CAM_IFC_TYPE_CURRENT);
    if (!message.Execute()) return call.failed();
    *ifcType = message.Reply<uns32>(GET_CAM_IFC_TYPE_CURRENT);
    return call.ok(bv::arg("*ifcType", *ifcType));
}
