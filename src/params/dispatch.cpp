#include "params/dispatch.h"

#include <cstring>

#include "log/enum_texts.h"
#include "params/parameter.h"

using bv::arg;
using bv::Call;

namespace {

boolean16 Unhandled(Call& call) {
    return call.fail(C2_NOT_AVAILABLE, "Unhandled parameter");
}

boolean16 SetByRow(Call& call, const bv::Parameter& parameter, int16 hcam, void* param_value) {
    if (parameter.act) return call.result(parameter.act(hcam));
    if (parameter.set_record) return call.result(parameter.set_record(hcam, param_value));
    if (!parameter.set) return Unhandled(call);
    return call.result(parameter.set(hcam, bv::LoadValue(parameter.type, param_value)));
}

}  // namespace

boolean16 bv_get_param(int16 hcam, uns32 param_id, int16 param_attribute, void* param_value) {
    Call call("bv_get_param", arg("hcam", hcam),
              bv::hex_enumerated("param_id", param_id, bv_text_param_id),
              bv::enumerated("param_attribute", param_attribute, bv_text_attribute),
              arg("param_value", param_value));
    const bv::Parameter* parameter = bv::FindParameter(param_id);
    if (!parameter) {
        // An application may ask for parameters of later versions.
        if (param_attribute != ATTR_AVAIL) return Unhandled(call);
        const boolean16 available = 0;
        std::memcpy(param_value, &available, sizeof available);
        return call.ok(arg("*param_value", available));
    }
    const boolean16 result = bv::AnswerAttribute(*parameter, hcam, param_attribute, param_value);
    call.returns(bv::words(result ? "OZ_OK" : "OZ_FAIL"),
                 arg("*param_value", "<see nested calls>"));
    return result;
}

boolean16 bv_get_attribute(int16 hcam, uns32 param_id, int16 param_attribute, void* param_value) {
    const bv::Parameter* parameter = bv::FindParameter(param_id);
    if (!parameter) return bv_get_param(hcam, param_id, param_attribute, param_value);
    return bv::AnswerAttribute(*parameter, hcam, param_attribute, param_value);
}

boolean16 bv_set_param(int16 hcam, uns32 param_id, void* param_value) {
    Call call("bv_set_param", arg("hcam", hcam),
              bv::hex_enumerated("param_id", param_id, bv_text_param_id),
              arg("param_value", param_value));
    uns16 available = 0;
    if (!bv_get_param(hcam, param_id, ATTR_AVAIL, &available)) return call.failed();
    if (!available) return call.fail(C2_NOT_AVAILABLE, "Parameter not available");
    uns16 access = 0;
    if (!bv_get_param(hcam, param_id, ATTR_ACCESS, &access)) return call.failed();
    if (access != ACC_READ_WRITE && access != ACC_WRITE_ONLY) {
        return call.fail(C2_FAILED_TO_SET_VALUE, "Parameter not writable, access type is %s(%u)",
                         bv_text_access(access), access);
    }
    const bv::Parameter* parameter = bv::FindParameter(param_id);
    if (!parameter) return Unhandled(call);
    return SetByRow(call, *parameter, hcam, param_value);
}
