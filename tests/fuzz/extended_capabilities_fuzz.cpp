#include <cstdlib>
#include <memory>

#include "camera/extended_capabilities.h"

// Any block that a camera may send as its extended capabilities.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    cam_reads_type reads;
    reads.exp_range_map = std::make_unique<std::map<int32, exp_range_type>>();
    const auto fault = bv::ParseExtendedCapabilities({data, size}, reads);
    if (fault != bv::ExtendedCapabilitiesFault::none) return 0;
    // What is accepted is consistent: counts that readers rely on match the lists behind them.
    const bool consistent = reads.exp_ranges.size() == reads.exp_range_total &&
                            reads.ifc_total <= interface_types_max &&
                            reads.ser_bin_list.size() == reads.ser_bin_bytes &&
                            reads.par_bin_list.size() == reads.par_bin_bytes &&
                            reads.ser_bin_extra.size() == reads.ser_bin_extra_bytes / 2 &&
                            reads.par_bin_extra.size() == reads.par_bin_extra_bytes / 2;
    if (!consistent) std::abort();
    return 0;
}
