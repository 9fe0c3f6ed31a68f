// Runs the software camera at full speed for as long as wanted and proves that nothing wears out:
// no frame is lost or torn, memory does not grow, and nothing of the system is left behind.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <optional>
#include <thread>
#include <unistd.h>

#include "failure.h"
#include "resources.h"
#include "rounds.h"

namespace {

using namespace std::chrono_literals;
using endurance::Failure;
using Clock = std::chrono::steady_clock;

constexpr size_t ring_memory = size_t{64} << 20;
constexpr std::chrono::duration<double> long_round = 2s;
constexpr uns32 short_round_frames = 2000;
constexpr const char* usage =
    "usage: endurance [--seconds N | --rounds N] [--seed N] [--growth MB]\n"
    "  --growth  most that the resident memory may grow after the warm-up (16); 0: any amount\n";

struct Options {
    double seconds = 0;
    unsigned rounds = 0;
    unsigned seed = 1;
    // A heap has holes where the largest rings had their requests, and swings by some megabytes. A
    // byte lost with each frame comes to more within minutes.
    unsigned growth_mb = 16;
};

Options parse(int count, char** arguments) {
    Options options;
    for (int i = 1; i < count; i += 2) {
        const std::string name = arguments[i];
        char* end = nullptr;
        const double value = i + 1 < count ? std::strtod(arguments[i + 1], &end) : -1;
        if (value < 0 || end == nullptr || *end != '\0') throw std::invalid_argument(usage);
        const auto number = static_cast<unsigned>(value);
        if (name == "--seconds")
            options.seconds = value;
        else if (name == "--rounds")
            options.rounds = number;
        else if (name == "--seed")
            options.seed = number;
        else if (name == "--growth")
            options.growth_mb = number;
        else
            throw std::invalid_argument(usage);
    }
    if ((options.seconds > 0) == (options.rounds > 0)) throw std::invalid_argument(usage);
    return options;
}

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void on_signal(int) {
    interrupted = true;
}

// The cameras of this process, in a folder that goes with the object.
class Configuration {
  public:
    explicit Configuration(const std::string& tag) {
        std::string pattern = std::filesystem::temp_directory_path() / "endurance.XXXXXX";
        if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make " + pattern);
        folder_ = pattern;
        const std::filesystem::path file = folder_ / "cameras.json";
        std::ofstream out(file);
        out << R"({"noise": false, "time_scale": 0, "stamp": true, "scene": {"kind": "ramp"},)"
            << "\n\"cameras\": [";
        const char* separator = "";
        for (const auto& kind : endurance::camera_kinds()) {
            out << separator << R"({"model": ")" << kind.model << R"(", "name": ")" << tag
                << kind.model << "\"}";
            separator = ", ";
        }
        out << "]}\n";
        setenv("ORVEX_SOFTCAM", file.c_str(), 1);
    }
    ~Configuration() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    Configuration(const Configuration&) = delete;
    Configuration& operator=(const Configuration&) = delete;

  private:
    std::filesystem::path folder_;
};

double megabytes(size_t bytes) {
    return static_cast<double>(bytes) / 1048576;
}

class Watch {
  public:
    explicit Watch(const Options& options)
        : options_(options), start_(Clock::now()), terminal_(isatty(STDOUT_FILENO) != 0) {}

    double seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }
    bool over(const endurance::Totals& totals) const {
        return interrupted ||
               (options_.rounds ? totals.rounds >= options_.rounds : seconds() >= options_.seconds);
    }
    // By then the largest rings have been there.
    bool warm(const endurance::Totals& totals) const {
        return options_.rounds ? 2 * totals.rounds >= options_.rounds
                               : seconds() >= std::min(options_.seconds / 4, 300.0);
    }

    void tell(const endurance::Totals& totals) {
        const auto now = Clock::now();
        if (now - told_ < (terminal_ ? 1s : 60s)) return;
        const double rate = static_cast<double>(totals.written - told_frames_) /
                            std::chrono::duration<double>(now - told_).count();
        told_ = now;
        told_frames_ = totals.written;
        std::printf("%s%7.0f s  %llu frames, %.0f/s, %u rounds, %u runs, %.1f MB%s",
                    terminal_ ? "\r\033[K" : "", seconds(),
                    static_cast<unsigned long long>(totals.written), rate, totals.rounds,
                    totals.runs, megabytes(endurance::resident_bytes()), terminal_ ? "" : "\n");
        std::fflush(stdout);
    }
    void end_line() const {
        if (terminal_) std::printf("\n");
    }

  private:
    const Options& options_;
    Clock::time_point start_;
    Clock::time_point told_ = start_;
    uns64 told_frames_ = 0;
    bool terminal_;
};

