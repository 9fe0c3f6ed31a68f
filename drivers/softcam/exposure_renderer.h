#pragma once

#include "orvex/orvex_types.h"

#include "softcam/digitizer.h"
#include "softcam/run.h"

namespace softcam {

// Exposes and reads one region of a sensor that converts whole rows: binned pixels are sums of
// what the single pixels collected. An exposure of zero length collects nothing.
void RenderRegion(RunContext& context, const Digitizer& digitizer, const Image& light,
                  const rgn_type& region, int64_t exposure_ns, Image& out);

}  // namespace softcam
