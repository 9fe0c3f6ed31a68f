#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "orvex/commands.h"
#include "orvex/frame_taker.h"
#include "orvex/frame_times.h"
#include "orvex/interrupt.h"
#include "orvex/live_line.h"
#include "orvex/recording.h"
#include "orvex/set_up_options.h"
#include "orvex/side_file.h"
#include "orvex/value_hints.h"

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
    bool force = false;
    bool json = false;
};

enum class End { frames, seconds, signal, overrun, late };

const char* end_text(End end) {
    switch (end) {
        case End::frames: return "all frames";
        case End::seconds: return "time is over";
        case End::signal: return "interrupted";
        case End::overrun: return "the ring overran";
        case End::late: return "no frame came";
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

// Notes what moves on, and says when nothing has for too long.
class Patience {
  public:
    explicit Patience(std::optional<Seconds> limit) : limit_(limit) {}

    bool over(uint32_t newest) {
        const auto now = std::chrono::steady_clock::now();
        if (newest != newest_) since_ = now;
        newest_ = newest;
        return limit_ && now - since_ > *limit_;
    }

  private:
    std::optional<Seconds> limit_;
    uint32_t newest_ = 0;
    std::chrono::steady_clock::time_point since_ = std::chrono::steady_clock::now();
};

End watch(const ContinuousRun& run, const FrameTaker& taker, const FrameTimes& times,
          std::optional<Seconds> limit, double seconds) {
    const auto start = std::chrono::steady_clock::now();
    LiveLine line;
    Patience patience(limit);
    for (;;) {
        if (interrupted_within(std::chrono::milliseconds(10))) return End::signal;
        if (taker.done()) return run.overran() ? End::overrun : End::frames;
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        if (seconds > 0 && passed.count() >= seconds) return End::seconds;
        if (patience.over(std::max(run.newest(), run.taken()))) return End::late;
        line.update(run, times);
    }
}

struct Pace {
    unsigned frames_behind = 0;
    unsigned put_off_ms = 0;
};

// What a software camera says of the run that ended: frames that were not ready when they were due,
// and how far the schedule was put off. Nothing from a camera of another kind, which may not have a
// console.
std::optional<Pace> pace_kept(const Camera& camera) {
    if (!camera.get_or<PARAM_CAM_SYSTEMS_INFO>({}).starts_with("Software Interface")) return {};
    std::string question = "pace";
    question.resize(64, ' ');  // the answer takes its place
    std::array<char, 80> answer{};
    Pace pace;
    if (!oz_cam_send_debug(camera.handle(), question.data(), answer.size(), answer.data()) ||
        std::sscanf(answer.data(), "%u %u", &pace.frames_behind, &pace.put_off_ms) != 2)
        return {};
    return pace;
}

nlohmann::ordered_json summarise(const ContinuousRun& run, const FrameTaker& taker,
                                 const FrameTimes& times, End end, double seconds) {
    const Percentiles latency = times.latency();
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
    if (s.contains("pace") && count(s["pace"]["frames_behind"]) > 0) {
        std::printf("  pace     %u frames late by more than 1 ms, schedule put off by %u ms\n",
                    count(s["pace"]["frames_behind"]), count(s["pace"]["put_off_ms"]));
    }
    const nlohmann::ordered_json& l = s["latency_above_fastest_us"];
    std::printf(
        "  latency  of %u notifications above the fastest: median %.1f, 95 %% %.1f, 99 %% %.1f, "
        "worst %.1f us\n",
        count(l["notifications"]), l["median"].get<double>(), l["p95"].get<double>(),
        l["p99"].get<double>(), l["worst"].get<double>());
}

// What a run that did not end as it was asked to ends with.
void judge(const Camera& camera, const ContinuousRun& run, const FrameTaker& taker, End end,
           std::optional<Seconds> limit) {
    if (end == End::late) camera.fail(late_frame_text(*limit, run.taken()));
    const char* nothing = "no frame arrived";
    if (end == End::signal) throw Interrupted(taker.frames() ? "interrupted" : nothing);
    if (run.overran()) {
        throw std::runtime_error("the ring was full after frame " + std::to_string(run.taken()) +
                                 "; a larger --ring lasts longer, --overwrite goes on");
    }
    if (taker.frames() == 0) throw std::runtime_error(nothing);
}

void stream(const StreamOptions& options) {
    options.set_up.set_up();  // says what is wrong with it before any file is made
    std::optional<RecordingFiles> files;
    if (!options.record.empty()) files.emplace(options.record, options.force);
    const Library library;
    const Camera camera = open_camera(library, options.set_up.camera);
    options.set_up.apply(camera);
    RunRequest request = options.set_up.request(camera);
    request.set_up.frames = 0;
    const std::vector<rgn_type> regions = resolve_regions(camera, options);
    FrameTimes times(files ? FrameTimes::Keep::begins : FrameTimes::Keep::latency);
    ContinuousRun run(camera, run_set_up(request, regions), {options.ring, options.overwrite},
                      times.listener());
    const std::optional<Seconds> limit = time_limit(request, run.time_limit());
    std::optional<Recording> recording;
    if (files) {
        Facts facts = run_facts(camera, request, regions[0], run.frame_bytes());
        facts.frames = options.frames;
        recording.emplace(std::move(*files), camera, facts, regions);
    }

    const auto start = std::chrono::steady_clock::now();
    run.start();
    FrameTaker taker(run, recording ? recording->file() : nullptr, options.frames);
    const End end = watch(run, taker, times, limit, options.seconds);
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    std::exception_ptr problem;
    try {
        taker.finish();
    } catch (...) {
        problem = std::current_exception();
    }
    // What came before is worth keeping, whatever went wrong.
    if (recording) recording->finish(times.stamps(taker.numbers()), run.gaps());
    if (problem) std::rethrow_exception(problem);

    nlohmann::ordered_json summary = summarise(run, taker, times, end, passed.count());
    if (const std::optional<Pace> pace = pace_kept(camera)) {
        summary["pace"] = {{"frames_behind", pace->frames_behind},
                           {"put_off_ms", pace->put_off_ms}};
    }
    const bool wrote = recording && taker.frames() > 0;
    if (wrote) summary["files"] = {options.record, side_file_path(options.record)};
    if (options.json) {
        std::cout << summary.dump(2) << '\n';
    } else {
        print_summary(camera.name(), summary);
        std::fflush(stdout);
        if (wrote) std::cout << "wrote " << options.record << " and its .json\n";
    }
    std::cout.flush();
    judge(camera, run, taker, end, limit);
}

}  // namespace

void add_stream(CLI::App& program) {
    auto options = std::make_shared<StreamOptions>();
    CLI::App* command = program.add_subcommand(
        "stream", "Run without end, watch and record; Ctrl-C ends it with all that was recorded");
    options->set_up.add_settings_to(*command);
    options->set_up.add_run_options_to(*command);
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
    hint(command->add_option("--record", options->record,
                             "write the frames into this file; its ending chooses the format"),
         {ValueKind::file});
    command->add_flag("--force", options->force, "replace files that exist");
    command->add_flag("--json", options->json, "the summary as JSON");
    group_options(*command, "Course and output");
    add_examples(*command, {{"orvex stream SoftCMOS-2048 --roi centre,512x512 --record run.tif",
                             "records until Ctrl-C"},
                            {"orvex stream SoftCMOS-2048 --seconds 60 --json",
                             "rate, losses and latency of a minute, for programs"}});
    command->callback([options] { stream(*options); });
}

}  // namespace orvex
