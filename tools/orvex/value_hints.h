#pragma once

#include <CLI/CLI.hpp>
#include <initializer_list>
#include <string>
#include <vector>

// What the help of an option can't say in a word and manual and completion want to know.
namespace orvex {

enum class ValueKind {
    text,        // nothing is known of it
    file,        // the path of a file
    camera,      // a camera of 'orvex list'
    parameter,   // the name of a parameter
    assignment,  // NAME=VALUE with such a name
    choice,      // one of a few words, or something else
};

struct ValueHint {
    ValueKind kind = ValueKind::text;
    std::vector<std::string> choices{};
    bool several = false;  // with commas between
};

// Gives the option its hint, and the kind a name in the help.
CLI::Option* hint(CLI::Option* option, ValueHint given);
// The words of a text "a, b, c" as a choice.
CLI::Option* hint_words(CLI::Option* option, const std::string& words);
// That of an option without one is text, or the choice of its check.
ValueHint hint_of(const CLI::Option* option);

// Options that stand in no group yet come into this one of the help.
void group_options(CLI::App& command, const std::string& group);

// What a person may type, under the help of the command.
struct Example {
    std::string line;
    std::string effect;
};
void add_examples(CLI::App& command, std::initializer_list<Example> examples);
std::vector<Example> examples_of(const CLI::App& command);

}  // namespace orvex
