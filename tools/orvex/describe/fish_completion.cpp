#include "orvex/describe/program_description.h"

namespace orvex::description {

namespace {

std::string fish_quoted(const std::string& text) {
    return '\'' + replaced(replaced(text, "\\", "\\\\"), "'", "\\'") + '\'';
}

// What follows an option, or stands as a positional.
std::string arguments_of(const OptionDescription& option) {
    switch (option.hint.kind) {
        case ValueKind::text: return option.positional ? "" : " -x";
        case ValueKind::file: return option.positional ? " -F" : " -rF";
        case ValueKind::camera: return " -xa '(orvex list --names 2>/dev/null)'";
        case ValueKind::parameter: return " -xa \"$__orvex_parameters\"";
        case ValueKind::assignment: return " -xa '(printf \"%s=\\\\n\" $__orvex_parameters)'";
        case ValueKind::choice: return " -xa " + fish_quoted(joined(option.hint.choices, " "));
    }
    return {};
}

std::string option_line(const std::string& condition, const OptionDescription& option) {
    std::string line = "complete -c orvex" + condition;
    for (const std::string& name : option.names)
        line += name.starts_with("--")  ? " -l " + name.substr(2)
                : name.starts_with("-") ? " -s " + name.substr(1)
                                        : "";
    if (!option.value.empty()) line += arguments_of(option);
    return line + " -d " + fish_quoted(option.text) + '\n';
}

}  // namespace

std::string fish_completion(const ProgramDescription& program) {
    std::string out =
        "# fish completion of orvex, made from the descriptions of its commands.\n"
        "set -g __orvex_parameters " +
        joined(parameter_words(), " ") + "\ncomplete -c orvex -f\n";
    const std::string no_command = " -n __fish_use_subcommand";
    for (const OptionDescription& option : program.options) out += option_line(no_command, option);
    for (const CommandDescription& command : program.commands) {
        out += "complete -c orvex" + no_command + " -a " + command.name + " -d " +
               fish_quoted(command.text) + '\n';
        const std::string condition = " -n '__fish_seen_subcommand_from " + command.name + "'";
        for (const OptionDescription& option : command.options)
            out += option_line(condition, option);
    }
    return out;
}

}  // namespace orvex::description
