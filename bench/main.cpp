// Measures the library with the software camera. bench/README.md says what the rows mean.
#include <array>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "sections.h"

namespace {

struct Section {
    std::string_view name;
    void (*measure)(bench::Table&, const bench::Peer&);
};

constexpr std::array<Section, 7> sections{{
    {"frames", bench::measure_frames},
    {"pace", bench::measure_pace},
    {"latency", bench::measure_latency},
    {"metadata", bench::measure_metadata},
    {"set-up", bench::measure_set_up},
    {"calls", bench::measure_calls},
    {"trace", bench::measure_trace},
}};

constexpr const char* usage =
    "usage: orvex_bench [--peer PROGRAM] [--json FILE] [FILTER]\n"
    "sections, of which FILTER is a part: frames pace latency metadata set-up calls trace\n";

void run_child(std::string_view kind) {
    if (kind == "exchanges") bench::make_calls_to_count();
    if (kind == "trace") bench::fill_trace();
}

int run(const std::vector<std::string>& arguments) {
    std::string peer, json, filter;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        const bool has_value = i + 1 < arguments.size();
        if (word == "--child" && has_value) {
            run_child(arguments[++i]);
            return 0;
        }
        if (word == "--peer" && has_value) {
            peer = arguments[++i];
        } else if (word == "--json" && has_value) {
            json = arguments[++i];
        } else if (!word.starts_with("-") && filter.empty()) {
            filter = word;
        } else {
            std::fputs(usage, stderr);
            return 2;
        }
    }
    bench::Table table;
    for (const Section& section : sections) {
        if (section.name.find(filter) != std::string_view::npos)
            section.measure(table, bench::Peer(peer));
    }
    if (!json.empty()) table.save(json);
    return 0;
}

}  // namespace

int main(int count, char** words) {
    try {
        return run({words + 1, words + count});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
