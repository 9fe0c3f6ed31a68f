// Set-ups, sequences and opening: time, and exchanges with the camera as the trace shows them.
#include <fstream>
#include <thread>

#include "bench.h"
#include "sections.h"
#include "traced.h"

namespace bench {

namespace {

constexpr uns16 exposures = 10;
constexpr uns32 exposure_ms = 50;

uns32 set_up(const Camera& camera, uns32 exposure) {
    // Few rows, so that the camera's readouts hide nothing of what the host spends.
    const rgn_type region = corner(512, 64);
    uns32 bytes = 0;
    require(ox_exp_setup_seq(camera.handle(), exposures, 1, &region, EXT_TRIG_INTERNAL, exposure,
                             &bytes),
            "set-up");
    return bytes;
}

double changed_us(const Camera& camera) {
    uns32 exposure = 1;
    return 1e6 * seconds_per_call(20, 31, [&] { set_up(camera, ++exposure); });
}

double unchanged_us(const Camera& camera) {
    set_up(camera, 1);
    return 1e6 * seconds_per_call(1000, 31, [&] { set_up(camera, 1); });
}

double sequence_seconds(const Camera& camera) {
    camera.console("time_scale 1");
    camera.set<PARAM_CLEAR_MODE>(CLEAR_NEVER);
    std::vector<uns8> frames(set_up(camera, exposure_ms), 1);
    const Clock::time_point start = Clock::now();
    require(ox_exp_start_seq(camera.handle(), frames.data()), "start");
    int16 status = 0;
    for (uns32 bytes = 0; status != READOUT_COMPLETE;) {
        std::this_thread::sleep_for(std::chrono::microseconds(100));
        require(ox_exp_check_status(camera.handle(), &status, &bytes), "status");
        if (seconds_since(start) > 10) throw std::runtime_error("the sequence does not end");
    }
    const double seconds = seconds_since(start);
    require(ox_exp_finish_seq(camera.handle(), frames.data(), 0), "finish");
    return seconds;
}

double open_ms(const Library& library) {
    std::vector<double> samples;
    for (int i = 0; i < 15; ++i) {
        const Clock::time_point start = Clock::now();
        const Camera camera(library);
        samples.push_back(seconds_since(start));
    }
    return 1e3 * median(samples);
}

// What one call said to the camera.
struct Talk {
    double questions = 0;
    double orders = 0;  // messages without a reply: those that change the camera
};

// The talk of each call of a function, in the order of the calls.
std::vector<Talk> talk_of(const TraceFile& trace, const std::string& function) {
    const std::string entry = " bv::ApiEntryLayer::" + function + ": ";
    std::vector<Talk> calls;
    bool inside = false;
    std::ifstream file(trace.path());
    for (std::string line; std::getline(file, line);) {
        const auto has = [&](const std::string& text) { return line.find(text) != line.npos; };
        if (has(entry + "ENTER")) calls.emplace_back();
        if (has(entry)) inside = has("ENTER");
        if (!inside) continue;
        // Every message to a camera goes through one of these two.
        if (!has(" dv_cam_write_read: ENTER") && !has(" dv_cam_write_read_passthrough: ENTER"))
            continue;
        ++(has("ReadBytes=0,") ? calls.back().orders : calls.back().questions);
    }
    return calls;
}

void tell_talk(Table& table, const Talk& talk, Wanted questions, Wanted orders) {
    table.row({"  questions to the camera", talk.questions, "", questions});
    table.row({"  orders to the camera", talk.orders, "", orders});
}

}  // namespace

void make_calls_to_count() {
    const Library library;
    const Camera camera(library);
    for (const uns32 exposure : {1u, 1u, 2u}) set_up(camera, exposure);
}

void measure_set_up(Table& table, const Peer&) {
    const TraceFile trace;
    run_traced("exchanges", trace);
    const std::vector<Talk> set_ups = talk_of(trace, "ox_exp_setup_seq");
    const std::vector<Talk> opens = talk_of(trace, "ox_cam_open");
    const Library library;
    table.section("Open, set-up and sequences");
    table.row({"open", open_ms(library), "ms"});
    tell_talk(table, opens.at(0), {}, {});
    const Camera camera(library);
    table.row({"unchanged set-up", unchanged_us(camera), "us"});
    tell_talk(table, set_ups.at(1), at_most(0), at_most(0));
    table.row({"changed set-up", changed_us(camera), "us"});
    // The questions ask for settings that only the camera knows.
    tell_talk(table, set_ups.at(2), {}, at_most(1));
    table.row({"sequence of 10 x 50 ms, 512 x 64, real time", sequence_seconds(camera), "s",
               at_most(0.51)});
}

}  // namespace bench
