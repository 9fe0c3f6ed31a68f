#include "camera/reads.h"
#include "log/enum_texts.h"
#include "params/accessors.h"
#include "state/bytes.h"
#include "state/call.h"

using bv::arg;
using bv::Call;

namespace {

// Places in the status table.
constexpr uns8 fault_byte = 7;
constexpr uns8 fault_bit = 8;
constexpr uns8 state_byte = 8;
constexpr uns8 shutter_bytes = 9;
constexpr uns8 ccs_bytes = 10;

int16 ShutterState(const uns8* table) {
    if (table[fault_byte] & fault_bit) return SHTR_FAULT;
    switch (table[state_byte] & 0xF0) {
        case 0x10: return SHTR_OPENING;
        case 0x20: return SHTR_OPEN;
        case 0x40: return SHTR_CLOSING;
        case 0x80: return SHTR_CLOSED;
        default: return SHTR_FAULT;
    }
}

}  // namespace

boolean16 bv_shtr_get_status(int16 hcam, int16* shtr_status) {
    Call call("bv_shtr_get_status", arg("hcam", hcam), arg("shtr_status", shtr_status));
    uns8 table[shutter_bytes] = {};
    if (!bv_cam_get_status_table(hcam, table, shutter_bytes)) return call.failed();
    *shtr_status = ShutterState(table);
    return call.ok(bv::enumerated("*shtr_status", *shtr_status, bv_text_shutter_status));
}

boolean16 bv_ccs_get_status(int16 hcam, int16* ccs_status) {
    Call call("bv_ccs_get_status", arg("hcam", hcam), arg("ccs_status", ccs_status));
    uns8 table[ccs_bytes] = {};
    if (!bv_cam_get_status_table(hcam, table, ccs_bytes)) return call.failed();
    const uns16 status = bv::LoadBigEndian<uns16>(table + state_byte);
    *ccs_status = static_cast<int16>(status > 3 ? 0 : status);
    return call.ok(arg("*ccs_status", *ccs_status));
}
