#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <iostream>
#include <stdexcept>

#include "orvex/commands.h"
#include "orvex/interrupt.h"
#include "orvex/names.h"

namespace orvex {

namespace {

constexpr int wrong_usage = 2;

// Help and version are no errors.
int tell_parse_error(const CLI::App& program, const CLI::ParseError& error,
                     const std::string& first) {
    if (error.get_exit_code() == 0) return program.exit(error);
    std::vector<std::string> commands;
    for (const CLI::App* command : program.get_subcommands({})) {
        commands.push_back(command->get_name());
    }
    const bool known = std::find(commands.begin(), commands.end(), first) != commands.end();
    if (first.empty() || first[0] == '-' || known) {
        program.exit(error);
    } else {
        const std::string near = did_you_mean(first, commands);
        std::fprintf(stderr, "orvex: there is no command '%s'%s\n", first.c_str(),
                     near.empty() ? "; see 'orvex --help'" : near.c_str());
    }
    return wrong_usage;
}

// False, with a message, when the output did not get where it should.
bool output_is_written() {
    errno = 0;
    std::cout.flush();
    const bool written = std::fflush(stdout) == 0 && std::cout.good() && !std::ferror(stdout);
    // Who reads no further knows why.
    if (!written && errno != EPIPE) std::fputs("orvex: cannot write the output\n", stderr);
    return written;
}

}  // namespace

}  // namespace orvex

int main(int argc, char** argv) {
    CLI::App program("Control of scientific cameras.", "orvex");
    program.set_version_flag("--version", ORVEX_PROGRAM_VERSION);
    program.require_subcommand(1);
    program.footer(
        "CAMERA is a name from 'orvex list' or its index. Environment: ORVEX_SOFTCAM names the\n"
        "configuration of the software camera, ORVEX_CORE_LOG_FILE a file for the trace.");
    orvex::add_list(program);
    orvex::add_info(program);
    orvex::add_params(program);
    orvex::add_get(program);
    orvex::add_set(program);
    orvex::add_snap(program);
    orvex::add_stream(program);
    orvex::add_metadata(program);
    orvex::add_program(program);
#ifdef ORVEX_VIEW
    orvex::add_view(program);
#endif
    orvex::add_trace(program);
    orvex::add_doctor(program);
    orvex::add_describe(program);
    orvex::hold_end_signals();
    int status = 1;
    try {
        program.parse(argc, argv);
        status = 0;
    } catch (const CLI::ParseError& error) {
        status = orvex::tell_parse_error(program, error, argc > 1 ? argv[1] : "");
    } catch (const orvex::Interrupted& signal) {
        std::fprintf(stderr, "orvex: %s\n", signal.what());
        status = signal.exit_status();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orvex: %s\n", error.what());
        // What the command line said is wrong, whichever camera is there.
        if (dynamic_cast<const std::invalid_argument*>(&error)) status = orvex::wrong_usage;
    }
    // One that came too late to be of use is told all the same.
    if (status == 0 && orvex::interrupted_within({})) status = orvex::Interrupted().exit_status();
    return orvex::output_is_written() || status ? status : 1;
}
