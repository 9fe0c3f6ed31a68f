#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "engine/sensor.h"
#include "softcam/configuration.h"
#include "softcam/firmware.h"
#include "softcam/frame_pump.h"
#include "softcam/simplified_program.h"

namespace softcam {

// A simulated camera: firmware, sensor and scene behind the engine's interface.
class Camera : public engine::Sensor, private CameraActions {
  public:
    Camera(CameraOptions options, std::unique_ptr<Scene> scene);
    ~Camera() override;

    const engine::Description& About() const override { return about_; }
    std::span<const engine::BridgeNode> BridgeNodes() const override { return nodes_; }
    engine::Disturbance* LinkDisturbance() override { return &faults_; }

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
    std::string Console(const std::string& line) override;
    int64_t ExposureNanoseconds() const override;
    int64_t ReadoutNanoseconds() const override;
    int64_t ClearingNanoseconds() const override;

    void Describe();
    RunContext Context();
    void Run(RunContext& context);
    void StopRun();
    bool SetScene(const SceneChoice& choice, std::string& message);
    // Answers of the console by topic; false for a word of another topic.
    bool AskConsole(const std::string& word, std::string& answer);
    bool TellConsole(const std::string& word, std::vector<std::string>& arguments,
                     std::string& answer);
    bool EventConsole(const std::string& word);

    CameraOptions options_;
    engine::Description about_;
    std::vector<engine::BridgeNode> nodes_;
    std::unique_ptr<Scene> scene_;
    std::vector<HotPixel> hot_pixels_;
    std::optional<FixedPattern> pattern_;  // made for the first run with noise
    LiveState live_;
    Faults faults_;
    Firmware firmware_;
    Noise noise_;
    std::optional<uint64_t> new_seed_;  // of the noise, from the next run on
    int64_t idle_since_ns_ = 0;         // camera time at the end of the last run
    std::vector<uint8_t> full_program_;
    std::optional<SimplifiedProgram> simplified_program_;
    engine::HostSide* host_ = nullptr;
    FramePump pump_;  // last: its thread uses the others
};

}  // namespace softcam
