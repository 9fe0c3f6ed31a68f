#include <cstdio>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <vector>

#include "orvex/byte_source.h"
#include "orvex/commands.h"
#include "orvex/output_file.h"
#include "orvex/progress.h"
#include "orvex/trace/chrome.h"
#include "orvex/trace/report.h"
#include "orvex/trace/report_json.h"
#include "orvex/value_hints.h"

// trace: what a trace of the library tells.
namespace orvex {

namespace {

struct TraceOptions {
    std::string file;
    trace::Wanted wanted;
    bool tree = false;
    unsigned levels = 3;
    size_t slowest = 0;
    bool errors = false;
    bool exchanges = false;
    bool frames = false;
    std::string chrome;
    bool force = false;
    bool json = false;

    bool any_section() const { return tree || slowest || errors || exchanges || frames; }
};

void read_all(const std::string& path, ByteSource& source, trace::Analysis& analysis) {
    constexpr size_t piece = 1u << 20;
    std::vector<char> buffer(piece);
    std::unique_ptr<Progress> progress;
    if (source.size()) progress = std::make_unique<Progress>("reading, MB", source.size() >> 20);
    uint64_t done = 0;
    while (const size_t count = source.read(buffer)) {
        analysis.add({buffer.data(), count});
        done += count;
        if (progress) progress->update(done >> 20);
    }
    if (done == 0) throw std::runtime_error("'" + path + "' is empty");
}

// What a file holds that is no trace would be told as a wealth of senseless lines.
void require_trace(const std::string& path, const trace::Totals& totals) {
    if (totals.records == 0)
        throw std::runtime_error("'" + path + "' holds no trace: none of its " +
                                 std::to_string(totals.lines) +
                                 " lines is a record; ORVEX_CORE_LOG_FILE=FILE makes one");
}

void print_text(const TraceOptions& options, trace::Names& names, const trace::Analysis& analysis) {
    if (!options.any_section()) print_summary(options.file, names, analysis);
    if (options.errors) print_errors(analysis.errors);
    if (options.slowest) print_slowest(analysis.profile, options.slowest);
    if (options.frames) print_frames(analysis.frames);
}

// Sections that may be as long as the trace; as text they are printed while it is read.
class LongSections {
  public:
    LongSections(const TraceOptions& options, trace::Names& names)
        : options_(options), tree_(names, options.levels) {
        tree_.on_tree = [this](const trace::Thread& thread, const trace::Node& node) {
            if (options_.json) {
                trees_.push_back(tree_json(thread, node));
            } else {
                print_tree(thread, node);
            }
        };
    }

    std::vector<trace::Listener*> listeners() {
        if (options_.tree) return {&tree_};
        return {};
    }
    void watch(trace::Exchanges& exchanges) {
        if (!options_.exchanges) return;
        exchanges.on_exchange = [this](const trace::Exchange& exchange) {
            if (options_.json) {
                messages_.push_back(exchange_json(exchange));
            } else {
                print_exchange(exchange);
            }
        };
        exchanges.on_program = [this](const trace::Program& program) {
            if (options_.json) {
                programs_.push_back(program_json(program));
            } else {
                print_program(program);
            }
        };
    }
    void finish() { tree_.finish(); }
    void add_to(nlohmann::ordered_json& out) {
        if (options_.tree) out["tree"] = std::move(trees_);
        if (!options_.exchanges) return;
        out["messages"] = std::move(messages_);
        out["programs"] = std::move(programs_);
    }

  private:
    const TraceOptions& options_;
    trace::Tree tree_;
    nlohmann::ordered_json trees_ = nlohmann::ordered_json::array();
    nlohmann::ordered_json messages_ = nlohmann::ordered_json::array();
    nlohmann::ordered_json programs_ = nlohmann::ordered_json::array();
};

void show_trace(const TraceOptions& options) {
    ByteSource source(options.file);
    std::optional<OutputFile> chrome_file;
    if (!options.chrome.empty()) chrome_file.emplace(options.chrome, options.force);
    trace::Names names;
    std::optional<trace::Chrome> chrome;
    LongSections sections(options, names);
    std::vector<trace::Listener*> further = sections.listeners();
    if (chrome_file) further.push_back(&chrome.emplace(names, chrome_file->part()));
    trace::Analysis analysis(names, options.wanted, further);
    sections.watch(analysis.exchanges);

    read_all(options.file, source, analysis);
    analysis.finish();
    require_trace(options.file, analysis.calls.totals());
    std::string missing;
    if (analysis.selection.found_nothing(missing)) throw std::invalid_argument(missing);
    sections.finish();
    if (chrome) {
        chrome->finish(analysis.calls);
        chrome_file->commit();
    }
    if (!options.json) {
        print_text(options, names, analysis);
        if (chrome) std::printf("wrote %s\n", options.chrome.c_str());
        return;
    }
    constexpr size_t usual_rows = 10;
    nlohmann::ordered_json out = summary_json(names, analysis);
    out["slowest"] = slowest_json(analysis.profile, options.slowest ? options.slowest : usual_rows);
    sections.add_to(out);
    if (chrome) out["chrome"] = options.chrome;
    // A trace may hold bytes that are no text.
    std::cout << out.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

}  // namespace

void add_trace(CLI::App& program) {
    auto options = std::make_shared<TraceOptions>();
    CLI::App* command =
        program.add_subcommand("trace", "Read a trace of the library; what is wrong comes first");
    hint(command->add_option("file", options->file, "the trace; - is the standard input"),
         {ValueKind::file})
        ->required();
    command->add_flag("--errors", options->errors,
                      "every error with its road from the cause to the exported call");
    command->add_option("--slowest", options->slowest, "the N slowest functions")
        ->check(CLI::Range(1, 1000000))
        ->type_name("N");
    command->add_flag("--tree", options->tree, "who called whom");
    CLI::Option* levels =
        command->add_option("--levels", options->levels, "levels of the tree; 0 for all")
            ->check(CLI::Range(0, 1000))
            ->capture_default_str();
    levels->needs("--tree");
    command->add_flag("--exchanges", options->exchanges,
                      "every message to a camera and every camera program, decoded");
    command->add_flag("--frames", options->frames, "runs, rates and gaps between frames");
    group_options(*command, "Sections");
    command->add_option("--thread", options->wanted.thread,
                        "this thread alone, THREAD or PROCESS:THREAD");
    command->add_option("--call", options->wanted.call, "calls of this exported function alone");
    hint(command->add_option("--camera", options->wanted.camera,
                             "calls for this camera alone, by name or handle"),
         {ValueKind::camera});
    group_options(*command, "Part of the trace");
    hint(command->add_option("--chrome", options->chrome,
                             "write a flame chart for Perfetto or chrome://tracing into this file"),
         {ValueKind::file});
    command->add_flag("--force", options->force, "replace a file that exists");
    command->add_flag("--json", options->json, "everything as JSON");
    group_options(*command, "Output");
    add_examples(*command,
                 {{"orvex trace t.log", "what is wrong, and where the time went, on one screen"},
                  {"orvex trace t.log --errors", "each error, from its cause to the failed call"},
                  {"orvex trace t.log --tree --call ox_cam_open", "what opening a camera does"},
                  {"orvex trace t.log --chrome t.json", "a flame chart for ui.perfetto.dev"}});
    command->callback([options] { show_trace(*options); });
}

}  // namespace orvex
