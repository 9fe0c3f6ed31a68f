#include <algorithm>
#include <cstdio>
#include <iostream>

#include "orvex/commands.h"
#include "orvex/frame_file.h"
#include "orvex/interrupt.h"
#include "orvex/metadata_recording.h"
#include "orvex/output_file.h"
#include "orvex/value_hints.h"

// metadata: what recorded frames tell of themselves, and pictures of them.
namespace orvex {

namespace {

struct MetadataOptions {
    std::string file;
    uint32_t frame = 0;  // from 1; 0 all
    std::string out;
    bool force = false;
    bool json = false;
};

struct FrameRange {
    uint32_t first;
    uint32_t end;
};

FrameRange choose_frames(const MetadataOptions& options, const MetadataRecording& recording) {
    if (options.frame == 0) return {0, recording.frames()};
    if (options.frame > recording.frames()) {
        throw std::invalid_argument("the recording has " + std::to_string(recording.frames()) +
                                    " frames");
    }
    return {options.frame - 1, options.frame};
}

std::string place_text(const nlohmann::ordered_json& region) {
    if (region.is_null()) return "-";
    char text[64];
    std::snprintf(text, sizeof text, "%u,%u,%u,%u", region[0].get<unsigned>(),
                  region[1].get<unsigned>(), region[2].get<unsigned>(), region[3].get<unsigned>());
    return text;
}

std::string tags_text(const nlohmann::ordered_json& tags) {
    std::string text;
    for (const auto& tag : tags) {
        text +=
            (text.empty() ? "" : ", ") + tag["name"].get<std::string>() + ' ' + tag["value"].dump();
    }
    return text;
}

void print_frame_heading() {
    std::printf("%6s %8s %16s %14s %5s %8s  %s\n", "frame", "number", "begin [s]", "exposure [ms]",
                "bits", "regions", "box x,y,w,h");
}

void print_frame(uint32_t index, const nlohmann::ordered_json& frame) {
    std::printf("%6u %8llu %16.7f %14.3f %5u %8zu  %s\n", index + 1,
                static_cast<unsigned long long>(frame.value("number", uint64_t{0})),
                static_cast<double>(frame.value("begin_100ns", uint64_t{0})) / 1e7,
                static_cast<double>(frame.value("exposure_ns", uint64_t{0})) / 1e6,
                frame.value("bit_depth", 0u), frame["regions"].size(),
                place_text(frame["box"]).c_str());
}

void print_regions(const nlohmann::ordered_json& frame) {
    if (!frame["tags"].empty()) std::printf("frame: %s\n", tags_text(frame["tags"]).c_str());
    std::printf("%8s %22s %8s %12s  %s\n", "region", "x,y,w,h", "binning", "pixel bytes", "tags");
    for (const auto& region : frame["regions"]) {
        const std::string binning = region["binning"][0].dump() + 'x' + region["binning"][1].dump();
        std::printf("%8u %22s %8s %12u  %s\n", region["number"].get<unsigned>(),
                    place_text(region["region"]).c_str(), binning.c_str(),
                    region["pixel_bytes"].get<unsigned>(), tags_text(region["tags"]).c_str());
    }
}

void show(const MetadataOptions& options, MetadataRecording& recording, FrameRange range) {
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    if (!options.json) print_frame_heading();
    for (uint32_t i = range.first; i < range.end; ++i) {
        sleep_or_stop({});
        nlohmann::ordered_json frame = recording.frame(i).describe();
        if (options.json) {
            rows.push_back(std::move(frame));
            continue;
        }
        print_frame(i, frame);
        if (range.end - range.first == 1) print_regions(frame);
    }
    if (options.json) {
        nlohmann::ordered_json out = recording.facts();
        out["decoded"] = std::move(rows);
        std::cout << out.dump(2) << '\n';
    }
}

void write_pictures(const Format& format, OutputFile& output, MetadataRecording& recording,
                    FrameRange range) {
    if (!format.faithful) range.end = std::min(range.end, range.first + 1);
    Facts picture = recording.canvas();
    picture.frames = range.end - range.first;
    const std::unique_ptr<FrameFile> file = format.create(output.part(), picture);
    const uint64_t start = recording.frame(0).begin();
    std::vector<FrameStamp> stamps;
    for (uint32_t i = range.first; i < range.end; ++i) {
        const DecodedFrame frame = recording.frame(i);
        const std::vector<uint16_t> pixels = MetadataRecording::recompose(frame, picture);
        file->add({reinterpret_cast<const uint8_t*>(pixels.data()), picture.frame_bytes});
        std::optional<double> begin;
        if (frame.begin()) begin = static_cast<double>(frame.begin() - start) / 1e7;
        stamps.push_back({i + 1, begin});
    }
    file->finish(stamps);
    output.commit();
}

void metadata(const MetadataOptions& options) {
    const Format* const format = options.out.empty() ? nullptr : &picture_format(options.out);
    MetadataRecording recording(options.file);
    const FrameRange range = choose_frames(options, recording);
    if (range.first == range.end) throw std::runtime_error("the recording has no whole frame");
    std::optional<OutputFile> output;
    if (format) output.emplace(options.out, options.force);
    show(options, recording, range);
    if (!format) return;
    write_pictures(*format, *output, recording, range);
    std::fflush(stdout);
    if (!options.json) std::cout << "wrote " << options.out << '\n';
}

}  // namespace

void add_metadata(CLI::App& program) {
    auto options = std::make_shared<MetadataOptions>();
    CLI::App* command = program.add_subcommand(
        "metadata", "Decode recorded frames that carry metadata, and recompose their regions");
    hint(command->add_option("file", options->file, ".raw file of 'orvex stream'"),
         {ValueKind::file})
        ->required();
    command->add_option("--frame", options->frame, "this frame alone, from 1, with its regions")
        ->check(CLI::Range(1u, 4294967295u));
    hint(command->add_option(
             "--out", options->out,
             "write the recomposed pictures; the ending chooses the format, as in snap"),
         {ValueKind::file});
    command->add_flag("--force", options->force, "replace a file that exists");
    command->add_flag("--json", options->json, "everything as JSON");
    add_examples(*command, {{"orvex metadata run.raw --out run-regions.tif",
                             "headers, regions and tags of a recording; the recomposed frames"}});
    command->callback([options] { metadata(*options); });
}

}  // namespace orvex
