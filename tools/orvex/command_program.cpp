#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>

#include "orvex/commands.h"
#include "orvex/environment_variables.h"
#include "orvex/files.h"
#include "orvex/run_again.h"
#include "orvex/set_up_options.h"
#include "orvex/trace/exchanges.h"
#include "orvex/value_hints.h"

// program: the camera program of a set-up. The library tells it in its trace, and reads the name
// of the trace file when it is loaded; so the command runs itself once more with a file of its
// own, and reads the operations from there.
namespace orvex {

namespace {

constexpr const char* trace_variable = "ORVEX_CORE_LOG_FILE";
constexpr const char* own_trace_variable = ORVEX_PROGRAM_TRACE_VARIABLE;

struct ProgramOptions {
    SetUpOptions set_up;
    bool json = false;
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

std::vector<trace::Operation> read_operations(const std::string& path) {
    std::vector<trace::Operation> operations;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const trace::Record record = trace::parse_record(line);
        if (record.kind == trace::Kind::enter && trace::loads_operation(record.function))
            operations.push_back(trace::read_operation(record.function, record.text));
    }
    return operations;
}

void print(const std::vector<trace::Operation>& operations) {
    int depth = 0;
    size_t index = 0;
    for (const trace::Operation& operation : operations) {
        if (operation.name == "OP_END_DO") --depth;
        std::printf("%4zu  %*s%-24s %" PRIu64 "\n", index++, 2 * std::max(depth, 0), "",
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
    const RemoveFile file{own_trace()};
    // Shutting the library down drains its trace into the file.
    const uns32 bytes = set_up_once(options);
    const std::vector<trace::Operation> operations = read_operations(file.path);
    if (!options.json) {
        print(operations);
        std::printf("%zu operations, %u bytes of image data\n", operations.size(), bytes);
        return;
    }
    nlohmann::ordered_json out = {{"bytes", bytes},
                                  {"operations", nlohmann::ordered_json::array()}};
    for (const trace::Operation& operation : operations) {
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
    add_examples(*command, {{"orvex program SoftCCD-1024 --frames 10 --bin 2",
                             "the camera program of ten binned frames"}});
    command->callback([options] { show_program(*options); });
}

}  // namespace orvex
