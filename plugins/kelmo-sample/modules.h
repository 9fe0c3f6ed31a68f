#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "orvex/orvex_plugin.h"

namespace kelmo {

// What applications can set. The host lets frames through only while the first parameter of the
// first module, named exactly so, is on.
struct ParameterRow {
    const char* name;
    flt64 minimum;
    flt64 maximum;
    flt64 standard;
};

constexpr size_t parameters_of_module = 2;
constexpr size_t parameter_enabled = 0;

struct ModuleRow {
    const char* name;
    std::array<ParameterRow, parameters_of_module> parameters;
};

// Frames pass the modules in this order.
enum ModuleIndex : size_t { hot_pixel_removal, running_average, module_count };

constexpr size_t hot_pixel_threshold = 1;     // counts above the median of the neighbours
constexpr size_t running_average_length = 1;  // frames

constexpr std::array<ModuleRow, module_count> modules{{
    {.name = "Hot Pixel Removal",
     .parameters = {{{.name = "ENABLED", .minimum = 0, .maximum = 1, .standard = 0},
                     {.name = "THRESHOLD", .minimum = 0, .maximum = 65535, .standard = 200}}}},
    {.name = "Running Average",
     .parameters = {{{.name = "ENABLED", .minimum = 0, .maximum = 1, .standard = 0},
                     {.name = "FRAMES", .minimum = 1, .maximum = 16, .standard = 4}}}},
}};

}  // namespace kelmo
