#include "params/tidal_stream.h"

#include <algorithm>
#include <memory>
#include <new>
#include <span>

#include "camera/tidal_stream_owner.h"
#include "messages/host_command_message.h"
#include "params/accessors.h"
#include "params/parameter.h"
#include "params/tidal_answers.h"
#include "state/bytes.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;
using bv::HostCommandMessage;
using bv::SingleReadHostCommandMessage;

namespace {

// One of the two lists that the camera cycles through.
struct List {
    orvex_host_command write;
    orvex_host_command read;
    boolean16 (*count)(int16 hcam, uns16* count);
    std::vector<uns32> acq_cache_type::* mirror;
};

constexpr List exposures{SET_TIDAL_STREAM_EXP_PARAMS, GET_TIDAL_STREAM_EXP_PARAMS,
                         bv_get_tidal_stream_exp_count, &acq_cache_type::tidal_exp_params};
constexpr List delays{SET_TIDAL_STREAM_DLY_PARAMS, GET_TIDAL_STREAM_DLY_PARAMS,
                      bv_get_tidal_stream_dly_count, &acq_cache_type::tidal_dly_params};

// A list on the wire is its count in 2 bytes and its values in 4 each. A command's length has 16
// bits.
uns16 WireBytes(uns16 entries) {
    return static_cast<uns16>(entries * 4 + 2);
}

// Null when there is no memory for it.
std::unique_ptr<uns8[]> Encode(std::span<const uns32> values) {
    std::unique_ptr<uns8[]> bytes(new (std::nothrow) uns8[values.size() * 4 + 2]);
    if (!bytes) return bytes;
    bv::StoreBigEndian(bytes.get(), static_cast<uns16>(values.size()));
    for (size_t i = 0; i < values.size(); ++i) {
        bv::StoreBigEndian(&bytes[2 + i * 4], values[i]);
    }
    return bytes;
}

struct Reply {
    uns16 count = 0;
    bool fits = false;  // the values are in `values`
};

Reply Decode(std::span<const uns8> bytes, std::span<uns32> values) {
    bv::BigEndianReader reader(bytes);
    Reply reply;
    reply.count = reader.take<uns16>();
    if (reader.overrun() || reply.count > values.size() || reader.left() / 4 < reply.count) {
        return reply;
    }
    for (uns32& value : values.first(reply.count)) value = reader.take<uns32>();
    reply.fits = true;
    return reply;
}

boolean16 Write(Call& call, const List& list, int16 hcam, const tidal_stream_type* array) {
    if (!array) return call.fail(C0_NULL_POINTER, "Given null pointer");
    if (!array->params && array->entries != 0) {
        return call.fail(C0_NULL_POINTER, "The array for entries is null");
    }
    uns16 max = 0;
    if (!bv_get_tidal_stream_exp_mode_params_max(hcam, &max) || max < array->entries) {
        return call.fail(C2_INDEX_OUT_OF_RANGE,
                         "Cannot get max. entries or maxCount < tidal_stream_array->entries");
    }
    const std::span<const uns32> wanted(array->params, array->entries);
    const std::unique_ptr<uns8[]> bytes = Encode(wanted);
    if (!bytes) {
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY,
                         "Cannot allocate tidal streaming host command buffer");
    }
    HostCommandMessage message(hcam);
    message.AddWrite(list.write, std::span(bytes.get(), WireBytes(array->entries)));
    message.BeginReply();
    message.AddRead(list.read, WireBytes(array->entries));
    message.RequestReply();
    if (!message.Execute()) return call.failed();

    const bv::TidalStreamOwner actual = bv::MakeTidalStream(array->entries);
    if (!actual) return call.failed();
    // Timing is computed from what was asked for, even if the camera corrects it.
    (bv::CacheOf(hcam).*list.mirror).assign(wanted.begin(), wanted.end());
    const std::span<uns32> values(actual->params, actual->entries);
    const Reply reply = Decode(message.ReplyBytes(list.read), values);
    if (reply.count != array->entries) {
        return call.fail(C2_FAILED_TO_SET_VALUE, "Nr. of entries read back from camera differs: %u",
                         reply.count);
    }
    if (!reply.fits) return call.fail(C0_INVALID_DATA, "List read back from camera is incomplete");
    if (!std::ranges::equal(values, wanted)) {
        // The error code stays as it was: an application tells a corrected list by it.
        call.error("Entries read back from camera differs");
        return call.failed();
    }
    return call.ok();
}

boolean16 Read(Call& call, const List& list, int16 hcam, tidal_stream_type* array) {
    if (!array) return call.fail(C0_NULL_POINTER, "Given null pointer");
    uns16 count = 0;
    if (!list.count(hcam, &count)) return call.failed();
    if (count == 0) {
        array->entries = 0;
        return call.ok(arg("entries", array->entries));
    }
    if (array->entries < count) {
        call.error("The array for %u entries, but room for %u item needed", array->entries, count);
        array->entries = count;
        return call.fail_silently(C2_ADDR_OUT_OF_RANGE);
    }
    if (!array->params) return call.fail(C0_NULL_POINTER, "The array for entries is null");
    SingleReadHostCommandMessage message(hcam, list.read, WireBytes(count));
    if (!message.Execute()) return call.failed();
    const Reply reply =
        Decode(message.ReplyBytes(list.read), std::span(array->params, array->entries));
    if (!reply.fits) {
        return call.fail(C0_INVALID_DATA, "List of %u entries does not fit its reply", reply.count);
    }
    array->entries = reply.count;
    return call.ok(arg("entries", array->entries));
}

