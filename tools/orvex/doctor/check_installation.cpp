#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <optional>

#include "orvex/doctor/checks.h"
#include "orvex/doctor/system.h"
#include "orvex/session.h"

// The library, the settings of its installation, driver module and plug-ins.
namespace orvex::doctor {

namespace {

namespace fs = std::filesystem;

constexpr const char* version_section = "[SOFTWARE\\Brelvane\\ORVEX]";
constexpr const char* version_entry = "Current Version=MAJOR.MINOR.PATCH.BUILD";

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

bool is_file(const fs::path& path) {
    std::error_code problem;
    return fs::is_regular_file(path, problem);
}

bool is_there(const fs::path& path) {
    std::error_code problem;
    return fs::exists(path, problem);
}

std::vector<fs::path> named_folders() {
    std::vector<fs::path> folders;
    const std::string list = variable("ORVEX_MODULE_PATH");
    for (size_t start = 0; start < list.size();) {
        const size_t end = std::min(list.find(folder_separator(), start), list.size());
        if (end > start) folders.emplace_back(list.substr(start, end - start));
        start = end + 1;
    }
    return folders;
}

// The file that the library takes for a module; it passes none over that can't be loaded.
std::optional<fs::path> find_module(const std::string& base) {
    std::vector<fs::path> folders = named_folders();
    const std::vector<fs::path> fixed = module_folders(loaded_library().parent_path());
    folders.insert(folders.end(), fixed.begin(), fixed.end());
    for (const fs::path& folder : folders)
        if (fs::path file = folder / module_file_name(base); is_there(file)) return file;
    return {};
}

std::string folder_list() {
    std::string text;
    for (const fs::path& folder : module_folders(loaded_library().parent_path()))
        text += (text.empty() ? "" : ", ") + folder.string();
    return text;
}

void check_module_path(Findings& findings) {
    for (const fs::path& folder : named_folders()) {
        std::error_code problem;
        if (fs::is_directory(folder, problem)) continue;
        findings.push_back(
            {Grade::warning, "driver",
             "ORVEX_MODULE_PATH names '" + folder.string() + "', which is no folder",
             "correct it; between folders stands '" + std::string(1, folder_separator()) + "'"});
    }
}

void check_cameras(Findings& findings, const Library& library, bool open_cameras) {
    const std::vector<std::string> names = library.cameras();
    std::string list;
    for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
    if (names.empty()) {
        findings.push_back({Grade::warning, "cameras", "the driver module has found none",
                            "look at cables and power; ORVEX_CORE_LOG_FILE=t.log orvex list writes "
                            "what it did"});
        return;
    }
    findings.push_back({Grade::ok, "cameras", std::to_string(names.size()) + ": " + list});
    if (!open_cameras) return;
    for (const std::string& name : names) {
        try {
            const Camera camera = open_camera(library, name);
            findings.push_back({Grade::ok, "cameras", "'" + name + "' opens"});
        } catch (const std::exception& error) {
            findings.push_back({Grade::wrong, "cameras", error.what(),
                                "end the program that uses it, or see whether this user may open "
                                "the device file of the driver"});
        }
    }
}

}  // namespace

void check_library(Findings& findings) {
    const fs::path file = loaded_library();
    const std::string where = file.empty() ? "the library" : file.string();
    uns16 packed = 0;
    if (!ox_orvex_get_ver(&packed)) {
        findings.push_back({Grade::warning, "library", where + ", which does not know its version",
                            "the settings have to hold " + std::string(version_section) +
                                " and in it " + version_entry});
        return;
    }
    const std::string version = Library::version();
    const bool same = version == ORVEX_PROGRAM_VERSION;
    findings.push_back(
        {same ? Grade::ok : Grade::warning, "library", where + ", version " + version,
         same ? ""
              : "this program is of version " ORVEX_PROGRAM_VERSION
                "; see which library the system finds first, and which settings it reads"});
}

void check_settings(Findings& findings) {
    const std::string named = variable("ORVEX_REGISTRY");
    std::vector<fs::path> places = settings_files(loaded_library().parent_path());
    if (!named.empty()) {
        if (!is_file(named))
            findings.push_back({Grade::wrong, "settings",
                                "ORVEX_REGISTRY names '" + named + "', which is no file",
                                "correct it or unset it; the library passes it over"});
        places.insert(places.begin(), named);
    }
    const auto found = std::find_if(places.begin(), places.end(), is_file);
    if (found == places.end()) {
        std::string list;
        for (const fs::path& place : places) list += (list.empty() ? "" : ", ") + place.string();
        findings.push_back({Grade::warning, "settings", "there is no file of them: " + list,
                            "install the library whole, or set ORVEX_REGISTRY"});
        return;
    }
    std::ifstream file(*found);
    if (!file) {
        findings.push_back({Grade::wrong, "settings", found->string() + " can't be read",
                            "let this user read it"});
        return;
    }
    findings.push_back({Grade::ok, "settings", found->string()});
}

void check_driver(Findings& findings, bool open_cameras) {
    check_module_path(findings);
    const std::optional<fs::path> module = find_module("orvexDDI");
    if (!module)
        findings.push_back({Grade::wrong, "driver",
                            module_file_name("orvexDDI") + " is in none of " + folder_list(),
                            "set ORVEX_MODULE_PATH to the folder of the driver module"});
    const std::string problem = module ? load_problem(*module) : std::string();
    if (!problem.empty())
        findings.push_back({Grade::wrong, "driver", module->string() + ": " + problem,
                            "install what it needs, or take it away: the library loads no other "
                            "as long as it is there"});
    try {
        const Library library;
        if (module) findings.push_back({Grade::ok, "driver", module->string()});
        check_cameras(findings, library, open_cameras);
    } catch (const std::exception& error) {
        if (!module || !problem.empty()) return;
        findings.push_back({Grade::wrong, "driver", module->string() + ": " + error.what(),
                            "read what it says above; ORVEX_CORE_LOG_FILE=t.log orvex list and "
                            "orvex trace t.log tell more"});
    }
}

void check_plug_ins(Findings& findings) {
    std::string absent;
    for (const char* base : {"BV_PoP", "ff"}) {
        const std::optional<fs::path> file = find_module(base);
        if (!file) {
            absent += (absent.empty() ? "" : ", ") + module_file_name(base);
            continue;
        }
        const std::string problem = load_problem(*file);
        findings.push_back({problem.empty() ? Grade::ok : Grade::wrong, "plug-ins",
                            file->string() + (problem.empty() ? "" : ": " + problem),
                            problem.empty() ? "" : "install what it needs, or take it away"});
    }
    if (!absent.empty()) findings.push_back({Grade::ok, "plug-ins", "without " + absent});
}

}  // namespace orvex::doctor
