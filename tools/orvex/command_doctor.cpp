#include <algorithm>
#include <cstdio>
#include <iostream>
#include <nlohmann/json.hpp>

#include "orvex/commands.h"
#include "orvex/doctor/checks.h"
#include "orvex/doctor/system.h"
#include "orvex/value_hints.h"

// doctor: whether everything that cameras need is there.
namespace orvex {

namespace {

using doctor::Finding;
using doctor::Findings;
using doctor::Grade;
using doctor::Leftover;

struct DoctorOptions {
    bool open = false;
    bool json = false;
};

const char* grade_text(Grade grade) {
    switch (grade) {
        case Grade::ok: return "ok";
        case Grade::warning: return "warning";
        case Grade::wrong: return "wrong";
    }
    return "";
}

// What was there before the library was started, and what still is.
void tell_leftovers(const std::vector<Leftover>& before, Findings& findings) {
    const std::vector<Leftover> after = doctor::leftovers();
    size_t removed = 0;
    for (const Leftover& left : before)
        if (std::find(after.begin(), after.end(), left) == after.end()) ++removed;
    size_t foreign = 0;
    for (const Leftover& left : after) {
        if (!left.own) {
            ++foreign;
            continue;
        }
        findings.push_back({Grade::warning, "leftovers",
                            left.path + " is of a process that has died",
                            "the next start of the library removes it, when one succeeds"});
    }
    if (foreign)
        findings.push_back({Grade::ok, "leftovers",
                            "events of other users, who alone know whether they are in use: " +
                                std::to_string(foreign)});
    if (removed)
        findings.push_back({Grade::ok, "leftovers",
                            "of dead processes, removed by the start of the library for this "
                            "check: " +
                                std::to_string(removed)});
    if (after.empty() && removed == 0)
        findings.push_back({Grade::ok, "leftovers", "nothing is left of dead processes"});
}

Findings examine(bool open_cameras) {
    Findings findings;
    doctor::check_library(findings);
    doctor::check_settings(findings);
    doctor::check_environment(findings);
    doctor::check_log(findings);
    doctor::check_softcam_configuration(findings);
    doctor::check_device_folder(findings);
    doctor::check_shared_memory(findings);
    doctor::check_limits(findings);
    doctor::check_space(findings);
    const std::vector<Leftover> before = doctor::leftovers();
    doctor::check_driver(findings, open_cameras);
    doctor::check_plug_ins(findings);
    tell_leftovers(before, findings);
    return findings;
}

void print_findings(const Findings& findings) {
    for (const Finding& finding : findings) {
        std::printf("%-8s %-14s %s\n", grade_text(finding.grade), finding.topic.c_str(),
                    finding.text.c_str());
        if (!finding.remedy.empty()) std::printf("%24s> %s\n", "", finding.remedy.c_str());
    }
}

void examine_and_tell(const DoctorOptions& options) {
    const Findings findings = examine(options.open);
    const auto count = [&](Grade grade) {
        return std::count_if(findings.begin(), findings.end(),
                             [&](const Finding& finding) { return finding.grade == grade; });
    };
    const auto wrong = count(Grade::wrong), warnings = count(Grade::warning);
    if (options.json) {
        nlohmann::ordered_json rows = nlohmann::ordered_json::array();
        for (const Finding& finding : findings) {
            nlohmann::ordered_json row = {{"grade", grade_text(finding.grade)},
                                          {"topic", finding.topic},
                                          {"text", finding.text}};
            if (!finding.remedy.empty()) row["remedy"] = finding.remedy;
            rows.push_back(row);
        }
        std::cout << nlohmann::ordered_json{{"wrong", wrong},
                                            {"warnings", warnings},
                                            {"findings", rows}}
                         .dump(2)
                  << '\n';
    } else {
        print_findings(findings);
        std::fflush(stdout);
    }
    if (wrong == 1) throw std::runtime_error("one thing is wrong");
    if (wrong > 1) throw std::runtime_error(std::to_string(wrong) + " things are wrong");
}

}  // namespace

void add_doctor(CLI::App& program) {
    auto options = std::make_shared<DoctorOptions>();
    CLI::App* command = program.add_subcommand(
        "doctor", "Check that all is there that cameras need, and say what to do");
    command->add_flag("--open", options->open,
                      "open each camera, too, which sets it back to where it starts");
    command->add_flag("--json", options->json, "as JSON");
    add_examples(*command, {{"orvex doctor", "every check in a line, with what helps"}});
    command->callback([options] { examine_and_tell(*options); });
}

}  // namespace orvex
