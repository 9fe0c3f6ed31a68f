// From the driver's end of a frame to the application's callback, in a run whose frames are far
// enough apart for every thread on the way to sleep between them.
#include <atomic>
#include <thread>

#include "bench.h"
#include "sections.h"

namespace bench {

namespace {

constexpr double measured_seconds = 5;

// In the unit of the driver's clock, 100 ns.
int64_t ticks(Clock::time_point at) {
    using Ticks = std::chrono::duration<int64_t, std::ratio<1, 10'000'000>>;
    return std::chrono::duration_cast<Ticks>(at.time_since_epoch()).count();
}

// How far the driver's clock is ahead of the host's, modulo 2^16: the host may ask for the low 16
// bits of it. The two are one clock with different zeros, and the tightest of many questions tells
// the distance to a fraction of a microsecond.
uint16_t distance_to_driver(const Camera& camera) {
    Clock::duration tightest = Clock::duration::max();
    uint16_t distance = 0;
    for (int i = 0; i < 5000; ++i) {
        const Clock::time_point before = Clock::now();
        const auto answer = static_cast<uint16_t>(camera.get<PARAM_CURRENT_OZTIME>());
        const Clock::duration around = Clock::now() - before;
        if (around >= tightest) continue;
        tightest = around;
        distance = static_cast<uint16_t>(answer - ticks(before + around / 2));
    }
    return distance;
}

// Of every callback, the host's clock less the time stamp of the frame's end.
struct Heard {
    std::vector<int64_t> offsets = std::vector<int64_t>(100'000);
    std::atomic<size_t> count{0};
};

void on_frame(const FRAME_INFO* info, void* context) {
    const Clock::time_point now = Clock::now();
    auto& heard = *static_cast<Heard*>(context);
    const size_t at = heard.count.load(std::memory_order_relaxed);
    if (at == heard.offsets.size()) return;
    heard.offsets[at] = ticks(now) - info->TimeStampEOF;
    heard.count.store(at + 1, std::memory_order_release);
}

// The fastest of all took less than the 6.5 ms in which 16 bits go round, which settles the others.
std::vector<double> latencies_us(const std::vector<int64_t>& offsets, uint16_t distance) {
    if (offsets.empty()) throw std::runtime_error("no callbacks");
    const int64_t least = *std::min_element(offsets.begin(), offsets.end());
    const int64_t zero = least - static_cast<uint16_t>(least + distance);
    std::vector<double> latencies;
    for (const int64_t offset : offsets)
        latencies.push_back(static_cast<double>(offset - zero) / 10);
    return latencies;
}

// An exposure of 2 ms, read out in 0.64 ms while the next one runs: 500 frames a second.
std::vector<double> paced_run(const Camera& camera) {
    const rgn_type region = corner(512, 64);
    uns32 frame_bytes = 0;
    Heard heard;
    camera.console("time_scale 1");
    camera.set<PARAM_CLEAR_MODE>(CLEAR_NEVER);
    require(ox_exp_setup_cont(camera.handle(), 1, &region, EXT_TRIG_INTERNAL, 2, &frame_bytes,
                              CIRC_OVERWRITE),
            "set-up");
    std::vector<uns8> ring(size_t{frame_bytes} * 64, 1);
    require(ox_cam_register_callback_ex3(camera.handle(), OX_CALLBACK_EOF,
                                         reinterpret_cast<void*>(&on_frame), &heard),
            "callback");
    require(ox_exp_start_cont(camera.handle(), ring.data(), static_cast<uns32>(ring.size())),
            "start");
    std::this_thread::sleep_for(std::chrono::duration<double>(measured_seconds));
    require(ox_exp_abort(camera.handle(), CCS_HALT), "abort");
    require(ox_cam_deregister_callback(camera.handle(), OX_CALLBACK_EOF), "deregister");
    heard.offsets.resize(heard.count.load(std::memory_order_acquire));
    return latencies_us(heard.offsets, distance_to_driver(camera));
}

}  // namespace

void measure_latency(Table& table, const Peer& peer) {
    const Library library;
    const Camera camera(library);
    table.section("Notification to callback, idle consumer");
    const Figures theirs = peer.paced();
    const std::vector<double> samples = paced_run(camera);
    const auto of_peer = [&](const char* name) {
        return theirs.empty() ? std::nullopt : std::optional(theirs.at(name));
    };
    table.row({"median", percentile(samples, 0.5), "us", at_most(10), of_peer("median_us")});
    table.row({"99th percentile", percentile(samples, 0.99), "us", {}, of_peer("p99_us")});
    table.row({"frames heard", static_cast<double>(samples.size()), ""});
}

}  // namespace bench
