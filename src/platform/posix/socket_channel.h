#pragma once

#include <array>
#include <deque>
#include <mutex>

#include "platform/device_channel.h"
#include "platform/posix/descriptor.h"
#include "platform/request_slots.h"

namespace platform {

// A device file that is a Unix socket or a character device.
class SocketChannel : public DeviceChannel {
  public:
    bool Open(const char* path);
    void CloseFile() override;
    bool OpenPort(uint64_t key) override;
    void ClosePort() override;

    uint32_t Submit(uint32_t code, OverlappedRequest& request) override;
    bool CancelAll() override;
    void Forget() override;
    bool Post(uint32_t bytes, uint64_t key) override;
    size_t Take(std::span<Completion> entries, uint32_t limit_ms) override;
    size_t Outstanding() override;
    bool IsUntouched(size_t count) override;
    bool HasMore() override;

  private:
    static constexpr size_t batch = 32;
    using Use = RequestSlots::Use;

    int Send(const dv_file_request& message);
    void SendUnsent();
    void WatchForRoom(bool watch);
    void ForgetLocked();
    void Die();

    size_t TakeLocal(std::span<Completion> entries);
    size_t TakeMessages(std::span<Completion> entries);
    size_t TakeOrphans(std::span<Completion> entries);
    Completion ReturnOrphan(uint32_t slot);
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
    RequestSlots slots_;
    RequestSlots::Chain unsent_;
    RequestSlots::Chain cancelled_;
    RequestSlots::Chain orphaned_;  // submitted to a driver that was gone already
    bool removal_returned_ = false;
    uint32_t orphans_looked_at_ = 0;
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
