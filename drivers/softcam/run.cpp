#include "softcam/run.h"

#include <cmath>
#include <thread>

namespace softcam {

namespace {

// A frame that comes later than this after its time counts as behind schedule.
constexpr std::chrono::milliseconds pace_tolerance{1};

}  // namespace

double DarkCurrent(const RunContext& context) {
    // It doubles every 7 degrees.
    const double celsius = context.cooler.Temperature() / 100.0;
    return context.physics.dark_current * std::exp2((celsius - 20.0) / 7.0);
}

bool DeliverFrame(RunContext& context, int64_t readout_ns,
                  const std::function<std::span<uint8_t>()>& read) {
    engine::HostSide& host = context.host;
    if (context.faults.Strikes(Fault::stuck_transfer)) return context.pump.SleepForever();
    host.FrameBegins(engine::CurrentTimeStamp());
    const std::span<uint8_t> frame = read();
    if (!context.clock.Pass(readout_ns)) return false;
    if (context.clock.Behind() > pace_tolerance) ++context.live.frames_behind;
    context.live.schedule_lost_ns = context.clock.Lost().count();
    if (context.faults.Strikes(Fault::failed_transfer)) {
        host.FrameFails();
        return context.pump.SleepForever();
    }
    if (context.stamp && frame.size() >= 8) {
        const uint64_t number = context.live.frames_written.load(std::memory_order_relaxed) + 1;
        engine::StoreLittle(frame.data(), number, 4);
        engine::StoreLittle(frame.data() + frame.size() - 4, number, 4);
    }
    if (!host.FrameData(frame)) return false;
    context.live.frames_written.fetch_add(1, std::memory_order_relaxed);
    if (context.faults.Strikes(Fault::late_completion) &&
        !context.pump.SleepUntil(FramePump::Clock::now() + std::chrono::milliseconds(50)))
        return false;
    host.FrameEnds(engine::CurrentTimeStamp());
    // Whoever hears of the frame may have been given this processor, behind what comes next.
    if (context.time_scale > 0) std::this_thread::yield();
    if (context.faults.Strikes(Fault::unplug)) {
        host.Unplugged();
        return false;
    }
    if (context.faults.Strikes(Fault::cancelled_requests)) host.RequestsCancelled();
    if (context.faults.Strikes(Fault::driver_death)) {
        host.DriverDied();
        return false;
    }
    return true;
}

bool WaitForTrigger(RunContext& context) {
    if (context.trigger.manual) {
        // With no pace of its own, the camera waits for a hand at the pace of the hand.
        const double scale = context.time_scale > 0 ? context.time_scale : 1.0;
        const auto begin = FramePump::Clock::now();
        if (!context.pump.SleepForTrigger()) return false;
        const std::chrono::duration<double, std::nano> waited = FramePump::Clock::now() - begin;
        return context.clock.Pass(std::llround(waited.count() / scale));
    }
    const auto period = static_cast<int64_t>(context.trigger.period_ms * 1e6);
    if (period <= 0) return !context.pump.Stopping();
    return context.clock.Pass(period - context.Now() % period);
}

}  // namespace softcam
