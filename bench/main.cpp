// Measures the library with the software camera. bench/README.md says what the rows mean.
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "sections.h"

namespace {

int usage() {
    std::fputs(
        "usage: orvex_bench [--peer PROGRAM] [--json FILE] [FILTER]\n"
        "sections, of which FILTER is a part:",
        stderr);
    for (const bench::Section& section : bench::sections())
        std::fprintf(stderr, " %s", section.name);
    std::fputs("\n", stderr);
    return 2;
}

int run(const std::vector<std::string>& arguments) {
    std::string peer, json, filter;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        const bool has_value = i + 1 < arguments.size();
        if (word == "--child" && has_value) {
            bench::run_child(arguments[++i]);
            return 0;
        }
        if (word == "--peer" && has_value) {
            peer = arguments[++i];
        } else if (word == "--json" && has_value) {
            json = arguments[++i];
        } else if (!word.starts_with("-") && filter.empty()) {
            filter = word;
        } else {
            return usage();
        }
    }
    bench::Table table;
    for (const bench::Section& section : bench::sections()) {
        if (std::string_view(section.name).find(filter) != std::string_view::npos)
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
