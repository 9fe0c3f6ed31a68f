#include "engine/message_port.h"

#include <algorithm>

#include "orvex/orvex_protocol.h"

#include "engine/command_shapes.h"

namespace engine {
namespace {

// The wire cannot ask for more in one reply.
constexpr size_t status_buffer_limit = 32768;

// Status codes of a bridge.
constexpr uint8_t bridge_success = 0;
constexpr uint8_t bridge_unsupported_target = 2;
constexpr uint8_t bridge_invalid_opcode = 5;

}  // namespace

MessagePort::Result MessagePort::Take(Bytes frame) {
    reply_.clear();
    ByteReader reader(frame);
    const uint8_t message_class = reader.U8();
    const uint16_t length = reader.U16();
    const Bytes payload = reader.Take(length);
    if (!reader.Ok() || reader.Remaining() != 0) return {};
    switch (message_class) {
        case CLASS_HOST_COMMANDS:
        case CLASS_PLUGIN_COMMANDS: return TakeCommands(message_class, payload);
        case CLASS_BRIDGE_COMMANDS: return TakeBridgeCommand(payload);
        case CLASS_CCL_SCRIPT:
        case CLASS_SIMPLIFIED_CCL:
            return {.acknowledged = sensor_.LoadProgram(message_class, payload) == Outcome::done};
        default: return {};
    }
}

MessagePort::Result MessagePort::TakeCommands(uint8_t message_class, Bytes payload) {
    bool wants_reply = false;
    size_t reply_size = 0;
    const ReplyStatus status = WalkCommands(message_class, payload, wants_reply, reply_size);
    const bool understood = status == ReplyStatus::success;
    if (!sensor_.About().reply_status) {
        if (!understood) return {};
        if (wants_reply) reply_ = status_buffer_;
        reply_.resize(std::min(reply_.size(), reply_size));
        return {.acknowledged = true, .has_reply = wants_reply};
    }
    // The status goes out alone when the walk broke off: nothing behind it could be trusted.
    reply_.push_back(static_cast<uint8_t>(status));
    if (understood && wants_reply) {
        reply_.insert(reply_.end(), status_buffer_.begin(), status_buffer_.end());
        reply_.resize(std::min(reply_.size(), reply_size));
    }
    return {.acknowledged = true, .has_reply = wants_reply || !understood};
}

ReplyStatus MessagePort::WalkCommands(uint8_t message_class, Bytes payload, bool& wants_reply,
                                      size_t& reply_size) {
    const bool host = message_class == CLASS_HOST_COMMANDS;
    ByteReader reader(payload);
    while (reader.Remaining() > 0) {
        const uint8_t id = reader.U8();
        const Bytes rest = payload.subspan(reader.Position());
        const auto size = host ? HostCommandDataSize(id, rest) : PluginCommandDataSize(id, rest);
        if (!size) return ReplyStatus::unknown_command;
        const Bytes data = reader.Take(*size);
        if (id == CLEAR_STAT_BUF) {
            status_buffer_.clear();
            continue;
        }
        if (id == SEND_STAT_BUF) {
            reply_size = ByteReader(data).U16();
            wants_reply = true;
            continue;
        }
        const Outcome outcome = host ? sensor_.HostCommand(id, data, status_buffer_)
                                     : sensor_.PluginCommand(id, data, status_buffer_);
        if (status_buffer_.size() > status_buffer_limit) status_buffer_.resize(status_buffer_limit);
        if (outcome == Outcome::refused) return ReplyStatus::refused;
    }
    return payload.empty() ? ReplyStatus::bad_frame : ReplyStatus::success;
}

MessagePort::Result MessagePort::TakeBridgeCommand(Bytes payload) {
    ByteReader reader(payload);
    const uint8_t command = reader.U8();
    reader.U8();
    const uint8_t node_id = reader.U8();
    if (!reader.Ok()) return {};

    std::vector<uint8_t> data;
    ByteWriter writer(data);
    uint8_t status = bridge_success;
    const auto nodes = sensor_.BridgeNodes();
    if (node_id >= nodes.size()) {
        status = bridge_unsupported_target;
    } else if (command == OZ_DATA_GET_FRIENDLY_NAME) {
        writer.Text(nodes[node_id].friendly_name, 32);
    } else if (command == OZ_DATA_GET_VERSION_INFO_LENGTH) {
        writer.U16(nodes[node_id].version_info.size());
    } else if (command == OZ_DATA_GET_VERSION_INFO) {
        writer.Raw(nodes[node_id].version_info);
    } else {
        status = bridge_invalid_opcode;
    }

    ByteWriter reply(reply_);
    reply.U8(CLASS_BRIDGE_COMMANDS);
    reply.U16(data.size() + 3);
    reply.U8(command);
    reply.U8(status);
    reply.U8(node_id);
    reply.Raw(data);
    return {.acknowledged = true, .has_reply = true};
}

size_t MessagePort::Read(uint8_t* buffer, size_t size) {
    const size_t count = std::min(size, reply_.size());
    if (count > 0) std::copy_n(reply_.begin(), count, buffer);
    reply_.clear();
    return count;
}

void MessagePort::Reset() {
    status_buffer_.clear();
    reply_.clear();
}

}  // namespace engine
