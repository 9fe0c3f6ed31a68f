#include "device/command_io.h"

#include <array>
#include <cstring>

#include "device/ddi.h"
#include "device/device_table.h"
#include "state/bytes.h"
#include "state/call.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;

namespace {

constexpr uns32 command_limit_ms = 3000;
constexpr uns32 passthrough_limit_ms = 15000;
constexpr size_t frame_header_bytes = 3;
// Zeros that follow the payload in memory.
constexpr size_t frame_slack_bytes = 8;

struct CodeText {
    uns32 code;
    const char* text;
};

#define CODE_TEXT(name, code) {code, #name},
constexpr CodeText code_texts[] = {ORVEX_DV_CODES(CODE_TEXT)};
#undef CODE_TEXT

// A handle with no device behind it is refused like an unplugged camera.
bool is_removed(orvex_device* device) {
    return !device || dv_device_state(device) == DEVICE_REMOVED;
}

// Waits for the acknowledges of one frame and fetches its reply. There is one exchange at a time,
// so a reply is whatever follows the acknowledge. The first `kept` bytes of its buffer stay as they
// are until the driver writes there.
boolean16 exchange(Call& call, orvex_device* device, const void* frame, uns16 frame_bytes,
                   uns16 reply_bytes, void* reply, uns32 limit_ms, uns16 kept = 0) {
    uns16 count = 0;
    if (device->write(device, frame, frame_bytes, &count) != 1)
        return call.fail(C7_DRIVER_COM_ERROR, "Failed to write data, written, %u out of %u bytes",
                         unsigned{count}, unsigned{frame_bytes});
    call.debug("We are in the wait code after the write");
    if (!dv_event_wait(device->write_ack, limit_ms))
        return call.fail(C7_DRIVER_COM_ERROR, "Write ack event not signalled within %u ms",
                         limit_ms);
    call.debug("Got write ack");
    if (reply_bytes == 0) return call.ok();

    call.debug("We are in the wait code before the read");
    if (!dv_event_wait(device->read_ack, limit_ms))
        return call.fail(C7_DRIVER_COM_ERROR, "Read ack event not signalled within %u ms",
                         limit_ms);
    call.debug("Got read ack");
    // A reply shorter than asked is taken, and its buffer often held the message: what the driver
    // leaves out reads as zeros. Done ahead of the read, as not every driver gives a true count.
    if (reply) std::memset(static_cast<uns8*>(reply) + kept, 0, reply_bytes - kept);
    count = 0;
    if (device->read(device, reply, reply_bytes, &count) != 1)
        return call.fail(C7_DRIVER_COM_ERROR, "Failed to read data, read %u out of %u bytes",
                         unsigned{count}, unsigned{reply_bytes});
    return call.ok();
}

}  // namespace

const char* bv_text_dv_ioctl(uns32 code) {
    for (const CodeText& row : code_texts)
        if (row.code == code) return row.text;
    return "<UNKNOWN>";
}

boolean16 dv_ioctl(int16 hcam, uns32 code, const void* in, uns32 in_size, void* out, uns32 out_size,
                   uns32* returned, void* overlapped) {
    Call call("dv_ioctl", arg("hcam", hcam),
              bv::hex_enumerated("dwIoControlCode", code, bv_text_dv_ioctl), arg("lpInBuffer", in),
              arg("nInBufferSize", in_size), arg("lpOutBuffer", out),
              arg("nOutBufferSize", out_size), arg("lpBytesReturned", returned),
              arg("lpOverlapped", overlapped));
    orvex_device* device = dv_device(hcam);
    if (is_removed(device))
        return call.fail(C7_DRIVER_COM_ERROR, "IOCTL %s(0x%08x) failed, device removed",
                         bv_text_dv_ioctl(code), code);

    uns32 unwanted_count = 0;
    uns32* const count = returned ? returned : &unwanted_count;
    dv_ioctl_args args{};
    args.lpInBuffer = const_cast<void*>(in);
    args.nInBufferSize = in_size;
    args.lpOutBuffer = out;
    args.nOutBufferSize = out_size;
    args.lpBytesReturned = count;
    args.lpOverlapped = overlapped;
    if (device->ioctl(device, code, &args) != 1)
        return call.fail(C7_DRIVER_COM_ERROR, "IOCTL %s(0x%08x) failed", bv_text_dv_ioctl(code),
                         code);
    // The driver may have used the record up.
    return call.ok(arg("*lpBytesReturned", *count));
}

boolean16 dv_cam_write_read(int16 hcam, uns8 AbCmdClass, uns16 AwWriteBytes,
                            const void* ApWriteArray, uns16 AwReadBytes, void* ApReadArray) {
    Call call("dv_cam_write_read", arg("hcam", hcam), arg("AbCmdClass", AbCmdClass),
              arg("AwWriteBytes", AwWriteBytes), arg("ApWriteArray", ApWriteArray),
              arg("AwReadBytes", AwReadBytes), arg("ApReadArray", ApReadArray));
    orvex_device* device = dv_device(hcam);
    if (is_removed(device))
        return call.fail(C7_DRIVER_COM_ERROR, "Failed to write data, device removed");
    if (AwWriteBytes == 0) return call.fail(C7_DRIVER_COM_ERROR, "No data to write");

    // Room for any 16-bit size, so that no caller can overrun it; only the used part is touched.
    std::array<uns8, 0xFFFF + frame_slack_bytes> frame;
    std::memset(frame.data(), 0, AwWriteBytes + frame_slack_bytes);
    frame[0] = AbCmdClass;
    bv::StoreBigEndian<uns16>(&frame[1], AwWriteBytes);
    std::memcpy(&frame[frame_header_bytes], ApWriteArray, AwWriteBytes);
    // A status of zero says success, which a reply that never came must not: what stands there is
    // the first byte of the message, no zero.
    const uns16 kept = bv::ReplyHasStatusByte(hcam) ? 1 : 0;
    return exchange(call, device, frame.data(),
                    static_cast<uns16>(AwWriteBytes + frame_header_bytes), AwReadBytes, ApReadArray,
                    command_limit_ms, kept);
}

boolean16 dv_cam_write_read_passthrough(int16 hcam, uns16 AwWriteBytes, const void* ApWriteArray,
                                        uns16 AwReadBytes, void* ApReadArray) {
    Call call("dv_cam_write_read_passthrough", arg("hcam", hcam), arg("AwWriteBytes", AwWriteBytes),
              arg("ApWriteArray", ApWriteArray), arg("AwReadBytes", AwReadBytes),
              arg("ApReadArray", ApReadArray));
    orvex_device* device = dv_device(hcam);
    if (is_removed(device))
        return call.fail(C7_DRIVER_COM_ERROR, "Failed to write data, device removed");
    if (AwWriteBytes == 0) return call.fail(C7_DRIVER_COM_ERROR, "No data to write");
    return exchange(call, device, ApWriteArray, AwWriteBytes, AwReadBytes, ApReadArray,
                    passthrough_limit_ms);
}
