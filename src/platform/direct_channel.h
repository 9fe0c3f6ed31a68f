#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>

#include "platform/device_channel.h"
#include "platform/request_slots.h"

namespace platform {

// A device file whose messages are calls between the library and a module of its own process: a
// report costs the driver's thread one wake-up and the taking thread no system call but its sleep.
class DirectChannel : public DeviceChannel {
  public:
    ~DirectChannel() override { CloseFile(); }

    bool Open(dv_file_opener opener, const char* path);
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
    bool Send(const dv_file_request& message);
    uint32_t SubmitToNobody(uint32_t slot);
    void ForgetLocked();
    size_t TakeLocked(std::span<Completion> entries);

    // Called by the driver.
    void Complete(const dv_file_completion& message);
    void Gone();

    // Never held while the driver is called, which calls back within its own lock.
    std::mutex lock_;
    std::condition_variable wake_;
    dv_file_driver driver_{};
    bool file_open_ = false;
    bool port_open_ = false;
    bool dead_ = false;  // the driver has gone
    bool removal_returned_ = false;
    uint64_t key_ = 0;
    RequestSlots slots_;
    RequestSlots::Chain completed_;
    RequestSlots::Chain orphaned_;
    std::deque<Completion> posted_;
};

}  // namespace platform
