#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "orvex/orvex_errors.h"

#include "acquisition/sequence.h"
#include "state/call.h"

using bv::arg;
using bv::Call;

namespace {

constexpr uns16 all_regions = 65535;

struct ext_rgn_type {
    rgn_type region;
    uns16 index;  // in the caller's array
};

size_t BinnedSize(uns16 first, uns16 last, uns16 binning) {
    return last < first ? 0 : (size_t{last} - first + 1) / binning;
}

size_t PixelsOf(const rgn_type& region) {
    return BinnedSize(region.s1, region.s2, region.sbin) *
           BinnedSize(region.p1, region.p2, region.pbin);
}

}  // namespace

boolean16 bv_exp_unravel(int16 hcam, uns16 exposure, void* pixel_stream, uns16 rgn_total,
                         const rgn_type* rgn_array, uns16** array_list) {
    Call call("bv_exp_unravel", arg("hcam", hcam), arg("exposure", exposure),
              arg("pixel_stream", pixel_stream), arg("rgn_total", rgn_total),
              arg("rgn_array", rgn_array), arg("array_list", array_list));
    if (rgn_total == 0) return call.fail(C3_RGN_INVALID, "No region given");
    const std::unique_ptr<ext_rgn_type[]> sorted(new (std::nothrow) ext_rgn_type[rgn_total]);
    if (!sorted) {
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate ext_rgn_type array");
    }
    for (uns16 i = 0; i < rgn_total; ++i) {
        if (rgn_array[i].sbin == 0 || rgn_array[i].pbin == 0) {
            return call.fail(C3_RGN_INVALID, "Zero binning not allowed");
        }
        sorted[i] = {.region = rgn_array[i], .index = i};
    }
    std::sort(
        sorted.get(), sorted.get() + rgn_total,
        [](const ext_rgn_type& a, const ext_rgn_type& b) { return a.region.s1 < b.region.s1; });

    const auto* source = static_cast<const uns8*>(pixel_stream);
    for (uns16 position = 0; position < rgn_total; ++position) {
        const uns16 index = sorted[position].index;
        const size_t bytes = PixelsOf(sorted[position].region) * sizeof(uns16);
        if (exposure == all_regions || exposure == index) {
            // One wanted region may come with a list of one array.
            uns16* target = array_list[exposure == position ? 0 : index];
            if (target && bytes != 0) std::memcpy(target, source, bytes);
        }
        source += bytes;
    }
    return call.ok(arg("*array_list", *array_list));
}
