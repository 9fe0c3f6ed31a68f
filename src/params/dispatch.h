#pragma once

#include "orvex/orvex_params.h"
#include "orvex/orvex_types.h"

// The parameter system: numbered parameters with nine attributes each. What each parameter answers
// stands in its row, in the parameters_*.h files. The handle has been checked by the caller.

// `param_value` has room for what the attribute yields: uns32 for ATTR_COUNT, uns16 for ATTR_TYPE,
// ATTR_ACCESS and ATTR_AVAIL, otherwise the parameter's own type.
boolean16 bv_get_param(int16 hcam, uns32 param_id, int16 param_attribute, void* param_value);
// Reads the value by the width of the parameter's type.
boolean16 bv_set_param(int16 hcam, uns32 param_id, void* param_value);

// The parameter's own getter, traced under the getter's name, without the dispatcher around it.
boolean16 bv_get_attribute(int16 hcam, uns32 param_id, int16 param_attribute, void* param_value);

// Ticks of light ahead of an exposure, as an attribute getter of TYPE_UNS16. It has no id, so that
// only the library itself can read it.
boolean16 bv_get_preflash(int16 hcam, int16 param_attribute, void* param_value);

namespace bv {

// bv_get_param() into a variable of the type that the attribute yields.
template <class T>
bool ReadParam(int16 hcam, uns32 param_id, T& value, int16 attribute = ATTR_CURRENT) {
    return bv_get_param(hcam, param_id, attribute, &value) != 0;
}

}  // namespace bv
