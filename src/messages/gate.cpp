#include "messages/gate.h"

#include "orvex/orvex_errors.h"
#include "orvex/orvex_protocol.h"

#include "device/command_io.h"
#include "messages/upcalls.h"
#include "state/bytes.h"
#include "state/call.h"

namespace {

// The bytes that the message asks for with the SEND_STAT_BUF and length at its end; 0 with the
// error set when it does not.
uns16 RequestedReply(bv::Call& call, uns8 c_class, uns16 write_bytes, const uns8* message) {
    if (c_class != CLASS_HOST_COMMANDS && c_class != CLASS_PLUGIN_COMMANDS) {
        return call.fail(C0_WRONG_READ_CLASS,
                         "This function supports host- and plugin commands only");
    }
    const int index = write_bytes - 3;
    if (index < 0 || message[index] != SEND_STAT_BUF) {
        return call.fail(C0_SYS_ERR_READ_BYTE,
                         "Read requested but write_array does not contain SEND_STAT_BUF command at "
                         "index %u",
                         static_cast<unsigned>(index));
    }
    const uns16 bytes = bv::LoadBigEndian<uns16>(message + index + 1);
    if (bytes == 0 || bytes > message_bytes_max) {
        return call.fail(C0_SYS_ERR_READ_BYTE,
                         "Expected response is either empty or longer than %u chars",
                         message_bytes_max);
    }
    return bytes;
}

}  // namespace

boolean16 bz_cam_write_read(int16 hcam, uns8 c_class, uns16 write_bytes, const void* write_array,
                            void* read_array) {
    bv::Call call("bz_cam_write_read", bv::arg("hcam", hcam), bv::arg("c_class", c_class),
                  bv::arg("write_bytes", write_bytes), bv::arg("write_array", write_array),
                  bv::arg("read_array", read_array));
    if (write_bytes == 0 || write_bytes > message_bytes_max) {
        return call.fail(C0_SYS_ERR_SEND_BYTE,
                         "write_array is either empty or longer than %u chars", message_bytes_max);
    }
    uns16 read_bytes = 0;
    if (read_array) {
        read_bytes =
            RequestedReply(call, c_class, write_bytes, static_cast<const uns8*>(write_array));
        if (read_bytes == 0) return bv::OZ_FAIL;
    }
    if (!bv_exp_abort(hcam, CCS_HALT)) return call.failed();
    return call.result(
        dv_cam_write_read(hcam, c_class, write_bytes, write_array, read_bytes, read_array));
}
