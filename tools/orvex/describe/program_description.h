#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "orvex/value_hints.h"

// The commands of the program with all that their help says, in plain form.
namespace orvex::description {

struct OptionDescription {
    std::vector<std::string> names;  // "--out"; of a positional its name without dashes
    std::string group;
    std::string text;
    std::string value;  // "FILE"; empty for a flag
    std::string standard;
    ValueHint hint;
    bool positional = false;
    bool required = false;
    bool repeatable = false;
};

struct CommandDescription {
    std::string name;
    std::string text;
    std::vector<OptionDescription> options;  // positionals first
    std::vector<Example> examples;
};

struct ProgramDescription {
    std::string text;
    std::vector<OptionDescription> options;
    std::vector<CommandDescription> commands;
};

ProgramDescription describe_program(const CLI::App& program);

// Pages of the manual, each into a file of the folder: orvex.1, orvex-snap.1 ... Throws
// std::runtime_error when one can't be written.
void write_manual(const ProgramDescription& program, const std::string& folder);
std::string bash_completion(const ProgramDescription& program);
std::string zsh_completion(const ProgramDescription& program);
std::string fish_completion(const ProgramDescription& program);

// Names of all parameters as people type them.
std::vector<std::string> parameter_words();
// "a b c"
std::string joined(const std::vector<std::string>& words, const std::string& between);
// All occurrences.
std::string replaced(std::string text, const std::string& what, const std::string& by);

}  // namespace orvex::description
