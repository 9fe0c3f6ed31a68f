// The software camera in real time, with noise: whether it keeps the pace of its data sheet, and
// what that takes of a processor.
#include <algorithm>
#include <sstream>
#include <sys/resource.h>
#include <thread>

#include "bench.h"
#include "sections.h"

namespace bench {

namespace {

constexpr double seconds_per_run = 3;
constexpr double sheet_ms = 2048 * 0.010;  // of a full readout

double processor_seconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void measure_scene(Table& table, const Camera& camera, std::vector<uns8>& ring,
                   const std::string& name, const std::string& scene) {
    camera.console("scene " + scene);
    const rgn_type region = corner(2048, 2048);
    uns32 frame_bytes = 0;
    require(ox_exp_setup_cont(camera.handle(), 1, &region, EXT_TRIG_INTERNAL, 10, &frame_bytes,
                              CIRC_OVERWRITE),
            "set-up");
    require(ox_exp_start_cont(camera.handle(), ring.data(), static_cast<uns32>(ring.size())),
            "start");
    const auto frames = [&] {
        FRAME_INFO info{};
        void* frame = nullptr;
        return ox_exp_get_latest_frame_ex(camera.handle(), &frame, &info) ? info.FrameNr : 0;
    };
    // The first frame of a new scene takes the scene's memory.
    while (frames() < 2) std::this_thread::sleep_for(std::chrono::microseconds(100));
    const int32 first = frames();
    const double used = processor_seconds();
    const Clock::time_point start = Clock::now();
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds_per_run));
    const double made = frames() - first;
    const double seconds = seconds_since(start);
    const double processor = processor_seconds() - used;
    require(ox_exp_abort(camera.handle(), CCS_HALT), "abort");
    double behind = 0, lost_ms = 0;
    std::istringstream(camera.ask("pace")) >> behind >> lost_ms;
    // What a frame more or less at the ends makes.
    table.row(
        {name, made / seconds, "frames/s", at_least(1000 / sheet_ms - 1.5 / seconds_per_run)});
    table.row({"  behind schedule", behind, "frames", at_most(0)});
    table.row(
        {"  processor", 1000 * processor / std::max(made, 1.0), "ms/frame", at_most(sheet_ms)});
}

}  // namespace

void measure_pace(Table& table, const Peer&) {
    const Library library;
    const Camera camera(library);
    camera.set<PARAM_CLEAR_MODE>(CLEAR_NEVER);
    camera.console("time_scale 1");
    camera.console("noise on");
    std::vector<uns8> ring(size_t{16} * 2048 * 2048 * 2, 1);
    table.section("2048 x 2048 in real time, with noise");
    measure_scene(table, camera, ring, "chart, 0 to 800 electrons", "chart");
    measure_scene(table, camera, ring, "4 electrons a pixel", "flat 20");
    measure_scene(table, camera, ring, "dark", "flat 0");
}

}  // namespace bench
