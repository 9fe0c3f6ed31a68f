#pragma once

#include "orvex/orvex_types.h"

#include "state/call.h"

// Start and end of the library, and what its installation tells.

// Under api_global_mutex, logging in the scope of their operations.
boolean16 orvex_init(bv::Call& call);
boolean16 orvex_uninit(bv::Call& call);

// Major version in the upper byte, minor and patch in four bits each.
boolean16 orvex_get_ver(uns16* orvex_version);
// The installed version; parts that are too large are cut to 16 bits.
boolean16 oz_orvex_get_ver(uns16* pMajorVer, uns16* pMinorVer, uns16* pPatchVer, uns16* pBuildVer);

// Shows the operator what the installation left for him; most have nothing to say.
void oz_orvex_notify_user();
