#include "softcam/full_program.h"

#include <algorithm>

#include "orvex/orvex_types.h"

#include "softcam/ccl_interpreter.h"
#include "softcam/digitizer.h"
#include "softcam/exposure.h"

namespace softcam {
namespace {

// Records between two ends of frame; a full frame takes a few thousand.
constexpr uint32_t step_budget = 4'000'000;
// No sensor here comes near.
constexpr size_t frame_limit = size_t{256} << 20;

constexpr int64_t row_shift_ns = 1000;
constexpr int64_t serial_shift_ns = 20;
constexpr int64_t millisecond_ns = 1'000'000;
constexpr int64_t microsecond_ns = 1000;

// The sensor and its clocks as a program sees them.
class Ccd : public ProgramEffects {
  public:
    explicit Ccd(RunContext& context)
        : context_(context),
          clock_(context.pump, context.time_scale),
          charge_(LayoutOf(context.model.geometry, context.model.abilities.frame_transfer),
                  context.ideal ? 0 : context.model.physics.transfer_loss, &context.noise),
          digitizer_(context.model, context.settings, context.ideal),
          pixel_ns_(CurrentSpeed(context.model, context.settings).pixel_time_ns) {}

    bool Expose(uint16_t scale, uint16_t count, bool fast) override {
        const uint64_t unit = scale != 0 ? scale : context_.settings.exposure_register;
        return Integrate(static_cast<int64_t>(unit * count) *
                         (fast ? microsecond_ns : millisecond_ns));
    }

    bool ClearUntilTrigger() override {
        if (!WaitForTrigger(context_, clock_)) return false;
        charge_.Clear();
        return true;
    }

    bool ExposeUntilTrigger() override {
        if (context_.trigger.manual) return WaitForTrigger(context_, clock_) && Collect(0);
        return Integrate(static_cast<int64_t>(context_.trigger.period_ms * 1e6));
    }

    bool ExposeWhileTrigger() override {
        return WaitForTrigger(context_, clock_) &&
               Integrate(static_cast<int64_t>(context_.trigger.width_ms * 1e6));
    }

    // The lamp lights the scene for that many milliseconds.
    bool Flash(uint16_t duration) override { return Integrate(duration * millisecond_ns); }

    void Shutter(bool open) override {
        if (open == context_.live.shutter_open.exchange(open)) return;
        const uint16_t delay =
            open ? context_.settings.shutter_open_ms : context_.settings.shutter_close_ms;
        pending_ns_ += delay * millisecond_ns;
    }

    void ParallelDiscard(uint16_t rows) override {
        charge_.Shift(rows);
        pending_ns_ += rows * row_shift_ns;
    }
    void ParallelBin(uint16_t rows) override { ParallelDiscard(rows); }
    void ParallelClear(uint16_t rows) override {
        charge_.Drain(rows);
        pending_ns_ += rows * row_shift_ns;
    }
    void Clear() override { charge_.Clear(); }
    void StorageOnly(bool on) override { charge_.StorageOnly(on); }

    void SerialDiscard(uint16_t pixels) override {
        charge_.DiscardSerial(pixels);
        pending_ns_ += pixels * serial_shift_ns;
    }
    void SerialBin(uint16_t factor) override { serial_bin_ = factor == 0 ? 1 : factor; }

    bool SerialConvert(uint16_t pixels) override {
        if (frame_.size() > frame_limit) return false;
        const size_t start = frame_.size();
        frame_.resize(start + size_t{pixels} * 2);
        electrons_.resize(pixels);
        for (float& pixel : electrons_) {
            uint32_t charge = 0;
            for (uint32_t shift = 0; shift < serial_bin_; ++shift) charge += charge_.ShiftSerial();
            pixel = static_cast<float>(charge);
        }
        counts_.resize(pixels);
        digitizer_.Convert(electrons_, context_.noise, 1, counts_);
        for (size_t i = 0; i < pixels; ++i)
            engine::StoreLittle(&frame_[start + 2 * i], counts_[i], 2);
        pending_ns_ += pixels * pixel_ns_;
        return !context_.pump.Stopping();
    }

    bool EndOfFrame() override {
        const int64_t readout = pending_ns_;
        pending_ns_ = 0;
        const bool delivered =
            DeliverFrame(context_, clock_, readout, [this] { return std::span<uint8_t>(frame_); });
        frame_.clear();
        context_.host.Exposing();
        return delivered;
    }

    void SelectPort(uint16_t address) override { port_ = address; }
    void SetPort(uint16_t state) override { DrivePort(state); }
    void SetDac(uint16_t thousandths) override { DrivePort(thousandths); }
    void SetGain(uint16_t gain) override {
        if (gain == 0 ||
            gain > CurrentSpeed(context_.model, context_.settings).electrons_per_count.size())
            return;
        context_.settings.gain = static_cast<uint8_t>(gain);
        digitizer_ = Digitizer(context_.model, context_.settings, context_.ideal);
    }
    void ClockingMode(uint8_t /*operation*/) override {}

  private:
    void DrivePort(uint16_t state) {
        if (port_ < context_.model.io_ports.size()) context_.live.ports[port_] = state;
    }

    bool Integrate(int64_t nanoseconds) {
        if (nanoseconds <= 0) return true;
        const int64_t waited = pending_ns_;
        pending_ns_ = 0;
        if (!clock_.Pass(waited)) return false;
        const double start = clock_.Seconds();
        if (!clock_.Pass(nanoseconds)) return false;
        at_ = start;
        return Collect(nanoseconds);
    }

    // Light that fell through the open shutter, and what heat adds with the shutter closed too.
    bool Collect(int64_t nanoseconds) {
        const bool lit = !context_.model.shutter || context_.live.shutter_open;
        const bool ideal = context_.ideal;
        if (ideal && !lit) return !context_.pump.Stopping();
        const Image& image = context_.scene.At(at_);
        // One that a trigger began and ended had some length.
        Exposure exposure(context_, std::max<int64_t>(nanoseconds, 1));
        const uint32_t limit = ideal ? 0xFFFFFFFF : context_.model.physics.full_well;
        electrons_.resize(charge_.Layout().columns);
        charge_.Charge(!ideal, [&](int32_t row, std::span<uint32_t> pixels) {
            if (row < 0) {
                exposure.CollectDark(electrons_);
            } else {
                const auto image_row = static_cast<uint32_t>(row);
                const uint16_t* light = &image.pixels[size_t{image_row} * image.columns];
                exposure.Collect(image_row, 0, light, lit, electrons_);
            }
            for (size_t i = 0; i < pixels.size(); ++i)
                pixels[i] = std::min(pixels[i] + static_cast<uint32_t>(electrons_[i]), limit);
        });
        return !context_.pump.Stopping();
    }

    RunContext& context_;
    CameraClock clock_;
    ChargeArray charge_;
    Digitizer digitizer_;
    int64_t pixel_ns_;
    int64_t pending_ns_ = 0;
    double at_ = 0;
    uint32_t serial_bin_ = 1;
    uint16_t port_ = 0;
    std::vector<float> electrons_;  // of the row at hand
    std::vector<uint16_t> counts_;
    std::vector<uint8_t> frame_;
};

}  // namespace

void RunFullProgram(RunContext& context, engine::Bytes program) {
    context.host.Exposing();
    Ccd ccd(context);
    context.live.last_end = NameOf(RunProgram(program, ccd, step_budget));
    context.host.RunEnds();
}

}  // namespace softcam
