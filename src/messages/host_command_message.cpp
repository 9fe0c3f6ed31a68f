#include "messages/host_command_message.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "messages/gate.h"
#include "state/bytes.h"
#include "state/camera_rows.h"

namespace bv {
namespace {

uns16 FixedSize(int32 bytes) {
    return bytes > 0 ? static_cast<uns16>(bytes) : uns16{0};
}

}  // namespace

HostCommandMessage::HostCommandMessage(int16 hcam)
    : DeviceMessage(hcam), statusBytes_(ReplyHasStatusByte(hcam) ? 1 : 0) {
    readLength_ = statusBytes_;
    buffer_.reserve(16);
}

uns8 HostCommandMessage::GetCommandClass() const {
    return CLASS_HOST_COMMANDS;
}

// Lengths wrap at 16 bits; Execute() finds out by the buffer, which has all bytes.
void HostCommandMessage::Add(HostCommand command, std::span<const uns8> data) {
    command.writeOffset = writeLength_;
    command.writeBytes = static_cast<uns16>(data.size());
    command.readOffset = readLength_;
    commands_.push_back(command);
    commandsById_.try_emplace(command.id, command);
    buffer_.push_back(command.id);
    if (command.writeType == HostCommandDataType::BigEndian) {
        buffer_.insert(buffer_.end(), data.rbegin(), data.rend());
    } else {
        buffer_.insert(buffer_.end(), data.begin(), data.end());
    }
    writeLength_ = static_cast<uns16>(writeLength_ + 1 + command.writeBytes);
    readLength_ = static_cast<uns16>(readLength_ + command.readBytes);
}

void HostCommandMessage::AddCommand(uns8 id) {
    AddWriteReadCommand(id, nullptr, 0, HostCommandDataType::Raw, 0, HostCommandDataType::Raw);
}

void HostCommandMessage::AddWriteCommand(uns8 id, const void* data, uns16 bytes,
                                         HostCommandDataType type) {
    AddWriteReadCommand(id, data, bytes, type, 0, HostCommandDataType::Raw);
}

void HostCommandMessage::AddReadCommand(uns8 id, uns16 bytes, HostCommandDataType type) {
    AddWriteReadCommand(id, nullptr, 0, HostCommandDataType::Raw, bytes, type);
}

void HostCommandMessage::AddWriteReadCommand(uns8 id, const void* data, uns16 writeBytes,
                                             HostCommandDataType writeType, uns16 readBytes,
                                             HostCommandDataType readType) {
    HostCommand command;
    command.id = id;
    command.writeType = writeType;
    command.readBytes = readBytes;
    command.readType = readType;
    Add(command, std::span(static_cast<const uns8*>(data), writeBytes));
}

void HostCommandMessage::AddReadLength() {
    if (readLength_ == 0) return;
    // A camera whose replies begin with a status byte answers every message: one that only writes
    // must ask for that byte too, or it could not be sent.
    if (statusBytes_ != 0 && (commands_.empty() || commands_.back().id != SEND_STAT_BUF)) {
        AddCommand(SEND_STAT_BUF);
    }
    buffer_.push_back(static_cast<uns8>(readLength_ >> 8));
    buffer_.push_back(static_cast<uns8>(readLength_));
    writeLength_ = static_cast<uns16>(writeLength_ + 2);
}

void HostCommandMessage::AddRead(orvex_host_command id) {
    AddRead(id, FixedSize(ShapeOf(static_cast<uns8>(id)).readBytes));
}

void HostCommandMessage::AddRead(orvex_host_command id, uns16 bytes) {
    const HostCommandShape shape = ShapeOf(static_cast<uns8>(id));
    AddReadCommand(static_cast<uns8>(id), bytes, shape.readType);
}

void HostCommandMessage::AddInteger(orvex_host_command id, uns64 value, uns16 readBytes) {
    const HostCommandShape shape = ShapeOf(static_cast<uns8>(id));
    // The low bytes come first, as they do in a native integer of the command's own size.
    std::array<uns8, sizeof(value)> bytes{};
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uns8>(value >> (8 * i));
    const uns16 size = std::min<uns16>(FixedSize(shape.writeBytes), sizeof(value));
    AddWriteReadCommand(static_cast<uns8>(id), bytes.data(), size, shape.writeType, readBytes,
                        shape.readType);
}

void HostCommandMessage::AddWrite(orvex_host_command id, std::span<const uns8> data) {
    AddWriteRead(id, data, 0);
}

void HostCommandMessage::AddWriteRead(orvex_host_command id, std::span<const uns8> data) {
    AddWriteRead(id, data, FixedSize(ShapeOf(static_cast<uns8>(id)).readBytes));
}

void HostCommandMessage::AddWriteRead(orvex_host_command id, std::span<const uns8> data,
                                      uns16 readBytes) {
    HostCommand command;
    command.id = static_cast<uns8>(id);
    command.readBytes = readBytes;
    command.readType = ShapeOf(command.id).readType;
    Add(command, data);
}

const HostCommandMessage::HostCommand& HostCommandMessage::Find(uns8 id) const {
    const auto found = commandsById_.find(id);
    if (found == commandsById_.end()) throw std::out_of_range("invalid map<K, T> key");
    return found->second;
}

std::span<const uns8> HostCommandMessage::Part(size_t offset, size_t bytes) const {
    if (offset > buffer_.size() || buffer_.size() - offset < bytes) return {};
    return std::span(buffer_).subspan(offset, bytes);
}

void HostCommandMessage::GetReply(uns8 id, void* output) const {
    const HostCommand& command = Find(id);
    const std::span<uns8> to(static_cast<uns8*>(output), command.readBytes);
    const std::span<const uns8> from = Part(command.readOffset, command.readBytes);
    if (from.empty()) {
        std::ranges::fill(to, uns8{0});
        return;
    }
    if (command.readType == HostCommandDataType::BigEndian) {
        std::ranges::reverse_copy(from, to.begin());
    } else {
        std::ranges::copy(from, to.begin());
    }
    if (command.readType == HostCommandDataType::String) to.back() = 0;
}

std::span<const uns8> HostCommandMessage::ReplyBytes(orvex_host_command id) const {
    const auto found = commandsById_.find(static_cast<uns8>(id));
    if (found == commandsById_.end()) return {};
    return Part(found->second.readOffset, found->second.readBytes);
}

const uns8* HostCommandMessage::GetReplyData(uns8 id) const {
    const std::span<const uns8> bytes = ReplyBytes(static_cast<orvex_host_command>(id));
    return bytes.empty() ? nullptr : bytes.data();
}

uns64 HostCommandMessage::ReplyInteger(uns8 id) const {
    const HostCommand& command = Find(id);
    uns64 value = 0;
    for (const uns8 byte : Part(command.readOffset, command.readBytes)) value = value << 8 | byte;
    return value;
}

boolean16 HostCommandMessage::Execute() {
    Call call("bv::HostCommandMessage::Execute", arg("hcam", GetCameraHandle()));
    if (buffer_.size() != writeLength_) {
        return call.fail(C0_SYS_ERR_SEND_BYTE,
                         "write_array is either empty or longer than %u chars", message_bytes_max);
    }
    // The reply takes the place of the message.
    buffer_.resize(std::max(writeLength_, readLength_));
    if (call.tracing()) LogSending(call);
    if (!bz_cam_write_read(GetCameraHandle(), GetCommandClass(), writeLength_, buffer_.data(),
                           readLength_ == 0 ? nullptr : buffer_.data())) {
        return call.failed();
    }
    if (readLength_ != 0 && call.tracing()) LogReply(call);
    if (statusBytes_ > 0 && buffer_.front() != 0) {
        return call.fail(C7_DRIVER_COM_ERROR, "Host command message failed with code %d",
                         static_cast<int>(buffer_.front()));
    }
    return call.ok();
}

SingleReadHostCommandMessage::SingleReadHostCommandMessage(int16 hcam, uns8 id, uns16 bytes,
                                                           HostCommandDataType type)
    : HostCommandMessage(hcam) {
    BeginReply();
    AddReadCommand(id, bytes, type);
    RequestReply();
}

SingleReadHostCommandMessage::SingleReadHostCommandMessage(int16 hcam, orvex_host_command id)
    : SingleReadHostCommandMessage(hcam, id, FixedSize(ShapeOf(static_cast<uns8>(id)).readBytes)) {}

SingleReadHostCommandMessage::SingleReadHostCommandMessage(int16 hcam, orvex_host_command id,
                                                           uns16 bytes)
    : SingleReadHostCommandMessage(hcam, static_cast<uns8>(id), bytes,
                                   ShapeOf(static_cast<uns8>(id)).readType) {}

uns8 PluginCommandMessage::GetCommandClass() const {
    return CLASS_PLUGIN_COMMANDS;
}

uns8 BridgeCommandMessage::GetCommandClass() const {
    return CLASS_BRIDGE_COMMANDS;
}

boolean16 BridgeCommandMessage::Execute() {
    Call call("bv::BridgeCommandMessage::Execute", arg("hcam", GetCameraHandle()));
    return call.fail(C0_UNKNOWN_ERROR, "NOT IMPLEMENTED");
}

}  // namespace bv
