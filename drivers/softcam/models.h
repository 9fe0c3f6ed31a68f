#pragma once

#include <span>
#include <string>
#include <string_view>

#include "firmware/model.h"
#include "firmware/settings.h"

namespace softcam {

// What the camera shares with its firmware.
using firmware::CurrentSpeed;
using firmware::Dialect;
using firmware::FilterKind;
using firmware::Geometry;
using firmware::LiveState;
using firmware::Model;
using firmware::Settings;
using firmware::Speed;

// What a data sheet leaves to the sensor.
struct Physics {
    double dark_current = 0;   // electrons per pixel and second at 20 degrees
    double dark_spread = 0;    // by which pixels differ in it, share, root mean square
    double prnu = 0;           // and in sensitivity
    double dsnu = 0;           // offsets of pixels that have amplifiers, electrons
    double transfer_loss = 0;  // share of a charge that stays behind at every shift
};

// A camera type: what it says of itself, and what it is.
struct CameraType {
    std::string_view name;  // in a configuration
    Model model;
    Physics physics;
};

// All camera types, in the order of the default configuration.
std::span<const CameraType> AllTypes();
const CameraType* FindType(std::string_view name);

}  // namespace softcam
