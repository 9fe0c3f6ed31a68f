#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>

#include "orvex/commands.h"
#include "orvex/frame_file.h"
#include "orvex/output_file.h"
#include "orvex/set_up_options.h"
#include "orvex/side_file.h"
#include "orvex/value_hints.h"

// snap: a sequence of frames into image files.
namespace orvex {

namespace {

struct SnapOptions {
    SetUpOptions set_up;
    std::string out = "snap";
    std::vector<std::string> formats;
    bool force = false;
    bool json = false;
};

struct Output {
    const Format* format;
    OutputFile file;
};

// Those of --format, or the one that the path ends in, or those that most people want. All are made
// sure of before the camera does anything.
std::vector<Output> prepare_outputs(const SnapOptions& options) {
    const Format* ending = format_of(options.out);
    std::vector<const Format*> chosen;
    for (const std::string& name : options.formats) {
        const Format* format = &find_format(name);
        if (std::find(chosen.begin(), chosen.end(), format) == chosen.end()) {
            chosen.push_back(format);
        }
    }
    if (chosen.empty() && ending) chosen = {ending};
    for (const Format& format : formats()) {
        if (options.formats.empty() && !ending && !format.bare) chosen.push_back(&format);
    }
    // A program that was built without the libraries of the others has but this one.
    if (chosen.empty()) chosen = {&find_format("raw")};
    const std::filesystem::path given(options.out);
    const std::string base = ending ? (given.parent_path() / given.stem()).string() : options.out;
    std::vector<Output> outputs;
    for (const Format* format : chosen) {
        const bool as_given = ending && format == ending;
        const std::string path = as_given ? options.out : base + format->endings.front();
        outputs.push_back({format, OutputFile(path, options.force)});
        if (format->bare)
            outputs.push_back({nullptr, OutputFile(side_file_path(path), options.force)});
    }
    return outputs;
}

void write_frames(const Acquisition& a, const Output& output) {
    const std::string& path = output.file.part();
    if (!output.format) return write_json(path, recording_json(a.facts, a.stamps));
    const std::unique_ptr<FrameFile> file = output.format->create(path, a.facts);
    for (uint32_t i = 0; i < a.facts.frames; ++i) {
        const std::span<const uint16_t> frame = a.frame(i);
        file->add({reinterpret_cast<const uint8_t*>(frame.data()), frame.size_bytes()});
    }
    file->finish(a.stamps);
}

nlohmann::ordered_json describe_frames(const Acquisition& acquisition) {
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    for (uint32_t i = 0; i < acquisition.facts.frames; ++i) {
        const Statistics s = measure(acquisition, i);
        nlohmann::ordered_json begin, noise;
        if (acquisition.stamps[i].begin_s) begin = *acquisition.stamps[i].begin_s;
        if (acquisition.facts.frames > 1) noise = s.noise;
        rows.push_back({{"frame", i + 1},
                        {"begin_s", begin},
                        {"mean", s.mean},
                        {"noise", noise},
                        {"deviation", s.deviation},
                        {"min", s.min},
                        {"max", s.max}});
    }
    return rows;
}

void print_frames(const Facts& facts, const nlohmann::ordered_json& rows) {
    std::printf("%s: %u %s of %u x %u pixels, %g ms\n", facts.camera.c_str(), facts.frames,
                facts.frames == 1 ? "frame" : "frames", facts.width, facts.height,
                facts.exposure_ms);
    std::printf("%6s %10s %10s %10s %7s %7s\n", "frame", "mean", "noise", "deviation", "min",
                "max");
    for (const auto& row : rows) {
        // It takes two frames to tell noise from the scene.
        char noise[16] = "-";
        if (row["noise"].is_number()) {
            std::snprintf(noise, sizeof noise, "%.2f", row["noise"].get<double>());
        }
        std::printf("%6u %10.2f %10s %10.2f %7u %7u\n", row["frame"].get<unsigned>(),
                    row["mean"].get<double>(), noise, row["deviation"].get<double>(),
                    row["min"].get<unsigned>(), row["max"].get<unsigned>());
    }
}

void snap(const SnapOptions& options) {
    options.set_up.set_up();  // says what is wrong with it before any file is made
    std::vector<Output> outputs = prepare_outputs(options);
    const Library library;
    const Camera camera = open_camera(library, options.set_up.camera);
    options.set_up.apply(camera);
    const Acquisition acquisition = take_sequence(camera, options.set_up.request(camera));
    const nlohmann::ordered_json rows = describe_frames(acquisition);
    for (const Output& output : outputs) write_frames(acquisition, output);
    std::vector<std::string> files;
    for (Output& output : outputs) {
        output.file.commit();
        files.push_back(output.file.path());
    }
    if (options.json) {
        nlohmann::ordered_json out = facts_json(acquisition.facts);
        out["statistics"] = rows;
        out["files"] = files;
        std::cout << out.dump(2) << '\n';
        return;
    }
    print_frames(acquisition.facts, rows);
    std::fflush(stdout);
    for (const std::string& file : files) std::cout << "wrote " << file << '\n';
}

}  // namespace

void add_snap(CLI::App& program) {
    auto options = std::make_shared<SnapOptions>();
    CLI::App* command = program.add_subcommand("snap", "Take frames and write them into files");
    options->set_up.add_to(*command);
    options->set_up.add_run_options_to(*command);
    hint(command->add_option(
             "--out", options->out,
             "path of the files; its ending chooses the format when --format does not"),
         {ValueKind::file})
        ->capture_default_str();
    ValueHint names{.kind = ValueKind::choice, .several = true};
    for (const Format& format : formats()) names.choices.emplace_back(format.name);
    hint(command->add_option("--format", options->formats,
                             "formats, with commas between: " + format_names() +
                                 " (png: the first frame, 8 bits, stretched); default all but raw"),
         names)
        ->delimiter(',')
        ->allow_extra_args(false);
    command->add_flag("--force", options->force, "replace files that exist");
    command->add_flag("--json", options->json, "facts and statistics as JSON");
    group_options(*command, "Output");
    add_examples(*command,
                 {{"orvex snap SoftCCD-1024 --frames 5 --exposure 50 --out night",
                   "five frames of 50 ms into night.tif, night.fits and a preview"},
                  {"orvex snap SoftCCD-1024 --set temp_setpoint=-40 --wait-temp --out cold.fits",
                   "one frame as soon as the sensor is cold"}});
    command->callback([options] { snap(*options); });
}

}  // namespace orvex
