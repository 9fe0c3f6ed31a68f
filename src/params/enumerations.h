#pragma once

#include "orvex/orvex_types.h"

#include "state/camera_tables.h"

// Enumerated parameters offer a numbered list of entries, each with a value and a text. Index and
// value differ: an application asks by index and sends the value.

// Value and text of one entry. `desc` may be null; a text that doesn't fit is cut.
boolean16 bv_get_enum_param(int16 hcam, uns32 param_id, uns32 index, int32* value, char* desc,
                            uns32 length);
// Bytes of an entry's text, with terminator.
boolean16 bv_enum_str_length(int16 hcam, uns32 param_id, uns32 index, uns32* length);

boolean16 oz_get_enum_value(int16 hcam, uns32 param_id, uns32 index, int32* value);
boolean16 oz_get_enum_string(int16 hcam, uns32 param_id, uns32 index, int32 value, uns32 length,
                             char* desc, uns32* max_length);
boolean16 oz_is_enum_value_in_nvp(int32 value, const nvp_container* container);
