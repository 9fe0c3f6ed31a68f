#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "orvex/doctor/checks.h"
#include "orvex/doctor/system.h"
#include "orvex/environment_variables.h"
#include "orvex/names.h"

// What the environment says, and where the work is done.
namespace orvex::doctor {

namespace {

std::string value_of(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

#define ORVEX_VARIABLE_NAME(name, text) #name,
const std::vector<std::string> known_variables = {ORVEX_ENVIRONMENT_VARIABLES(ORVEX_VARIABLE_NAME)
                                                      ORVEX_PROGRAM_TRACE_VARIABLE};
#undef ORVEX_VARIABLE_NAME

// What came before a place of a text, as "line 3, column 7".
std::string place_in(const std::string& text, size_t byte) {
    const std::string before = text.substr(0, byte == 0 ? 0 : byte - 1);
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const size_t start = before.rfind('\n');
    const size_t column = before.size() - (start == std::string::npos ? 0 : start + 1) + 1;
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

}  // namespace

void check_environment(Findings& findings) {
    std::string set;
    for (const auto& [name, value] : environment()) {
        if (!name.starts_with("ORVEX_")) continue;
        if (std::find(known_variables.begin(), known_variables.end(), name) !=
            known_variables.end()) {
            set += (set.empty() ? "" : ", ") + name;
            continue;
        }
        std::string near = did_you_mean(name, known_variables);
        if (near.empty()) near = "; known are " + any_of(known_variables);
        findings.push_back(
            {Grade::warning, "environment", name + " is read by nobody", "unset it" + near});
    }
    findings.push_back({Grade::ok, "environment", set.empty() ? "nothing is set" : "set: " + set});
}

void check_log(Findings& findings) {
    const std::string file = value_of("ORVEX_CORE_LOG_FILE");
    const std::string level = value_of("ORVEX_CORE_LOG_LEVEL");
    constexpr std::string_view levels = "EWID";
    const bool known =
        level.empty() ||
        levels.find(static_cast<char>(std::toupper(static_cast<unsigned char>(level[0])))) !=
            std::string_view::npos;
    if (!known)
        findings.push_back({Grade::warning, "trace",
                            "ORVEX_CORE_LOG_LEVEL is '" + level + "', which counts as D",
                            "E, W, I and D are levels"});
    if (file.empty()) {
        if (!level.empty())
            findings.push_back({Grade::warning, "trace",
                                "ORVEX_CORE_LOG_LEVEL is set and ORVEX_CORE_LOG_FILE is not",
                                "nothing is traced without a file"});
        else
            findings.push_back({Grade::ok, "trace", "off"});
        return;
    }
    // The library has opened it when it was loaded.
    std::error_code problem;
    if (std::filesystem::is_directory(file, problem) || !can_write(file)) {
        findings.push_back({Grade::wrong, "trace",
                            "ORVEX_CORE_LOG_FILE names '" + file + "', which can't be written",
                            "name a file in a folder that is there and that this user may write"});
        return;
    }
    findings.push_back({Grade::ok, "trace", "into " + file});
}

void check_softcam_configuration(Findings& findings) {
    const std::string path = value_of("ORVEX_SOFTCAM");
    if (path.empty()) {
        findings.push_back({Grade::ok, "softcam", "one camera of each model, as nothing is set"});
        return;
    }
    if (path == "off") {
        findings.push_back({Grade::ok, "softcam", "the software cameras are left out"});
        return;
    }
    std::ifstream file(path);
    if (!file || std::filesystem::is_directory(path)) {
        findings.push_back({Grade::wrong, "softcam",
                            "ORVEX_SOFTCAM names '" + path + "', which can't be read",
                            "correct it or unset it"});
        return;
    }
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    try {
        const auto parsed = nlohmann::json::parse(text, nullptr, true, true);
        if (!parsed.is_object()) throw std::runtime_error("no object");
        findings.push_back({Grade::ok, "softcam", path});
    } catch (const nlohmann::json::parse_error& error) {
        findings.push_back({Grade::wrong, "softcam",
                            path + ": no JSON from " + place_in(text, error.byte) + " on",
                            "correct it there; docs/software-camera.md shows the form"});
    } catch (const std::exception&) {
        findings.push_back({Grade::wrong, "softcam", path + ": not an object in { }",
                            "docs/software-camera.md shows the form"});
    }
}

void check_space(Findings& findings) {
    constexpr double gigabyte = 1e9;
    std::error_code problem;
    const auto folder = std::filesystem::current_path(problem);
    const auto space = std::filesystem::space(folder, problem);
    if (problem) {
        findings.push_back({Grade::warning, "space",
                            "the folder can't be asked: " + problem.message(),
                            "work in another folder"});
        return;
    }
    const double free = static_cast<double>(space.available) / gigabyte;
    std::string text = folder.string() + ": " + std::to_string(free);
    text.resize(text.find('.') + 2);
    text += " GB free";
    if (!can_write(folder)) {
        findings.push_back({Grade::warning, "space", folder.string() + " can't be written",
                            "name files in another folder with --out and --record"});
    } else if (free < 0.1) {
        findings.push_back({Grade::wrong, "space", text, "make room; frames will not fit"});
    } else if (free < 2) {
        findings.push_back({Grade::warning, "space", text,
                            "make room: a run at full speed writes a gigabyte in seconds"});
    } else {
        findings.push_back({Grade::ok, "space", text});
    }
}

}  // namespace orvex::doctor
