// Continuous runs of the software camera at full speed, beside a plain memcpy of the same bytes
// into the same ring. Figures are taken in one run, so that their ratios hold on any machine.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "orvex/orvex.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr double measured_seconds = 2;
constexpr const char* camera_name = "SoftCMOS-2048";

void require(boolean16 result, const char* what) {
    if (result) return;
    char message[ERROR_MSG_LEN] = {};
    ox_error_message(ox_error_code(), message);
    throw std::runtime_error(std::string(what) + ": " + message);
}

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// What the callback thread counts.
struct Heard {
    std::atomic<uint64_t> callbacks{0};
    std::atomic<int32> last{0};
    std::atomic<uint64_t> skipped{0};
};

void on_frame(FRAME_INFO* info, void* context) {
    auto& heard = *static_cast<Heard*>(context);
    const int32 last = heard.last.exchange(info->FrameNr, std::memory_order_relaxed);
    if (info->FrameNr > last + 1) {
        heard.skipped.fetch_add(static_cast<uint64_t>(info->FrameNr - last - 1),
                                std::memory_order_relaxed);
    }
    heard.callbacks.fetch_add(1, std::memory_order_relaxed);
}

// Frames per second of one memcpy each into the slots of the ring.
double copy_rate(std::vector<uns8>& ring, size_t frame_bytes) {
    const std::vector<uns8> frame(frame_bytes, 7);
    const size_t slots = ring.size() / frame_bytes;
    uint64_t frames = 0;
    const Clock::time_point start = Clock::now();
    while (seconds_since(start) < measured_seconds / 2) {
        for (int i = 0; i < 16; ++i, ++frames) {
            std::memcpy(&ring[frames % slots * frame_bytes], frame.data(), frame_bytes);
        }
    }
    return static_cast<double>(frames) / seconds_since(start);
}

struct Rates {
    double frames = 0;
    double callbacks = 0;
    uint64_t skipped = 0;
};

Rates run(int16 hcam, uns16 side, std::vector<uns8>& ring, bool with_callback) {
    const rgn_type region{0, static_cast<uns16>(side - 1), 1, 0, static_cast<uns16>(side - 1), 1};
    uns32 frame_bytes = 0;
    require(ox_exp_setup_cont(hcam, 1, &region, EXT_TRIG_INTERNAL, 0, &frame_bytes, CIRC_OVERWRITE),
            "set-up");
    Heard heard;
    if (with_callback) {
        require(ox_cam_register_callback_ex3(hcam, OX_CALLBACK_EOF,
                                             reinterpret_cast<void*>(&on_frame), &heard),
                "callback");
    }
    require(ox_exp_start_cont(hcam, ring.data(), static_cast<uns32>(ring.size())), "start");
    const Clock::time_point start = Clock::now();
    FRAME_INFO info{};
    while (seconds_since(start) < measured_seconds) {
        if (with_callback) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            continue;
        }
        void* frame = nullptr;
        ox_exp_get_latest_frame_ex(hcam, &frame, &info);
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    void* frame = nullptr;
    ox_exp_get_latest_frame_ex(hcam, &frame, &info);
    const double seconds = seconds_since(start);
    Rates rates{static_cast<double>(info.FrameNr) / seconds,
                static_cast<double>(heard.callbacks.load()) / seconds, heard.skipped.load()};
    require(ox_exp_abort(hcam, CCS_HALT), "abort");
    if (with_callback) require(ox_cam_deregister_callback(hcam, OX_CALLBACK_EOF), "deregister");
    return rates;
}

void measure(int16 hcam, uns16 side, size_t slots) {
    const size_t frame_bytes = size_t{side} * side * 2;
    // Written once before timing: the first touch of a page costs four times.
    std::vector<uns8> ring(frame_bytes * slots, 1);
    const double copies = copy_rate(ring, frame_bytes);
    const Rates polled = run(hcam, side, ring, false);
    const Rates called = run(hcam, side, ring, true);
    std::printf("%4u x %-4u %12.0f %12.0f %9.2f %14.0f %14.0f %9llu\n", side, side, copies,
                polled.frames, polled.frames / copies, called.frames, called.callbacks,
                static_cast<unsigned long long>(called.skipped));
}

}  // namespace

int main() {
    try {
        require(ox_orvex_init(), "init");
        char name[CAM_NAME_LEN] = {};
        std::snprintf(name, sizeof name, "%s", camera_name);
        int16 hcam = -1;
        require(ox_cam_open(name, &hcam, EXT_OPEN_EXCLUSIVE), "open");
        std::printf("%-11s %12s %12s %9s %14s %14s %9s\n", "frame", "memcpy/s", "polled/s", "ratio",
                    "with callb./s", "callbacks/s", "not heard");
        measure(hcam, 2048, 32);
        measure(hcam, 512, 128);
        measure(hcam, 64, 4096);
        require(ox_orvex_uninit(), "uninit");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
