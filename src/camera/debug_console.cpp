#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_protocol.h"

#include "camera/reads.h"
#include "messages/gate.h"
#include "messages/host_command_message.h"
#include "platform/system.h"
#include "state/bytes.h"
#include "state/call.h"

namespace {

constexpr uns32 debug_text_max = 32700;
// An answer repeats the text and adds a little.
constexpr size_t debug_answer_extra = 10;
// The console takes a while and says nothing when it is done.
constexpr uns32 debug_wait_ms = 10;

}  // namespace

boolean16 bv_cam_send_debug(int16 hcam, const char* debug_str, uns16 reply_len, char* reply_str) {
    bv::Call call("bv_cam_send_debug", bv::arg("hcam", hcam), bv::quoted("debug_str", debug_str),
                  bv::arg("reply_len", reply_len),
                  bv::arg("reply_str", static_cast<const void*>(reply_str)));
    if (!reply_str && reply_len != 0) return call.fail(C0_NULL_POINTER, "Null pointer given");
    const size_t length = debug_str ? std::strlen(debug_str) : 0;
    if (length == 0 || length > debug_text_max) {
        return call.fail(C0_SYS_ERR_SEND_BYTE, "debug_str is either empty or longer than %u chars",
                         debug_text_max);
    }
    if (reply_len > message_bytes_max) {
        return call.fail(C0_SYS_ERR_READ_BYTE, "Expected response is longer than %u chars",
                         message_bytes_max);
    }
    const std::unique_ptr<uns8[]> buffer(new (std::nothrow) uns8[length + 2]);
    if (!buffer) {
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Cannot allocate communication buffer");
    }
    bv::StoreBigEndian(buffer.get(), static_cast<uns16>(length));
    std::copy_n(debug_str, length, &buffer[2]);
    const std::span<const uns8> data(buffer.get(), length + 2);
    const uns16 reply_bytes =
        static_cast<uns16>(std::min<size_t>(length + debug_answer_extra, reply_len));

    bv::HostCommandMessage message(hcam);
    message.BeginReply();
    if (reply_bytes == 0) {
        message.AddWrite(DEBUG_CMD, data);
        message.AddReadLength();
        if (!message.Execute()) return call.failed();
        platform::SleepMs(debug_wait_ms);
        return call.ok();
    }
    message.AddWriteRead(DEBUG_CMD, data, reply_bytes);
    message.RequestReply();
    if (!message.Execute()) return call.failed();
    message.GetReply(DEBUG_CMD, reply_str);
    return call.ok(bv::quoted("*reply_str", reply_str));
}
