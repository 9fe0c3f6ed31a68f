#include "messages/bridge.h"

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <string>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_protocol.h"

#include "device/command_io.h"
#include "messages/texts.h"
#include "messages/version_block.h"
#include "state/bytes.h"
#include "state/call.h"
#include "state/camera_tables.h"

namespace {

// Class, length, command, a zero and the node; a reply has its status at the place of the zero.
constexpr size_t frame_header = 6;
constexpr size_t status_offset = 4;
// Room beyond the data that frames may use.
constexpr size_t frame_reserve = 1030;

constexpr uns8 last_node = 5;
constexpr uns16 friendly_name_bytes = 32;

std::unique_ptr<uns8[]> MakeBuffer(size_t data_length) {
    return std::unique_ptr<uns8[]>(new (std::nothrow) uns8[data_length + frame_reserve]());
}

boolean16 ReadFromNode(int16 hcam, uns8 node_id, orvex_bridge_command command,
                       std::span<uns8> data) {
    return oz_bridge_command_unlocked(hcam, node_id, static_cast<uns8>(command), 0, nullptr,
                                      static_cast<uns16>(data.size()), data.data());
}

}  // namespace

boolean16 oz_bridge_command_unlocked(int16 hcam, uns8 node_id, uns8 bridge_command,
                                     uns16 send_data_length, const void* send_data,
                                     uns16 recv_data_length, void* recv_data) {
    bv::Call call("oz_bridge_command_unlocked", bv::arg("hcam", hcam), bv::arg("node_id", node_id),
                  bv::enumerated("bridge_command", bridge_command, bv_text_bridge_command),
                  bv::arg("send_data_length", send_data_length), bv::arg("send_data", send_data),
                  bv::arg("recv_data_length", recv_data_length), bv::arg("recv_data", recv_data));
    if (!send_data && send_data_length != 0) {
        return call.fail_bridge(C0_NULL_POINTER,
                                "Requested to send %u bytes from null write buffer",
                                static_cast<unsigned>(send_data_length));
    }
    if (!recv_data && recv_data_length != 0) {
        return call.fail_bridge(C0_NULL_POINTER,
                                "Requested to receive %u bytes to null read buffer",
                                static_cast<unsigned>(recv_data_length));
    }
    const std::unique_ptr<uns8[]> frame = MakeBuffer(send_data_length);
    const std::unique_ptr<uns8[]> reply = MakeBuffer(recv_data_length);
    if (!frame || !reply) {
        return call.fail_bridge(C2_CANNOT_ALLOCATE_MEMORY,
                                "Cannot allocate communication buffer(s)");
    }
    bv::ApiGlobal::ClearErrorCode(EXT_OPEN_FW_UPDATE);

    frame[0] = CLASS_BRIDGE_COMMANDS;
    bv::StoreBigEndian(&frame[1], static_cast<uns16>(send_data_length + 3));
    frame[3] = bridge_command;
    frame[4] = 0;
    frame[5] = node_id;
    std::copy_n(static_cast<const uns8*>(send_data), send_data_length, &frame[frame_header]);
    const uns16 write_bytes = static_cast<uns16>(send_data_length + frame_header);
    const uns16 read_bytes = static_cast<uns16>(recv_data_length + frame_header);
    call.debug("BRIDGE_COMMANDS write %u bytes: bridge_command=%s(%u), node_id=%u",
               static_cast<unsigned>(write_bytes), bv_text_bridge_command(bridge_command),
               static_cast<unsigned>(bridge_command), static_cast<unsigned>(node_id));

    if (!dv_cam_write_read_passthrough(hcam, write_bytes, frame.get(), read_bytes, reply.get())) {
        return call.failed();
    }
    std::copy_n(&reply[frame_header], recv_data_length, static_cast<uns8*>(recv_data));
    const uns8 status = reply[status_offset];
    call.debug("BRIDGE_COMMANDS read %u bytes: status=%s(%u)", static_cast<unsigned>(read_bytes),
               bv_text_bridge_status(status), static_cast<unsigned>(status));
    if (status != BC_STATUS_SUCCESS) {
        return call.fail_bridge(status, "Got error status from bridge FW");
    }
    return call.ok();
}

boolean16 oz_bridge_read_cam_systems_info(int16 hcam) {
    bv::Call call("oz_bridge_read_cam_systems_info", bv::arg("hcam", hcam));
    const bv::ErrorHold hold;
    std::string info;
    for (uns8 node_id = 0; node_id <= last_node; ++node_id) {
        std::array<uns8, friendly_name_bytes> name{};
        if (!ReadFromNode(hcam, node_id, OZ_DATA_GET_FRIENDLY_NAME, name)) {
            // A node that has no name is behind the end of the chain.
            bv::ApiGlobal::ClearErrorCode(EXT_OPEN_FW_UPDATE);
            break;
        }
        std::array<uns8, 2> length{};
        if (!ReadFromNode(hcam, node_id, OZ_DATA_GET_VERSION_INFO_LENGTH, length)) {
            return call.failed();
        }
        const uns16 block_bytes = bv::LoadBigEndian<uns16>(length.data());
        const std::unique_ptr<uns8[]> block(new (std::nothrow) uns8[block_bytes]());
        if (!block) {
            return call.fail_bridge(C2_CANNOT_ALLOCATE_MEMORY,
                                    "Cannot allocate buffer for versionInfo");
        }
        const std::span<uns8> bytes(block.get(), block_bytes);
        if (!ReadFromNode(hcam, node_id, OZ_DATA_GET_VERSION_INFO, bytes)) return call.failed();

        if (node_id > 0) info += '\n';
        const std::string text(name.begin(), std::ranges::find(name, uns8{0}));
        info += bv::DescribeNode(node_id, bv::TrimWhiteSpace(text), bv::ParseVersionBlock(bytes));
    }
    char* to = pg_cam_reads[row_of(hcam)].cam_systems_info;
    to[info.copy(to, systems_info_max - 1)] = 0;
    return call.ok();
}
