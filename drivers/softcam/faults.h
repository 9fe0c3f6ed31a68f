#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "engine/sensor.h"

namespace softcam {

// Ways in which a camera can be made to fail, for tests.
enum class Fault : uint8_t {
    lost_write_ack,     // a message is not acknowledged
    lost_read_ack,      // its reply is not announced
    short_reply,        // a reply loses its second half
    garbled_reply,      // bits of a reply are flipped
    refused_command,    // a command is refused
    stuck_transfer,     // a frame never comes
    failed_transfer,    // the readout fails
    late_completion,    // a frame is reported 50 ms after its pixels
    unplug,             // the camera disappears after a frame
    driver_death,       // the device file closes after a frame
    cancelled_requests  // the driver cancels all notification requests after a frame
};
constexpr size_t fault_count = 11;

const char* NameOf(Fault fault);
bool ParseFault(const std::string& name, Fault& fault);
// Faults that strike acknowledges and replies.
bool StrikesLink(Fault fault);

// When a fault strikes: `after` occasions pass first, then `count` are hit.
struct FaultPlan {
    Fault fault{};
    uint32_t after = 0;
    uint32_t count = 1;
};

class Faults : public engine::Disturbance {
  public:
    void Plan(const FaultPlan& plan);
    void Clear();
    // Counts one occasion; true when the fault strikes.
    bool Strikes(Fault fault);

    bool LosesWriteAck() override { return Strikes(Fault::lost_write_ack); }
    bool LosesReadAck() override { return Strikes(Fault::lost_read_ack); }
    void ChangesReply(std::vector<uint8_t>& reply) override;

  private:
    static std::array<FaultPlan, fault_count> Nothing();

    std::mutex lock_;
    std::array<FaultPlan, fault_count> plans_ = Nothing();
    std::atomic<bool> any_ = false;
};

}  // namespace softcam
