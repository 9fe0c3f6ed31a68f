#include "params/speed_table.h"

#include <algorithm>
#include <cstring>

#include "device/command_io.h"
#include "messages/host_command_message.h"
#include "params/parameter.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;
using bv::HostCommandMessage;
using bv::SingleReadHostCommandMessage;

namespace {

// 1 when the camera has speeds at all.
boolean16 HasSpeeds(Call& call, int16 hcam) {
    if (bv::row<cam_reads_type>(hcam).spdtab_total >= 1) return bv::OZ_OK;
    return call.fail(C2_NOT_AVAILABLE, "No speed choices available");
}

// One byte of the current row of the table; `least` stands for anything below it.
boolean16 ReadByte(const char* function, const char* word, const char* result, int16 hcam,
                   orvex_host_command command, int16* value, int16 least = 0) {
    Call call(function, arg("hcam", hcam), arg(word, value));
    if (!HasSpeeds(call, hcam)) return bv::OZ_FAIL;
    SingleReadHostCommandMessage message(hcam, command);
    if (!message.Execute()) return call.failed();
    *value = std::max(message.Reply<int16>(command), least);
    return call.ok(arg(result, *value));
}

void KeepPixelTime(int16 hcam, uns16 time) {
    bv::ConfigOf(hcam).spdtab_time = time;
}

}  // namespace

boolean16 bv_spdtab_get_bits(int16 hcam, int16* spdtab_bits) {
    return ReadByte("bv_spdtab_get_bits", "spdtab_bits", "*spdtab_bits", hcam, SPD_BIT_DEPTH,
                    spdtab_bits);
}

boolean16 bv_spdtab_get_gain(int16 hcam, int16* spdtab_gain) {
    return ReadByte("bv_spdtab_get_gain", "spdtab_gain", "*spdtab_gain", hcam, SPD_USER_GAIN,
                    spdtab_gain);
}

boolean16 bv_spdtab_get_max_gain(int16 hcam, int16* spd_max_gain) {
    return ReadByte("bv_spdtab_get_max_gain", "spd_max_gain", "*spd_max_gain", hcam, SPD_MAX_GAIN,
                    spd_max_gain);
}

boolean16 bv_spdtab_get_port(int16 hcam, int16* spdtab_port) {
    return ReadByte("bv_spdtab_get_port", "spdtab_port", "*spdtab_port", hcam, READ_PORT_NUM,
                    spdtab_port);
}

boolean16 bv_spdtab_get_port_total(int16 hcam, int16* total_ports) {
    // Cameras with a single port may count none.
    return ReadByte("bv_spdtab_get_port_total", "total_ports", "*total_ports", hcam, TOTAL_PORTS,
                    total_ports, 1);
}

boolean16 bv_spdtab_get_gain_name(int16 hcam, char* gain_name, uns32* len) {
    Call call("bv_spdtab_get_gain_name", arg("hcam", hcam),
              arg("gain_name", static_cast<void*>(gain_name)), arg("len", len));
    SingleReadHostCommandMessage message(hcam, GET_GAIN_NAME);
    if (!message.Execute()) return call.failed();
    char name[32] = {};
    message.GetReply(GET_GAIN_NAME, name);
    const auto length = static_cast<uns32>(std::strlen(name));
    if (gain_name) std::memcpy(gain_name, name, length + 1);
    if (len) *len = length;
    return call.ok(bv::quoted("gain_name", name), arg("*len", length));
}

boolean16 bv_spdtab_get_num(int16 hcam, int16* spdtab_num) {
    Call call("bv_spdtab_get_num", arg("hcam", hcam), arg("spdtab_num", spdtab_num));
    if (!HasSpeeds(call, hcam)) return bv::OZ_FAIL;
    HostCommandMessage message(hcam);
    message.BeginReply();
    message.AddRead(CUR_SPD);
    message.AddRead(SPD_SPEED);
    message.RequestReply();
    if (!message.Execute()) return call.failed();
    *spdtab_num = message.Reply<int16>(CUR_SPD);
    KeepPixelTime(hcam, message.Reply<uns16>(SPD_SPEED));
    return call.ok(arg("*spdtab_num", *spdtab_num));
}

boolean16 bv_spdtab_get_time(int16 hcam, uns16* spdtab_time) {
    Call call("bv_spdtab_get_time", arg("hcam", hcam), arg("spdtab_time", spdtab_time));
    if (!HasSpeeds(call, hcam)) return bv::OZ_FAIL;
    SingleReadHostCommandMessage message(hcam, SPD_SPEED);
    if (!message.Execute()) return call.failed();
    *spdtab_time = message.Reply<uns16>(SPD_SPEED);
    KeepPixelTime(hcam, *spdtab_time);
    return call.ok(arg("*spdtab_time", *spdtab_time));
}

// The camera judges the gain: one that it refuses shows in what is read back.
boolean16 bv_spdtab_set_gain(int16 hcam, int16 spdtab_gain) {
    Call call("bv_spdtab_set_gain", arg("hcam", hcam), arg("spdtab_gain", spdtab_gain));
    if (!HasSpeeds(call, hcam)) return bv::OZ_FAIL;
    HostCommandMessage message(hcam);
    message.AddWriteAndReadBack(SET_SPD_GAIN, spdtab_gain, SPD_USER_GAIN);
    if (!message.Execute()) return call.failed();
    const uns16 actual = message.Reply<uns8>(SPD_USER_GAIN);
    if (actual != spdtab_gain) {
        return call.fail(C2_FAILED_TO_SET_VALUE, "Value read back from camera differs: %u", actual);
    }
    return call.ok();
}

// A negative number goes to the camera, which refuses it.
boolean16 bv_spdtab_set_num(int16 hcam, int16 spdtab_num) {
    Call call("bv_spdtab_set_num", arg("hcam", hcam), arg("spdtab_num", spdtab_num));
    if (!HasSpeeds(call, hcam)) return bv::OZ_FAIL;
    const int16 total = bv::row<cam_reads_type>(hcam).spdtab_total;
    if (spdtab_num >= total) {
        return call.fail(C2_NOT_AVAILABLE, "Speed index out of range, max. is %d", total - 1);
    }
    HostCommandMessage message(hcam);
    message.AddWrite(SELECT_SPD, spdtab_num);
    message.BeginReply();
    message.AddRead(CUR_SPD);
    message.AddRead(SPD_SPEED);
    message.RequestReply();
    if (!message.Execute()) return call.failed();
    const int16 actual = message.Reply<int16>(CUR_SPD);
    if (actual != spdtab_num) {
        return call.fail(C2_FAILED_TO_SET_VALUE, "Value read back from camera differs: %d", actual);
    }
    KeepPixelTime(hcam, message.Reply<uns16>(SPD_SPEED));
    bv::InfoOf(hcam).script_valid = 0;
    return call.result(dv_send_transfer_speed_to_interface(hcam));
}
