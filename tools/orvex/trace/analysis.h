#pragma once

#include <optional>
#include <string>

#include "orvex/trace/calls.h"
#include "orvex/trace/errors.h"
#include "orvex/trace/exchanges.h"
#include "orvex/trace/frames.h"
#include "orvex/trace/line_splitter.h"
#include "orvex/trace/profile.h"
#include "orvex/trace/selection.h"

// All that is learnt from a trace in one pass.
namespace orvex::trace {

class Analysis {
  public:
    // `further` are told of the same calls.
    Analysis(Names& names, const Wanted& wanted, std::vector<Listener*> further);

    void add(std::string_view piece);
    // To be called once, when there is no more.
    void finish();

    Profile profile;
    Errors errors;
    Exchanges exchanges;
    Frames frames;
    Selection selection;
    CallReader calls;

  private:
    LineSplitter lines_;
};

}  // namespace orvex::trace
