#pragma once

#include <cstdint>
#include <vector>

#include "platform/device_file.h"

namespace platform {

// The outstanding requests of a device file, each in a slot. Not locked: its channel does that.
class RequestSlots {
  public:
    static constexpr uint32_t no_slot = 0xFFFFFFFF;

    enum class Use { free, unsent, sent, completed, cancelled, orphaned };

    // Home of one request. Its index and serial are the identity on the wire; the serial changes
    // with every use, so that a late or repeated completion finds nobody.
    struct Slot {
        OverlappedRequest* request = nullptr;
        uint32_t serial = 1;
        uint32_t code = 0;
        uint32_t bytes = 0;       // of the report, once it is there
        uint32_t next = no_slot;  // in the chain that its use puts it in
        Use use = Use::free;
    };

    // First in, first out, through Slot::next: moving a request between chains allocates nothing.
    struct Chain {
        uint32_t first = no_slot;
        uint32_t last = no_slot;
        size_t count = 0;
    };

    Slot& operator[](uint32_t slot) { return slots_[slot]; }
    uint32_t Size() const { return static_cast<uint32_t>(slots_.size()); }
    size_t InUse() const { return slots_.size() - free_.count; }

    // A slot for the request; no_slot without memory.
    uint32_t Take(OverlappedRequest& request, uint32_t code);
    void Release(uint32_t slot);
    void ReleaseAll();

    void Append(Chain& chain, uint32_t slot, Use use);
    uint32_t RemoveFirst(Chain& chain);

    // What goes to the driver.
    dv_file_request Message(uint32_t slot) const;
    bool IsSent(uint64_t id) const;
    // The sent request that a completion is for, its report copied into it; no_slot when there is
    // none any more.
    uint32_t Accept(const dv_file_completion& message);
    // What the taker gets for a slot, which is free then.
    Completion Return(uint32_t slot, uint64_t key);
    // The same for one that the driver will not complete: as cancelled, or as the removal of the
    // camera.
    Completion ReturnCancelled(uint32_t slot, uint64_t key);
    Completion ReturnRemoved(uint32_t slot, uint64_t key);

  private:
    std::vector<Slot> slots_;
    Chain free_;
};

}  // namespace platform
