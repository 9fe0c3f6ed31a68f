#include "orvex/exposure_mode.h"

#include <algorithm>
#include <span>

#include "orvex/names.h"
#include "orvex/parameters.h"

namespace orvex {

namespace {

struct Mode {
    const char* constant;
    int value;
};

#define ORVEX_MODE_ROW(name, value) {#name, value},
constexpr Mode exposure_modes[] = {ORVEX_EXPOSURE_MODES(ORVEX_MODE_ROW)};
constexpr Mode expose_out_modes[] = {ORVEX_EXPOSE_OUT_MODES(ORVEX_MODE_ROW)};
#undef ORVEX_MODE_ROW

// What all constants of a kind have in common is left out.
std::string short_name(const Mode& mode) {
    std::string name = plain_name(mode.constant);
    const std::string front = "expose-out-", back = "-mode";
    if (name.starts_with(front)) name.erase(0, front.size());
    if (name.ends_with(back)) name.erase(name.size() - back.size());
    return name;
}

std::string all_names(std::span<const Mode> modes) {
    std::string text;
    for (const Mode& mode : modes) text += (text.empty() ? "" : ", ") + short_name(mode);
    return text;
}

struct Choice {
    const char* what;
    std::span<const Mode> modes;
    ParameterId parameter;  // lists those that the camera has
};

// A camera that lists nothing is trusted to refuse what it can't do.
int find_mode(const Camera& camera, const Choice& choice, const std::string& text) {
    const std::vector<EnumEntry> items = camera.available(choice.parameter.id)
                                             ? Parameter(camera, choice.parameter).entries()
                                             : std::vector<EnumEntry>();
    const std::string wanted = plain_name(text);
    std::vector<std::string> names;
    for (const EnumEntry& item : items) {
        if (plain_name(item.text) == wanted) return item.value;
    }
    for (const Mode& mode : choice.modes) {
        const bool listed = items.empty() || mode.value == TIMED_MODE ||
                            std::any_of(items.begin(), items.end(), [&](const EnumEntry& item) {
                                return item.value == mode.value;
                            });
        if (!listed) continue;
        if (short_name(mode) == wanted || plain_name(mode.constant) == wanted) return mode.value;
        names.push_back(short_name(mode));
    }
    throw std::invalid_argument(camera.name() + " has no " + choice.what + " '" + text +
                                "'; it has " + any_of(names));
}

}  // namespace

int16 exposure_mode(const Camera& camera, const std::string& mode, const std::string& expose_out) {
    int value = find_mode(
        camera, {"mode", exposure_modes, {"PARAM_EXPOSURE_MODE", PARAM_EXPOSURE_MODE}}, mode);
    if (expose_out.empty()) return static_cast<int16>(value);
    if (!camera.available(PARAM_EXPOSE_OUT_MODE)) {
        throw std::invalid_argument(camera.name() + " has no expose-out signal");
    }
    // The plain modes leave no room for it.
    if (value == TIMED_MODE) value = EXT_TRIG_INTERNAL;
    if (value < 256) throw std::invalid_argument("--expose-out does not go with mode " + mode);
    return static_cast<int16>(value | find_mode(camera,
                                                {"expose-out mode",
                                                 expose_out_modes,
                                                 {"PARAM_EXPOSE_OUT_MODE", PARAM_EXPOSE_OUT_MODE}},
                                                expose_out));
}

std::string exposure_mode_name(int16 mode) {
    const int plain = mode < 256 ? mode : mode & 0xFF00;
    for (const Mode& known : exposure_modes) {
        if (known.value == plain) return short_name(known);
    }
    return std::to_string(mode);
}

std::string all_exposure_modes() {
    return all_names(exposure_modes);
}

std::string all_expose_out_modes() {
    return all_names(expose_out_modes);
}

}  // namespace orvex
