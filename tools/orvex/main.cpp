#include <cstdio>
#include <exception>

#include "orvex/commands.h"

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
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return program.exit(error);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orvex: %s\n", error.what());
        return 1;
    }
    return 0;
}
