#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// What is done to every pixel of a frame, in loops that compilers turn into vector instructions.
// Every processor gives the same numbers: nothing here may be contracted or put in another order.
namespace softcam {

constexpr size_t pixel_block = 256;

template <typename Value>
using PixelBlock = std::array<Value, pixel_block>;

// Generators (xoshiro128++) side by side, each of which gives every 16th word.
struct Lanes {
    static constexpr size_t count = 16;
    alignas(64) std::array<std::array<uint32_t, count>, 4> state;
};

// Expected electrons of pixels that differ: light times `flux`, and `dark`. Deviates from both come
// in steps of a spread.
struct Expectation {
    const uint16_t* light;
    const int8_t* sensitivity;
    const int8_t* heat;
    float flux;
    float flux_spread;
    float dark;
    float dark_spread;
};

// From electrons to counts: slope, normal deviates times `spread`, start, limits of 0 and `top`.
struct Conversion {
    float slope;
    float spread;
    float start;
    float top;
};

struct PixelKernels {
    // Fills a block with deviates of mean 0 and variance 1.
    void (*normal)(Lanes& lanes, float* out);
    // Turns a block of expected numbers of events into numbers of events.
    void (*poisson)(Lanes& lanes, float* values);
    void (*expect)(const Expectation& expectation, float* out, size_t size);
    void (*convert)(const Conversion& conversion, const float* electrons, const float* deviates,
                    uint16_t* counts, size_t size);
};

// The ones that are best on this machine.
const PixelKernels& BestPixelKernels();

}  // namespace softcam
