#include <array>
#include <cstring>

#include "messages/host_command_message.h"
#include "params/accessors.h"
#include "state/bytes.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;
using bv::SingleReadHostCommandMessage;

namespace {

constexpr int32 ReplyBytesOf(orvex_host_command command) {
#define ORVEX_REPLY_BYTES(name, id, write_bytes, write_type, read_bytes, read_type) read_bytes,
    constexpr int32 sizes[] = {ORVEX_HOST_COMMANDS(ORVEX_REPLY_BYTES)};
#undef ORVEX_REPLY_BYTES
    return sizes[static_cast<size_t>(command)];
}

template <orvex_host_command Command, class T>
boolean16 ReadOne(const char* function, int16 hcam, const char* word, const char* result,
                  T* value) {
    static_assert(ReplyBytesOf(Command) == sizeof(T));
    Call call(function, arg("hcam", hcam), arg(word, static_cast<void*>(value)));
    SingleReadHostCommandMessage message(hcam, Command);
    if (!message.Execute()) return call.failed();
    *value = message.Reply<T>(Command);
    return call.ok(arg(result, *value));
}

boolean16 ReadFlag(const char* function, int16 hcam, const char* word, const char* result,
                   orvex_host_command command, boolean16* value) {
    Call call(function, arg("hcam", hcam), arg(word, static_cast<void*>(value)));
    SingleReadHostCommandMessage message(hcam, command);
    if (!message.Execute()) return call.failed();
    *value = message.Reply<uns16>(command) != 0;
    return call.ok(arg(result, *value));
}

boolean16 ReadText(const char* function, int16 hcam, const char* word, const char* result,
                   orvex_host_command command, char* text) {
    Call call(function, arg("hcam", hcam), arg(word, static_cast<void*>(text)));
    SingleReadHostCommandMessage message(hcam, command);
    if (!message.Execute()) return call.failed();
    message.GetReply(static_cast<uns8>(command), text);
    return call.ok(bv::quoted(result, text));
}

// Two 16-bit values in one raw reply.
boolean16 ReadPair(Call& call, int16 hcam, orvex_host_command command, const char* first_word,
                   uns16* first, const char* second_word, uns16* second) {
    SingleReadHostCommandMessage message(hcam, command);
    if (!message.Execute()) return call.failed();
    bv::BigEndianReader reply(message.ReplyBytes(command));
    *first = reply.take<uns16>();
    *second = reply.take<uns16>();
    return call.ok(arg(first_word, *first), arg(second_word, *second));
}

}  // namespace

#define BV_DEFINE_SINGLE_READ(name, type, word, command)              \
    boolean16 name(int16 hcam, type* word) {                          \
        return ReadOne<command>(#name, hcam, #word, "*" #word, word); \
    }
BV_SINGLE_READS(BV_DEFINE_SINGLE_READ)
#undef BV_DEFINE_SINGLE_READ

#define BV_DEFINE_FLAG_READ(name, word, command)                       \
    boolean16 name(int16 hcam, boolean16* word) {                      \
        return ReadFlag(#name, hcam, #word, "*" #word, command, word); \
    }
BV_FLAG_READS(BV_DEFINE_FLAG_READ)
#undef BV_DEFINE_FLAG_READ

#define BV_DEFINE_TEXT_READ(name, word, command)                   \
    boolean16 name(int16 hcam, char* word) {                       \
        return ReadText(#name, hcam, #word, #word, command, word); \
    }
BV_TEXT_READS(BV_DEFINE_TEXT_READ)
#undef BV_DEFINE_TEXT_READ

boolean16 bv_ccd_get_ext_metadata_size(int16 hcam, uns16* frame_size, uns16* roi_size) {
    Call call("bv_ccd_get_ext_metadata_size", arg("hcam", hcam), arg("frame_size", frame_size),
              arg("roi_size", roi_size));
    return ReadPair(call, hcam, GET_EXT_METADATA_SIZE, "*frame_size", frame_size, "*roi_size",
                    roi_size);
}

// Ranges travel with the maximum first.
boolean16 bv_ccd_get_centroids_radius_range(int16 hcam, uns16* min, uns16* max) {
    Call call("bv_ccd_get_centroids_radius_range", arg("hcam", hcam), arg("min", min),
              arg("max", max));
    return ReadPair(call, hcam, GET_CENTROIDS_RADIUS_RANGE, "*max", max, "*min", min);
}

boolean16 bv_ccd_get_centroids_count_range(int16 hcam, uns16* min, uns16* max) {
    Call call("bv_ccd_get_centroids_count_range", arg("hcam", hcam), arg("min", min),
              arg("max", max));
    return ReadPair(call, hcam, GET_CENTROIDS_COUNT_RANGE, "*max", max, "*min", min);
}

boolean16 bv_ccd_get_accum_capable(int16 hcam, boolean16* accum_capable) {
    Call call("bv_ccd_get_accum_capable", arg("hcam", hcam), arg("accum_capable", accum_capable));
    *accum_capable = bv::ReadsOf(hcam).accum_capable;
    return call.ok(arg("*accum_capable", *accum_capable));
}
