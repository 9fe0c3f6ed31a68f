#include "params/io_ports.h"

#include <cmath>

#include "messages/host_command_message.h"
#include "params/dispatch.h"
#include "params/io_answers.h"
#include "params/parameter.h"
#include "state/bytes.h"
#include "state/camera_rows.h"

using bv::arg;
using bv::Call;
using bv::HostCommandMessage;

namespace {

// A DAC port counts in thousandths.
constexpr flt64 dac_steps = 1000.0;

// A value of one port; the port's address travels with the question.
template <class T>
boolean16 ReadOfPort(const char* function, const char* word, const char* result, int16 hcam,
                     uns16 addr, orvex_host_command command, T* value) {
    Call call(function, arg("hcam", hcam), arg("addr", addr), arg(word, value));
    HostCommandMessage message(hcam);
    message.BeginReply();
    message.AddWriteRead(command, addr);
    message.RequestReply();
    if (!message.Execute()) return call.failed();
    *value = message.Reply<T>(command);
    return call.ok(arg(result, *value));
}

struct TypedState {
    uns16 type = 0;
    uns16 state = 0;
};

// A state means something only together with the port's type.
boolean16 ReadState(int16 hcam, uns16 addr, orvex_host_command command, TypedState& typed) {
    HostCommandMessage message(hcam);
    message.BeginReply();
    message.AddWriteRead(SEND_PORTS_TYPE, addr);
    message.AddWriteRead(command, addr);
    message.RequestReply();
    if (!message.Execute()) return bv::OZ_FAIL;
    typed = {message.Reply<uns16>(SEND_PORTS_TYPE), message.Reply<uns16>(command)};
    return bv::OZ_OK;
}

boolean16 ReadLimit(Call& call, int16 hcam, uns16 addr, orvex_host_command command,
                    const char* result, flt64* limit) {
    TypedState typed;
    if (!ReadState(hcam, addr, command, typed)) return call.failed();
    switch (typed.type) {
        case IO_TYPE_TTL: *limit = typed.state; break;
        case IO_TYPE_DAC: *limit = typed.state / dac_steps; break;
        default: return call.fail(C2_IO_TYPE_INVALID, "Unknown port type %u", typed.type);
    }
    return call.ok(arg(result, *limit));
}

// Address and value, high bytes first, as one block.
std::array<uns8, 4> PortBlock(uns16 addr, uns16 value) {
    std::array<uns8, 4> block{};
    bv::StoreBigEndian(block.data(), addr);
    bv::StoreBigEndian(block.data() + 2, value);
    return block;
}

}  // namespace

boolean16 bv_io_get_bitdepth(int16 hcam, uns16 addr, uns8* io_bits) {
    return ReadOfPort("bv_io_get_bitdepth", "io_bits", "*io_bits", hcam, addr, SEND_PORTS_RESL,
                      io_bits);
}

boolean16 bv_io_get_dir_attr(int16 hcam, uns16 addr, uns16* io_dir_attr) {
    return ReadOfPort("bv_io_get_dir_attr", "io_dir_attr", "*io_dir_attr", hcam, addr,
                      SEND_PORTS_ATTRIBUTES, io_dir_attr);
}

boolean16 bv_io_get_direction(int16 hcam, uns16 addr, uns16* io_dir) {
    return ReadOfPort("bv_io_get_direction", "io_dir", "*io_dir", hcam, addr, SEND_PORTS_DIR,
                      io_dir);
}

boolean16 bv_io_get_type(int16 hcam, uns16 addr, uns16* io_type) {
    return ReadOfPort("bv_io_get_type", "io_type", "*io_type", hcam, addr, SEND_PORTS_TYPE,
                      io_type);
}

boolean16 bv_io_get_current_state(int16 hcam, uns16 addr, flt64* io_state) {
    Call call("bv_io_get_current_state", arg("hcam", hcam), arg("addr", addr),
              arg("io_state", io_state));
    uns16 access = 0;
    if (!bv_get_attribute(hcam, PARAM_IO_STATE, ATTR_ACCESS, &access)) return call.failed();
    if (access != ACC_READ_ONLY && access != ACC_READ_WRITE) {
        return call.fail(C2_IO_TYPE_INVALID, "IO port is not readable");
    }
    TypedState typed;
    if (!ReadState(hcam, addr, GET_CURRENT_PORT_ST, typed)) return call.failed();
    // The voltage of a DAC port can't be read back.
    if (typed.type != IO_TYPE_TTL) {
        return call.fail(C2_IO_TYPE_INVALID, "IO port is not IO_TYPE_TTL");
    }
    *io_state = typed.state;
    return call.ok(arg("*io_state", *io_state));
}

boolean16 bv_io_get_min_state(int16 hcam, uns16 addr, flt64* io_min) {
    Call call("bv_io_get_min_state", arg("hcam", hcam), arg("addr", addr), arg("io_min", io_min));
    return ReadLimit(call, hcam, addr, SEND_PORTS_MIN, "*io_min", io_min);
}

boolean16 bv_io_get_max_state(int16 hcam, uns16 addr, flt64* io_max) {
    Call call("bv_io_get_max_state", arg("hcam", hcam), arg("addr", addr), arg("io_max", io_max));
    return ReadLimit(call, hcam, addr, SEND_PORTS_MAX, "*io_max", io_max);
}

