#include "orvex/describe/program_description.h"

namespace orvex::description {

namespace {

// In a description of _arguments brackets, colons and quotes have a meaning.
std::string zsh_text(const std::string& text) {
    std::string out = replaced(text, "\\", "\\\\");
    for (const char* special : {"[", "]", ":"})
        out = replaced(out, special, std::string("\\") + special);
    return replaced(out, "'", "'\\''");
}

std::string action_of(const OptionDescription& option) {
    switch (option.hint.kind) {
        case ValueKind::text: return " ";
        case ValueKind::file: return "_files";
        case ValueKind::camera: return "_orvex_cameras";
        case ValueKind::parameter: return "_orvex_parameters";
        case ValueKind::assignment: return "_orvex_assignments";
        case ValueKind::choice: return '(' + joined(option.hint.choices, " ") + ')';
    }
    return {};
}

std::string argument_word(const OptionDescription& option) {
    const std::string value =
        option.value.empty() ? "" : ':' + option.value + ':' + action_of(option);
    std::string out;
    if (option.positional)
        return " \\\n                '" + std::string(option.repeatable ? "*" : "") + value + '\'';
    for (const std::string& name : option.names)
        out += " \\\n                '" + std::string(option.repeatable ? "*" : "") + name + '[' +
               zsh_text(option.text) + ']' + value + '\'';
    return out;
}

constexpr const char* helpers = R"zsh(
_orvex_cameras() {
    local -a cameras
    cameras=("${(@f)$(orvex list --names 2>/dev/null)}")
    compadd -a cameras
}
_orvex_parameters() { compadd -a orvex_parameters }
_orvex_assignments() { compadd -S = -a orvex_parameters }

_orvex() {
    if ((CURRENT == 2)); then
        _describe command orvex_commands
        return
    fi
    local command=$words[2]
    shift words
    ((CURRENT--))
    case $command in
)zsh";

}  // namespace

std::string zsh_completion(const ProgramDescription& program) {
    std::string commands, cases;
    for (const CommandDescription& command : program.commands) {
        commands += "    '" + command.name + ':' + zsh_text(command.text) + "'\n";
        cases += "        " + command.name + ")\n            _arguments";
        for (const OptionDescription& option : command.options) cases += argument_word(option);
        cases += " ;;\n";
    }
    return "#compdef orvex\n# zsh completion of orvex, made from the descriptions of its "
           "commands.\n\nlocal -a orvex_commands=(\n" +
           commands + ")\nlocal -a orvex_parameters=(" + joined(parameter_words(), " ") + ")\n" +
           helpers + cases + "    esac\n}\n\n_orvex \"$@\"\n";
}

}  // namespace orvex::description
