#include "state/bridge_caps.h"

#include <algorithm>
#include <array>
#include <new>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_protocol.h"

#include "device/command_io.h"
#include "state/call.h"

namespace bv {
namespace {

constexpr std::array<uns8, 4> signature{ORVEX_BRIDGE_CAPS_SIGNATURE};

bool Allocate(std::vector<uns8>& data, uns32 bytes) {
    try {
        data.resize(bytes);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

void LogNonZero(Call& call, const std::vector<uns8>& data) {
    if (!call.tracing()) return;
    call.debug("Bridge capabilies (only non-zero bytes printed):");
    for (size_t i = 0; i < data.size(); ++i) {
        if (data[i] == 0) continue;
        call.debug(" Byte %2u: 0x%02X", static_cast<unsigned>(i), static_cast<unsigned>(data[i]));
    }
}

}  // namespace

boolean16 BridgeCaps::Read(int16 hcam) {
    Call call("bv::BridgeCaps::Read", arg("hcam", hcam));
    valid_ = 0;
    data_ = {};

    const ErrorHold hold;
    uns32 size = 0;
    if (!dv_driver_get_bridge_caps_size(hcam, &size)) {
        call.warn(
            "Unable to get the bridge caps size. This device driver probably does not support "
            "bridge capability reporting.");
        ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        return call.ok();
    }
    if (size == 0) {
        call.warn("Driver reported 0B of bridge caps. Assuming the bridge has no caps.");
        return call.ok();
    }
    call.debug("Driver reported %uB of bridge caps.", size);
    if (!Allocate(data_, size)) {
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY,
                         "Cannot allocate memory for the bridge capabilities array");
    }
    if (!dv_driver_get_bridge_caps(hcam, data_.data(), size)) {
        data_ = {};
        call.error("Failed to read bridge capabilities from the device driver.");
        return call.failed();
    }
    LogNonZero(call, data_);
    // Behind the signature there must be flags, or it counts for nothing.
    valid_ =
        size > signature.size() && std::equal(signature.begin(), signature.end(), data_.begin());
    return call.ok();
}

}  // namespace bv
