#include "params/camera_answers.h"

#include <algorithm>
#include <cstring>

#include "camera/extended_capabilities.h"
#include "device/command_io.h"
#include "messages/bridge.h"
#include "params/accessors.h"
#include "params/speed_table.h"

using bv::arg;
using bv::Call;

// The text is cut where `bytes` end; a driver need not terminate it.
boolean16 bv_dd_get_info(int16 hcam, int16 bytes, char* text) {
    Call call("bv_dd_get_info", arg("hcam", hcam), arg("bytes", bytes),
              arg("text", static_cast<void*>(text)));
    if (bytes < 1) return call.fail(C2_NEED_POSITIVE_VAL, "No room for the text");
    std::memset(text, 0, static_cast<size_t>(bytes));
    if (!dv_driver_get_info_dump(hcam, static_cast<uns16>(bytes), text)) return call.failed();
    text[bytes - 1] = '\0';
    return call.ok(bv::quoted("text", text));
}

namespace bv {

boolean16 ColorMode(Call&, int16 hcam, Value& value) {
    const cam_reads_type& reads = row<cam_reads_type>(hcam);
    uns8 mask = reads.cap_color ? COLOR_RGGB : COLOR_NONE;
    if (reads.cap_color && reads.cap_color_mask &&
        !bv_ccd_get_sensor_color_mask_type(hcam, &mask)) {
        return OZ_FAIL;
    }
    value = mask;
    return OZ_OK;
}

boolean16 ReadoutPort(Call&, int16 hcam, Value& value) {
    const cam_reads_type& reads = row<cam_reads_type>(hcam);
    uns16 port = reads.readout_port_nvp.items[0].value;
    if (reads.port_total > 1 && !bv_ccd_get_readout_port(hcam, &port)) return OZ_FAIL;
    value = port;
    return OZ_OK;
}

boolean16 InterfaceMode(Call& call, int16 hcam, Value& value) {
    uns32 type = 0;
    if (!bv_cam_get_interface_type_current(hcam, &type)) return OZ_FAIL;
    const cam_reads_type& reads = row<cam_reads_type>(hcam);
    const size_t total = std::min<size_t>(reads.ifc_total, interface_types_max);
    for (size_t i = 0; i < total; ++i) {
        if (reads.ifc_types[i] != type) continue;
        value = reads.ifc_modes[i];
        return OZ_OK;
    }
    return call.fail(C3_INVALID_CAPABILITIES, "Invalid capabilities, unknown interface type");
}

boolean16 FirmwareVersion(Call&, int16 hcam, Value& value) {
    const cam_reads_type& reads = row<cam_reads_type>(hcam);
    value = reads.fw_major << 8 | reads.fw_minor;
    return OZ_OK;
}

boolean16 HasMpp(Call&, int16 hcam, Value& value) {
    const uns16 capable = row<cam_reads_type>(hcam).mpp_capable;
    value = capable == MPP_ALWAYS_ON || capable == MPP_SELECTABLE;
    return OZ_OK;
}

boolean16 SizesAreVisible(Call&, int16 hcam, Value& value) {
    value = !(row<cam_reads_type>(hcam).sensor_caps & SENSOR_CAPS_HIDDEN);
    return OZ_OK;
}

boolean16 EdgeAccess(Call&, int16 hcam, Value& value) {
    const bool fixed = row<cam_reads_type>(hcam).sensor_caps & SENSOR_CAPS_FIXED;
    value = fixed ? ACC_READ_ONLY : ACC_READ_WRITE;
    return OZ_OK;
}

boolean16 SizeAccess(Call&, int16 hcam, Value& value) {
    const bool fixed =
        row<cam_reads_type>(hcam).sensor_caps & (SENSOR_CAPS_HIDDEN | SENSOR_CAPS_FIXED);
    value = fixed ? ACC_READ_ONLY : ACC_READ_WRITE;
    return OZ_OK;
}

boolean16 SetpointRange(int16 hcam, int16* min, int16* max) {
    *min = row<cam_reads_type>(hcam).temp_min;
    *max = row<cam_reads_type>(hcam).temp_max;
    return OZ_OK;
}

boolean16 SetpointStep(Call&, int16 hcam, Value& value) {
    const cam_reads_type& reads = row<cam_reads_type>(hcam);
    value = reads.temp_min != reads.temp_max;
    return OZ_OK;
}

// Asked of the bridge once, since the answer takes a command for each node of the chain.
boolean16 SystemsInfo(int16 hcam, Text& text) {
    const char* info = row<cam_reads_type>(hcam).cam_systems_info;
    if (!*info && !oz_bridge_read_cam_systems_info(hcam)) return OZ_FAIL;
    text.text = info;
    return OZ_OK;
}

boolean16 GainName(int16 hcam, Text& text) {
    char name[32] = {};
    if (!bv_spdtab_get_gain_name(hcam, name, nullptr)) return OZ_FAIL;
    text.own = name;
    text.text = text.own.c_str();
    return OZ_OK;
}

boolean16 DriverInfo(int16 hcam, Text& text) {
    uns16 length = 0;
    if (!dv_driver_get_info_length(hcam, &length)) return OZ_FAIL;
    text.own.assign(size_t{length} + 1, '\0');
    if (length != 0 && !dv_driver_get_info_dump(hcam, length, text.own.data())) return OZ_FAIL;
    text.text = text.own.c_str();
    return OZ_OK;
}

}  // namespace bv