// Writes one value and takes what comes back into the mirror, whether it is the same or not.
boolean16 WriteMirrored(Call& call, int16 hcam, orvex_host_command write, orvex_host_command read,
                        uns16 value, uns16& actual) {
    HostCommandMessage message(hcam);
    message.AddWriteAndReadBack(write, value, read);
    if (!message.Execute()) return call.failed();
    actual = message.Reply<uns16>(read);
    return bv::OZ_OK;
}

boolean16 Compare(Call& call, uns16 actual, uns16 wanted) {
    if (actual == wanted) return call.ok();
    return call.fail(C2_FAILED_TO_SET_VALUE, "Value read back from camera differs: %u", actual);
}

}  // namespace

boolean16 bv_create_tidal_stream_struct(tidal_stream_type** array, uns16 entries) {
    Call call("bv_create_tidal_stream_struct", arg("array", array), arg("entries", entries));
    *array = new (std::nothrow) tidal_stream_type{};
    if (!*array) {
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate tidal_stream_type structure");
    }
    (*array)->entries = entries;
    (*array)->params = new (std::nothrow) uns32[entries]{};
    if (!(*array)->params) {
        delete *array;
        *array = nullptr;
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY,
                         "Cannot allocate tidal_stream_type structure entries");
    }
    return call.ok(arg("*array", *array));
}

boolean16 bv_release_tidal_stream_struct(tidal_stream_type** array) {
    Call call("bv_release_tidal_stream_struct", arg("array", array));
    if (*array) {
        delete[] (*array)->params;
        delete *array;
        *array = nullptr;
    }
    return call.ok();
}

boolean16 bv_set_tidal_stream_mode_id(int16 hcam, uns16 param) {
    Call call("bv_set_tidal_stream_mode_id", arg("hcam", hcam), arg("param", param));
    uns16 actual = 0;
    if (!WriteMirrored(call, hcam, SET_TIDAL_STREAM_MODE, GET_TIDAL_STREAM_MODE, param, actual)) {
        return bv::OZ_FAIL;
    }
    bv::CacheOf(hcam).tidal_stream_mode = actual;
    return Compare(call, actual, param);
}

boolean16 bv_set_tidal_stream_enabled_mode(int16 hcam, boolean16 value) {
    Call call("bv_set_tidal_stream_enabled_mode", arg("hcam", hcam), arg("value", value));
    uns16 actual = 0;
    if (!WriteMirrored(call, hcam, SET_TIDAL_STREAM_ENABLED, GET_TIDAL_STREAM_ENABLED, value,
                       actual)) {
        return bv::OZ_FAIL;
    }
    bv::CacheOf(hcam).tidal_stream_enabled = actual != 0;
    if (actual == value) bv::InfoOf(hcam).script_valid = 0;
    return Compare(call, actual, value);
}

boolean16 bv_set_tidal_stream_exp_mode_params(int16 hcam, const tidal_stream_type* array) {
    Call call("bv_set_tidal_stream_exp_mode_params", arg("hcam", hcam), arg("array", array));
    return Write(call, exposures, hcam, array);
}

boolean16 bv_set_tidal_stream_dly_mode_params(int16 hcam, const tidal_stream_type* array) {
    Call call("bv_set_tidal_stream_dly_mode_params", arg("hcam", hcam), arg("array", array));
    return Write(call, delays, hcam, array);
}

boolean16 bv_get_tidal_stream_exp_mode_params(int16 hcam, tidal_stream_type* array) {
    Call call("bv_get_tidal_stream_exp_mode_params", arg("hcam", hcam), arg("array", array));
    return Read(call, exposures, hcam, array);
}

boolean16 bv_get_tidal_stream_dly_mode_params(int16 hcam, tidal_stream_type* array) {
    Call call("bv_get_tidal_stream_dly_mode_params", arg("hcam", hcam), arg("array", array));
    return Read(call, delays, hcam, array);
}

namespace bv {

boolean16 AnswerTidalList(Call& call, int16 hcam, int16 param_attribute, void* param_value) {
    auto* array = static_cast<tidal_stream_type*>(param_value);
    if (param_attribute == ATTR_CURRENT) {
        return call.result(bv_get_tidal_stream_exp_mode_params(hcam, array));
    }
    uns16 entries = 1;
    if (param_attribute == ATTR_MAX && !bv_get_tidal_stream_exp_mode_params_max(hcam, &entries)) {
        return call.failed();
    }
    array->entries = entries;
    return call.ok(arg("entries", entries));
}

boolean16 SetExposureList(int16 hcam, const void* param_value) {
    return bv_set_tidal_stream_exp_mode_params(hcam,
                                               static_cast<const tidal_stream_type*>(param_value));
}

boolean16 SetDelayList(int16 hcam, const void* param_value) {
    return bv_set_tidal_stream_dly_mode_params(hcam,
                                               static_cast<const tidal_stream_type*>(param_value));
}

}  // namespace bv
