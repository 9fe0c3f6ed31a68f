#include "orvex/set_up_options.h"

#include "orvex/exposure_mode.h"
#include "orvex/parameters.h"
#include "orvex/temperature_wait.h"
#include "orvex/value_hints.h"

namespace orvex {

void SetUpOptions::add_to(CLI::App& command) {
    add_settings_to(command);
    command.add_option("--frames", frames, "frames to take")
        ->check(CLI::Range(1u, 65535u))
        ->capture_default_str();
    command.add_option("--roi", region,
                       "x,y,width,height in unbinned pixels, or centre,WIDTHxHEIGHT; default all");
    group_options(command, "Set-up");
}

void SetUpOptions::add_settings_to(CLI::App& command) {
    hint(command.add_option("camera", camera, "name or index"), {ValueKind::camera})->required();
    command.add_option("--exposure", exposure_ms, "exposure of a frame in ms")
        ->capture_default_str();
    command.add_option("--bin", binning, "binning, N or NxM, columns first")->capture_default_str();
    hint_words(command.add_option("--mode", mode,
                                  "what starts an exposure: " + all_exposure_modes() +
                                      ", or a name from the camera's EXPOSURE_MODE"),
               all_exposure_modes())
        ->capture_default_str();
    hint_words(
        command.add_option("--expose-out", expose_out,
                           "what the camera's expose-out signal shows: " + all_expose_out_modes()),
        all_expose_out_modes());
    // One at a time, so that the camera may follow.
    hint(command.add_option("--set", assignments,
                            "NAME=VALUE, a parameter to set before; repeatable"),
         {ValueKind::assignment})
        ->allow_extra_args(false);
    group_options(command, "Set-up");
}

void SetUpOptions::add_run_options_to(CLI::App& command) {
    command
        .add_option("--timeout", timeout_s,
                    "seconds to wait for a frame, 0 for ever; default exposure, readout and 5 s, "
                    "for ever with a trigger")
        ->check(CLI::NonNegativeNumber);
    command.add_flag("--wait-temp", wait_temperature,
                     "begin when the sensor is within 0.5 C of TEMP_SETPOINT; gives up after "
                     "--timeout, or 10 minutes");
    command.add_option("--type", image_type, "IMAGETYP of the files; default by exposure, shutter")
        ->check(CLI::IsMember({"light", "dark", "bias", "flat"}, CLI::ignore_case));
    group_options(command, "Run");
}

SetUp SetUpOptions::set_up() const {
    SetUp out;
    if (!region.empty()) parse_region(region, out);
    parse_binning(binning, out);
    out.exposure_ms = exposure_ms;
    out.frames = static_cast<uns16>(frames);
    return out;
}

void SetUpOptions::apply(const Camera& opened) const {
    for (const std::string& assignment : assignments) {
        const auto [name, value] = split_assignment(assignment);
        set_from_text(opened, find_parameter(name), value);
    }
    if (wait_temperature) {
        constexpr Seconds usual{600};
        wait_for_temperature(opened, timeout_s > 0 ? Seconds(timeout_s) : usual);
    }
}

RunRequest SetUpOptions::request(const Camera& opened) const {
    RunRequest out;
    out.set_up = set_up();
    out.mode = exposure_mode(opened, mode, expose_out);
    out.image_type = image_type;
    if (timeout_s >= 0) out.limit = Seconds(timeout_s);
    return out;
}

std::pair<std::string, std::string> split_assignment(const std::string& assignment) {
    const size_t equals = assignment.find('=');
    if (equals == std::string::npos) {
        throw std::invalid_argument("'" + assignment + "' is no NAME=VALUE");
    }
    return {assignment.substr(0, equals), assignment.substr(equals + 1)};
}

}  // namespace orvex
