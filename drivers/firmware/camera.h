#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "engine/sensor.h"

#include "firmware/firmware.h"
#include "firmware/head.h"

namespace firmware {

// Fills in what the bridge in front of a camera tells of itself and of the camera.
void DescribeBridge(const Model& model, const std::string& interface_name,
                    engine::Description& about, std::vector<engine::BridgeNode>& nodes);

// A head with firmware, behind the engine's interface.
class Camera : public engine::Sensor, private CameraActions {
  public:
    explicit Camera(std::unique_ptr<Head> head);

    const engine::Description& About() const override { return head_->About(); }
    std::span<const engine::BridgeNode> BridgeNodes() const override {
        return head_->BridgeNodes();
    }
    engine::Disturbance* LinkDisturbance() override { return head_->LinkDisturbance(); }

    bool Connect(engine::HostSide& host) override;
    void Disconnect() override;
    void Reset() override;

    engine::Outcome HostCommand(uint8_t id, engine::Bytes data,
                                std::vector<uint8_t>& reply) override;
    engine::Outcome PluginCommand(uint8_t id, engine::Bytes data,
                                  std::vector<uint8_t>& reply) override;
    engine::Outcome LoadProgram(uint8_t message_class, engine::Bytes program) override;

  private:
    bool Execute() override;
    void Stop(uint16_t options) override;
    int64_t ExposureNanoseconds() const override;
    int64_t ReadoutNanoseconds() const override;
    int64_t ClearingNanoseconds() const override;

    // Nobody is told any more of frames of what is stopped.
    void StopRun();
    void ForgetPrograms();
    RunPlan Plan() const;

    // A reset may come beside a command: programs, and starts and stops of the head, are one's at a
    // time.
    mutable std::mutex lock_;
    LiveState live_;
    std::optional<Firmware> firmware_;  // from the first connection on
    std::vector<uint8_t> full_program_;
    std::optional<SimplifiedProgram> simplified_program_;
    engine::HostSide* host_ = nullptr;
    std::unique_ptr<Head> head_;  // last: its thread uses the others
};

}  // namespace firmware
