#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>

#include "orvex/orvex_ddi.h"

#include "platform/event.h"

// Overlapped control operations on a device file, and the queue on which they complete.
namespace platform {

// One operation that can be left pending at the driver. The owner keeps it alive, and its records
// alone, until it came back, was forgotten or the file was closed.
struct OverlappedRequest {
    dv_notification_request in{};
    dv_notification_report out{};
};

struct Completion {
    uint64_t key = 0;
    OverlappedRequest* request = nullptr;  // null for a posted pseudo-completion
    uint32_t bytes = 0;
};

// Result of a submission that will complete later.
constexpr uint32_t operation_in_progress = 997;

class DeviceChannel;

// The device file of one camera: what orvex_device.path names or, where the module offers that, its
// own functions. Submitting is safe from any thread, beside taking from the port.
class DeviceFile {
  public:
    DeviceFile() = default;
    ~DeviceFile() { Close(); }
    DeviceFile(const DeviceFile&) = delete;
    DeviceFile& operator=(const DeviceFile&) = delete;

    // `opener` is the module's orvex_ddi_open_file; null when it has none. What it refuses is
    // opened by path.
    bool Open(const char* path, dv_file_opener opener = nullptr);
    // Forgets what is outstanding; the driver sees the end of the file.
    void Close();
    bool IsOpen() const { return channel_ != nullptr; }

    // Hands a request to the driver; operation_in_progress when it will come back on the port,
    // otherwise the system's error. Never waits for the driver: what does not fit the socket is
    // sent by later submissions and by whoever takes from the port.
    uint32_t Submit(uint32_t code, OverlappedRequest& request);
    // Asks the driver to give back everything outstanding as cancelled; what was not sent yet
    // comes back so without asking.
    bool CancelAll();
    // Drops what is outstanding without a word to the driver; completions that still arrive are
    // ignored. For rebuilding a pool of requests.
    void Forget();

  private:
    friend class CompletionPort;
    std::shared_ptr<DeviceChannel> channel_;
};

// Hands back completed requests in batches. When the driver's end of the file closes, every
// outstanding request comes back once with NOTIFICATION_DEVICE_REMOVAL set in its report, so that
// a dead driver is a removed camera and not a hang.
class CompletionPort {
  public:
    CompletionPort() = default;
    ~CompletionPort() { Close(); }
    CompletionPort(const CompletionPort&) = delete;
    CompletionPort& operator=(const CompletionPort&) = delete;

    // One file, one key; a file serves one port in its life.
    bool Open(DeviceFile& file, uint64_t key);
    void Close();

    // Queues a pseudo-completion; callable from any thread.
    bool Post(uint32_t bytes, uint64_t key);
    // Waits, then takes up to entries.size() completions; 0 only when closed or when the time ran
    // out. The 48 bytes of each report are in its request. `bytes` is at most their size, so that
    // no driver can pass for a post. One thread at a time.
    size_t Take(std::span<Completion> entries, uint32_t limit_ms = Event::no_limit);

    // Requests that were submitted and not yet taken.
    size_t Outstanding() const;
    // Whether so many are outstanding, all of them at the driver: nothing has come back that was
    // not taken and submitted again.
    bool IsUntouched(size_t count) const;
    // Whether there are messages of the driver that were not taken yet.
    bool HasMore() const;

  private:
    std::shared_ptr<DeviceChannel> Channel() const;

    mutable std::mutex lock_;  // guards channel_
    std::shared_ptr<DeviceChannel> channel_;
};

}  // namespace platform
