#include "orvex/acquisition.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <thread>

#include "orvex/progress.h"

namespace orvex {

namespace {

// Polls until the run has ended.
void wait_for_end(const Camera& camera, const Acquisition& run, uns32 total_bytes) {
    Progress progress("exposing", run.frames);
    int16 status = EXPOSURE_IN_PROGRESS;
    while (status != READOUT_COMPLETE) {
        uns32 bytes = 0;
        require(ox_exp_check_status(camera.handle(), &status, &bytes), "the run failed");
        progress.update(run.frame_bytes ? std::min(bytes, total_bytes) / run.frame_bytes : 0);
        if (status == READOUT_FAILED) throw std::runtime_error("the read-out failed");
        if (status == READOUT_NOT_ACTIVE) throw std::runtime_error("the run ended early");
        if (status != READOUT_COMPLETE) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    progress.update(run.frames);
}

}  // namespace

std::string utc_now() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
        1000;
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    std::array<char, 40> text{};
    const size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &utc);
    std::snprintf(text.data() + length, text.size() - length, ".%03d",
                  static_cast<int>(milliseconds));
    return text.data();
}

void read_facts(const Camera& camera, Acquisition& out) {
    out.camera = camera.name();
    out.chip = camera.text(PARAM_CHIP_NAME);
    out.serial = camera.text(PARAM_HEAD_SER_NUM_ALPHA);
    out.bit_depth = camera.get_or<int16>(PARAM_BIT_DEPTH, 16);
    out.gain_index = camera.get_or<int16>(PARAM_GAIN_INDEX, 1);
    out.pixel_time_ns = camera.get_or<uns16>(PARAM_PIX_TIME, 0);
    out.temperature_c = camera.get_or<int16>(PARAM_TEMP, 0) / 100.0;
}

std::span<const uint16_t> Acquisition::frame(uint32_t index) const {
    const size_t count = frame_bytes / 2;
    return std::span(pixels).subspan(index * count, count);
}

void parse_region(const std::string& text, SetUp& set_up) {
    std::array<unsigned, 4> v{};
    int used = 0;
    const int size = static_cast<int>(text.size());
    if (std::sscanf(text.c_str(), "centre,%ux%u%n", &v[2], &v[3], &used) == 2 && used == size &&
        v[2] > 0 && v[3] > 0 && v[2] <= 65535 && v[3] <= 65535) {
        set_up.centre_width = static_cast<uns16>(v[2]);
        set_up.centre_height = static_cast<uns16>(v[3]);
        return;
    }
    used = 0;
    if (std::sscanf(text.c_str(), "%u,%u,%u,%u%n", v.data(), &v[1], &v[2], &v[3], &used) != 4 ||
        used != size || v[2] == 0 || v[3] == 0 ||
        std::any_of(v.begin(), v.end(), [](unsigned n) { return n > 65535; }) ||
        v[0] + v[2] > 65536 || v[1] + v[3] > 65536) {
        throw std::invalid_argument("'" + text + "' is no region; write x,y,width,height or " +
                                    "centre,WIDTHxHEIGHT, in unbinned pixels");
    }
    set_up.region = rgn_type{static_cast<uns16>(v[0]), static_cast<uns16>(v[0] + v[2] - 1), 1,
                             static_cast<uns16>(v[1]), static_cast<uns16>(v[1] + v[3] - 1), 1};
}

void parse_binning(const std::string& text, SetUp& set_up) {
    unsigned s = 0, p = 0;
    int used = 0;
    const int size = static_cast<int>(text.size());
    bool good = std::sscanf(text.c_str(), "%ux%u%n", &s, &p, &used) == 2 && used == size;
    if (!good) {
        good = std::sscanf(text.c_str(), "%u%n", &s, &used) == 1 && used == size;
        p = s;
    }
    if (!good || s == 0 || p == 0 || s > 65535 || p > 65535) {
        throw std::invalid_argument("'" + text + "' is no binning; write N or NxM, columns first");
    }
    set_up.sbin = static_cast<uns16>(s);
    set_up.pbin = static_cast<uns16>(p);
}

