#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "engine/bytes.h"
#include "engine/frame_writer.h"

// What a driver module supplies for each of its cameras. The engine speaks the host's side of the
// contract (device record, control codes, notification channel, message framing) and reaches the
// camera through this alone, be it a piece of hardware or a simulation of one.
namespace engine {

// Time stamps of frames, and of DV_GET_CURRENT_TIMESTAMP, count 100 ns since the module was loaded.
int64_t CurrentTimeStamp();

// The host as a camera sees it. All operations may be called from any thread of the camera, those
// of frames from one thread at a time.
class HostSide {
  public:
    virtual ~HostSide() = default;

    // A run goes: Exposing, FrameBegins, FrameData, FrameEnds for each frame, RunEnds at the end.
    virtual void Exposing() = 0;
    virtual void FrameBegins(int64_t time_stamp) = 0;
    // One frame of so many bytes, which the writer puts straight to its place in the application's
    // buffer, and which nobody takes away meanwhile. False without a call of the writer when the
    // host takes no more: no buffer, or the last one full.
    virtual bool FrameData(size_t bytes, FrameWriter writer) = 0;
    // The same with pixels that exist.
    bool FrameData(Bytes frame) { return FrameData(frame.size(), CopyOf(frame)); }
    virtual void FrameEnds(int64_t time_stamp) = 0;
    virtual void RunEnds() = 0;
    // The run was ended from outside, or the next one is about to begin: frames that nobody has
    // heard of yet are of no use any more.
    virtual void RunStopped() = 0;
    // The frame that began cannot be completed.
    virtual void FrameFails() = 0;

    // The camera was unplugged; nothing works until the device was closed and opened again.
    virtual void Unplugged() = 0;
    virtual void Suspended() = 0;
    virtual void BusReset() = 0;
    // The kernel side is gone: the device file closes without a word.
    virtual void DriverDied() = 0;
    // The kernel side cancels every notification request that it has.
    virtual void RequestsCancelled() = 0;
};

// What a driver knows of a camera before it speaks to it.
struct Description {
    std::string name;
    uint32_t driver_type = 0;   // a DRIVER_TYPE_ value
    bool kernel_driver = true;  // events by notification requests, otherwise by orvex_delivery
    uint16_t driver_version = 0x0100;
    uint16_t driver_capabilities = 0;
    bool reply_status = false;  // replies to host commands begin with a status byte
    std::vector<uint8_t> bridge_caps{};
    std::string info{};  // text of DV_GET_INFO_DUMP
};

// One box on the way to the camera head, node 0 being the interface.
struct BridgeNode {
    std::string friendly_name;
    std::vector<uint8_t> version_info;  // tagged texts, a zero tag ends them
};

enum class Outcome : uint8_t { done, refused };

// A link that loses or changes what passes over it. Only tests have a use for one.
class Disturbance {
  public:
    virtual ~Disturbance() = default;
    virtual bool LosesWriteAck() = 0;
    virtual bool LosesReadAck() = 0;
    virtual void ChangesReply(std::vector<uint8_t>& reply) = 0;
};

class Sensor {
  public:
    virtual ~Sensor() = default;

    virtual const Description& About() const = 0;
    virtual std::span<const BridgeNode> BridgeNodes() const = 0;
    virtual Disturbance* LinkDisturbance() { return nullptr; }

    // From device open to device close; the host outlives the connection. After Disconnect no
    // call into the host is in progress or will come.
    virtual bool Connect(HostSide& host) = 0;
    virtual void Disconnect() = 0;
    // The interface was reset: whatever runs stops.
    virtual void Reset() = 0;

    // One command with its data, whose size has been checked. The reply is appended.
    virtual Outcome HostCommand(uint8_t id, Bytes data, std::vector<uint8_t>& reply) = 0;
    virtual Outcome PluginCommand(uint8_t id, Bytes data, std::vector<uint8_t>& reply) = 0;
    // A program in one of the two dialects, CLASS_CCL_SCRIPT or CLASS_SIMPLIFIED_CCL.
    virtual Outcome LoadProgram(uint8_t message_class, Bytes program) = 0;
};

}  // namespace engine
