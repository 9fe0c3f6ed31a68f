#pragma once

#include "state/call.h"

namespace bv {

// Attributes of the exposure list whose value is a caller's tidal_stream_type: the list itself, or
// its shortest and longest length.
boolean16 AnswerTidalList(Call& call, int16 hcam, int16 param_attribute, void* param_value);

boolean16 SetExposureList(int16 hcam, const void* param_value);
boolean16 SetDelayList(int16 hcam, const void* param_value);

}  // namespace bv
