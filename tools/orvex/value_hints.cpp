#include "orvex/value_hints.h"

#include <map>

namespace orvex {

namespace {

std::map<const CLI::Option*, ValueHint>& hints() {
    static std::map<const CLI::Option*, ValueHint> all;
    return all;
}

std::map<const CLI::App*, std::vector<Example>>& examples() {
    static std::map<const CLI::App*, std::vector<Example>> all;
    return all;
}

const char* kind_name(ValueKind kind) {
    switch (kind) {
        case ValueKind::text: return "TEXT";
        case ValueKind::file: return "FILE";
        case ValueKind::camera: return "CAMERA";
        case ValueKind::parameter: return "NAME";
        case ValueKind::assignment: return "NAME=VALUE";
        case ValueKind::choice: return "WORD";
    }
    return "";
}

std::vector<std::string> split(const std::string& text, const std::string& between) {
    std::vector<std::string> parts;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find(between, start), text.size());
        parts.push_back(text.substr(start, end - start));
        start = end + between.size();
    }
    return parts;
}

}  // namespace

CLI::Option* hint(CLI::Option* option, ValueHint given) {
    option->type_name(kind_name(given.kind));
    hints()[option] = std::move(given);
    return option;
}

CLI::Option* hint_words(CLI::Option* option, const std::string& words) {
    return hint(option, {.kind = ValueKind::choice, .choices = split(words, ", ")});
}

ValueHint hint_of(const CLI::Option* option) {
    const auto found = hints().find(option);
    if (found != hints().end()) return found->second;
    // "TEXT:{light,dark}"
    const std::string type = option->get_type_name();
    const size_t open = type.find('{'), close = type.rfind('}');
    if (open == std::string::npos || close == std::string::npos) return {};
    return {.kind = ValueKind::choice,
            .choices = split(type.substr(open + 1, close - open - 1), ",")};
}

void group_options(CLI::App& command, const std::string& group) {
    for (CLI::Option* option : command.get_options())
        if (option->get_group() == "Options" && option != command.get_help_ptr() &&
            !option->get_positional())
            option->group(group);
}

void add_examples(CLI::App& command, std::initializer_list<Example> given) {
    std::string text = "Examples:";
    for (const Example& example : given)
        text += "\n  " + example.line + "\n      " + example.effect;
    command.footer(text);
    examples()[&command] = given;
}

std::vector<Example> examples_of(const CLI::App& command) {
    const auto found = examples().find(&command);
    return found == examples().end() ? std::vector<Example>() : found->second;
}

}  // namespace orvex
