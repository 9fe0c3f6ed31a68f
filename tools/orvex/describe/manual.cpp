#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <stdexcept>

#include "orvex/describe/program_description.h"
#include "orvex/environment_variables.h"
#include "orvex/exit_statuses.h"

// Pages of the manual in the language of man(7).
namespace orvex::description {

namespace {

// That of the help for what was put into none.
constexpr const char* other_group = "Options";

// With an end of line in place of a blank where a line of the source would become long.
std::string wrapped(const std::string& text) {
    constexpr size_t longest = 70;
    std::string out = text;
    size_t start = 0, blank = std::string::npos;
    for (size_t at = 0; at < out.size(); ++at) {
        if (out[at] == '\n') start = at + 1;
        if (out[at] == ' ') {
            if (at - start > longest && blank != std::string::npos && blank > start) {
                out[blank] = '\n';
                start = blank + 1;
            }
            blank = at;
        }
    }
    if (out.size() - start > longest && blank != std::string::npos && blank > start)
        out[blank] = '\n';
    return out;
}

// Text as the formatter shows it: a hyphen is one that can be copied, and no line begins a request.
std::string plain(const std::string& text) {
    std::string out = replaced(wrapped(text), "\\", "\\e");
    out = replaced(out, "-", "\\-");
    out = replaced(out, "\n.", "\n\\&.");
    out = replaced(out, "\n'", "\n\\&'");
    return out.starts_with('.') || out.starts_with('\'') ? "\\&" + out : out;
}

std::string upper(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

// The day of the build, which a repeatable build is told.
std::string day() {
    const char* epoch = std::getenv("SOURCE_DATE_EPOCH");
    const std::time_t now = epoch ? std::strtoll(epoch, nullptr, 10) : std::time(nullptr);
    std::array<char, 16> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d", std::gmtime(&now));
    return text.data();
}

std::string title(const std::string& page) {
    return ".TH \"" + upper(page) + "\" 1 \"" + day() +
           "\" \"orvex " ORVEX_PROGRAM_VERSION "\" \"User Commands\"\n";
}

std::string bold(const std::string& text) {
    return "\\fB" + plain(text) + "\\fR";
}

std::string italic(const std::string& text) {
    return "\\fI" + plain(text) + "\\fR";
}

std::string entry(const std::string& label, const std::string& text) {
    return ".TP\n" + label + "\n" + plain(text) + "\n";
}

std::string positional_name(const OptionDescription& option) {
    return option.hint.kind == ValueKind::text ? upper(option.names.front()) : option.value;
}

std::string option_entry(const OptionDescription& option) {
    std::string label;
    if (option.positional) {
        label = italic(positional_name(option));
    } else {
        for (const std::string& name : option.names)
            label += (label.empty() ? "" : ", ") + bold(name);
        if (!option.value.empty()) label += ' ' + italic(option.value);
    }
    std::string text = option.text;
    const bool listed = option.hint.kind == ValueKind::choice && !option.hint.choices.empty() &&
                        text.find(option.hint.choices.back()) == std::string::npos;
    if (listed) text += "; one of " + joined(option.hint.choices, ", ");
    if (!option.standard.empty()) text += "; default " + option.standard;
    return entry(label, text);
}

std::string option_sections(const std::vector<OptionDescription>& options) {
    std::vector<std::string> groups;
    std::string out;
    for (const OptionDescription& option : options) {
        if (option.positional) {
            if (out.empty()) out = ".SH ARGUMENTS\n";
            out += option_entry(option);
        } else if (std::find(groups.begin(), groups.end(), option.group) == groups.end()) {
            groups.push_back(option.group);
        }
    }
    out += ".SH OPTIONS\n";
    // Those without a subject of their own come last.
    if (std::erase(groups, other_group) > 0) groups.emplace_back(other_group);
    for (const std::string& group : groups) {
        if (groups.size() > 1) out += ".SS " + plain(group == other_group ? "Other" : group) + "\n";
        for (const OptionDescription& option : options)
            if (!option.positional && option.group == group) out += option_entry(option);
    }
    return out;
}

std::string common_sections() {
    std::string out = ".SH EXIT STATUS\n";
#define ORVEX_STATUS_ENTRY(status, why) out += entry(bold(status), why);
    ORVEX_EXIT_STATUSES(ORVEX_STATUS_ENTRY)
#undef ORVEX_STATUS_ENTRY
    out += ".SH ENVIRONMENT\n";
#define ORVEX_VARIABLE_ENTRY(name, text) out += entry(bold(#name), text);
    ORVEX_ENVIRONMENT_VARIABLES(ORVEX_VARIABLE_ENTRY)
#undef ORVEX_VARIABLE_ENTRY
    return out;
}

std::string example_section(const std::vector<Example>& examples) {
    if (examples.empty()) return {};
    std::string out = ".SH EXAMPLES\n";
    for (const Example& example : examples) out += entry(bold(example.line), example.effect);
    return out;
}

std::string page_name(const CommandDescription& command) {
    return "orvex-" + command.name;
}

std::string reference(const std::string& page) {
    return ".BR " + plain(page) + " (1)";
}

std::string command_page(const CommandDescription& command) {
    std::string summary = command.text;
    std::string out = title(page_name(command));
    // The name section has one line.
    summary = summary.substr(0, summary.find_first_of(";\n"));
    summary[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(summary[0])));
    out += ".SH NAME\n" + plain(page_name(command) + " - " + summary) + "\n";
    out += ".SH SYNOPSIS\n" + bold("orvex " + command.name);
    for (const OptionDescription& option : command.options)
        if (option.positional)
            out += ' ' + italic(positional_name(option)) + (option.repeatable ? "..." : "");
    out += " [" + italic("OPTION") + "]...\n";
    out += ".SH DESCRIPTION\n" + plain(command.text) + ".\n";
    out += option_sections(command.options) + common_sections() + example_section(command.examples);
    return out + ".SH SEE ALSO\n" + reference("orvex") + "\n";
}

std::string program_page(const ProgramDescription& program) {
    std::string out = title("orvex");
    out += ".SH NAME\norvex \\- control of scientific cameras\n";
    out += ".SH SYNOPSIS\n" + bold("orvex") + ' ' + italic("COMMAND") + " [" + italic("ARGUMENT") +
           "]... [" + italic("OPTION") + "]...\n";
    out += ".SH DESCRIPTION\n" + plain(program.text) + "\nA " + italic("CAMERA") +
           " is a name from " + bold("orvex list") +
           " or its index there.\nEvery command tells its options with " + bold("--help") + ".\n";
    out += ".SH COMMANDS\n";
    std::string see_also;
    std::vector<Example> examples;
    for (const CommandDescription& command : program.commands) {
        out += entry(bold(command.name), command.text);
        see_also += (see_also.empty() ? "" : " ,\n") + reference(page_name(command));
        if (!command.examples.empty()) examples.push_back(command.examples.front());
    }
    out += option_sections(program.options) + common_sections() + example_section(examples);
    return out + ".SH SEE ALSO\n" + see_also + "\n";
}

void write_page(const std::string& folder, const std::string& name, const std::string& text) {
    const std::string path = folder + '/' + name + ".1";
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file) throw std::runtime_error("cannot write '" + path + "'");
}

}  // namespace

void write_manual(const ProgramDescription& program, const std::string& folder) {
    write_page(folder, "orvex", program_page(program));
    for (const CommandDescription& command : program.commands)
        write_page(folder, page_name(command), command_page(command));
}

}  // namespace orvex::description
