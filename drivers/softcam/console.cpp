// The service console of a camera, reached by DEBUG_CMD: words that ask, set, and make things
// happen. Blanks at the end leave room for a longer answer.

#include <cstdio>
#include <sstream>

#include "softcam/head.h"

namespace softcam {
namespace {

std::string Short(double value) {
    char text[32];
    std::snprintf(text, sizeof(text), "%g", value);
    return text;
}

bool Number(const std::string& text, double& value) {
    std::istringstream stream(text);
    return static_cast<bool>(stream >> value) && stream.eof();
}

}  // namespace

std::string Head::Console(const std::string& line) {
    std::istringstream stream(line);
    std::string word;
    stream >> word;
    std::vector<std::string> arguments;
    for (std::string argument; stream >> argument;) arguments.push_back(argument);
    std::string answer = "ok";
    if (arguments.empty() && (AskConsole(word, answer) || EventConsole(word))) return answer;
    if (TellConsole(word, arguments, answer)) return answer;
    return "unknown";
}

bool Head::AskConsole(const std::string& word, std::string& answer) {
    if (word == "frames")
        answer = std::to_string(live_->frames_written.load());
    else if (word == "pace")
        answer = std::to_string(live_->frames_behind.load()) + " " +
                 std::to_string(live_->schedule_lost_ns.load() / 1'000'000);
    else if (word == "program")
        answer = live_->last_end.load();
    else if (word == "model")
        answer = options_.type->name;
    else if (word == "scene")
        answer = NameOf(options_.scene.kind);
    else if (word == "noise")
        answer = options_.ideal ? "off" : "on";
    else if (word == "time_scale")
        answer = Short(options_.time_scale);
    else
        return false;
    return true;
}

bool Head::EventConsole(const std::string& word) {
    if (host_ == nullptr) return false;
    if (word == "trigger")
        pump_.Trigger();
    else if (word == "suspend")
        host_->Suspended();
    else if (word == "resume" || word == "bus_reset")
        host_->BusReset();
    else if (word == "unplug")
        host_->Unplugged();
    else if (word == "die")
        host_->DriverDied();
    else
        return false;
    return true;
}

bool Head::TellConsole(const std::string& word, std::vector<std::string>& arguments,
                       std::string& answer) {
    if (arguments.empty()) return false;
    double value = 0;
    const bool is_number = arguments.size() == 1 && Number(arguments[0], value) && value >= 0;
    if (word == "scene") {
        SceneChoice choice = options_.scene;
        double level = 0;
        if (!ParseSceneKind(arguments[0], choice.kind)) return false;
        if (arguments.size() > 1 && Number(arguments[1], level) && level <= scene_max)
            choice.level = static_cast<uint16_t>(level);
        if (!SetScene(choice, answer)) answer = "failed";
    } else if (word == "noise") {
        options_.ideal = arguments[0] == "off";
    } else if (word == "seed" && is_number) {
        options_.seed = static_cast<uint64_t>(value);
        new_seed_ = options_.seed;
    } else if (word == "time_scale" && is_number) {
        options_.time_scale = value;
    } else if (word == "stamp") {
        options_.stamp = arguments[0] == "on";
    } else if (word == "tidal_step" && is_number) {
        options_.tidal_step = static_cast<uint32_t>(value);
    } else if (word == "fault" && arguments[0] == "clear") {
        faults_.Clear();
    } else if (word == "fault") {
        FaultPlan plan;
        if (!ParseFault(arguments[0], plan.fault)) return false;
        if (arguments.size() > 1 && Number(arguments[1], value) && value >= 0)
            plan.after = static_cast<uint32_t>(value);
        if (arguments.size() > 2 && Number(arguments[2], value) && value >= 0)
            plan.count = static_cast<uint32_t>(value);
        // The exchange that plans a fault of the link is not to be its first victim.
        if (StrikesLink(plan.fault)) ++plan.after;
        faults_.Plan(plan);
    } else {
        return false;
    }
    return true;
}

}  // namespace softcam
