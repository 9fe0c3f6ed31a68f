#pragma once

#include "params/parameter.h"

// Answers of exposure time and frame buffer, which are computed.
namespace bv {

// Null when the camera knows no such resolution.
const exp_range_type* RangeOfResolution(int16 hcam, uns32 resolution);

// In units of the chosen resolution; from the camera where it tells, else as last set up.
boolean16 ExposureTime(Call& call, int16 hcam, Value& value);
boolean16 ShortestExposure(Call& call, int16 hcam, Value& value);
boolean16 LongestExposure(Call& call, int16 hcam, Value& value);

// Bytes of the buffer of the last setup, and of the buffers that a continuous run may have.
boolean16 BufferBytes(Call& call, int16 hcam, Value& value);
boolean16 SmallestBuffer(Call& call, int16 hcam, Value& value);
boolean16 LargestBuffer(Call& call, int16 hcam, Value& value);
boolean16 UsualBuffer(Call& call, int16 hcam, Value& value);

// The exposure mode without the expose-out mode in its low byte.
boolean16 ExposureMode(Call& call, int16 hcam, Value& value);
boolean16 ExposeOutMode(Call& call, int16 hcam, Value& value);

// Regions of the last setup, and how many a setup may have.
boolean16 RegionCount(Call& call, int16 hcam, Value& value);
boolean16 RegionLimit(Call& call, int16 hcam, Value& value);

boolean16 SerialBinning(Call& call, int16 hcam, Value& value);
boolean16 ParallelBinning(Call& call, int16 hcam, Value& value);

// CLEAR_PRE_EXPOSURE, unless the camera brings a list of its own.
boolean16 UsualClearMode(Call& call, int16 hcam, Value& value);

// The driver can count frame interrupts. A driver that doesn't say is one that can't.
boolean16 CountsInterrupts(Call& call, int16 hcam, Value& value);
boolean16 SetCountedInterrupts(int16 hcam, int32 mode);

}  // namespace bv