void print_summary(const endurance::Totals& t, const endurance::Session& session, double seconds) {
    const auto n = [](uns64 value) { return static_cast<unsigned long long>(value); };
    std::printf("%llu frames in %.1f s, %.0f/s: %u rounds, %u runs, %u opens, %u inits%s\n",
                n(t.written), seconds, static_cast<double>(t.written) / seconds, t.rounds, t.runs,
                session.opens, session.starts, interrupted ? " (interrupted)" : "");
    std::printf(
        "  callbacks %llu, polled %llu: %llu right to the last pixel, %llu overwritten "
        "before\n",
        n(t.called), n(t.polled), n(t.intact), n(t.overtaken));
    std::printf("  not told while the application was behind %llu; overruns told %llu\n",
                n(t.passed_over), n(t.overruns));
    std::printf("  parameters read beside %llu\n", n(session.reads()));
}

void run(const Options& options) {
    // One heap for all threads: those that come with each open would take turns in growing their
    // own.
    mallopt(M_ARENA_MAX, 1);
    const std::string tag = "E" + std::to_string(getpid()) + "-";
    // What the C library keeps from the first thread on belongs to the state before.
    std::thread([] {}).join();
    const endurance::Resources before = endurance::held_resources(tag);
    const Configuration configuration(tag);
    std::vector<uns8> memory(ring_memory, 1);  // touched, so that the rings don't count as growth
    endurance::Listener listener;
    std::optional<size_t> warm_bytes;
    {
        endurance::Session session(tag);
        session.open_next();
        endurance::RoundLength length;
        if (options.rounds)
            length.frames = short_round_frames;
        else
            length.seconds = std::min(long_round, std::chrono::duration<double>(options.seconds));
        Watch watch(options);
        endurance::Rounds rounds(session, listener, memory, length, options.seed,
                                 [&] { return watch.over(rounds.totals()); });
        try {
            while (!watch.over(rounds.totals())) {
                rounds.run_one();
                watch.tell(rounds.totals());
                if (!warm_bytes && watch.warm(rounds.totals()))
                    warm_bytes = endurance::resident_bytes();
            }
        } catch (const std::runtime_error& failure) {  // of the library or of a frame
            watch.end_line();
            print_summary(rounds.totals(), session, watch.seconds());
            throw Failure(endurance::text_of(
                "camera ", session.kind().model, ", round ", rounds.totals().rounds + 1, ", run ",
                rounds.totals().runs, ", seed ", options.seed, ": ", failure.what()));
        }
        watch.end_line();
        print_summary(rounds.totals(), session, watch.seconds());
        session.stop_library();
    }
    const size_t now = endurance::resident_bytes();
    const size_t warm = warm_bytes.value_or(now);
    std::printf("  memory %.1f MB after the warm-up, %.1f MB at the end\n", megabytes(warm),
                megabytes(now));
    endurance::expect(
        options.growth_mb == 0 || megabytes(now) <= megabytes(warm) + options.growth_mb,
        "memory: expected at most ", options.growth_mb, " MB more than ", megabytes(warm),
        " MB; seen ", megabytes(now), " MB");
    const endurance::Resources after = endurance::held_resources(tag);
    endurance::expect(after == before, "expected what was there before, ", before.text(), "; seen ",
                      after.text());
    std::printf("  %s, as before\n", before.text().c_str());
}

}  // namespace

int main(int count, char** arguments) {
    try {
        const Options options = parse(count, arguments);
        std::signal(SIGINT, on_signal);
        std::signal(SIGTERM, on_signal);
        run(options);
        return 0;
    } catch (const Failure& failure) {
        std::fflush(stdout);
        std::fprintf(stderr, "endurance: FAILED\n  %s\n", failure.what());
        return 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
