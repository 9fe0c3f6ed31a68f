#pragma once

#include <memory>

#include "orvex/orvex_protocol.h"
#include "orvex/orvex_types.h"

#include "acquisition/regions.h"

// The program that a setup downloads into the camera, and how it is written.

struct script_group_entry_type {
    uns16 reserved = 0;
    uns16 pixels = 0;  // binned pixels of the region in one line
};

// One parallel strip that holds image data.
struct script_group_type {
    uns16 repeat = 0;  // turns of the strip's loop
    uns16 region_count = 0;
    script_group_entry_type* entries = nullptr;
    script_group_type* next = nullptr;
};

struct script_type {
    uns8* data = nullptr;  // in the same allocation, behind this record
    uns16 length = 0;      // bytes in use
    script_group_type* groups = nullptr;
};

// Custom generator of old applications: fills the pixel count of a frame; returns an error code.
using script_hook_type = uns16 (*)(int16 hcam, uns16 exp_total, uns16 rgn_total,
                                   const rgn_type* rgn_array, int16 exp_mode, uns32 exposure_time,
                                   uns32* pixels, active_camera_type* active_camera);

constexpr uns16 script_max_entries = 8192;
constexpr uns16 ccl_record_bytes = 3;

boolean16 bv_script_alloc(uns16 entries, script_type** script);
boolean16 bv_script_free_groups(script_group_type* groups);
// Fails when the error state is set at its end.
boolean16 bv_script_free(script_type* script);

// Directs the calling thread's load functions into `script`, from its start, up to
// max_entries * 3 bytes in 16 bits.
void bv_script_load_begin(script_type* script, uns16 max_entries);
// A record that starts at or past the limit is dropped in silence; the check comes at the end.
void bv_script_load_op(uns8 op, uns16 arg);
void bv_sCCL_script_load_op(uns8 op, uns32 arg);
// Bytes written since bv_script_load_begin().
uns16 bv_script_load_position();
// A program that fills the space exactly counts as too long.
bool bv_script_load_overflowed();

// Talks to the camera.
boolean16 bv_script_send(int16 hcam, script_type* script);

// Names of the operations of full programs and of the settings of simplified ones.
const char* bv_text_op(uns8 op);
const char* bv_text_op_group(uns8 op);

namespace bv {

// Owns a script until Free(), whose result matters to a setup, or until the end of the scope.
class ScriptOwner {
  public:
    ScriptOwner() = default;
    ~ScriptOwner() {
        if (script_) bv_script_free(script_);
    }
    ScriptOwner(const ScriptOwner&) = delete;
    ScriptOwner& operator=(const ScriptOwner&) = delete;

    boolean16 Allocate(uns16 entries) { return bv_script_alloc(entries, &script_); }
    boolean16 Free() {
        script_type* script = script_;
        script_ = nullptr;
        return bv_script_free(script);
    }
    script_type* get() const { return script_; }
    script_type* operator->() const { return script_; }

  private:
    script_type* script_ = nullptr;
};

}  // namespace bv