rgn_type resolve_region(const Camera& camera, const SetUp& set_up) {
    const uns16 columns = camera.get<uns16>(PARAM_SER_SIZE);
    const uns16 rows = camera.get<uns16>(PARAM_PAR_SIZE);
    rgn_type region{0, static_cast<uns16>(columns - 1), 1, 0, static_cast<uns16>(rows - 1), 1};
    if (set_up.region) {
        region = *set_up.region;
    } else if (set_up.centre_width) {
        const uns16 width = std::min(set_up.centre_width, columns);
        const uns16 height = std::min(set_up.centre_height, rows);
        region.s1 = static_cast<uns16>((columns - width) / 2);
        region.s2 = static_cast<uns16>(region.s1 + width - 1);
        region.p1 = static_cast<uns16>((rows - height) / 2);
        region.p2 = static_cast<uns16>(region.p1 + height - 1);
    }
    region.sbin = set_up.sbin;
    region.pbin = set_up.pbin;
    return region;
}

uns32 apply_exposure(const Camera& camera, double exposure_ms) {
    if (!(exposure_ms >= 0) || exposure_ms > 4294967295.0) {
        throw std::invalid_argument("the exposure must lie between 0 and 4294967295 ms");
    }
    const bool whole = exposure_ms == std::floor(exposure_ms);
    if (camera.available(PARAM_EXP_RES)) {
        camera.set<int32>(PARAM_EXP_RES, whole ? EXP_RES_ONE_MILLISEC : EXP_RES_ONE_MICROSEC);
    } else if (!whole) {
        throw std::invalid_argument("this camera takes exposures in whole milliseconds only");
    }
    const double units = whole ? exposure_ms : std::round(exposure_ms * 1000);
    if (units > 4294967295.0) {
        throw std::invalid_argument("an exposure with a fraction of a millisecond must be shorter");
    }
    return static_cast<uns32>(units);
}

Acquisition take_sequence(const Camera& camera, const SetUp& set_up) {
    Acquisition out;
    read_facts(camera, out);
    out.region = resolve_region(camera, set_up);
    out.exposure_ms = set_up.exposure_ms;
    out.frames = set_up.frames;
    const uns32 time = apply_exposure(camera, set_up.exposure_ms);
    uns32 bytes = 0;
    require(
        ox_exp_setup_seq(camera.handle(), set_up.frames, 1, &out.region, TIMED_MODE, time, &bytes),
        "the set-up was refused");
    out.frame_bytes = bytes / set_up.frames;
    out.width = (out.region.s2 - out.region.s1 + 1u) / out.region.sbin;
    out.height = (out.region.p2 - out.region.p1 + 1u) / out.region.pbin;
    if (out.frame_bytes != out.width * out.height * 2) {
        throw std::runtime_error("the frame of " + std::to_string(out.frame_bytes) +
                                 " bytes is not a plain image; turn metadata off");
    }
    out.pixels.resize(bytes / 2);
    out.start_utc = utc_now();
    require(ox_exp_start_seq(camera.handle(), out.pixels.data()), "the run did not start");
    try {
        wait_for_end(camera, out, bytes);
    } catch (...) {
        ox_exp_abort(camera.handle(), CCS_HALT_CLOSE_SHTR);
        throw;
    }
    require(ox_exp_finish_seq(camera.handle(), out.pixels.data(), 0), "the run did not finish");
    return out;
}

Statistics measure(const Acquisition& acquisition, uint32_t index) {
    const std::span<const uint16_t> frame = acquisition.frame(index);
    Statistics out;
    if (frame.empty()) return out;
    const double count = static_cast<double>(frame.size());
    double sum = 0, squares = 0;
    for (const uint16_t pixel : frame) {
        sum += pixel;
        squares += static_cast<double>(pixel) * pixel;
    }
    out.mean = sum / count;
    out.deviation = std::sqrt(std::max(0.0, squares / count - out.mean * out.mean));
    const auto [low, high] = std::minmax_element(frame.begin(), frame.end());
    out.min = *low;
    out.max = *high;
    if (acquisition.frames < 2) return out;
    // The scene cancels in the difference of two frames, the noise of both adds in squares.
    const std::span<const uint16_t> other = acquisition.frame(index ? index - 1 : 1);
    double difference = 0, difference_squares = 0;
    for (size_t i = 0; i < frame.size(); ++i) {
        const double d = static_cast<double>(frame[i]) - other[i];
        difference += d;
        difference_squares += d * d;
    }
    const double offset = difference / count;
    out.noise = std::sqrt(std::max(0.0, difference_squares / count - offset * offset) / 2);
    return out;
}

}  // namespace orvex
