#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>

#include "orvex/commands.h"
#include "orvex/frame_taker.h"
#include "orvex/live_line.h"
#include "orvex/set_up_options.h"
#include "orvex/side_file.h"

// stream: a continuous run, watched and recorded.
namespace orvex {

namespace {

struct StreamOptions {
    SetUpOptions set_up;
    std::vector<std::string> regions;
    uint32_t frames = 0;
    double seconds = 0;
    uint32_t ring = 0;
    bool overwrite = true;
    std::string record;
    bool json = false;
};

// Keeps the signals that end a run for one that waits for them. They stay so in all threads that
// are started later.
class EndSignals {
  public:
    EndSignals() {
        sigemptyset(&signals_);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals_, signal);
        pthread_sigmask(SIG_BLOCK, &signals_, &before_);
    }
    ~EndSignals() { give_back(); }
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

    bool came_within(std::chrono::milliseconds limit) const {
        const timespec time{.tv_sec = 0, .tv_nsec = std::chrono::nanoseconds(limit % 1000).count()};
        return sigtimedwait(&signals_, nullptr, &time) > 0;
    }
    // The next signal ends the program at once.
    void give_back() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

  private:
    sigset_t signals_{};
    sigset_t before_{};
};

enum class End { frames, seconds, signal, overrun };

const char* end_text(End end) {
    switch (end) {
        case End::frames: return "all frames";
        case End::seconds: return "time is over";
        case End::signal: return "interrupted";
        case End::overrun: return "the ring overran";
    }
    return "";
}

std::vector<rgn_type> resolve_regions(const Camera& camera, const StreamOptions& options) {
    SetUp whole = options.set_up.set_up();
    std::vector<rgn_type> regions;
    for (const std::string& text : options.regions) {
        SetUp one = whole;
        parse_region(text, one);
        regions.push_back(resolve_region(camera, one));
    }
    if (regions.empty()) regions.push_back(resolve_region(camera, whole));
    return regions;
}

Acquisition collect_facts(const Camera& camera, const StreamOptions& options,
                          const rgn_type& region, uint32_t frame_bytes) {
    Acquisition facts;
    read_facts(camera, facts);
    facts.region = region;
    facts.width = (region.s2 - region.s1 + 1u) / region.sbin;
    facts.height = (region.p2 - region.p1 + 1u) / region.pbin;
    facts.frame_bytes = frame_bytes;
    facts.exposure_ms = options.set_up.exposure_ms;
    facts.frames = options.frames;
    facts.start_utc = utc_now();
    return facts;
}

// A recording with its side file.
class Recording {
  public:
    Recording(const Camera& camera, const StreamOptions& options,
              const std::vector<rgn_type>& regions, uint32_t frame_bytes)
        : path_(options.record), kind_(file_kind(path_)) {
        const Acquisition facts = collect_facts(camera, options, regions[0], frame_bytes);
        const bool metadata = camera.get_or<boolean16>(PARAM_METADATA_ENABLED, 0) != 0;
        const bool plain = !metadata && regions.size() == 1;
        if (kind_ != FileKind::raw && !plain) {
            throw std::invalid_argument(
                "frames with metadata or several regions are no plain images; record them as .raw");
        }
        if (plain && facts.width * facts.height * 2 != frame_bytes) {
            throw std::runtime_error("the frame has " + std::to_string(frame_bytes) +
                                     " bytes, which is not a plain image");
        }
        describe(facts, regions, metadata);
        const std::filesystem::path folder = std::filesystem::path(path_).parent_path();
        if (!folder.empty()) std::filesystem::create_directories(folder);
        file_ = create_frame_file(kind_, path_, facts);
        // So that even a recording that is cut off tells what it is.
        write_side_file(path_, side_);
    }

    FrameFile* file() { return file_.get(); }
    const std::string& path() const { return path_; }

    void finish(const FrameTaker& taker, const ContinuousRun& run) {
        if (taker.frames() == 0) return discard();
        file_->finish();
        side_["complete"] = true;
        side_["frames"] = taker.frames();
        side_["first_frame"] = taker.first_number();
        side_["gaps"] = nlohmann::ordered_json::array();
        for (const Gap& gap : run.gaps()) side_["gaps"].push_back({gap.first, gap.count});
        write_side_file(path_, side_);
    }

  private:
    void describe(const Acquisition& facts, const std::vector<rgn_type>& regions, bool metadata) {
        constexpr const char* names[] = {"tiff", "fits", "raw"};
        side_ = nlohmann::ordered_json::parse(facts_json(facts));
        side_.erase("region");
        side_["format"] = names[static_cast<size_t>(kind_)];
        side_["metadata"] = metadata;
        side_["frame_bytes"] = facts.frame_bytes;
        side_["regions"] = nlohmann::ordered_json::array();
        for (const rgn_type& r : regions) {
            side_["regions"].push_back({r.s1, r.p1, r.s2 - r.s1 + 1, r.p2 - r.p1 + 1});
        }
        if (metadata || regions.size() > 1) {
            side_.erase("width");
            side_.erase("height");
        }
        side_["complete"] = false;
        side_["frames"] = 0;
    }

    // A file without a frame is of no use to anybody.
    void discard() {
        file_.reset();
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
        std::filesystem::remove(side_file_path(path_), ignored);
    }

