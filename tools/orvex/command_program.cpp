#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>

#include "orvex/commands.h"
#include "orvex/files.h"
#include "orvex/run_again.h"
#include "orvex/set_up_options.h"

// program: the camera program of a set-up. The library tells it in its trace, and reads the name
// of the trace file when it is loaded; so the command runs itself once more with a file of its
// own, and reads the operations from there.
namespace orvex {

namespace {

constexpr const char* trace_variable = "ORVEX_CORE_LOG_FILE";
constexpr const char* own_trace_variable = "ORVEX_PROGRAM_TRACE";

struct ProgramOptions {
    SetUpOptions set_up;
    bool json = false;
};

struct Operation {
    std::string name;
    unsigned code = 0;
    unsigned long argument = 0;
};

// The trace file of this process, when it is the second run.
const char* own_trace() {
    return std::getenv(own_trace_variable);
}

[[noreturn]] void run_traced() {
    const std::string path = create_temporary_file();
    run_again({{own_trace_variable, path}, {trace_variable, path}, {"ORVEX_CORE_LOG_LEVEL", "D"}});
    remove_file(path);
    throw std::runtime_error("cannot run the program again");
}

// Lines of the form "...script_load_op: ENTER (op=OP_EXPOSE(4), arg=10)".
std::vector<Operation> read_operations(const std::string& path) {
    std::vector<Operation> operations;
    std::ifstream trace(path);
    for (std::string line; std::getline(trace, line);) {
        const size_t load = line.find("script_load_op: ");
        const size_t op = line.find("op=", load == std::string::npos ? load : load + 16);
        const size_t open = line.find('(', op == std::string::npos ? op : op + 3);
        const size_t argument = line.find("arg=", open);
        if (load == std::string::npos || argument == std::string::npos) continue;
        operations.push_back(
            {line.substr(op + 3, open - op - 3),
             static_cast<unsigned>(std::strtoul(line.c_str() + open + 1, nullptr, 10)),
             std::strtoul(line.c_str() + argument + 4, nullptr, 10)});
    }
    return operations;
}

void print(const std::vector<Operation>& operations) {
    int depth = 0;
    size_t index = 0;
    for (const Operation& operation : operations) {
        if (operation.name == "OP_END_DO") --depth;
        std::printf("%4zu  %*s%-24s %lu\n", index++, 2 * std::max(depth, 0), "",
                    operation.name.c_str(), operation.argument);
        if (operation.name == "OP_DO_LOOP") ++depth;
    }
}

uns32 set_up_once(const ProgramOptions& options) {
    const Library library;
    const Camera camera = open_camera(library, options.set_up.camera);
    options.set_up.apply(camera);
    const RunRequest request = options.set_up.request(camera);
    const rgn_type region = resolve_region(camera, request.set_up);
    const Sequence sequence(camera, run_set_up(request, {region}), request.set_up.frames);
    return sequence.frame_bytes() * sequence.frames();
}

struct RemoveFile {
    std::string path;
    ~RemoveFile() { remove_file(path); }
};

void show_program(const ProgramOptions& options) {
    if (!own_trace()) run_traced();
    const RemoveFile trace{own_trace()};
    // Shutting the library down drains its trace into the file.
    const uns32 bytes = set_up_once(options);
    const std::vector<Operation> operations = read_operations(trace.path);
    if (!options.json) {
        print(operations);
        std::printf("%zu operations, %u bytes of image data\n", operations.size(), bytes);
        return;
    }
    nlohmann::ordered_json out = {{"bytes", bytes},
                                  {"operations", nlohmann::ordered_json::array()}};
    for (const Operation& operation : operations) {
        out["operations"].push_back({{"operation", operation.name},
                                     {"code", operation.code},
                                     {"argument", operation.argument}});
    }
    std::cout << out.dump(2) << '\n';
}

}  // namespace

void add_program(CLI::App& program) {
    auto options = std::make_shared<ProgramOptions>();
    CLI::App* command = program.add_subcommand(
        "program", "Show the camera program of a set-up, operation by operation");
    options->set_up.add_to(*command);
    command->add_flag("--json", options->json, "as JSON");
    command->callback([options] { show_program(*options); });
}

}  // namespace orvex
