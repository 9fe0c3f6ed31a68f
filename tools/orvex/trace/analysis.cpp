#include "orvex/trace/analysis.h"

namespace orvex::trace {

namespace {

std::vector<Listener*> with(std::vector<Listener*> listeners, std::vector<Listener*> further) {
    listeners.insert(listeners.end(), further.begin(), further.end());
    return listeners;
}

}  // namespace

Analysis::Analysis(Names& names, const Wanted& wanted, std::vector<Listener*> further)
    : profile(names),
      errors(names),
      exchanges(names),
      frames(names),
      selection(wanted, names, with({&profile, &errors, &exchanges, &frames}, std::move(further))),
      calls(names, {&selection}) {}

void Analysis::add(std::string_view piece) {
    lines_.add(piece, [this](std::string_view line) { calls.read(line); });
}

void Analysis::finish() {
    if (!lines_.rest().empty()) {
        calls.read(lines_.rest());
        calls.set_cut_off();
    }
    errors.finish();
}

}  // namespace orvex::trace
