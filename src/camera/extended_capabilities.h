#pragma once

#include <map>
#include <span>

#include "orvex/orvex_types.h"

#include "state/camera_tables.h"

// The variable-length block in which a camera describes itself further.

// Reads the block into the camera's row. Talks to the camera.
boolean16 bv_cam_get_extended_capabilities(int16 hcam);
// Frees the lists that the block gave.
void bv_cam_release_extended_capabilities(int16 hcam);
// The OX_CAM_IFC_TYPE_ value of the interface in use. Talks to the camera.
boolean16 bv_cam_get_interface_type_current(int16 hcam, uns32* ifcType);

namespace bv {

enum class ExtendedCapabilitiesFault {
    none,
    truncated,           // the block is shorter than its flags and counts promise
    no_exposure_ranges,  // the list is there and empty
    no_memory,           // for the exposure ranges
    interface_count,     // outside 1 to interface_types_max; left in ifc_total
};

// Reads the sections of a block into a row. Fields whose section is absent become zero; exposure
// ranges replace those of the same resolution.
ExtendedCapabilitiesFault ParseExtendedCapabilities(std::span<const uns8> block,
                                                    cam_reads_type& reads);

// Until a camera tells otherwise, each of the three usual resolutions has the full range.
void SeedExposureRanges(std::map<int32, exp_range_type>& ranges);
// Leaves the row as a camera without the block has it, whatever an earlier open has learnt.
void ForgetExtendedCapabilities(cam_reads_type& reads);

}  // namespace bv
