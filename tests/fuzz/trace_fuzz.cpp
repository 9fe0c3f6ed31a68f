#include <cstdlib>
#include <string_view>

#include "orvex/trace/analysis.h"
#include "orvex/trace/report_json.h"
#include "orvex/trace/tree.h"

// A file of any content is read as a trace, in pieces that end anywhere.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    namespace trace = orvex::trace;
    trace::Names names;
    trace::Tree tree(names, 0);
    uint64_t nodes = 0, commands = 0;
    tree.on_tree = [&](const trace::Thread& thread, const trace::Node& node) {
        nodes += tree_json(thread, node).size();
    };
    trace::Analysis analysis(names, {}, {&tree});
    analysis.exchanges.on_exchange = [&](const trace::Exchange& exchange) {
        commands += exchange_json(exchange).size();
    };
    std::string_view text(reinterpret_cast<const char*>(data), size);
    const size_t cut = size ? data[0] % (size + 1) : 0;
    analysis.add(text.substr(0, cut));
    analysis.add(text.substr(cut));
    analysis.finish();
    tree.finish();
    const trace::Totals& totals = analysis.calls.totals();
    if (totals.records + totals.nonsense > totals.lines) std::abort();
    if (analysis.profile.exported().failed > analysis.profile.exported().calls) std::abort();
    if (totals.records > 0 && summary_json(names, analysis).empty()) std::abort();
    return 0;
}
