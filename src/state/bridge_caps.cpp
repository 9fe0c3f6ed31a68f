#include "state/bridge_caps.h"

#include "orvex/orvex_protocol.h"

#include "state/call.h"

namespace bv {

namespace {

// Layout of the block.
constexpr size_t flags_offset = 4;
constexpr size_t boot_status_offset = 5;

}  // namespace

// A valid block reaches past its flags.
bool BridgeCaps::HasReplyStatusByte() const {
    return valid_ && (data_[flags_offset] & BRIDGE_CAPS_REPLY_STATUS) != 0;
}

bool BridgeCaps::HasBootStatus() const {
    return valid_ && (data_[flags_offset] & BRIDGE_CAPS_BOOT_STATUS) != 0;
}

FirmwareBootStatus BridgeCaps::BootStatus() const {
    Call call("bv::BridgeCaps::BootStatus");
    // A bridge may announce a boot status and still end its block in front of it.
    const int status =
        HasBootStatus() && data_.size() > boot_status_offset ? data_[boot_status_offset] : 0;
    switch (static_cast<FirmwareBootStatus>(status)) {
        case FirmwareBootStatus::Booting:
            call.returns(words("FirmwareBootStatus::Booting"));
            return FirmwareBootStatus::Booting;
        case FirmwareBootStatus::Loading:
            call.returns(words("FirmwareBootStatus::Loading"));
            return FirmwareBootStatus::Loading;
        case FirmwareBootStatus::Idle:
            call.returns(words("FirmwareBootStatus::Idle"));
            return FirmwareBootStatus::Idle;
        case FirmwareBootStatus::Unknown: break;
    }
    if (call.tracing()) {
        call.returns(words(FormatText("FirmwareBootStatus::Unknown (%d)", status).c_str()));
    }
    return FirmwareBootStatus::Unknown;
}

}  // namespace bv
