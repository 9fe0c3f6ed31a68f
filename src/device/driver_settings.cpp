#include "device/command_io.h"
#include "device/ddi.h"
#include "state/call.h"
#include "state/camera_tables.h"

// The control operations that are no more than one exchange of a small record with the driver.

using bv::arg;
using bv::Call;

namespace {

// Asks the driver for one value. `output` is the output's log word with its leading asterisk.
template <class T>
boolean16 get_value(const char* function, int16 hcam, uns32 code, const char* output, T* value) {
    Call call(function, arg("hcam", hcam), arg(output + 1, value));
    if (!dv_ioctl(hcam, code, nullptr, 0, value, sizeof *value, nullptr, nullptr))
        return call.failed();
    return call.ok(arg(output, *value));
}

boolean16 set_value(const char* function, int16 hcam, uns32 code, const char* name, uns16 value) {
    Call call(function, arg("hcam", hcam), arg(name, value));
    return call.result(dv_ioctl(hcam, code, &value, sizeof value, nullptr, 0, nullptr, nullptr));
}

boolean16 command(const char* function, int16 hcam, uns32 code) {
    Call call(function, arg("hcam", hcam));
    return call.result(dv_ioctl(hcam, code, nullptr, 0, nullptr, 0, nullptr, nullptr));
}

boolean16 get_version_word(const char* function, int16 hcam, const char* output, uns16* value,
                           uns16 dv_version_record::* word) {
    Call call(function, arg("hcam", hcam), arg(output + 1, value));
    dv_version_record version{};
    if (!dv_ioctl(hcam, DV_GET_VER, nullptr, 0, &version, sizeof version, nullptr, nullptr))
        return call.failed();
    *value = version.*word;
    return call.ok(arg(output, *value));
}

}  // namespace

boolean16 dv_driver_get_info_dump(int16 hcam, uns16 AwBytes, char* ApData) {
    Call call("dv_driver_get_info_dump", arg("hcam", hcam), arg("AwBytes", AwBytes),
              bv::Arg<const void*>{"ApData", ApData});
    return call.result(
        dv_ioctl(hcam, DV_GET_INFO_DUMP, nullptr, 0, ApData, AwBytes, nullptr, nullptr));
}

boolean16 dv_driver_get_info_length(int16 hcam, uns16* ApMaxDataLen) {
    return get_value("dv_driver_get_info_length", hcam, DV_GET_INFO_LENGTH, "*ApMaxDataLen",
                     ApMaxDataLen);
}

boolean16 dv_driver_get_retries(int16 hcam, uns16* ApMaxRetries) {
    return get_value("dv_driver_get_retries", hcam, DV_GET_RETRIES, "*ApMaxRetries", ApMaxRetries);
}

boolean16 dv_driver_set_retries(int16 hcam, uns16 AwMaxRetries) {
    return set_value("dv_driver_set_retries", hcam, DV_SET_RETRIES, "AwMaxRetries", AwMaxRetries);
}

boolean16 dv_driver_get_timeout(int16 hcam, uns16* ApMSec) {
    return get_value("dv_driver_get_timeout", hcam, DV_GET_TIMEOUT, "*ApMSec", ApMSec);
}

boolean16 dv_driver_set_timeout(int16 hcam, uns16 AwMSec) {
    return set_value("dv_driver_set_timeout", hcam, DV_SET_TIMEOUT, "AwMSec", AwMSec);
}

boolean16 dv_driver_get_ver(int16 hcam, uns16* ApVersion) {
    return get_version_word("dv_driver_get_ver", hcam, "*ApVersion", ApVersion,
                            &dv_version_record::version);
}

boolean16 dv_driver_get_pci_cap(int16 hcam, uns16* ApPCICap) {
    return get_version_word("dv_driver_get_pci_cap", hcam, "*ApPCICap", ApPCICap,
                            &dv_version_record::capabilities);
}

// Applications have always been given the capability word as the firmware version.
boolean16 dv_driver_get_pci_fw(int16 hcam, uns16* ApPciFw) {
    return get_version_word("dv_driver_get_pci_fw", hcam, "*ApPciFw", ApPciFw,
                            &dv_version_record::capabilities);
}

boolean16 dv_driver_get_bridge_caps_size(int16 hcam, uns32* caps_size) {
    return get_value("dv_driver_get_bridge_caps_size", hcam, DV_GET_BRIDGE_CAPS_SIZE, "*caps_size",
                     caps_size);
}

boolean16 dv_driver_get_bridge_caps(int16 hcam, void* caps, uns32 caps_size) {
    Call call("dv_driver_get_bridge_caps", arg("hcam", hcam), arg("caps", caps),
              arg("caps_size", caps_size));
    return call.result(
        dv_ioctl(hcam, DV_GET_BRIDGE_CAPS, nullptr, 0, caps, caps_size, nullptr, nullptr));
}

boolean16 dv_exp_clear_ints(int16 hcam) {
    return command("dv_exp_clear_ints", hcam, DV_CLEAR_IRQS);
}

boolean16 dv_exp_get_ints(int16 hcam, uns32* ints) {
    Call call("dv_exp_get_ints", arg("hcam", hcam), arg("ints", ints));
    *ints = 0;
    dv_irq_counts counts{};
    if (!dv_ioctl(hcam, DV_GET_IRQCOUNT, nullptr, 0, &counts, sizeof counts, nullptr, nullptr))
        return call.failed();

    const int16 mode = has_row(hcam) ? pg_cam_info[row_of(hcam)].irq_mask : int16{0};
    switch (static_cast<orvex_frame_irqs>(mode)) {
        case NO_FRAME_IRQS: break;
        case BEGIN_FRAME_IRQS: *ints = counts.bof; break;
        case END_FRAME_IRQS: *ints = counts.eof; break;
        case BEGIN_END_FRAME_IRQS: *ints = counts.bof + counts.eof; break;
    }
    return call.ok(arg("*ints", *ints));
}

boolean16 dv_exp_get_current_oz_time(int16 hcam, int64* currTime) {
    return get_value("dv_exp_get_current_oz_time", hcam, DV_GET_CURRENT_TIMESTAMP, "*currTime",
                     currTime);
}

boolean16 dv_reset_interface(int16 hcam) {
    return command("dv_reset_interface", hcam, DV_RESET_INTERFACE);
}

boolean16 dv_send_transfer_speed_to_interface(int16 hcam) {
    Call call("dv_send_transfer_speed_to_interface", arg("hcam", hcam));
    // Only this bus reserves bandwidth by the rate of the camera.
    if (dv_device_driver_type(dv_device(hcam)) != DRIVER_TYPE_1394) return call.ok();
    return call.result(
        dv_ioctl(hcam, DV_CAM_PREP_TRANSFER, nullptr, 0, nullptr, 0, nullptr, nullptr));
}
