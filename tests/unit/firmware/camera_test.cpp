// What the firmware makes of commands and programs, as a head hears of it.
#include "firmware/camera.h"

#include <gmock/gmock.h>

#include "orvex/orvex_protocol.h"

namespace {

using engine::Outcome;
using testing::ElementsAre;

// The host is told of nothing but the end of what was stopped.
class Host : public engine::HostSide {
  public:
    void Exposing() override {}
    void FrameBegins(int64_t) override {}
    bool FrameData(size_t, engine::FrameWriter) override { return true; }
    void FrameEnds(int64_t) override {}
    void RunEnds() override {}
    void RunStopped() override { ++stopped; }
    void FrameFails() override {}
    void Unplugged() override {}
    void Suspended() override {}
    void BusReset() override {}
    void DriverDied() override {}
    void RequestsCancelled() override {}

    int stopped = 0;
};

// Notes in order what it is asked to do.
class RecordingHead : public firmware::Head {
  public:
    explicit RecordingHead(std::vector<std::string>& heard) : heard_(heard) {}

    const engine::Description& About() const override { return about_; }
    std::span<const engine::BridgeNode> BridgeNodes() const override { return {}; }
    const firmware::Model* Connect(engine::HostSide&, firmware::LiveState&) override {
        return answers ? &model : nullptr;
    }
    void Disconnect() override { heard_.emplace_back("disconnect"); }
    bool Accepts(const firmware::SimplifiedProgram& program, const firmware::Settings&) override {
        return program.exposure <= 100;
    }
    int64_t ReadoutNanoseconds(const firmware::RunPlan&) override { return 0; }
    bool Start(firmware::RunPlan plan) override {
        heard_.push_back("start " + std::to_string(plan.simplified->exposure) + " offset " +
                         std::to_string(plan.settings.offset));
        return true;
    }
    void Stop() override { heard_.emplace_back("stop"); }

    bool answers = true;
    firmware::Model model;

  private:
    std::vector<std::string>& heard_;
    engine::Description about_;
};

class FirmwareCamera : public testing::Test {
  protected:
    FirmwareCamera() {
        auto head = std::make_unique<RecordingHead>(heard);
        head_ = head.get();
        head_->model.dialect = firmware::Dialect::simplified;
        head_->model.geometry = {.columns = 64, .rows = 64};
        head_->model.abilities.adc_offset = true;
        head_->model.ports = {
            {.name = "Normal", .speeds = {{.electrons_per_count = {1}, .read_noise = {1}}}}};
        camera_.emplace(std::move(head));
    }

    // An exposure of the whole sensor.
    Outcome Load(uint32_t exposure, uint8_t dialect = CLASS_SIMPLIFIED_CCL) {
        std::vector<uint8_t> program;
        engine::ByteWriter out(program);
        for (const auto& [setting, value] : {std::pair<int, uint32_t>{OP_EXPOSURETIME, exposure},
                                             {OP_SUB_ROI_COUNT, 1},
                                             {OP_BIN_X, 1},
                                             {OP_IMGCOORD_BOTR_X, 63},
                                             {OP_IMGCOORD_BOTR_Y, 63}}) {
            out.U8(static_cast<uint8_t>(setting));
            out.U32(value);
        }
        return camera_->LoadProgram(dialect, program);
    }
    Outcome Command(uint8_t id, const std::vector<uint8_t>& data = {}) {
        std::vector<uint8_t> reply;
        return camera_->HostCommand(id, data, reply);
    }

    std::vector<std::string> heard;
    Host host_;
    RecordingHead* head_ = nullptr;
    std::optional<firmware::Camera> camera_;
};

TEST_F(FirmwareCamera, RunsWhatWasLoadedWithTheSettingsOfItsStart) {
    ASSERT_TRUE(camera_->Connect(host_));
    EXPECT_EQ(Command(EXECUTE_CCL), Outcome::refused) << "there is no program yet";
    EXPECT_EQ(Load(7), Outcome::done);
    EXPECT_EQ(Command(SET_OFFSET, {0, 5}), Outcome::done);
    EXPECT_EQ(Command(EXECUTE_CCL), Outcome::done);
    EXPECT_EQ(Command(SET_OFFSET, {0, 6}), Outcome::done);
    EXPECT_EQ(Command(EXECUTE_CCL), Outcome::done);
    // What runs is stopped before a program is taken and before one starts.
    EXPECT_THAT(heard, ElementsAre("stop", "stop", "start 7 offset 5", "stop", "start 7 offset 6"));
    EXPECT_EQ(host_.stopped, 3);
}

TEST_F(FirmwareCamera, KeepsNoProgramThatWasRefused) {
    ASSERT_TRUE(camera_->Connect(host_));
    for (const uint8_t dialect : {CLASS_SIMPLIFIED_CCL, CLASS_CCL_SCRIPT}) {
        EXPECT_EQ(Load(100), Outcome::done);
        EXPECT_EQ(Load(101, dialect), Outcome::refused);
        // Of the other dialect nothing is taken, and the program before stays.
        EXPECT_EQ(Command(EXECUTE_CCL),
                  dialect == CLASS_CCL_SCRIPT ? Outcome::done : Outcome::refused);
    }
    camera_->Reset();
    EXPECT_EQ(Command(EXECUTE_CCL), Outcome::refused) << "a reset camera has none";
}

TEST_F(FirmwareCamera, KeepsItsSettingsFromOneConnectionToTheNext) {
    head_->answers = false;
    EXPECT_FALSE(camera_->Connect(host_));
    head_->answers = true;
    ASSERT_TRUE(camera_->Connect(host_));
    EXPECT_EQ(Command(SET_OFFSET, {0, 5}), Outcome::done);
    camera_->Disconnect();
    EXPECT_THAT(heard, ElementsAre("stop", "disconnect"));
    ASSERT_TRUE(camera_->Connect(host_));
    std::vector<uint8_t> reply;
    EXPECT_EQ(camera_->HostCommand(GET_OFFSET, {}, reply), Outcome::done);
    EXPECT_THAT(reply, ElementsAre(0, 5));
}

}  // namespace
