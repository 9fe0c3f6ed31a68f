// A camera head that shows a test pattern: each pixel is the sum of its column and its row.

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_protocol.h"
#include "orvex/orvex_types.h"

#include "engine/bytes.h"
#include "engine/command_shapes.h"
#include "engine/module.h"
#include "engine/sensor.h"

namespace {

using engine::Bytes;
using engine::Outcome;
using Reply = std::vector<uint8_t>;

constexpr uint16_t columns = 640;
constexpr uint16_t rows = 480;

// What the head tells of itself, high byte first. All else that it is asked is zero.
const engine::SharedByCameras answers(std::map<uint8_t, Reply>{
    {SER_SIZE, {columns >> 8, columns & 0xFF}},
    {PAR_SIZE, {rows >> 8, rows & 0xFF}},
    {TOTAL_PORTS, {1}},
    {TOTAL_SPD, {1}},
    {SPD_BIT_DEPTH, {16}},
    {SPD_SPEED, {0, 10}},  // ns a pixel
    {SPD_MAX_GAIN, {1}},
    {SPD_USER_GAIN, {1}},
    {FIRMWARE_VER, {6}},
    {MPP_CAP, {MPP_ALWAYS_OFF}},
    {CHIP_NAME, {'P', 'A', 'T', 'T', 'E', 'R', 'N', 0, 0, 0, 0, 0, 0, 0, 0, 0}},
    // The second word comes complemented: bit 2 announces the extended capabilities, whose one
    // section says that this head takes programs of settings.
    {SEND_CAPABILITIES, {0, 0, 0, 0, 0xFB, 0xFF, 0xFF, 0xFF}},
    {GET_EXTENDED_CAPABILITIES_SIZE, {0, 0, 0, 8}},
    {GET_EXTENDED_CAPABILITIES, {0, 0, 0, 1, 0, 0, 0, 2}},
    {STAT_TABLE_SIZE, {12}},
    {STAT_TABLE, Reply(12)},
});

class PatternHead : public engine::Sensor {
  public:
    const engine::Description& About() const override { return about_; }
    std::span<const engine::BridgeNode> BridgeNodes() const override { return {}; }

    bool Connect(engine::HostSide& host) override {
        host_ = &host;
        return true;
    }
    void Disconnect() override { Stop(); }
    void Reset() override { Stop(); }

    Outcome HostCommand(uint8_t id, Bytes /*data*/, Reply& reply) override {
        if (id == STOP_CCS) Stop();
        if (id == EXECUTE_CCL) Start();
        const auto answer = (*answers).find(id);
        if (answer != (*answers).end())
            reply.insert(reply.end(), answer->second.begin(), answer->second.end());
        else
            reply.resize(reply.size() + engine::HostCommandReplySize(id).value_or(0));
        return Outcome::done;
    }

    Outcome PluginCommand(uint8_t /*id*/, Bytes /*data*/, Reply& /*reply*/) override {
        return Outcome::refused;
    }

    Outcome LoadProgram(uint8_t message_class, Bytes program) override {
        if (message_class != CLASS_SIMPLIFIED_CCL) return Outcome::refused;
        Stop();
        program_.clear();
        engine::ByteReader reader(program);
        while (reader.Remaining() > 0) {
            const uint8_t setting = reader.U8();
            program_[setting] = reader.U32();
        }
        const bool fits = reader.Ok() && program_[OP_SUB_ROI_COUNT] == 1 &&
                          program_[OP_BIN_X] > 0 && program_[OP_BIN_Y] > 0 &&
                          program_[OP_IMGCOORD_BOTR_X] < columns &&
                          program_[OP_IMGCOORD_BOTR_Y] < rows;
        return fits ? Outcome::done : Outcome::refused;
    }

  private:
    void Start() {
        Stop();
        const std::lock_guard hold(starting_);
        run_ = std::jthread([this](const std::stop_token& stop) { Run(stop); });
    }
    // Returns when the thread has ended. A reset may come beside a command.
    void Stop() {
        const std::lock_guard hold(starting_);
        run_ = {};
        host_->RunStopped();
    }

    // The region counts pixels of the sensor. What is left of it behind the last whole bin is not
    // sent; pixels go out low byte first.
    Reply Frame() {
        Reply frame;
        const uint32_t width = program_[OP_BIN_X];
        const uint32_t height = program_[OP_BIN_Y];
        const uint32_t right = program_[OP_IMGCOORD_BOTR_X];
        const uint32_t bottom = program_[OP_IMGCOORD_BOTR_Y];
        for (uint32_t y = program_[OP_IMGCOORD_TOPL_Y]; y + height <= bottom + 1; y += height)
            for (uint32_t x = program_[OP_IMGCOORD_TOPL_X]; x + width <= right + 1; x += width) {
                frame.push_back(static_cast<uint8_t>(x + y));
                frame.push_back(static_cast<uint8_t>((x + y) >> 8));
            }
        return frame;
    }

    // False when the run is to end.
    bool Expose(const std::stop_token& stop) {
        std::unique_lock lock(mutex_);
        pause_.wait_for(lock, stop, std::chrono::milliseconds(program_[OP_EXPOSURETIME]),
                        [] { return false; });
        return !stop.stop_requested();
    }

    void Run(const std::stop_token& stop) {
        const Reply frame = Frame();
        const bool continuous = program_[OP_MODE] != CIRC_NONE;
        for (uint32_t n = 0; continuous || n < program_[OP_FRAME_COUNT]; ++n) {
            host_->Exposing();
            if (!Expose(stop)) return;
            host_->FrameBegins(engine::CurrentTimeStamp());
            if (!host_->FrameData(frame)) break;
            host_->FrameEnds(engine::CurrentTimeStamp());
        }
        host_->RunEnds();
    }

    const engine::Description about_{.name = "Pattern", .driver_type = DRIVER_TYPE_SOFTWARE};
    engine::HostSide* host_ = nullptr;
    std::map<uint8_t, uint32_t> program_;  // the value of each setting
    std::mutex starting_;
    std::mutex mutex_;
    std::condition_variable_any pause_;
    std::jthread run_;  // last: it uses the others
};

}  // namespace

bool engine::FindSensors(std::vector<std::unique_ptr<Sensor>>& sensors, std::string& /*message*/) {
    sensors.push_back(std::make_unique<PatternHead>());
    return true;
}
