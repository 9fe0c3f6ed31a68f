/**
 * @file run_set_up.hpp
 * What a run is asked for.
 */
#ifndef ORVEX_CPP_RUN_SET_UP_HPP
#define ORVEX_CPP_RUN_SET_UP_HPP

#include <chrono>
#include <cmath>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "camera.hpp"
#include "region.hpp"

namespace orvex {

using Milliseconds = std::chrono::duration<double, std::milli>;

struct RunSetUp {
    /** Whole milliseconds, or microseconds where the camera can count them. */
    Milliseconds exposure{10};
    /** In sensor coordinates; none is the whole sensor. Several need PARAM_METADATA_ENABLED. */
    std::vector<rgn_type> regions = {};
    /** An exposure mode and an expose-out mode added together. */
    int16 mode = TIMED_MODE;
};

/** Whether frames of a mode come only when somebody triggers them. */
inline bool waits_for_trigger(int16 mode) {
    const int plain = mode < 256 ? mode : mode & 0xFF00;
    return plain != TIMED_MODE && plain != FLASH_MODE && plain != VARIABLE_TIMED_MODE &&
           plain != EXT_TRIG_INTERNAL;
}

/**
 * Tells a camera in which unit exposures are counted and gives the number for a set-up. May talk to
 * the camera.
 * @throws std::invalid_argument for what the camera can't count, Error
 */
inline uns32 apply_exposure(const Camera& camera, Milliseconds exposure, int16 mode) {
    constexpr double most = 4294967295.0;
    const double ms = exposure.count();
    if (!(ms >= 0) || ms > most) {
        throw std::invalid_argument("the exposure must lie between 0 and 4294967295 ms");
    }
    const bool whole = ms == std::floor(ms);
    if (camera.available(PARAM_EXP_RES)) {
        camera.set<PARAM_EXP_RES>(whole ? EXP_RES_ONE_MILLISEC : EXP_RES_ONE_MICROSEC);
    } else if (!whole) {
        throw std::invalid_argument("this camera takes exposures in whole milliseconds only");
    }
    const double units = whole ? ms : std::round(ms * 1000);
    if (units > most) {
        throw std::invalid_argument("an exposure with a fraction of a millisecond must be shorter");
    }
    if (mode == VARIABLE_TIMED_MODE) {
        // This mode takes the time of a register of 16 bits at each start.
        if (units > 65535) throw std::invalid_argument("the exposure is too long for this mode");
        camera.set<PARAM_EXP_TIME>(static_cast<uns16>(units));
    }
    return static_cast<uns32>(units);
}

/**
 * How long a camera that was set up may take for a frame: exposure and readout, of the whole sensor
 * where it knows no better, and 5 s for shutter, clearing and transport. Nothing for a run that
 * waits for triggers. May talk to the camera.
 */
inline std::optional<Milliseconds> frame_time_limit(const Camera& camera, const RunSetUp& set_up) {
    constexpr Milliseconds margin{5000};
    if (waits_for_trigger(set_up.mode)) return std::nullopt;
    const double columns = camera.get<PARAM_SER_SIZE>() + camera.get_or<PARAM_PRESCAN>(0) +
                           camera.get_or<PARAM_POSTSCAN>(0);
    const double rows = camera.get<PARAM_PAR_SIZE>() + camera.get_or<PARAM_PREMASK>(0) +
                        camera.get_or<PARAM_POSTMASK>(0);
    const double whole_sensor_us = camera.get_or<PARAM_PIX_TIME>(0) * columns * rows / 1000;
    const double readout_us = camera.get_or<PARAM_READOUT_TIME>(whole_sensor_us);
    return set_up.exposure + Milliseconds(readout_us / 1000) + margin;
}

/** "no frame within 6.2 s; the last was frame 3" */
inline std::string late_frame_text(Milliseconds limit, uns32 last) {
    char text[96] = "";
    std::snprintf(text, sizeof text, "no frame within %.3g s; ", limit.count() / 1000);
    return text + (last ? "the last was frame " + std::to_string(last)
                        : std::string("there was none before"));
}

}  // namespace orvex

#endif
