#pragma once

#include <array>
#include <map>
#include <span>
#include <type_traits>
#include <vector>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_protocol.h"
#include "orvex/orvex_types.h"

#include "messages/command_shapes.h"
#include "state/call.h"

// Messages to a camera: commands are added in order, one Execute() sends them all in one exchange,
// and the replies are read back by command id. A message is a short-lived object of one thread and
// is executed once.
namespace bv {

class DeviceMessage {
  public:
    explicit DeviceMessage(int16 hcam) : hcam_(hcam) {}
    virtual ~DeviceMessage() = default;
    DeviceMessage(const DeviceMessage&) = delete;
    DeviceMessage& operator=(const DeviceMessage&) = delete;

    virtual int16 GetCameraHandle() const { return hcam_; }
    virtual uns8 GetCommandClass() const = 0;
    // 1 or 0 with the error code set. Talks to the camera.
    virtual boolean16 Execute() = 0;

  private:
    int16 hcam_;
};

// Commands to the camera's firmware. The usual patterns:
//
//     HostCommandMessage m(hcam);             HostCommandMessage m(hcam);
//     m.BeginReply();                         m.AddWriteAndReadBack(SET_OFFSET, value, GET_OFFSET);
//     m.AddRead(PAR_SIZE);                    if (!m.Execute()) return call.failed();
//     m.AddRead(SER_SIZE);                    if (m.Reply<int16>(GET_OFFSET) != value) ...
//     m.RequestReply();
//     if (!m.Execute()) return call.failed(); HostCommandMessage m(hcam);
//     m.Reply<uns16>(PAR_SIZE);               m.AddCommand(EXECUTE_CCL);
//                                             m.AddReadLength();
//                                             return call.result(m.Execute());
//
// AddRead, AddWrite and AddWriteRead take sizes and encodings from the table of host commands;
// where the table leaves a size open, it is given.
class HostCommandMessage : public DeviceMessage {
  public:
    class HostCommand {
      public:
        virtual ~HostCommand() = default;

        uns8 id = 0;
        uns16 writeOffset = 0;  // of the id byte in the message
        uns16 writeBytes = 0;   // behind the id
        HostCommandDataType writeType = HostCommandDataType::Raw;
        uns16 readOffset = 0;  // in the reply
        uns16 readBytes = 0;
        HostCommandDataType readType = HostCommandDataType::Raw;
    };

    explicit HostCommandMessage(int16 hcam);

    uns8 GetCommandClass() const override;
    boolean16 Execute() override;

    // Neither data nor reply.
    void AddCommand(uns8 id);
    // Data of type BigEndian are a native integer, stored with the high byte first.
    void AddWriteCommand(uns8 id, const void* data, uns16 bytes, HostCommandDataType type);
    void AddReadCommand(uns8 id, uns16 bytes, HostCommandDataType type);
    void AddWriteReadCommand(uns8 id, const void* data, uns16 writeBytes,
                             HostCommandDataType writeType, uns16 readBytes,
                             HostCommandDataType readType);
    // Appends the reply's length, the argument of SEND_STAT_BUF, when a reply is expected. Ends
    // every message.
    void AddReadLength();

    // Copies a reply of as many bytes as the command expects: an integer in native order, a block,
    // or a text whose last character is zero. Throws std::out_of_range for a command that was never
    // added: the caller has built another message than it reads.
    void GetReply(uns8 id, void* output) const;
    // The reply's bytes as they came; null for a command that was never added.
    const uns8* GetReplyData(uns8 id) const;

    void AddRead(orvex_host_command id);
    void AddRead(orvex_host_command id, uns16 bytes);
    template <class T>
        requires std::is_integral_v<T>
    void AddWrite(orvex_host_command id, T value) {
        AddInteger(id, static_cast<uns64>(value), 0);
    }
    void AddWrite(orvex_host_command id, std::span<const uns8> data);
    template <class T>
        requires std::is_integral_v<T>
    void AddWriteRead(orvex_host_command id, T value) {
        const HostCommandShape shape = ShapeOf(static_cast<uns8>(id));
        AddInteger(id, static_cast<uns64>(value), static_cast<uns16>(shape.readBytes));
    }
    void AddWriteRead(orvex_host_command id, std::span<const uns8> data);
    void AddWriteRead(orvex_host_command id, std::span<const uns8> data, uns16 readBytes);

