#pragma once

#include <atomic>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "engine/sensor.h"

#include "firmware/head.h"
#include "genicam/frame_stream.h"
#include "genicam/sheet.h"

namespace genicam {

// A GigE Vision or USB3 Vision camera behind the firmware. Each access to a camera that is gone
// takes seconds: what can wait is done in the background, and nothing is tried once it is known.
class Head : public firmware::Head {
  public:
    Head(Identity identity, std::shared_ptr<Aravis> aravis);
    ~Head() override;

    const engine::Description& About() const override { return about_; }
    std::span<const engine::BridgeNode> BridgeNodes() const override { return nodes_; }

    const firmware::Model* Connect(engine::HostSide& host, firmware::LiveState& live) override;
    void Disconnect() override;

    int16_t Temperature() override;
    int16_t Setpoint() override;
    void SetSetpoint(int16_t setpoint) override;

    bool Accepts(const firmware::SimplifiedProgram& program,
                 const firmware::Settings& settings) override;
    int64_t ReadoutNanoseconds(const firmware::RunPlan& plan) override;
    bool Start(firmware::RunPlan plan) override;
    void Stop() override;

    std::string Console(const std::string& line) override;

  private:
    static void OnControlLost(ArvDevice* device, void* head);
    bool Open();
    void Lose();

    // With camera_lock_ held.
    bool Configure(const firmware::RunPlan& plan, const FramePlan& frames);
    bool SetWindow(const Window& window);
    bool SetTriggers(uint32_t mode, double exposure_us);
    std::string TellFeature(const std::string& name, const std::string& value);
    int16_t Degrees(const std::string& feature);

    bool Gone() const { return gone_ || !camera_; }
    double ExposureMicroseconds(const firmware::SimplifiedProgram& program) const;

    const std::shared_ptr<Aravis> aravis_;  // first: the others use it
    const Identity identity_;
    engine::Description about_;
    std::vector<engine::BridgeNode> nodes_;
    std::optional<Sheet> sheet_;  // from the first connection on
    std::string serial_;          // of the camera that the sheet is of
    std::string trigger_source_;  // chosen by the console; empty for the first line
    double highest_rate_ = 0;     // chosen by the console; 0 for none
    std::atomic<uint64_t> lost_ = 0;
    std::atomic<bool> gone_ = false;

    std::mutex events_;  // held while the host hears of the camera's end
    engine::HostSide* host_ = nullptr;
    firmware::LiveState* live_ = nullptr;

    std::mutex camera_lock_;  // features are one thread's at a time
    CameraPointer camera_;
    std::shared_ptr<FrameStream> stream_;
    std::future<void> run_end_;  // last: they use the others
    std::future<void> closing_;
};

}  // namespace genicam
