#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "orvex/orvex_types.h"

#include "engine/bytes.h"

#include "firmware/model.h"

namespace firmware {

// A simplified program: settings, from which the camera works out the rest.
struct SimplifiedProgram {
    uint32_t resolution = EXP_RES_ONE_MILLISEC;
    uint32_t exposure = 0;
    uint32_t exposure_mode = TIMED_MODE;
    uint32_t frame_count = 1;
    uint32_t buffer_mode = CIRC_NONE;
    uint32_t clear_mode = CLEAR_PRE_EXPOSURE;
    uint32_t clear_count = 0;
    std::vector<rgn_type> regions;

    bool Continuous() const { return buffer_mode != CIRC_NONE; }
    // In nanoseconds, at the resolution of the program.
    int64_t Nanoseconds(uint32_t time) const;
};

// None when the bytes are not a program that this camera can run.
std::optional<SimplifiedProgram> ParseSimplified(engine::Bytes program, const Model& model);

// Time to read out the rows that a program wants, and to clear the sensor once.
int64_t ReadoutNanoseconds(const Model& model, const Speed& speed,
                           const SimplifiedProgram& program);
int64_t ClearNanoseconds(const Model& model, const Speed& speed);

}  // namespace firmware