    std::string path_;
    FileKind kind_;
    nlohmann::ordered_json side_;
    std::unique_ptr<FrameFile> file_;
};

End watch(const ContinuousRun& run, const FrameTaker& taker, const EndSignals& signals,
          double seconds) {
    const auto start = std::chrono::steady_clock::now();
    LiveLine line;
    for (;;) {
        if (signals.came_within(std::chrono::milliseconds(10))) return End::signal;
        if (taker.done()) return run.overran() ? End::overrun : End::frames;
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        if (seconds > 0 && passed.count() >= seconds) return End::seconds;
        line.update(run);
    }
}

nlohmann::ordered_json summarise(const ContinuousRun& run, const FrameTaker& taker, End end,
                                 double seconds) {
    const Percentiles latency = run.latency();
    return {{"end", end_text(end)},
            {"seconds", seconds},
            {"frames", taker.frames()},
            {"lost", run.lost()},
            {"gaps", run.gaps().size()},
            {"frame_bytes", run.frame_bytes()},
            {"frames_per_second", taker.frames() / seconds},
            {"bytes_per_second", taker.frames() / seconds * run.frame_bytes()},
            {"ring_frames", run.ring_frames()},
            {"ring_most_waiting", taker.most_waiting()},
            {"latency_above_fastest_us",
             {{"notifications", latency.count},
              {"median", latency.median_us},
              {"p95", latency.p95_us},
              {"p99", latency.p99_us},
              {"worst", latency.worst_us}}}};
}

void print_summary(const std::string& camera, const nlohmann::ordered_json& s) {
    const auto count = [](const nlohmann::ordered_json& value) { return value.get<unsigned>(); };
    std::printf("%s: %u frames of %u bytes in %.2f s (%s)\n", camera.c_str(), count(s["frames"]),
                count(s["frame_bytes"]), s["seconds"].get<double>(),
                s["end"].get<std::string>().c_str());
    std::printf("  rate     %.1f frames/s, %s\n", s["frames_per_second"].get<double>(),
                rate_text(s["bytes_per_second"].get<double>()).c_str());
    std::printf("  lost     %u in %u gaps\n", count(s["lost"]), count(s["gaps"]));
    std::printf("  ring     %u frames, %.1f MB, at most %u waiting\n", count(s["ring_frames"]),
                s["ring_frames"].get<double>() * s["frame_bytes"].get<double>() / 1e6,
                count(s["ring_most_waiting"]));
    const nlohmann::ordered_json& l = s["latency_above_fastest_us"];
    std::printf(
        "  latency  of %u notifications above the fastest: median %.1f, 95 %% %.1f, 99 %% %.1f, "
        "worst %.1f us\n",
        count(l["notifications"]), l["median"].get<double>(), l["p95"].get<double>(),
        l["p99"].get<double>(), l["worst"].get<double>());
}

void stream(const StreamOptions& options) {
    EndSignals signals;
    const Library library;
    const Camera camera(library, options.set_up.camera);
    options.set_up.apply(camera);
    const std::vector<rgn_type> regions = resolve_regions(camera, options);
    ContinuousRun run(camera, {.regions = regions,
                               .exposure_ms = options.set_up.exposure_ms,
                               .ring_frames = options.ring,
                               .overwrite = options.overwrite});
    std::optional<Recording> recording;
    if (!options.record.empty()) {
        recording.emplace(camera, options, regions, run.frame_bytes());
    }

    const auto start = std::chrono::steady_clock::now();
    run.start();
    FrameTaker taker(run, recording ? recording->file() : nullptr, options.frames);
    const End end = watch(run, taker, signals, options.seconds);
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    signals.give_back();
    std::exception_ptr problem;
    try {
        taker.finish();
    } catch (...) {
        problem = std::current_exception();
    }
    // What came before is worth keeping, whatever went wrong.
    if (recording) recording->finish(taker, run);
    if (problem) std::rethrow_exception(problem);

    nlohmann::ordered_json summary = summarise(run, taker, end, passed.count());
    const bool wrote = recording && taker.frames() > 0;
    if (wrote) summary["files"] = {recording->path(), side_file_path(recording->path())};
    if (options.json) {
        std::cout << summary.dump(2) << '\n';
    } else {
        print_summary(camera.name(), summary);
        if (wrote) std::cout << "wrote " << recording->path() << " and its .json\n";
    }
    std::cout.flush();
    if (run.overran()) {
        throw std::runtime_error("the ring was full after frame " + std::to_string(run.taken()) +
                                 "; a larger --ring lasts longer, --overwrite goes on");
    }
    if (taker.frames() == 0) throw std::runtime_error("no frame arrived");
}

}  // namespace

void add_stream(CLI::App& program) {
    auto options = std::make_shared<StreamOptions>();
    CLI::App* command = program.add_subcommand(
        "stream", "Run without end, watch and record; Ctrl-C ends it with all that was recorded");
    options->set_up.add_settings_to(*command);
    command
        ->add_option("--roi", options->regions,
                     "x,y,width,height in unbinned pixels, or centre,WIDTHxHEIGHT; repeatable")
        ->allow_extra_args(false);
    CLI::Option* frames =
        command->add_option("--frames", options->frames, "end after so many frames")
            ->check(CLI::Range(1u, 4294967295u));
    command->add_option("--seconds", options->seconds, "end after this time")
        ->check(CLI::PositiveNumber)
        ->excludes(frames);
    command->add_option("--ring", options->ring, "frames in the ring; default about 256 MB")
        ->check(CLI::Range(2u, 4294967295u));
    command->add_flag("--overwrite,!--no-overwrite", options->overwrite,
                      "what a full ring does: lose the oldest frames (default), or end the run");
    command->add_option("--record", options->record,
                        "write the frames into this file, .tif, .tiff, .fits or .raw");
    command->add_flag("--json", options->json, "the summary as JSON");
    command->callback([options] { stream(*options); });
}

}  // namespace orvex
