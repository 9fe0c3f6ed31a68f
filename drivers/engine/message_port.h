#pragma once

#include <cstdint>
#include <vector>

#include "engine/sensor.h"

namespace engine {

// First byte of a reply on cameras that begin replies with a status.
enum class ReplyStatus : uint8_t { success = 0, bad_frame = 1, unknown_command = 2, refused = 3 };

// The camera's end of the message link: takes a frame, hands its parts to the sensor, and gathers
// replies in the status buffer.
class MessagePort {
  public:
    explicit MessagePort(Sensor& sensor) : sensor_(sensor) {}

    // What becomes of the acknowledges. A frame that is not understood gets none on a camera
    // without status byte, so that the host's wait runs out, as on a dead link.
    struct Result {
        bool acknowledged = false;
        bool has_reply = false;
    };
    Result Take(Bytes frame);

    // Moves up to `size` bytes of the reply out; the rest is dropped, as the next frame would.
    size_t Read(uint8_t* buffer, size_t size);
    std::vector<uint8_t>& Reply() { return reply_; }

    void Reset();

  private:
    Result TakeCommands(uint8_t message_class, Bytes payload);
    ReplyStatus WalkCommands(uint8_t message_class, Bytes payload, bool& wants_reply,
                             size_t& reply_size);
    Result TakeBridgeCommand(Bytes payload);

    Sensor& sensor_;
    std::vector<uint8_t> status_buffer_;
    std::vector<uint8_t> reply_;
};

}  // namespace engine
