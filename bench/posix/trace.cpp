// What the trace costs a caller, and how fast its thread writes.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "bench.h"
#include "sections.h"
#include "traced.h"

namespace bench {

namespace {

constexpr int calls = 30'000;

// The trace of this process.
std::string own_trace() {
    const char* path = std::getenv("ORVEX_CORE_LOG_FILE");
    if (!path) throw std::runtime_error("this child is to be traced");
    return path;
}

// Waits until the file has been as large for a while; when it grew for the last time.
Clock::time_point last_growth(const std::string& path) {
    Clock::time_point grew = Clock::now();
    for (uintmax_t size = 0; seconds_since(grew) < 0.5;) {
        const uintmax_t now = std::filesystem::file_size(path);
        if (now != size) {
            size = now;
            grew = Clock::now();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return grew;
}

double lines_between(const std::string& path, uintmax_t from, uintmax_t to) {
    std::ifstream file(path);
    file.seekg(static_cast<std::streamoff>(from));
    std::string part(to - from, '\0');
    file.read(part.data(), static_cast<std::streamsize>(part.size()));
    return static_cast<double>(std::count(part.begin(), part.end(), '\n'));
}

}  // namespace

void fill_trace() {
    const std::string path = own_trace();
    const Library library;
    const Camera camera(library);
    last_growth(path);
    const uintmax_t size_before = std::filesystem::file_size(path);
    const Clock::time_point start = Clock::now();
    for (int i = 0; i < calls; ++i) camera.get<PARAM_PIX_SER_SIZE>();
    const double calling = seconds_since(start);
    const Clock::time_point called = Clock::now();
    const uintmax_t size_called = std::filesystem::file_size(path);
    const Clock::time_point written = last_growth(path);
    const uintmax_t size_written = std::filesystem::file_size(path);

    const double records = lines_between(path, size_before, size_written);
    const double left = lines_between(path, size_called, size_written);
    tell("caller_ns", 1e9 * calling / records);
    tell("lines_in_all", records / std::chrono::duration<double>(written - start).count());
    tell("lines_after", left / std::chrono::duration<double>(written - called).count());
}

void measure_trace(Table& table, const Peer&) {
    const TraceFile trace;
    const Figures figures = run_traced("trace", trace);
    table.section("Trace");
    table.row({"cost of a record to its caller", figures.at("caller_ns"), "ns", at_most(600)});
    table.row({"lines written, first record to last line", figures.at("lines_in_all") / 1e6, "M/s",
               at_least(0.8)});
    table.row({"lines written once the caller is done", figures.at("lines_after") / 1e6, "M/s"});
}

}  // namespace bench
