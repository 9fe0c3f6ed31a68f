// A camera head that shows a test pattern: each pixel is the sum of its column and its row.
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "orvex/orvex_ddi.h"

#include "engine/module.h"

#include "firmware/camera.h"

namespace {

firmware::Model DataSheet() {
    firmware::Model model;
    model.name = "Pattern";
    model.dialect = firmware::Dialect::simplified;
    model.geometry = {.columns = 640, .rows = 480};
    model.texts.chip = "PATTERN";
    model.ports = {{.name = "Normal",
                    .speeds = {{.pixel_time_ns = 10,
                                .electrons_per_count = {1.0},
                                .gain_names = {"Normal"},
                                .read_noise = {0.0}}}}};
    model.extended.emplace();
    return model;
}

class PatternHead : public firmware::Head {
  public:
    PatternHead() { firmware::DescribeBridge(model_, "Pattern Interface", about_, nodes_); }

    const engine::Description& About() const override { return about_; }
    std::span<const engine::BridgeNode> BridgeNodes() const override { return nodes_; }
    const firmware::Model* Connect(engine::HostSide& host, firmware::LiveState&) override {
        host_ = &host;
        return &model_;
    }
    void Disconnect() override {}

    bool Accepts(const firmware::SimplifiedProgram& program, const firmware::Settings&) override {
        return program.regions.size() == 1;
    }
    int64_t ReadoutNanoseconds(const firmware::RunPlan&) override { return 0; }
    bool Start(firmware::RunPlan plan) override {
        run_ = std::jthread(
            [this, plan](const std::stop_token& stop) { Run(stop, *plan.simplified); });
        return true;
    }
    void Stop() override { run_ = {}; }

  private:
    // What is left of a region behind its last whole bin is not sent; pixels go out low byte first.
    static std::vector<uint8_t> Frame(const rgn_type& r) {
        std::vector<uint8_t> frame;
        for (uint32_t y = r.p1; y + r.pbin <= r.p2 + 1u; y += r.pbin)
            for (uint32_t x = r.s1; x + r.sbin <= r.s2 + 1u; x += r.sbin) {
                frame.push_back(static_cast<uint8_t>(x + y));
                frame.push_back(static_cast<uint8_t>((x + y) >> 8));
            }
        return frame;
    }

    void Run(const std::stop_token& stop, const firmware::SimplifiedProgram& program) {
        const std::vector<uint8_t> frame = Frame(program.regions.front());
        const std::chrono::nanoseconds exposure(program.Nanoseconds(program.exposure));
        std::unique_lock lock(mutex_);
        for (uint32_t n = 0; program.Continuous() || n < program.frame_count; ++n) {
            host_->Exposing();
            pause_.wait_for(lock, stop, exposure, [] { return false; });
            if (stop.stop_requested()) return;
            host_->FrameBegins(engine::CurrentTimeStamp());
            if (!host_->FrameData(frame)) break;
            host_->FrameEnds(engine::CurrentTimeStamp());
        }
        host_->RunEnds();
    }

    const firmware::Model model_ = DataSheet();
    engine::Description about_{.name = "Pattern", .driver_type = DRIVER_TYPE_SOFTWARE};
    std::vector<engine::BridgeNode> nodes_;
    engine::HostSide* host_ = nullptr;
    std::mutex mutex_;
    std::condition_variable_any pause_;
    std::jthread run_;  // last: it uses the others
};

}  // namespace

bool engine::FindSensors(std::vector<std::unique_ptr<Sensor>>& sensors, std::string& /*message*/) {
    sensors.push_back(std::make_unique<firmware::Camera>(std::make_unique<PatternHead>()));
    return true;
}
