#pragma once

#include <span>

#include "orvex/orvex_types.h"

#include "state/camera_tables.h"

// Bytes of the reply of SEND_CAPABILITIES.
constexpr size_t capability_bytes = 8;

// Reads the camera's capability bits, its extended capabilities and all tables built from them.
boolean16 bv_cam_get_capabilities(int16 hcam);

namespace bv {

// Spreads the capability bits over the flags of the row. The second four bytes may be stored
// inverted, which the top bit of the last one tells.
void SpreadCapabilities(std::span<const uns8, capability_bytes> bytes, cam_reads_type& reads);

}  // namespace bv
