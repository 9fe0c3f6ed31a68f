#include <array>
#include <cstdio>
#include <iostream>
#include <nlohmann/json.hpp>
#include <utility>

#include "orvex/commands.h"
#include "orvex/interrupt.h"
#include "orvex/parameters.h"
#include "orvex/value_hints.h"

// list and info: which cameras there are, and what one says of itself.
namespace orvex {

namespace {

struct ListOptions {
    bool names = false;
    bool json = false;
};

void list(const ListOptions& options) {
    const Library library;
    const std::vector<std::string> names = library.cameras();
    if (options.json) {
        nlohmann::ordered_json out = nlohmann::ordered_json::array();
        for (size_t i = 0; i < names.size(); ++i) {
            out.push_back({{"index", i}, {"name", names[i]}});
        }
        std::cout << out.dump(2) << '\n';
        return;
    }
    if (names.empty()) std::fputs("no cameras\n", stderr);
    for (size_t i = 0; i < names.size(); ++i) {
        if (!options.names) std::cout << i << "  ";
        std::cout << names[i] << '\n';
    }
}

struct InfoOptions {
    std::string camera;
    bool json = false;
};

// What 'info' shows, in this order; a camera that lacks one is passed over.
constexpr std::pair<const char*, uns32> shown_parameters[] = {
    {"product", PARAM_PRODUCT_NAME},
    {"vendor", PARAM_VENDOR_NAME},
    {"system", PARAM_SYSTEM_NAME},
    {"part number", PARAM_CAMERA_PART_NUMBER},
    {"serial number", PARAM_HEAD_SER_NUM_ALPHA},
    {"sensor", PARAM_CHIP_NAME},
    {"columns", PARAM_SER_SIZE},
    {"rows", PARAM_PAR_SIZE},
    {"pixel width", PARAM_PIX_SER_SIZE},
    {"pixel height", PARAM_PIX_PAR_SIZE},
    {"full well", PARAM_FWELL_CAPACITY},
    {"bit depth", PARAM_BIT_DEPTH},
    {"pixel time", PARAM_PIX_TIME},
    {"readout port", PARAM_READOUT_PORT},
    {"temperature", PARAM_TEMP},
    {"set-point", PARAM_TEMP_SETPOINT},
    {"cooling", PARAM_COOLING_MODE},
    {"interface", PARAM_CAM_INTERFACE_TYPE},
    {"firmware", PARAM_CAM_FW_FULL_VERSION},
    {"systems", PARAM_CAM_SYSTEMS_INFO},
};

void print_fact(const char* label, std::string text) {
    // The systems text has a line for each unit of the camera.
    for (size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 23) {
        text.replace(at, 1, "\n" + std::string(22, ' '));
    }
    std::printf("%-20s  %s\n", label, text.c_str());
}

void info(const InfoOptions& options) {
    const Library library;
    const Camera camera = open_camera(library, options.camera);
    nlohmann::ordered_json out = {{"name", camera.name()}, {"library", Library::version()}};
    if (!options.json) {
        print_fact("name", camera.name());
        print_fact("library", Library::version());
    }
    for (const auto& [label, id] : shown_parameters) {
        sleep_or_stop({});
        if (!camera.available(id)) continue;
        const std::optional<std::string> text = value_text(camera, {label, id});
        if (!text || text->empty()) continue;
        if (!options.json) {
            print_fact(label, *text);
            continue;
        }
        const nlohmann::ordered_json value = value_json(camera, {label, id});
        // A number that counts something stands with its unit, everything else for itself.
        out[label] = value.contains("text")   ? value["text"]
                     : value.contains("unit") ? value
                                              : value["value"];
    }
    if (options.json) std::cout << out.dump(2) << '\n';
}

}  // namespace

void add_list(CLI::App& program) {
    auto options = std::make_shared<ListOptions>();
    CLI::App* command = program.add_subcommand("list", "List the cameras");
    command->add_flag("--names", options->names, "names alone, one a line");
    command->add_flag("--json", options->json, "as JSON");
    add_examples(*command, {{"orvex list", "which cameras there are"}});
    command->callback([options] { list(*options); });
}

void add_info(CLI::App& program) {
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command = program.add_subcommand("info", "Show what a camera is");
    hint(command->add_option("camera", options->camera, "name or index"), {ValueKind::camera})
        ->required();
    command->add_flag("--json", options->json, "as JSON");
    add_examples(*command, {{"orvex info SoftCCD-1024", "what the camera of this name is"},
                            {"orvex info 0 --json", "the same of the first one, for programs"}});
    command->callback([options] { info(*options); });
}

}  // namespace orvex
