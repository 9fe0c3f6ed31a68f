#include "sections.h"

#include <array>

#include "traced.h"

namespace bench {

std::span<const Section> sections() {
    static constexpr std::array<Section, 7> all{{
        {"frames", measure_frames},
        {"pace", measure_pace},
        {"latency", measure_latency},
        {"metadata", measure_metadata},
        {"set-up", measure_set_up},
        {"calls", measure_calls},
        {"trace", measure_trace},
    }};
    return all;
}

void run_child(std::string_view kind) {
    if (kind == "exchanges") make_calls_to_count();
    if (kind == "trace") fill_trace();
}

}  // namespace bench
