#include <cstdio>
#include <iostream>

#include "orvex/commands.h"
#include "orvex/interrupt.h"
#include "orvex/parameters.h"
#include "orvex/set_up_options.h"
#include "orvex/value_hints.h"

// params, get and set: the parameters of a camera.
namespace orvex {

namespace {

struct ParamsOptions {
    std::string camera;
    bool json = false;
    bool all = false;
};

std::string unit_text(const nlohmann::ordered_json& row) {
    return row.contains("unit") ? ' ' + row["unit"].get<std::string>() : std::string();
}

std::string range_text(const nlohmann::ordered_json& row) {
    if (row.contains("list")) {
        std::string out;
        for (const auto& item : row["list"]) {
            if (!out.empty()) out += " | ";
            out += item["text"].get<std::string>();
        }
        return out;
    }
    if (row["type"] == "BOOLEAN") return "on | off";
    if (row["type"] == "CHAR_PTR" || !row.contains("min") || row["min"] == row["max"]) return {};
    return row["min"].dump() + " .. " + row["max"].dump() + unit_text(row);
}

std::string shown_value(const nlohmann::ordered_json& row) {
    if (!row.contains("value")) return "-";
    const nlohmann::ordered_json& value = row["value"];
    if (row.contains("list")) {
        for (const auto& item : row["list"]) {
            if (item["value"] == value) return item["text"];
        }
    }
    if (value.is_boolean()) return value.get<bool>() ? "on" : "off";
    if (!value.is_string()) return value.dump() + unit_text(row);
    std::string text = value;
    for (char& c : text) {
        if (c == '\n') c = ';';
    }
    return text;
}

void params(const ParamsOptions& options) {
    const Library library;
    const Camera camera = open_camera(library, options.camera);
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    for (const ParameterId& parameter : all_parameters()) {
        sleep_or_stop({});
        nlohmann::ordered_json row = reflect(camera, parameter);
        if (options.all || row["available"].get<bool>()) rows.push_back(std::move(row));
    }
    if (options.json) {
        std::cout << rows.dump(2) << '\n';
        return;
    }
    std::printf("%-30s %-10s %-22s %-10s %-24s %s\n", "NAME", "ID", "TYPE", "ACCESS", "VALUE",
                "RANGE OR LIST");
    for (const auto& row : rows) {
        const std::string name = row["name"].get<std::string>().substr(6);
        if (!row["available"].get<bool>()) {
            std::printf("%-30s %-10s %-22s %-10s\n", name.c_str(),
                        row["id"].get<std::string>().c_str(),
                        row["type"].get<std::string>().c_str(), "absent");
            continue;
        }
        std::printf("%-30s %-10s %-22s %-10s %-24s %s\n", name.c_str(),
                    row["id"].get<std::string>().c_str(), row["type"].get<std::string>().c_str(),
                    row.value("access", "?").c_str(), shown_value(row).c_str(),
                    range_text(row).c_str());
    }
}

struct GetOptions {
    std::string camera;
    std::vector<std::string> names;
    bool json = false;
};

void get(const GetOptions& options) {
    const Library library;
    std::vector<ParameterId> parameters;
    parameters.reserve(options.names.size());
    for (const std::string& name : options.names) parameters.push_back(find_parameter(name));
    const Camera camera = open_camera(library, options.camera);
    nlohmann::ordered_json out;
    for (const ParameterId& parameter : parameters) {
        sleep_or_stop({});
        const std::optional<std::string> text = value_text(camera, parameter);
        camera.require(text.has_value(), "cannot read " + std::string(parameter.name));
        if (options.json) {
            out[parameter.name] = value_json(camera, parameter);
        } else if (parameters.size() > 1) {
            std::cout << parameter.name << " = " << *text << '\n';
        } else {
            std::cout << *text << '\n';
        }
    }
    if (options.json) std::cout << out.dump(2) << '\n';
}

struct SetOptions {
    std::string camera;
    std::vector<std::string> assignments;
};

void set(const SetOptions& options) {
    // All names are looked up before anything is set.
    std::vector<std::pair<ParameterId, std::string>> assignments;
    for (const std::string& assignment : options.assignments) {
        const auto [name, value] = split_assignment(assignment);
        assignments.emplace_back(find_parameter(name), value);
    }
    const Library library;
    const Camera camera = open_camera(library, options.camera);
    for (const auto& [parameter, text] : assignments) {
        sleep_or_stop({});
        set_from_text(camera, parameter, text);
        std::cout << parameter.name << " = "
                  << value_text(camera, parameter).value_or("(no value to read)") << '\n';
    }
}

}  // namespace

void add_params(CLI::App& program) {
    auto options = std::make_shared<ParamsOptions>();
    CLI::App* command = program.add_subcommand("params", "Show all parameters of a camera");
    hint(command->add_option("camera", options->camera, "name or index"), {ValueKind::camera})
        ->required();
    command->add_flag("--json", options->json, "as JSON");
    command->add_flag("--all", options->all, "also those that the camera has not");
    add_examples(*command, {{"orvex params SoftCMOS-2048",
                             "all parameters with their ranges, lists and units"}});
    command->callback([options] { params(*options); });
}

void add_get(CLI::App& program) {
    auto options = std::make_shared<GetOptions>();
    CLI::App* command = program.add_subcommand("get", "Read parameters");
    hint(command->add_option("camera", options->camera, "name or index"), {ValueKind::camera})
        ->required();
    hint(command->add_option("names", options->names, "parameters, as in temp or PARAM_TEMP"),
         {ValueKind::parameter})
        ->required();
    command->add_flag("--json", options->json, "as JSON");
    add_examples(*command, {{"orvex get SoftCCD-1024 temp bit_depth", "the two values"}});
    command->callback([options] { get(*options); });
}

void add_set(CLI::App& program) {
    auto options = std::make_shared<SetOptions>();
    CLI::App* command = program.add_subcommand(
        "set",
        "Set parameters and read them back; they last until the camera is closed, which is "
        "when the command ends. For a picture use --set of snap and stream");
    hint(command->add_option("camera", options->camera, "name or index"), {ValueKind::camera})
        ->required();
    hint(command->add_option(
             "assignments", options->assignments,
             "NAME=VALUE; a value is a number in the unit that 'get' shows, an item of the "
             "list, or on and off"),
         {ValueKind::assignment})
        ->required();
    add_examples(*command,
                 {{"orvex set SoftCCD-1024 temp_setpoint=-15", "whether the camera takes it"}});
    command->callback([options] { set(*options); });
}

}  // namespace orvex
