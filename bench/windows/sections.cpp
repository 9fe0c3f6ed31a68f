#include "sections.h"

#include <array>

namespace bench {

std::span<const Section> sections() {
    static constexpr std::array<Section, 4> all{{
        {"frames", measure_frames},
        {"latency", measure_latency},
        {"metadata", measure_metadata},
        {"calls", measure_calls},
    }};
    return all;
}

void run_child(std::string_view) {}

Figures run(const std::string& command) {
    throw std::runtime_error("peers are not measured on this system: " + command);
}

}  // namespace bench
