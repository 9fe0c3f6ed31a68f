#pragma once

#include <span>

#include "orvex/orvex_types.h"

#include "state/call.h"
#include "state/camera_tables.h"

// Lists of (name, value) pairs behind the enumerated parameters, built at open.

boolean16 oz_add_nvp_to_container(nvp_container* container, const char* name, uns16 value);
// Appends the list that the camera supplies: `containerSizeCmd` asks for its size, the command
// after it for the data. Talks to the camera.
boolean16 oz_cam_append_nvp_container(int16 hcam, nvp_container* container, uns8 containerSizeCmd);

// Builders, each of which empties its containers first.
boolean16 oz_cam_set_pmode_capabilities(int16 hcam);
boolean16 oz_cam_set_timingMode_capabilities(int16 hcam);
boolean16 oz_cam_set_exposeOutMode_capabilities(int16 hcam);
boolean16 oz_cam_set_colorMode_capabilities(int16 hcam);
boolean16 oz_cam_set_binning_capabilities(int16 hcam);
boolean16 oz_cam_set_readoutPort_capabilities(int16 hcam);
boolean16 oz_cam_set_nvpContainers_capabilities(int16 hcam);
boolean16 oz_cam_set_binaryBlobs_capabilities(int16 hcam);
boolean16 oz_cam_set_clearMode_capabilities(int16 hcam);

namespace bv {

// Appends the items of a camera's list: a count, then a 16-bit value and a zero-terminated name
// each. What is wrong with it goes to the caller's scope.
boolean16 AppendNvpItems(Call& call, std::span<const uns8> list, nvp_container* container);

}  // namespace bv