    // Empties the camera's status buffer, so that only what follows is in the reply.
    void BeginReply() { AddCommand(CLEAR_STAT_BUF); }
    void RequestReply() {
        AddCommand(SEND_STAT_BUF);
        AddReadLength();
    }
    // A whole setter: the new value and the reading back travel together.
    template <class T>
    void AddWriteAndReadBack(orvex_host_command set, T value, orvex_host_command get) {
        AddWrite(set, value);
        BeginReply();
        AddRead(get);
        RequestReply();
    }

    // An integer reply. Throws as GetReply().
    template <class T>
    T Reply(orvex_host_command id) const {
        static_assert(std::is_integral_v<T>);
        return static_cast<T>(ReplyInteger(static_cast<uns8>(id)));
    }
    // All bytes of a reply as they came; empty when there are none.
    std::span<const uns8> ReplyBytes(orvex_host_command id) const;

  private:
    void Add(HostCommand command, std::span<const uns8> data);
    void AddInteger(orvex_host_command id, uns64 value, uns16 readBytes);
    const HostCommand& Find(uns8 id) const;
    // Of the buffer; empty when it does not hold that many bytes.
    std::span<const uns8> Part(size_t offset, size_t bytes) const;
    uns64 ReplyInteger(uns8 id) const;
    void LogSending(Call& call) const;
    void LogReply(Call& call) const;

    uns16 writeLength_ = 0;
    uns16 readLength_ = 0;
    uns16 statusBytes_ = 0;  // 1 when this camera's replies begin with a status byte
    std::vector<HostCommand> commands_;
    std::map<uns8, HostCommand> commandsById_;  // of repeated ids the first
    std::vector<uns8> buffer_;                  // the message, then the reply
};

// A complete message for one value.
class SingleReadHostCommandMessage : private HostCommandMessage {
  public:
    SingleReadHostCommandMessage(int16 hcam, uns8 id, uns16 bytes, HostCommandDataType type);
    // Size and encoding from the table.
    SingleReadHostCommandMessage(int16 hcam, orvex_host_command id);
    SingleReadHostCommandMessage(int16 hcam, orvex_host_command id, uns16 bytes);

    using HostCommandMessage::Execute;
    using HostCommandMessage::GetReply;
    using HostCommandMessage::GetReplyData;
    using HostCommandMessage::Reply;
    using HostCommandMessage::ReplyBytes;
};

// Commands to a plug-in of the firmware: another class byte, ids of their own.
class PluginCommandMessage : public HostCommandMessage {
  public:
    using HostCommandMessage::HostCommandMessage;
    uns8 GetCommandClass() const override;
};

// Bridge traffic takes oz_bridge_command_unlocked(); as a message it is always refused.
class BridgeCommandMessage : public DeviceMessage {
  public:
    using DeviceMessage::DeviceMessage;
    uns8 GetCommandClass() const override;
    boolean16 Execute() override;
};

// Sets a value and compares what the camera reads back; 0 with the error set, and the line in the
// caller's scope, when they differ. The caller still ends its call:
//
//     if (!SetWithReadBack(call, hcam, SET_OFFSET, GET_OFFSET, value)) return call.failed();
template <class T>
boolean16 SetWithReadBack(Call& call, int16 hcam, orvex_host_command set, orvex_host_command get,
                          T value) {
    static_assert(std::is_integral_v<T> && sizeof(T) <= 4);
    HostCommandMessage message(hcam);
    message.AddWriteAndReadBack(set, value, get);
    if (!message.Execute()) return 0;
    const T actual = message.Reply<T>(get);
    if (actual == value) return 1;
    if constexpr (std::is_signed_v<T>) {
        return call.fail(C2_FAILED_TO_SET_VALUE, "Value read back from camera differs: %d",
                         static_cast<int>(actual));
    } else {
        return call.fail(C2_FAILED_TO_SET_VALUE, "Value read back from camera differs: %u",
                         static_cast<unsigned>(actual));
    }
}

}  // namespace bv
