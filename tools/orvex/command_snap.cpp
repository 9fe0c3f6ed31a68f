#include <cstdio>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>

#include "orvex/commands.h"
#include "orvex/image_files.h"
#include "orvex/set_up_options.h"

// snap: a sequence of frames into image files.
namespace orvex {

namespace {

struct SnapOptions {
    SetUpOptions set_up;
    std::string out = "snap";
    bool json = false;
};

// The path without one of the endings that are written.
std::string stem(const std::string& out) {
    const std::filesystem::path path(out);
    const std::string ending = path.extension();
    if (ending == ".tif" || ending == ".tiff" || ending == ".fits" || ending == ".png") {
        return (path.parent_path() / path.stem()).string();
    }
    return out;
}

nlohmann::ordered_json describe_frames(const Acquisition& acquisition) {
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    for (uint32_t i = 0; i < acquisition.frames; ++i) {
        const Statistics s = measure(acquisition, i);
        rows.push_back({{"frame", i + 1},
                        {"mean", s.mean},
                        {"noise", acquisition.frames > 1 ? nlohmann::ordered_json(s.noise)
                                                         : nlohmann::ordered_json()},
                        {"deviation", s.deviation},
                        {"min", s.min},
                        {"max", s.max}});
    }
    return rows;
}

void print_frames(const Acquisition& acquisition, const nlohmann::ordered_json& rows) {
    std::printf("%s: %u frames of %u x %u pixels, %g ms\n", acquisition.camera.c_str(),
                acquisition.frames, acquisition.width, acquisition.height, acquisition.exposure_ms);
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
    const SetUp set_up = options.set_up.set_up();
    const Library library;
    const Camera camera(library, options.set_up.camera);
    options.set_up.apply(camera);
    const Acquisition acquisition = take_sequence(camera, set_up);
    const nlohmann::ordered_json rows = describe_frames(acquisition);

    const std::string base = stem(options.out);
    const std::filesystem::path folder = std::filesystem::path(base).parent_path();
    if (!folder.empty()) std::filesystem::create_directories(folder);
    const std::vector<std::string> files = {base + ".tif", base + ".fits", base + ".png"};
    write_frames(FileKind::tiff, files[0], acquisition);
    write_frames(FileKind::fits, files[1], acquisition);
    write_preview(files[2], acquisition, 0);

    if (options.json) {
        nlohmann::ordered_json out = nlohmann::ordered_json::parse(facts_json(acquisition));
        out["statistics"] = rows;
        out["files"] = files;
        std::cout << out.dump(2) << '\n';
        return;
    }
    print_frames(acquisition, rows);
    for (const std::string& file : files) std::cout << "wrote " << file << '\n';
}

}  // namespace

void add_snap(CLI::App& program) {
    auto options = std::make_shared<SnapOptions>();
    CLI::App* command =
        program.add_subcommand("snap", "Take frames and write them as TIFF, FITS and PNG");
    options->set_up.add_to(*command);
    command->add_option("--out", options->out, "path of the files, without their endings")
        ->capture_default_str();
    command->add_flag("--json", options->json, "facts and statistics as JSON");
    command->callback([options] { snap(*options); });
}

}  // namespace orvex
