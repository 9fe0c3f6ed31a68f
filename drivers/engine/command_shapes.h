#pragma once

#include <cstdint>
#include <optional>

#include "engine/bytes.h"

// Sizes of the commands on the wire: a payload is a run of commands with nothing between them, so
// the id alone tells how many data bytes follow.
namespace engine {

// Bytes of data behind the id of a host command, at the front of `rest`; none when the command is
// unknown or `rest` ends inside it.
std::optional<size_t> HostCommandDataSize(uint8_t id, Bytes rest);
// The same for the plug-in class, which has few commands of its own.
std::optional<size_t> PluginCommandDataSize(uint8_t id, Bytes rest);

// Bytes that a host command adds to the status buffer; none when the size depends on the request.
std::optional<size_t> HostCommandReplySize(uint8_t id);

}  // namespace engine
