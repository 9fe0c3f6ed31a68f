#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "orvex/session.h"

// Parameters by name, with their values as text and as JSON.
namespace orvex {

// By name with or without "PARAM_", in any case, or by number; throws std::invalid_argument with
// the names that come near.
ParameterId find_parameter(const std::string& name);

// "INT16"
std::string type_name(uns32 type);
// "read-write"
std::string access_name(uns32 access);

// A value as people read it, with its unit; enumerations as text. Empty when the camera can't tell.
std::optional<std::string> value_text(const Camera& camera, ParameterId parameter,
                                      int16 attribute = ATTR_CURRENT);

// The value with its unit, or with the text of an enumeration. Null when the camera can't tell.
nlohmann::ordered_json value_json(const Camera& camera, ParameterId parameter);

// Everything that a parameter tells of itself: id, type, access, availability and, when it is
// available, value, range or list, default.
nlohmann::ordered_json reflect(const Camera& camera, ParameterId parameter);

// What may be set, for messages: "0 .. 3" or the list of texts.
std::string legal_values(const Camera& camera, ParameterId parameter);

// Takes a number in the parameter's unit, which may stand behind it, or the text of an enumeration
// item, "on" and "off" for a boolean.
void set_from_text(const Camera& camera, ParameterId parameter, const std::string& text);

}  // namespace orvex
