#include "orvex/describe/program_description.h"

namespace orvex::description {

namespace {

constexpr const char* functions =
    R"bash(# bash completion of orvex, made from the descriptions of its commands.

# Words as lines; a blank in one is quoted.
_orvex_offer() {
    local word
    while IFS= read -r word; do
        [[ $word == "$current"* ]] && COMPREPLY+=("$(printf '%q' "$word")")
    done
}

_orvex_value() {
    case $1 in
        file)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
        camera) _orvex_offer < <("$program" list --names 2>/dev/null) ;;
        parameter) _orvex_offer < <(printf '%s\n' $parameters) ;;
        assignment)
            compopt -o nospace 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -S = -W "$parameters" -- "$current") ;;
        choice:*) mapfile -t COMPREPLY < <(compgen -W "${1#*:}" -- "$current") ;;
        choices:*)
            local before=
            [[ $current == *,* ]] && before=${current%,*},
            mapfile -t COMPREPLY < <(compgen -P "$before" -W "${1#*:}" -- "${current##*,}") ;;
    esac
}

_orvex() {
    local program=$1 current=$2 previous=$3 command=${COMP_WORDS[1]}
)bash";

constexpr const char* end = R"bash(    COMPREPLY=()
    # The value behind NAME= is a word of its own.
    [[ $current == = || $previous == = ]] && return
    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$current")
        return
    fi
    local options='' values='' positionals=''
    _orvex_command
    local value=${values##*" $previous="}
    if [[ $previous == -* && $value != "$values" ]]; then
        _orvex_value "${value%%;*}"
        return
    fi
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
        return
    fi
    # Which positional it is: those before it are neither options nor values of options.
    local i place=0 word
    for ((i = 2; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ $word == -?* ]]; then
            [[ $values == *" $word="* ]] && i=$((i + 1))
        elif [[ $word != = && ${COMP_WORDS[i - 1]} != = ]]; then
            place=$((place + 1))
        fi
    done
    local kinds
    IFS=';' read -ra kinds <<<"$positionals"
    local last=$((${#kinds[@]} - 1))
    if [ "$place" -gt "$last" ]; then
        [[ $positionals == *'...' ]] || return
        place=$last
    fi
    _orvex_value "${kinds[place]%...}"
}
complete -F _orvex orvex
)bash";

std::string value_word(const OptionDescription& option) {
    switch (option.hint.kind) {
        case ValueKind::text: return "text";
        case ValueKind::file: return "file";
        case ValueKind::camera: return "camera";
        case ValueKind::parameter: return "parameter";
        case ValueKind::assignment: return "assignment";
        case ValueKind::choice:
            return (option.hint.several ? "choices:" : "choice:") +
                   joined(option.hint.choices, " ");
    }
    return {};
}

// One case of the function that knows the commands.
std::string command_case(const CommandDescription& command) {
    std::vector<std::string> options;
    std::string values, positionals;
    for (const OptionDescription& option : command.options) {
        if (option.positional) {
            positionals += (positionals.empty() ? "" : ";") + value_word(option) +
                           (option.repeatable ? "..." : "");
            continue;
        }
        options.insert(options.end(), option.names.begin(), option.names.end());
        if (option.value.empty()) continue;
        for (const std::string& name : option.names)
            values += ' ' + name + '=' + value_word(option) + ';';
    }
    return "        " + command.name + ")\n            options='" + joined(options, " ") +
           "'\n            values='" + values + "'\n            positionals='" + positionals +
           "' ;;\n";
}

}  // namespace

std::string bash_completion(const ProgramDescription& program) {
    std::vector<std::string> words;
    std::string cases;
    for (const CommandDescription& command : program.commands) {
        words.push_back(command.name);
        cases += command_case(command);
    }
    for (const OptionDescription& option : program.options)
        words.insert(words.end(), option.names.begin(), option.names.end());
    return std::string(functions) + "    local commands='" + joined(words, " ") +
           "'\n    local parameters='" + joined(parameter_words(), " ") + "'\n" + end +
           "\n_orvex_command() {\n    case $command in\n" + cases + "    esac\n}\n";
}

}  // namespace orvex::description
