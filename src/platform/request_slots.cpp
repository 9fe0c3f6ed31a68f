#include "platform/request_slots.h"

#include <algorithm>
#include <new>

namespace platform {

uint32_t RequestSlots::Take(OverlappedRequest& request, uint32_t code) {
    uint32_t slot = no_slot;
    if (free_.count > 0) {
        slot = RemoveFirst(free_);
    } else {
        if (slots_.size() >= no_slot) return no_slot;
        try {
            slots_.emplace_back();
        } catch (const std::bad_alloc&) {
            return no_slot;
        }
        slot = static_cast<uint32_t>(slots_.size() - 1);
    }
    Slot& home = slots_[slot];
    home.request = &request;
    home.code = code;
    home.bytes = sizeof(dv_notification_report);
    return slot;
}

void RequestSlots::Release(uint32_t slot) {
    Slot& home = slots_[slot];
    home.request = nullptr;
    if (++home.serial == 0) home.serial = 1;  // no identity is ever zero
    Append(free_, slot, Use::free);
}

void RequestSlots::ReleaseAll() {
    for (uint32_t slot = 0; slot < Size(); ++slot)
        if (slots_[slot].use != Use::free) Release(slot);
}

void RequestSlots::Append(Chain& chain, uint32_t slot, Use use) {
    slots_[slot].use = use;
    slots_[slot].next = no_slot;
    (chain.count == 0 ? chain.first : slots_[chain.last].next) = slot;
    chain.last = slot;
    ++chain.count;
}

uint32_t RequestSlots::RemoveFirst(Chain& chain) {
    const uint32_t slot = chain.first;
    chain.first = slots_[slot].next;
    --chain.count;
    return slot;
}

dv_file_request RequestSlots::Message(uint32_t slot) const {
    const Slot& home = slots_[slot];
    dv_file_request message{};
    message.operation = DV_FILE_SUBMIT;
    message.code = home.code;
    message.id = uint64_t{home.serial} << 32 | slot;
    message.in_size = sizeof(home.request->in);
    message.out_size = sizeof(home.request->out);
    message.in = home.request->in;
    return message;
}

bool RequestSlots::IsSent(uint64_t id) const {
    const auto slot = static_cast<uint32_t>(id);
    const auto serial = static_cast<uint32_t>(id >> 32);
    return slot < Size() && slots_[slot].serial == serial && slots_[slot].use == Use::sent;
}

uint32_t RequestSlots::Accept(const dv_file_completion& message) {
    if (!IsSent(message.id)) return no_slot;
    const auto slot = static_cast<uint32_t>(message.id);
    slots_[slot].request->out = message.out;
    slots_[slot].bytes = std::min<uint32_t>(message.bytes, sizeof(message.out));
    return slot;
}

Completion RequestSlots::Return(uint32_t slot, uint64_t key) {
    const Completion completion{key, slots_[slot].request, slots_[slot].bytes};
    Release(slot);
    return completion;
}

Completion RequestSlots::ReturnCancelled(uint32_t slot, uint64_t key) {
    slots_[slot].request->out = {};
    slots_[slot].request->out.status = NOTIFICATION_STATUS_CANCELLED;
    return Return(slot, key);
}

Completion RequestSlots::ReturnRemoved(uint32_t slot, uint64_t key) {
    slots_[slot].request->out = {};
    slots_[slot].request->out.flags = NOTIFICATION_DEVICE_REMOVAL;
    return Return(slot, key);
}

}  // namespace platform
