#include "softcam/configuration.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "orvex/orvex_ddi.h"

namespace softcam {
namespace {

using nlohmann::json;

struct NamedType {
    const char* name;
    uint32_t type;
};

constexpr std::array<NamedType, 5> driver_types = {{{"pci", DRIVER_TYPE_PCI},
                                                    {"usb", DRIVER_TYPE_USB},
                                                    {"pcie", DRIVER_TYPE_PCIE},
                                                    {"1394", DRIVER_TYPE_1394},
                                                    {"software", DRIVER_TYPE_SOFTWARE}}};

// What is wrong, and where.
struct Problem {
    std::string text;
};

// The values of one JSON object; remembers which keys were asked for, so that a misspelt one is
// reported and not silently without effect.
class Section {
  public:
    Section(const json& object, std::string where, Problem& problem)
        : object_(object), where_(std::move(where)), problem_(problem) {
        if (!object.is_object()) Fail(" must be an object");
    }

    const json* Find(const char* key) {
        known_.insert(key);
        if (!object_.is_object()) return nullptr;
        const auto found = object_.find(key);
        return found == object_.end() ? nullptr : &*found;
    }

    void Take(const char* key, double& value, double min, double max) {
        const json* found = Find(key);
        if (found == nullptr) return;
        if (!found->is_number()) return Fail(key, "must be a number");
        const double number = found->get<double>();
        if (!(number >= min && number <= max)) {
            std::ostringstream range;
            range << "must lie between " << min << " and " << max;
            return Fail(key, range.str());
        }
        value = number;
    }
    template <typename Integer>
    void TakeInteger(const char* key, Integer& value, uint64_t max) {
        const json* found = Find(key);
        if (found == nullptr) return;
        if (!found->is_number_unsigned() || found->get<uint64_t>() > max)
            return Fail(key, "must be a whole number from 0 to " + std::to_string(max));
        value = static_cast<Integer>(found->get<uint64_t>());
    }
    void Take(const char* key, bool& value) {
        const json* found = Find(key);
        if (found == nullptr) return;
        if (!found->is_boolean()) return Fail(key, "must be true or false");
        value = found->get<bool>();
    }
    bool Take(const char* key, std::string& value) {
        const json* found = Find(key);
        if (found == nullptr) return false;
        if (!found->is_string()) {
            Fail(key, "must be a text");
            return false;
        }
        value = found->get<std::string>();
        return true;
    }

    void RejectOthers() {
        if (!object_.is_object()) return;
        for (const auto& item : object_.items())
            if (!known_.contains(item.key())) Fail(item.key(), "is not a known setting");
    }

    // The first problem is the one to report.
    void Fail(const std::string& text) {
        if (problem_.text.empty()) problem_.text = where_ + text;
    }
    void Fail(const std::string& key, const std::string& text) {
        Fail(": \"" + key + "\" " + text);
    }
    const std::string& Where() const { return where_; }

