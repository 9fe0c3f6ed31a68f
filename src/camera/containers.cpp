#include "camera/containers.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_protocol.h"

#include "messages/host_command_message.h"
#include "state/bytes.h"

boolean16 oz_add_nvp_to_container(nvp_container* container, const char* name, uns16 value) {
    bv::Call call("oz_add_nvp_to_container", bv::arg("container", container),
                  bv::quoted("name", name), bv::arg("value", value));
    if (!container || !name) return call.fail(C0_NULL_POINTER, "Null pointer given");
    const size_t length = std::strlen(name);
    if (length + 1 > nvp_name_max) {
        // The line shows the length that was found, not the limit.
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY, "NVP name is longer than %u chars",
                         static_cast<unsigned>(length));
    }
    if (container->count >= nvp_items_max) {
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Supported up to %u NVP items only",
                         static_cast<unsigned>(nvp_items_max));
    }
    nvp_item& item = container->items[container->count++];
    item = {};
    item.value = value;
    item.name_length = static_cast<uns16>(length + 1);
    std::copy_n(name, length, item.name);
    return call.ok();
}

namespace bv {

boolean16 AppendNvpItems(Call& call, std::span<const uns8> list, nvp_container* container) {
    if (list.size() < sizeof(uns16)) {
        return call.fail(C3_INVALID_CAPABILITIES, "Cannot decode NVP container size");
    }
    BigEndianReader reader(list);
    const unsigned count = reader.take<uns16>();
    call.debug("HOST_COMMANDS NVP items: %u", count);
    if (count > nvp_items_max) {
        return call.fail(C3_INVALID_CAPABILITIES, "Supported up to %u NVP items only",
                         static_cast<unsigned>(nvp_items_max));
    }
    for (unsigned i = 0; i < count; ++i) {
        if (reader.left() < sizeof(uns16)) {
            return call.fail(C3_INVALID_CAPABILITIES, "Cannot decode NVP value at index %u", i);
        }
        const uns16 value = reader.take<uns16>();
        const std::span<const uns8> rest = list.last(reader.left());
        const std::span<const uns8> field = rest.first(std::min<size_t>(rest.size(), nvp_name_max));
        const auto terminator = std::ranges::find(field, uns8{0});
        if (terminator == field.end()) {
            return call.fail(C3_INVALID_CAPABILITIES, "NVP name at index %u not null-terminated",
                             i);
        }
        const std::string name(field.begin(), terminator);
        reader.take_bytes(name.size() + 1);
        if (!oz_add_nvp_to_container(container, name.c_str(), value)) return call.failed();
        call.debug("HOST_COMMANDS NVP[%u]=(%u:'%s')", i, static_cast<unsigned>(value),
                   name.c_str());
    }
    return call.ok();
}

}  // namespace bv

boolean16 oz_cam_append_nvp_container(int16 hcam, nvp_container* container, uns8 containerSizeCmd) {
    bv::Call call("oz_cam_append_nvp_container", bv::arg("hcam", hcam),
                  bv::arg("container", container), bv::arg("containerSizeCmd", containerSizeCmd));
    const auto size_command = static_cast<orvex_host_command>(containerSizeCmd);
    bv::SingleReadHostCommandMessage size_message(hcam, size_command);
    if (!size_message.Execute()) return call.failed();
    const uns32 size = size_message.Reply<uns32>(size_command);
    call.debug("NVP container size: %u", size);
    if (size == 0 || size > std::numeric_limits<uns16>::max()) {
        return call.fail(C2_CANNOT_ALLOCATE_MEMORY, "Unsupported size of NVP container: %u", size);
    }
    const auto data_command = static_cast<orvex_host_command>(containerSizeCmd + 1);
    bv::SingleReadHostCommandMessage message(hcam, data_command, static_cast<uns16>(size));
    if (!message.Execute()) return call.failed();
    return bv::AppendNvpItems(call, message.ReplyBytes(data_command), container);
}
