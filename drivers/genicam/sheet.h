#pragma once

#include <optional>
#include <string>
#include <vector>

#include "firmware/model.h"
#include "genicam/features.h"
#include "genicam/pixels.h"
#include "genicam/window.h"

namespace genicam {

// What is known of a camera before it is opened.
struct Identity {
    std::string address;  // what Aravis opens it by
    bool network = false;
    std::string vendor;
    std::string model;
    std::string serial;
};

// Of at most 31 characters, the serial number whole.
std::string NameOf(const Identity& identity);

// The part of the data sheet that needs no connection.
firmware::Model CoverSheet(const Identity& identity);

// What the features of a camera tell of it, once for all runs.
struct Sheet {
    firmware::Model model;
    Axes axes;
    std::vector<const PixelFormat*> formats;  // by speed
    std::vector<double> gains;                // by gain index, from 1
    Bounds<double> exposure_us;
    std::optional<Bounds<double>> black_level;
    std::string temperature;  // names of features; empty without
    std::string setpoint;
};

// None, with what is missing, for a camera that sends no grey pictures or hides what they need.
std::optional<Sheet> ReadSheet(ArvCamera* camera, const Identity& identity, std::string& missing);

}  // namespace genicam