boolean16 bv_io_set_state(int16 hcam, uns16 addr, flt64 io_state) {
    Call call("bv_io_set_state", arg("hcam", hcam), arg("addr", addr), arg("io_state", io_state));
    uns16 type = 0;
    if (!bv_io_get_type(hcam, addr, &type)) return call.failed();
    if (type != IO_TYPE_TTL && type != IO_TYPE_DAC) {
        return call.fail(C2_IO_TYPE_INVALID, "Unknown port type %u", type);
    }
    const flt64 steps = type == IO_TYPE_DAC ? std::round(io_state * dac_steps) : io_state;
    if (!(steps >= 0 && steps < 65536)) {
        return call.fail(C2_FAILED_TO_SET_VALUE, "Port value %f out of range", io_state);
    }
    HostCommandMessage message(hcam);
    message.AddWrite(SET_CURRENT_PORT_ST, PortBlock(addr, static_cast<uns16>(steps)));
    message.AddReadLength();
    return call.result(message.Execute());
}

boolean16 bv_io_set_direction(int16 hcam, uns16 addr, int32 io_dir) {
    Call call("bv_io_set_direction", arg("hcam", hcam), arg("addr", addr), arg("io_dir", io_dir));
    if (io_dir < IO_DIR_INPUT || io_dir > IO_DIR_INPUT_OUTPUT) {
        return call.fail(C2_IO_DIRECTION_INVALID, "Unknown IO port direction");
    }
    HostCommandMessage message(hcam);
    message.AddWrite(SET_DIRECTION, PortBlock(addr, static_cast<uns16>(io_dir)));
    message.BeginReply();
    message.AddWriteRead(SEND_PORTS_DIR, addr);
    message.RequestReply();
    if (!message.Execute()) return call.failed();
    const uns16 actual = message.Reply<uns16>(SEND_PORTS_DIR);
    if (actual != io_dir) {
        return call.fail(C2_FAILED_TO_SET_VALUE, "Value read back from camera differs: %u", actual);
    }
    return call.ok();
}

boolean16 bv_set_io_addr(int16 hcam, uns16 io_addr) {
    Call call("bv_set_io_addr", arg("hcam", hcam), arg("io_addr", io_addr));
    const uns16 total = bv::row<cam_reads_type>(hcam).io_total;
    if (io_addr >= total) {
        return call.fail(C2_ADDR_OUT_OF_RANGE, "Port address out of range, max. is %u", total);
    }
    bv::ConfigOf(hcam).io_addr = io_addr;
    return call.ok();
}

boolean16 bv_io_get_headers(int16 hcam, io_script_lists** io_info) {
    Call call("bv_io_get_headers", arg("hcam", hcam), arg("io_info", io_info));
    *io_info = bv::ConfigOf(hcam).io_script_info.get();
    return call.ok(arg("*io_info", *io_info));
}

namespace bv {

namespace {

uns16 SelectedPort(int16 hcam) {
    return row<cam_cfg_type>(hcam).io_addr;
}

boolean16 UnknownAccess(Call& call) {
    return call.fail(C2_ACCESS_ATTR_INVALID, "Unknown IO port access");
}

boolean16 ReadDirection(Call& call, int16 hcam, uns16& direction) {
    if (!bv_io_get_direction(hcam, SelectedPort(hcam), &direction)) return OZ_FAIL;
    if (direction <= IO_DIR_INPUT_OUTPUT) return OZ_OK;
    return call.fail(C2_IO_DIRECTION_INVALID, "Unknown IO port direction");
}

// A camera without ports takes no question about one, and would not answer in time.
bool HasPorts(int16 hcam) {
    return row<cam_reads_type>(hcam).cap_io != 0;
}

}  // namespace

boolean16 IoDirection(Call& call, int16 hcam, Value& value) {
    uns16 direction = 0;
    if (!ReadDirection(call, hcam, direction)) return OZ_FAIL;
    value = direction;
    return OZ_OK;
}

boolean16 IoDirectionAccess(Call& call, int16 hcam, Value& value) {
    if (!HasPorts(hcam)) {
        value = ACC_READ_ONLY;
        return OZ_OK;
    }
    uns16 attribute = 0;
    if (!bv_io_get_dir_attr(hcam, SelectedPort(hcam), &attribute)) return OZ_FAIL;
    switch (attribute) {
        case IO_ATTR_DIR_FIXED: value = ACC_READ_ONLY; return OZ_OK;
        case IO_ATTR_DIR_VARIABLE_ALWAYS_READ: value = ACC_READ_WRITE; return OZ_OK;
        default: return UnknownAccess(call);
    }
}

// Inputs can't be driven. An output can be read only where the port's direction may change, since
// such a port has both circuits.
boolean16 IoStateAccess(Call& call, int16 hcam, Value& value) {
    if (!HasPorts(hcam)) {
        value = ACC_READ_ONLY;
        return OZ_OK;
    }
    uns16 attribute = 0;
    uns16 direction = 0;
    if (!bv_io_get_dir_attr(hcam, SelectedPort(hcam), &attribute)) return OZ_FAIL;
    if (attribute > IO_ATTR_DIR_VARIABLE_ALWAYS_READ) return UnknownAccess(call);
    if (!ReadDirection(call, hcam, direction)) return OZ_FAIL;
    if (direction == IO_DIR_INPUT) {
        value = ACC_READ_ONLY;
    } else if (direction == IO_DIR_OUTPUT && attribute == IO_ATTR_DIR_FIXED) {
        value = ACC_WRITE_ONLY;
    } else {
        value = ACC_READ_WRITE;
    }
    return OZ_OK;
}

boolean16 SetIoState(int16 hcam, flt64 state) {
    return bv_io_set_state(hcam, SelectedPort(hcam), state);
}

boolean16 SetIoDirection(int16 hcam, int32 direction) {
    return bv_io_set_direction(hcam, SelectedPort(hcam), direction);
}

}  // namespace bv
