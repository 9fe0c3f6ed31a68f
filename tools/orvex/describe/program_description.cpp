#include "orvex/describe/program_description.h"

#include "orvex/names.h"
#include "orvex/parameters.h"

namespace orvex::description {

namespace {

OptionDescription describe_option(const CLI::Option& option) {
    OptionDescription out;
    out.positional = option.get_positional();
    out.group = option.get_group();
    out.text = option.get_description();
    out.required = option.get_required();
    out.hint = hint_of(&option);
    if (out.positional) out.names = {option.get_name(true, false)};
    for (const std::string& name : option.get_snames()) out.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) out.names.push_back("--" + name);
    if (option.get_items_expected_max() == 0) return out;
    const std::string type = option.get_type_name();
    // Behind a colon stands what is checked.
    out.value = type.substr(0, type.find_first_of(":{ "));
    if (out.value.empty()) out.value = "VALUE";
    out.standard = option.get_default_str();
    out.repeatable = option.get_items_expected_max() > 1;
    return out;
}

std::vector<OptionDescription> describe_options(const CLI::App& app) {
    std::vector<OptionDescription> out;
    for (const bool positional : {true, false})
        for (const CLI::Option* option : app.get_options())
            if (option->get_positional() == positional) out.push_back(describe_option(*option));
    return out;
}

}  // namespace

ProgramDescription describe_program(const CLI::App& program) {
    ProgramDescription out{program.get_description(), describe_options(program), {}};
    for (const CLI::App* command : program.get_subcommands({})) {
        if (command->get_group().empty()) continue;
        out.commands.push_back({command->get_name(), command->get_description(),
                                describe_options(*command), examples_of(*command)});
    }
    return out;
}

std::vector<std::string> parameter_words() {
    constexpr size_t prefix = 6;  // PARAM_
    std::vector<std::string> words;
    for (const ParameterId& parameter : all_parameters()) {
        std::string word = plain_name(std::string(parameter.name).substr(prefix));
        words.push_back(replaced(word, "-", "_"));
    }
    return words;
}

std::string joined(const std::vector<std::string>& words, const std::string& between) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
    return text;
}

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
        text.replace(at, what.size(), by);
    return text;
}

}  // namespace orvex::description
