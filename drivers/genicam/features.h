#pragma once

#include <arv.h>
#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// The calls of Aravis with results in place of errors.
namespace genicam {

struct Unreference {
    void operator()(gpointer object) const { g_object_unref(object); }
};

// Aravis in use. What it has for all cameras, such as a thread that watches USB, ends with the last
// of these.
class Aravis {
  public:
    Aravis() = default;
    ~Aravis() { arv_shutdown(); }
    Aravis(const Aravis&) = delete;
    Aravis& operator=(const Aravis&) = delete;
};

using CameraPointer = std::unique_ptr<ArvCamera, Unreference>;

// Makes a call that takes a GError last. None when it failed.
template <class Call, class... Arguments>
auto Ask(Call call, Arguments... arguments) {
    GError* error = nullptr;
    auto value = call(arguments..., &error);
    std::optional<decltype(value)> result(std::move(value));
    if (error != nullptr) result.reset();
    g_clear_error(&error);
    return result;
}
// The same for one that gives nothing: whether it succeeded.
template <class Call, class... Arguments>
bool Tell(Call call, Arguments... arguments) {
    GError* error = nullptr;
    call(arguments..., &error);
    const bool done = error == nullptr;
    g_clear_error(&error);
    return done;
}

template <class Number>
struct Bounds {
    Number min{};
    Number max{};
};

// Of a call that fills in two numbers. None also where they make no sense.
template <class Number>
std::optional<Bounds<Number>> AskBounds(void (*call)(ArvCamera*, Number*, Number*, GError**),
                                        ArvCamera* camera) {
    Bounds<Number> bounds;
    if (!Tell(call, camera, &bounds.min, &bounds.max) || bounds.max < bounds.min)
        return std::nullopt;
    return bounds;
}

// Of a call that gives a text; empty when it failed.
inline std::string ReadText(const char* (*call)(ArvCamera*, GError**), ArvCamera* camera) {
    const char* text = Ask(call, camera).value_or(nullptr);
    return text != nullptr ? text : "";
}

bool HasFeature(ArvCamera* camera, const char* name);

// Values of features of any kind as texts. To write a command is to execute it.
std::optional<std::string> ReadFeature(ArvCamera* camera, const std::string& name);
bool WriteFeature(ArvCamera* camera, const std::string& name, const std::string& value);

// The entries of an enumeration that can be chosen; none when there is no such feature.
std::vector<std::string> FeatureChoices(ArvCamera* camera, const char* name);

// A frame rate that is held limits exposures on some cameras.
void FreeFrameRate(ArvCamera* camera);

// The first of the features that the camera has; empty without.
std::string FirstFeature(ArvCamera* camera, std::initializer_list<const char*> names);

}  // namespace genicam
