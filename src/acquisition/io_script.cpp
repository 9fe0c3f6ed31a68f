#include "acquisition/io_script.h"

#include <algorithm>
#include <limits>
#include <new>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_params.h"
#include "orvex/orvex_protocol.h"

#include "acquisition/script.h"
#include "log/enum_texts.h"
#include "params/dispatch.h"
#include "state/call.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;

namespace {

constexpr flt64 dac_steps_per_unit = 1000.0;

// Operations carry 16 bits of the truncated value.
uns16 ToArgument(flt64 value) {
    constexpr flt64 low = std::numeric_limits<int32>::min();
    constexpr flt64 high = std::numeric_limits<int32>::max();
    return static_cast<uns16>(static_cast<int32>(std::clamp(value, low, high)));
}

void Load(orvex_ccl_operation op, uns16 argument) {
    bv_script_load_op(static_cast<uns8>(op), argument);
}

}  // namespace

boolean16 oz_io_script_control(int16 hcam, uns16 addr, flt64 state, uns32 location) {
    Call call("oz_io_script_control", arg("hcam", hcam), arg("addr", addr), arg("state", state),
              bv::enumerated("location", location, bv_text_script_location));
    const uns16 ports = bv::ReadsOf(hcam).io_total;
    if (addr >= ports) {
        return call.fail(C2_ADDR_OUT_OF_RANGE, "Port address out of range, max. is %u",
                         unsigned{ports});
    }
    int32 direction = 0;
    if (!bv_set_param(hcam, PARAM_IO_ADDR, &addr) ||
        !bv::ReadParam(hcam, PARAM_IO_DIRECTION, direction)) {
        return call.failed();
    }
    if (direction == IO_DIR_INPUT) {
        return call.fail(C2_NOT_AVAILABLE, "This is input-only port");
    }
    int32 type = 0;
    flt64 min = 0;
    flt64 max = 0;
    if (!bv::ReadParam(hcam, PARAM_IO_TYPE, type) ||
        !bv::ReadParam(hcam, PARAM_IO_STATE, min, ATTR_MIN) ||
        !bv::ReadParam(hcam, PARAM_IO_STATE, max, ATTR_MAX)) {
        return call.failed();
    }
    const bool in_range = state >= min && state <= max;  // false for what is no number
    if (!in_range) {
        return call.fail(C2_NOT_AVAILABLE, "Port value out of range, min=%f, max=%f", min, max);
    }
    if (location >= io_script_locations) {
        return call.fail(C2_NOT_AVAILABLE, "Unknown port location %u", location);
    }
    std::unique_ptr<io_entry> entry(new (std::nothrow) io_entry);
    if (!entry) {
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate io_entry structure");
    }
    entry->addr = addr;
    entry->type = static_cast<uns32>(type);
    entry->state = state;
    io_entry* last = &(*bv::ConfigOf(hcam).io_script_info)[location];
    while (last->next) last = last->next.get();
    last->next = std::move(entry);
    bv::InfoOf(hcam).script_valid = 0;
    return call.ok();
}

void oz_io_clear_list_entry(io_entry* pEntry) {
    Call call("oz_io_clear_list_entry", arg("pEntry", pEntry));
    // One by one: a long list would exhaust the stack.
    while (pEntry->next) pEntry->next = std::move(pEntry->next->next);
}

void oz_io_clear_script_control(int16 hcam) {
    Call call("oz_io_clear_script_control", arg("hcam", hcam));
    for (io_entry& head : *bv::ConfigOf(hcam).io_script_info) oz_io_clear_list_entry(&head);
}

boolean16 bv_io_setup(int16 hcam, const io_entry* io_ptr) {
    Call call("bv_io_setup", arg("hcam", hcam), arg("io_ptr", io_ptr));
    // No code: the generator goes on without the port actions.
    if (!bv::ReadsOf(hcam).cap_io) return call.failed();
    bool good = true;
    for (const io_entry* entry = io_ptr; entry; entry = entry->next.get()) {
        Load(OP_PORT_SELECT, entry->addr);
        good = true;
        if (entry->type == IO_TYPE_TTL) {
            Load(OP_SET_PORT_TTL, ToArgument(entry->state));
        } else if (entry->type == IO_TYPE_DAC) {
            Load(OP_SET_DAC, ToArgument(entry->state * dac_steps_per_unit));
        } else {
            good = false;
            call.fail_silently(C2_NOT_AVAILABLE);
        }
    }
    // The last entry alone decides; the code of a bad one before it stays set.
    return call.result(good);
}
