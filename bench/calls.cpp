// What a call costs its caller with the trace off.
#include "bench.h"
#include "sections.h"

namespace bench {

namespace {

template <class T>
double read_ns(const Camera& camera, uns32 id, int calls) {
    T value{};
    return 1e9 * seconds_per_call(calls, 51, [&] {
               require(ox_get_param(camera.handle(), id, ATTR_CURRENT, &value), "read");
           });
}

}  // namespace

void measure_calls(Table& table, const Peer&) {
    const Library library;
    const Camera camera(library);
    table.section("Calls");
    table.row({"cached parameter", read_ns<uns16>(camera, PARAM_PIX_SER_SIZE, 10000), "ns",
               at_most(100)});
    table.row({"enumerated parameter", read_ns<int32>(camera, PARAM_CLEAR_MODE, 10000), "ns"});
    const double exchange_ns = read_ns<int16>(camera, PARAM_TEMP, 200);
    table.row({"parameter read by one exchange", exchange_ns / 1000, "us"});
}

}  // namespace bench
