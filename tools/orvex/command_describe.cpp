#include <iostream>
#include <stdexcept>

#include "orvex/commands.h"
#include "orvex/describe/program_description.h"

// describe: manual pages and completions, for the build.
namespace orvex {

namespace {

struct DescribeOptions {
    std::string form;
    std::string folder;
};

void describe_as(const CLI::App& program, const DescribeOptions& options) {
    const description::ProgramDescription described = description::describe_program(program);
    if (options.form == "man") {
        if (options.folder.empty()) throw std::invalid_argument("man needs a folder");
        write_manual(described, options.folder);
    } else if (options.form == "bash") {
        std::cout << bash_completion(described);
    } else if (options.form == "zsh") {
        std::cout << zsh_completion(described);
    } else {
        std::cout << fish_completion(described);
    }
}

}  // namespace

void add_describe(CLI::App& program) {
    auto options = std::make_shared<DescribeOptions>();
    CLI::App* command = program.add_subcommand(
        "describe", "Write the manual into a folder, or the completion of a shell");
    command->group("");  // not shown
    command->add_option("form", options->form, "what is written")
        ->required()
        ->check(CLI::IsMember({"man", "bash", "zsh", "fish"}));
    command->add_option("folder", options->folder, "of the manual");
    command->callback([options, &program] { describe_as(program, *options); });
}

}  // namespace orvex
