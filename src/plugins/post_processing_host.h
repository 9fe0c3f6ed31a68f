#pragma once

#include "orvex/orvex_types.h"

#include "acquisition/upcalls.h"
#include "camera/upcalls.h"
#include "notify/upcalls.h"
#include "params/upcalls.h"
#include "plugins/plugin_contract.h"

// Host of the optional post-processing plug-in: its modules appear as features behind the camera's
// own, and frames pass through it. Without it every question is answered "not available" and the
// rest of the library runs as if there were none. What lower layers call is declared in their
// upcalls.h. Nothing here locks: the caller holds the camera's mutex.

// Loads the plug-in if it is installed; its absence is no error.
boolean16 bv_pop_loadlibrary();
boolean16 bv_pop_unloadlibrary();
boolean16 bv_pop_islibraryloaded();

// Tells the plug-in what it has to know of a camera: once at open, and what may change between
// runs.
boolean16 bv_pop_oneshot_parameters(int16 hcam);

namespace bv {

// The entry points of the loaded plug-in.
const post_processing_plugin& LoadedPostProcessing();

}  // namespace bv
