#pragma once

#include "params/parameter.h"

// Answers that tell of the camera and its driver and take more than one look.
namespace bv {

// The camera's mask where it reports one; an old colour camera is RGGB.
boolean16 ColorMode(Call& call, int16 hcam, Value& value);
boolean16 ReadoutPort(Call& call, int16 hcam, Value& value);
// What the interface in use can do.
boolean16 InterfaceMode(Call& call, int16 hcam, Value& value);
// Major version in the high byte.
boolean16 FirmwareVersion(Call& call, int16 hcam, Value& value);
boolean16 HasMpp(Call& call, int16 hcam, Value& value);
boolean16 SizesAreVisible(Call& call, int16 hcam, Value& value);
// Of masks and scans, and of the sensor's own two sizes.
boolean16 EdgeAccess(Call& call, int16 hcam, Value& value);
boolean16 SizeAccess(Call& call, int16 hcam, Value& value);
// Set-points, in hundredths of a degree.
boolean16 SetpointRange(int16 hcam, int16* min, int16* max);
boolean16 SetpointStep(Call& call, int16 hcam, Value& value);

boolean16 SystemsInfo(int16 hcam, Text& text);
boolean16 GainName(int16 hcam, Text& text);
boolean16 DriverInfo(int16 hcam, Text& text);

}  // namespace bv
