#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "engine/sensor.h"
#include "softcam/configuration.h"
#include "softcam/cooler.h"
#include "softcam/frame_pump.h"
#include "softcam/simplified_run.h"

#include "firmware/head.h"

namespace softcam {

// A simulated camera: sensor and scene behind the firmware.
class Head : public firmware::Head {
  public:
    Head(CameraOptions options, std::unique_ptr<Scene> scene);
    ~Head() override;

    const engine::Description& About() const override { return about_; }
    std::span<const engine::BridgeNode> BridgeNodes() const override { return nodes_; }
    engine::Disturbance* LinkDisturbance() override { return &faults_; }

    const Model* Connect(engine::HostSide& host, LiveState& live) override;
    void Disconnect() override;

    int16_t Temperature() override { return cooler_.Temperature(); }
    int16_t Setpoint() override { return cooler_.Setpoint(); }
    void SetSetpoint(int16_t setpoint) override { cooler_.SetSetpoint(setpoint); }

    bool Accepts(const SimplifiedProgram& program, const Settings& settings) override;
    bool AcceptsFull(engine::Bytes program) override;
    int64_t ReadoutNanoseconds(const firmware::RunPlan& plan) override;
    int64_t PostAbortNanoseconds() override;
    uint32_t ExposureListStep() override;
    bool Start(firmware::RunPlan plan) override;
    void Stop() override { pump_.Stop(); }

    std::string Console(const std::string& line) override;
    bool RefusesCommand() override { return faults_.Strikes(Fault::refused_command); }

  private:
    const Model& Sheet() const { return options_.type->model; }
    void Describe();
    RunContext Context(const Settings& settings);
    void Run(RunContext& context, const firmware::RunPlan& plan);
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
    Faults faults_;
    Cooler cooler_;
    Noise noise_;
    std::optional<uint64_t> new_seed_;  // of the noise, from the next run on
    int64_t idle_since_ns_ = 0;         // camera time at the end of the last run
    engine::HostSide* host_ = nullptr;
    LiveState* live_ = nullptr;
    FramePump pump_;  // last: its thread uses the others
};

}  // namespace softcam
