#include "genicam/features.h"

namespace genicam {
namespace {

ArvGcFeatureNode* FindFeature(ArvCamera* camera, const std::string& name) {
    ArvGcNode* node = arv_device_get_feature(arv_camera_get_device(camera), name.c_str());
    return ARV_IS_GC_FEATURE_NODE(node) ? ARV_GC_FEATURE_NODE(node) : nullptr;
}

}  // namespace

bool HasFeature(ArvCamera* camera, const char* name) {
    return Ask(arv_camera_is_feature_available, camera, name).value_or(FALSE) != FALSE;
}

std::optional<std::string> ReadFeature(ArvCamera* camera, const std::string& name) {
    ArvGcFeatureNode* node = FindFeature(camera, name);
    if (node == nullptr) return std::nullopt;
    const auto text = Ask(arv_gc_feature_node_get_value_as_string, node);
    if (!text || *text == nullptr) return std::nullopt;
    return *text;
}

bool WriteFeature(ArvCamera* camera, const std::string& name, const std::string& value) {
    ArvGcFeatureNode* node = FindFeature(camera, name);
    if (node == nullptr) return false;
    if (ARV_IS_GC_COMMAND(node)) return Tell(arv_gc_command_execute, ARV_GC_COMMAND(node));
    return Tell(arv_gc_feature_node_set_value_from_string, node, value.c_str());
}

std::vector<std::string> FeatureChoices(ArvCamera* camera, const char* name) {
    if (!HasFeature(camera, name)) return {};
    guint count = 0;
    const auto texts = Ask(arv_camera_dup_available_enumerations_as_strings, camera, name, &count);
    if (!texts || *texts == nullptr) return {};
    std::vector<std::string> choices(*texts, *texts + count);
    g_free(*texts);
    return choices;
}

void FreeFrameRate(ArvCamera* camera) {
    constexpr const char* holds = "AcquisitionFrameRateEnable";
    if (HasFeature(camera, holds)) Tell(arv_camera_set_boolean, camera, holds, gboolean{FALSE});
}

std::string FirstFeature(ArvCamera* camera, std::initializer_list<const char*> names) {
    for (const char* name : names)
        if (HasFeature(camera, name)) return name;
    return {};
}

}  // namespace genicam
