#include "softcam/full_program.h"

#include <algorithm>
#include <utility>

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

// The time that charge takes to move, which passes when the camera next exposes or ends a frame.
class Clocking {
  public:
    explicit Clocking(const Speed& speed) : pixel_ns_(speed.pixel_time_ns) {}

    void Rows(uint16_t count) { pending_ns_ += count * row_shift_ns; }
    void Discarded(uint16_t pixels) { pending_ns_ += pixels * serial_shift_ns; }
    void Converted(uint16_t pixels) { pending_ns_ += pixels * pixel_ns_; }
    int64_t Take() { return std::exchange(pending_ns_, 0); }

  private:
    int64_t pixel_ns_;
    int64_t pending_ns_ = 0;
};

// Follows a program to the end of its first frame, to learn how long reading it takes.
class ReadoutTimer : public ProgramEffects {
  public:
    explicit ReadoutTimer(const Speed& speed) : clocking_(speed) {}

    int64_t Readout() const { return readout_ns_; }

    // What came ahead of an exposure is no readout.
    bool Expose(uint16_t /*scale*/, uint16_t /*count*/, bool /*fast*/) override { return Begin(); }
    bool ExposeUntilTrigger() override { return Begin(); }
    bool ExposeWhileTrigger() override { return Begin(); }
    bool Flash(uint16_t /*duration*/) override { return Begin(); }

    void ParallelDiscard(uint16_t rows) override { clocking_.Rows(rows); }
    void ParallelBin(uint16_t rows) override { clocking_.Rows(rows); }
    void ParallelClear(uint16_t rows) override { clocking_.Rows(rows); }
    void SerialDiscard(uint16_t pixels) override { clocking_.Discarded(pixels); }
    bool SerialConvert(uint16_t pixels) override {
        clocking_.Converted(pixels);
        return true;
    }
    bool EndOfFrame() override {
        readout_ns_ = clocking_.Take();
        return false;
    }

  private:
    bool Begin() {
        clocking_.Take();
        return true;
    }

    Clocking clocking_;
    int64_t readout_ns_ = 0;
};

// The sensor and its clocks as a program sees them.
class Ccd : public ProgramEffects {
  public:
    explicit Ccd(RunContext& context)
        : context_(context),
          charge_(LayoutOf(context.model.geometry, context.model.abilities.frame_transfer),
                  context.ideal ? 0 : context.physics.transfer_loss, &context.noise),
          digitizer_(context.model, context.settings, context.ideal),
          clocking_(CurrentSpeed(context.model, context.settings)) {}

    bool Expose(uint16_t scale, uint16_t count, bool fast) override {
        const uint64_t unit = scale != 0 ? scale : context_.settings.exposure_register;
        return Integrate(static_cast<int64_t>(unit * count) *
                         (fast ? microsecond_ns : millisecond_ns));
    }

    bool ClearUntilTrigger() override {
        if (!Settle() || !WaitForTrigger(context_)) return false;
        charge_.Clear();
        return true;
    }

    bool ExposeUntilTrigger() override {
        if (!Settle()) return false;
        const int64_t start = context_.clock.Nanoseconds();
        return WaitForTrigger(context_) && Collect(context_.clock.Nanoseconds() - start);
    }

    bool ExposeWhileTrigger() override {
        return Settle() && WaitForTrigger(context_) &&
               Integrate(static_cast<int64_t>(context_.trigger.width_ms * 1e6));
    }

    // The lamp lights the scene for that many milliseconds.
    bool Flash(uint16_t duration) override { return Integrate(duration * millisecond_ns); }

    bool Shutter(bool open) override {
        if (open == context_.live.shutter_open.exchange(open)) return true;
        const uint16_t delay =
            open ? context_.settings.shutter_open_ms : context_.settings.shutter_close_ms;
        return Settle() && context_.clock.Pass(delay * millisecond_ns);
    }

    void ParallelDiscard(uint16_t rows) override {
        charge_.Shift(rows);
        clocking_.Rows(rows);
    }
    void ParallelBin(uint16_t rows) override { ParallelDiscard(rows); }
    void ParallelClear(uint16_t rows) override {
        charge_.Drain(rows);
        clocking_.Rows(rows);
    }
    void Clear() override { charge_.Clear(); }
    void StorageOnly(bool on) override { charge_.StorageOnly(on); }

    void SerialDiscard(uint16_t pixels) override {
        charge_.DiscardSerial(pixels);
        clocking_.Discarded(pixels);
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
        clocking_.Converted(pixels);
        return !context_.pump.Stopping();
    }

    bool EndOfFrame() override {
        const bool delivered =
            DeliverFrame(context_, clocking_.Take(), [this] { return std::span<uint8_t>(frame_); });
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

    // Catches up with the program; what comes next begins here.
    bool Settle() {
        if (!context_.clock.Pass(clocking_.Take())) return false;
        at_ = context_.clock.Seconds();
        return true;
    }

    bool Integrate(int64_t nanoseconds) {
        if (!Settle()) return false;
        return nanoseconds <= 0 || (context_.clock.Pass(nanoseconds) && Collect(nanoseconds));
    }

    // Light that fell through the open shutter, and what heat adds with the shutter closed too.
    bool Collect(int64_t nanoseconds) {
        const bool lit = !context_.model.shutter || context_.live.shutter_open;
        const bool ideal = context_.ideal;
        if (ideal && !lit) return !context_.pump.Stopping();
        const Image& image = context_.scene.At(at_);
        // One that a trigger began and ended had some length.
        Exposure exposure(context_, std::max<int64_t>(nanoseconds, 1));
        const uint32_t limit = ideal ? 0xFFFFFFFF : context_.model.full_well;
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
    ChargeArray charge_;
    Digitizer digitizer_;
    Clocking clocking_;
    double at_ = 0;
    uint32_t serial_bin_ = 1;
    uint16_t port_ = 0;
    std::vector<float> electrons_;  // of the row at hand
    std::vector<uint16_t> counts_;
    std::vector<uint8_t> frame_;
};

}  // namespace

int64_t ReadoutNanoseconds(const Speed& speed, engine::Bytes program) {
    ReadoutTimer timer(speed);
    RunProgram(program, timer, step_budget);
    return timer.Readout();
}

void RunFullProgram(RunContext& context, engine::Bytes program) {
    context.host.Exposing();
    Ccd ccd(context);
    context.live.last_end = NameOf(RunProgram(program, ccd, step_budget));
    context.host.RunEnds();
}

}  // namespace softcam
