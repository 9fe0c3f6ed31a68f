// Continuous runs of the software camera as fast as it goes, beside a plain memcpy of the same
// bytes into the same ring.
#include <atomic>
#include <cstring>
#include <functional>
#include <thread>

#include "bench.h"
#include "sections.h"

namespace bench {

namespace {

constexpr int rounds = 3;
constexpr double seconds_per_run = 0.8;

// What is measured in one run, or summed over several.
struct Delivery {
    std::vector<double> rates;  // frames a second, one for each run
    double lost = 0;
};

// Memory of the application, written before it is timed: the first touch of a page costs four
// times.
struct Ring {
    Ring(uns16 side, size_t slots)
        : frame_bytes(size_t{side} * side * 2), memory(frame_bytes * slots, 1) {}

    size_t frame_bytes;
    std::vector<uns8> memory;
};

class Run {
  public:
    Run(const Camera& camera, uns16 side, Ring& ring, const std::function<void()>& set_up_done = {})
        : camera_(camera) {
        const rgn_type region = corner(side, side);
        uns32 frame_bytes = 0;
        require(ox_exp_setup_cont(camera.handle(), 1, &region, EXT_TRIG_INTERNAL, 0, &frame_bytes,
                                  CIRC_OVERWRITE),
                "set-up");
        if (set_up_done) set_up_done();
        require(ox_exp_start_cont(camera.handle(), ring.memory.data(),
                                  static_cast<uns32>(ring.memory.size())),
                "start");
    }
    ~Run() { ox_exp_abort(camera_.handle(), CCS_HALT); }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    double seconds() const { return seconds_since(start_); }
    bool over() const { return seconds() >= seconds_per_run; }

