// What a call costs its caller: the two layers, a cached parameter, a command exchange.
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <stdexcept>

#include "orvex/orvex.h"

namespace {

// The first camera, open for the whole program.
int16 camera() {
    static const int16 handle = [] {
        char name[CAM_NAME_LEN + 1] = {};
        int16 hcam = -1;
        if (!ox_orvex_init() || !ox_cam_get_name(0, name) ||
            !ox_cam_open(name, &hcam, EXT_OPEN_EXCLUSIVE)) {
            throw std::runtime_error("no camera");
        }
        std::atexit([] { ox_orvex_uninit(); });
        return hcam;
    }();
    return handle;
}

template <class T>
void read_parameter(benchmark::State& state, uns32 id, int16 attribute) {
    const int16 hcam = camera();
    for (auto _ : state) {
        T value{};
        if (!ox_get_param(hcam, id, attribute, &value)) state.SkipWithError("refused");
        benchmark::DoNotOptimize(value);
    }
}

void cached_parameter(benchmark::State& state) {
    read_parameter<uns16>(state, PARAM_PIX_SER_SIZE, ATTR_CURRENT);
}
BENCHMARK(cached_parameter);

void chosen_parameter(benchmark::State& state) {
    read_parameter<int32>(state, PARAM_CLEAR_MODE, ATTR_CURRENT);
}
BENCHMARK(chosen_parameter);

void command_exchange(benchmark::State& state) {
    read_parameter<int16>(state, PARAM_TEMP, ATTR_CURRENT);
}
BENCHMARK(command_exchange);

void error_code(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(ox_error_code());
}
BENCHMARK(error_code);

}  // namespace

BENCHMARK_MAIN();
