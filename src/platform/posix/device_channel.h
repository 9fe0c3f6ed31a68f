#pragma once

#include <array>
#include <deque>
#include <mutex>
#include <vector>

#include "platform/device_file.h"
#include "platform/posix/descriptor.h"

namespace platform {

// What a device file and its completion port share: the descriptor, the requests outstanding and
// the completions that need no message.
class DeviceChannel {
  public:
    bool Open(const char* path);
    void CloseFile();
    bool OpenPort(uint64_t key);
    void ClosePort();

    uint32_t Submit(uint32_t code, OverlappedRequest& request);
    bool CancelAll();
    void Forget();
    bool Post(uint32_t bytes, uint64_t key);
    size_t Take(std::span<Completion> entries, uint32_t limit_ms);
    size_t Outstanding();
    bool IsUntouched(size_t count);
    bool HasMore();

  private:
    static constexpr size_t batch = 32;
    static constexpr uint32_t no_slot = 0xFFFFFFFF;

    enum class SlotUse { free, unsent, sent, cancelled, orphaned };

    // Home of one request. Its index and serial are the identity on the wire; the serial changes
    // with every use, so that a late or repeated completion finds nobody.
    struct Slot {
        OverlappedRequest* request = nullptr;
        uint32_t serial = 1;
        uint32_t code = 0;
        uint32_t next = no_slot;  // in the chain that its use puts it in
        SlotUse use = SlotUse::free;
    };

    // First in, first out, through Slot::next: moving a request between chains allocates nothing.
    struct Chain {
        uint32_t first = no_slot;
        uint32_t last = no_slot;
        size_t count = 0;
    };

    void Append(Chain& chain, uint32_t slot);
    uint32_t RemoveFirst(Chain& chain);
    uint32_t TakeFreeSlot();
    void ReleaseSlot(uint32_t slot);

    int Send(const dv_file_request& message);
    int SendSlot(uint32_t slot);
    void SendUnsent();
    void WatchForRoom(bool watch);
    void ForgetLocked();
    void Die();

    size_t TakeLocal(std::span<Completion> entries);
    size_t TakeMessages(std::span<Completion> entries);
    size_t TakeOrphans(std::span<Completion> entries);
    void ReturnOrphan(uint32_t slot, Completion& entry);
    bool Deliver(const dv_file_completion& message, Completion& entry);
    void ReturnSlot(uint32_t slot, Completion& entry);
    size_t ReceiveFromSocket(size_t count);
    size_t ReceiveFromDevice(size_t count);
    bool Polls(short event) const;
    bool HungUp() const;

    // Held while messages are between the descriptor and their requests; taken before the next.
    std::mutex receive_lock_;
    std::mutex lock_;  // guards all but what only the taking thread uses
    Descriptor file_;
    Descriptor poll_;
    Descriptor wake_;
    bool file_open_ = false;
    bool port_open_ = false;
    bool dead_ = false;  // the driver's end is gone
    bool is_socket_ = false;
    bool watching_for_room_ = false;
    bool cancel_unsent_ = false;
    uint64_t key_ = 0;
    std::vector<Slot> slots_;
    Chain free_;
    Chain unsent_;
    Chain cancelled_;
    Chain orphaned_;  // submitted to a driver that was gone already
    bool removal_returned_ = false;
    size_t orphans_looked_at_ = 0;
    std::deque<Completion> posted_;

    // Of the taking thread.
    bool readable_ = true;
    bool at_end_ = false;
    struct Message {
        dv_file_completion completion;
        size_t size;
    };
    std::array<Message, batch> messages_{};
};

}  // namespace platform