  private:
    const Camera& camera_;
    Clock::time_point start_ = Clock::now();
};

double copy_rate(Ring& ring) {
    const std::vector<uns8> frame(ring.frame_bytes, 7);
    const size_t slots = ring.memory.size() / ring.frame_bytes;
    uint64_t frames = 0;
    const Clock::time_point start = Clock::now();
    while (seconds_since(start) < seconds_per_run / 2) {
        for (int i = 0; i < 16; ++i, ++frames) {
            std::memcpy(&ring.memory[frames % slots * ring.frame_bytes], frame.data(),
                        ring.frame_bytes);
        }
    }
    return static_cast<double>(frames) / seconds_since(start);
}

// Looks at the newest frame now and then, as a live display does.
void watch_newest(const Camera& camera, uns16 side, Ring& ring, Delivery& delivery) {
    const Run run(camera, side, ring);
    FRAME_INFO info{};
    void* frame = nullptr;
    while (!run.over()) {
        ox_exp_get_latest_frame_ex(camera.handle(), &frame, &info);
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    require(ox_exp_get_latest_frame_ex(camera.handle(), &frame, &info), "newest frame");
    delivery.rates.push_back(info.FrameNr / run.seconds());
}

uint32_t number_at(const uns8* bytes) {
    uint32_t number = 0;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

// Takes every frame in turn. A frame is lost when it does not carry its own number at both ends:
// the camera was a whole ring ahead and wrote over it.
void take_every_frame(const Camera& camera, uns16 side, Ring& ring, Delivery& delivery) {
    const Run run(camera, side, ring);
    uint32_t taken = 0;
    FRAME_INFO info{};
    void* frame = nullptr;
    while (!run.over()) {
        const bool any = ox_exp_get_oldest_frame_ex(camera.handle(), &frame, &info);
        if (!any || static_cast<uint32_t>(info.FrameNr) <= taken) {
            std::this_thread::sleep_for(std::chrono::microseconds(20));
            continue;
        }
        ++taken;
        const auto* bytes = static_cast<const uns8*>(frame);
        if (number_at(bytes) != taken || number_at(bytes + ring.frame_bytes - 4) != taken)
            ++delivery.lost;
        require(ox_exp_unlock_oldest_frame(camera.handle()), "unlock");
    }
    delivery.rates.push_back(taken / run.seconds());
}

struct Heard {
    std::atomic<uint32_t> callbacks{0};
    std::atomic<int32> last{0};
    std::atomic<uint32_t> skipped{0};
};

void on_frame(const FRAME_INFO* info, void* context) {
    auto& heard = *static_cast<Heard*>(context);
    const int32 last = heard.last.exchange(info->FrameNr, std::memory_order_relaxed);
    if (info->FrameNr > last + 1) {
        heard.skipped.fetch_add(static_cast<uint32_t>(info->FrameNr - last - 1),
                                std::memory_order_relaxed);
    }
    heard.callbacks.fetch_add(1, std::memory_order_relaxed);
}

// Counts callbacks, and the frames that none was made for.
void be_called_back(const Camera& camera, uns16 side, Ring& ring, Delivery& delivery) {
    Heard heard;
    {
        const Run run(camera, side, ring, [&] {
            require(ox_cam_register_callback_ex3(camera.handle(), OX_CALLBACK_EOF,
                                                 reinterpret_cast<void*>(&on_frame), &heard),
                    "callback");
        });
        while (!run.over()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        delivery.rates.push_back(heard.callbacks / run.seconds());
        delivery.lost += heard.skipped;
    }
    require(ox_cam_deregister_callback(camera.handle(), OX_CALLBACK_EOF), "deregister");
}

// A rate at which small frames are to arrive one and all. A camera as fast as it goes makes more of
// them than any consumer takes.
struct Pace {
    double frames_per_second = 0;  // 0 is as fast as the camera goes
    Wanted wanted{Wanted::Kind::more_than_peer, 0};
};

struct Shape {
    uns16 side;
    size_t slots;
    Pace polled;
    Pace called;
};

void set_pace(const Camera& camera, uns16 side, const Pace& pace) {
    constexpr double row_seconds = 10e-6;  // of the camera in real time
    const double scale =
        pace.frames_per_second > 0 ? 1 / (pace.frames_per_second * side * row_seconds) : 0;
    camera.console("time_scale " + std::to_string(scale));
}

std::string described(const std::string& what, const Pace& pace) {
    if (pace.frames_per_second == 0) return what;
    return what + ", of " + std::to_string(static_cast<int>(pace.frames_per_second));
}

void measure_shape(Table& table, const Peer& peer, const Camera& camera, const Shape& shape) {
    const std::string side = std::to_string(shape.side);
    table.section(side + " x " + side + ", as fast as the camera goes");
    Ring ring(shape.side, shape.slots);
    std::vector<double> copies, ratios;
    Delivery newest, every, called;
    for (int round = 0; round < rounds; ++round) {
        copies.push_back(copy_rate(ring));
        set_pace(camera, shape.side, {});
        watch_newest(camera, shape.side, ring, newest);
        ratios.push_back(newest.rates.back() / copies.back());
        set_pace(camera, shape.side, shape.polled);
        take_every_frame(camera, shape.side, ring, every);
        set_pace(camera, shape.side, shape.called);
        be_called_back(camera, shape.side, ring, called);
    }
    std::optional<double> theirs;
    if (const Figures figures = peer.fast(shape.side); !figures.empty())
        theirs = figures.at("frames_per_second");
    table.row({"memcpy into the ring", median(copies), "frames/s"});
    table.row({"newest frame polled", median(newest.rates), "frames/s", Pace{}.wanted, theirs});
    table.row(
        {"  against memcpy", median(ratios), "", shape.side == 2048 ? at_least(0.9) : Wanted{}});
    table.row({described("every frame polled", shape.polled), median(every.rates), "frames/s",
               shape.polled.wanted, theirs});
    table.row({"  lost", every.lost, "", at_most(0)});
    table.row({described("by callback", shape.called), median(called.rates), "frames/s",
               shape.called.wanted, theirs});
    table.row({"  not heard", called.lost, "", at_most(0)});
}

}  // namespace

void measure_frames(Table& table, const Peer& peer) {
    const Library library;
    const Camera camera(library);
    camera.set<PARAM_CLEAR_MODE>(CLEAR_NEVER);
    for (const Shape& shape :
         {Shape{2048, 32, {}, {}}, Shape{512, 512, {}, {}},
          Shape{64, 4096, {110'000, at_least(100'000)}, {55'000, at_least(50'000)}}}) {
        measure_shape(table, peer, camera, shape);
    }
}

}  // namespace bench
