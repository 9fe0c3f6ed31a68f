#include "acquisition/script.h"

#include <array>
#include <cstdlib>
#include <new>

#include "orvex/orvex_errors.h"

#include "messages/gate.h"
#include "state/bytes.h"
#include "state/call.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;
using bv::enumerated;

namespace {

constexpr size_t sccl_record_bytes = 5;

// Only the start of a record is tested against the limit, so the last one may stand out.
constexpr size_t overhang_bytes = sccl_record_bytes - 1;

// Where the calling thread's load functions write. One for each thread, so that setups on
// different cameras may run side by side.
struct LoadState {
    uns8* data = nullptr;
    uns16 position = 0;
    uns16 limit = 0;
};
thread_local LoadState load;

template <size_t Size>
void Append(const std::array<uns8, Size>& record) {
    if (load.position >= load.limit) return;
    std::copy(record.begin(), record.end(), load.data + load.position);
    load.position = static_cast<uns16>(load.position + Size);
}

}  // namespace

boolean16 bv_script_alloc(uns16 entries, script_type** script) {
    Call call("bv_script_alloc", arg("entries", entries), arg("script", script));
    const size_t data_bytes = size_t{entries} * ccl_record_bytes + overhang_bytes;
    void* block = std::calloc(1, sizeof(script_type) + data_bytes);
    if (!block) return call.fail_silently(C2_CANNOT_ALLOCATE_MEMORY);
    *script = new (block) script_type{};
    (*script)->data = static_cast<uns8*>(block) + sizeof(script_type);
    return call.ok(arg("*script", *script));
}

boolean16 bv_script_free_groups(script_group_type* groups) {
    Call call("bv_script_free_groups", arg("groups", groups));
    while (groups) {
        script_group_type* next = groups->next;
        delete[] groups->entries;
        delete groups;
        groups = next;
    }
    return call.ok();
}

boolean16 bv_script_free(script_type* script) {
    Call call("bv_script_free", arg("script", script));
    bv_script_free_groups(script->groups);
    std::free(script);
    return call.result(!bv::ApiGlobal::IsErrorCodeSet());
}

void bv_script_load_begin(script_type* script, uns16 max_entries) {
    load = {.data = script->data,
            .position = 0,
            .limit = static_cast<uns16>(max_entries * ccl_record_bytes)};
}

void bv_script_load_op(uns8 op, uns16 value) {
    Call call("bv_script_load_op", enumerated("op", op, bv_text_op), arg("arg", value));
    Append<ccl_record_bytes>({static_cast<uns8>(value >> 8), static_cast<uns8>(value), op});
}

void bv_sCCL_script_load_op(uns8 op, uns32 value) {
    Call call("bv_sCCL_script_load_op", enumerated("op", op, bv_text_op_group), arg("arg", value));
    std::array<uns8, sccl_record_bytes> record{op};
    bv::StoreBigEndian(record.data() + 1, value);
    Append(record);
}

uns16 bv_script_load_position() {
    return load.position;
}

bool bv_script_load_overflowed() {
    return load.position >= load.limit;
}

boolean16 bv_script_send(int16 hcam, script_type* script) {
    Call call("bv_script_send", arg("hcam", hcam), arg("script", script));
    uns8 message_class = CLASS_CCL_SCRIPT;
    if (bv::ReadsOf(hcam).ccl_caps & CCL_CAPS_SIMPLIFIED) {
        message_class = CLASS_SIMPLIFIED_CCL;
        call.debug("About to send SIMPLIFIED_CCL_COMMANDS with %u bytes", unsigned{script->length});
    } else {
        call.debug("About to send HOST_CCL_SCRIPT with %u bytes", unsigned{script->length});
    }
    return call.result(
        bz_cam_write_read(hcam, message_class, script->length, script->data, nullptr));
}

#define ORVEX_OPERATION_TEXT(name, value) \
    case name: return #name;

const char* bv_text_op(uns8 op) {
    switch (op) { ORVEX_CCL_OPERATIONS(ORVEX_OPERATION_TEXT) }
    return "<UNKNOWN>";
}

const char* bv_text_op_group(uns8 op) {
    switch (op) { ORVEX_SCCL_OPERATIONS(ORVEX_OPERATION_TEXT) }
    return "<UNKNOWN>";
}
#undef ORVEX_OPERATION_TEXT