  private:
    const json& object_;
    std::string where_;
    Problem& problem_;
    std::set<std::string> known_;
};

void ParseScene(const json& value, const std::string& where, SceneChoice& scene, Problem& problem) {
    Section section(value, where + ".scene", problem);
    std::string kind;
    if (section.Take("kind", kind) && !ParseSceneKind(kind, scene.kind))
        section.Fail("kind", "must be chart, ramp, flat, stars, beads or file");
    section.TakeInteger("level", scene.level, scene_max);
    section.TakeInteger("count", scene.count, 100000);
    section.Take("speed", scene.speed, 0, 1e6);
    section.Take("path", scene.path);
    if (scene.kind == SceneKind::file && scene.path.empty())
        section.Fail("path", "is needed for a scene from a file");
    section.RejectOthers();
}

void ParseTrigger(const json& value, const std::string& where, TriggerSource& trigger,
                  Problem& problem) {
    Section section(value, where + ".trigger", problem);
    section.Take("period_ms", trigger.period_ms, 0, 1e7);
    section.Take("width_ms", trigger.width_ms, 0, 1e7);
    section.Take("manual", trigger.manual);
    section.RejectOthers();
}

void ParseFaults(const json& value, const std::string& where, std::vector<FaultPlan>& faults,
                 Problem& problem) {
    if (!value.is_array()) {
        if (problem.text.empty()) problem.text = where + ": \"faults\" must be a list";
        return;
    }
    for (const json& entry : value) {
        Section section(entry, where + ".faults", problem);
        FaultPlan plan;
        std::string name;
        if (!section.Take("fault", name) || !ParseFault(name, plan.fault))
            section.Fail("fault", "must name a known fault");
        section.TakeInteger("after", plan.after, 0xFFFFFFFF);
        section.TakeInteger("count", plan.count, 0xFFFFFFFF);
        section.RejectOthers();
        faults.push_back(plan);
    }
}

void ParseDriver(Section& section, CameraOptions& camera) {
    std::string text;
    if (section.Take("driver", text)) {
        const auto row = std::find_if(driver_types.begin(), driver_types.end(),
                                      [&](const NamedType& type) { return text == type.name; });
        if (row == driver_types.end())
            section.Fail("driver", "must be pci, usb, pcie, 1394 or software");
        else
            camera.driver_type = row->type;
    }
    if (section.Take("delivery", text)) {
        camera.kernel_driver = text == "requests";
        if (text != "requests" && text != "callbacks")
            section.Fail("delivery", "must be requests or callbacks");
    }
}

// What both the whole file and one camera can set.
void ParseShared(Section& section, CameraOptions& camera, Problem& problem) {
    if (const json* scene = section.Find("scene"))
        ParseScene(*scene, section.Where(), camera.scene, problem);
    if (const json* trigger = section.Find("trigger"))
        ParseTrigger(*trigger, section.Where(), camera.trigger, problem);
    if (const json* faults = section.Find("faults"))
        ParseFaults(*faults, section.Where(), camera.faults, problem);
    bool noise = !camera.ideal;
    section.Take("noise", noise);
    camera.ideal = !noise;
    section.Take("stamp", camera.stamp);
    section.Take("flux", camera.flux, 0, 1e9);
    section.Take("time_scale", camera.time_scale, 0, 1000);
    section.TakeInteger("seed", camera.seed, 0xFFFFFFFFFFFFFFFF);
    section.TakeInteger("hot_pixels", camera.hot_pixels, 100000);
    section.TakeInteger("noise_frames", camera.noise_frames, 1000);
    section.TakeInteger("tidal_step", camera.tidal_step, 1000000);
}

CameraOptions ForType(const CameraType& type, CameraOptions options) {
    options.type = &type;
    options.name = type.model.name;
    options.driver_type = type.model.driver_type;
    options.kernel_driver = type.model.kernel_driver;
    return options;
}

void ParseCamera(const json& value, size_t index, const CameraOptions& shared,
                 std::vector<CameraOptions>& cameras, Problem& problem) {
    Section section(value, "cameras[" + std::to_string(index) + "]", problem);
    std::string type;
    section.Take("model", type);
    const CameraType* found = FindType(type);
    if (found == nullptr) return section.Fail("model", "must be ccd, cmos, plain or em");
    CameraOptions camera = ForType(*found, shared);
    section.Take("name", camera.name);
    if (camera.name.empty() || camera.name.size() >= ORVEX_DEVICE_NAME_LEN)
        section.Fail("name", "must have 1 to 31 characters");
    for (const CameraOptions& other : cameras)
        if (other.name == camera.name) section.Fail("name", "is used twice");
    ParseDriver(section, camera);
    ParseShared(section, camera, problem);
    section.RejectOthers();
    cameras.push_back(std::move(camera));
}

}  // namespace

std::vector<CameraOptions> DefaultCameras() {
    std::vector<CameraOptions> cameras;
    for (const CameraType& type : AllTypes()) cameras.push_back(ForType(type, {}));
    return cameras;
}

bool ParseConfiguration(const std::string& text, std::vector<CameraOptions>& cameras,
                        std::string& message) {
    const json file = json::parse(text, nullptr, false, true);
    if (file.is_discarded()) {
        message = "is not valid JSON";
        return false;
    }
    Problem problem;
    Section section(file, "configuration", problem);
    CameraOptions shared;
    ParseShared(section, shared, problem);
    if (const json* list = section.Find("cameras")) {
        if (!list->is_array() || list->size() > ORVEX_DDI_MAX_DEVICES)
            section.Fail("cameras", "must be a list of at most 21 cameras");
        else
            for (size_t i = 0; i < list->size(); ++i)
                ParseCamera((*list)[i], i, shared, cameras, problem);
    } else {
        for (const CameraType& type : AllTypes()) cameras.push_back(ForType(type, shared));
    }
    section.RejectOthers();
    message = problem.text;
    return message.empty();
}

bool ReadConfiguration(const std::string& path, std::vector<CameraOptions>& cameras,
                       std::string& message) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file) {
        message = "cannot read configuration file '" + path + "'";
        return false;
    }
    if (ParseConfiguration(text.str(), cameras, message)) return true;
    message = "configuration file '" + path + "': " + message;
    return false;
}

}  // namespace softcam
