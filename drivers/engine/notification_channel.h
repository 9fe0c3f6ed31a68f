#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "orvex/orvex_ddi.h"

#include "engine/device_socket.h"
#include "engine/ring.h"

namespace engine {

// The device file of one camera, on which the host leaves notification requests: a socket, where
// the system has them, or calls within the process. A report completes the oldest request whose
// mask wants it. A report that finds no request is kept and merged with what follows until one
// comes: frame numbers are cumulative, so the newest end of a frame stands for those before it, and
// events other than frames are never lost.
class NotificationChannel final : private MessageTaker {
  public:
    NotificationChannel() = default;
    ~NotificationChannel() { Close(); }
    NotificationChannel(const NotificationChannel&) = delete;
    NotificationChannel& operator=(const NotificationChannel&) = delete;

    bool Listen(const std::string& path);
    void Close();
    bool Listening() const { return listening_; }

    // The device file by calls in place of the socket. False when there is no device file.
    bool Connect(const dv_file_host& host);
    // One message of the host; false when nobody is there to take it.
    bool Submit(const dv_file_request& message);
    void Disconnect();

    void Report(const dv_notification_report& report);
    // Whether somebody waits for a kind of report; a hint that saves making ones nobody wants.
    bool Wants(uint32_t flags) const {
        return (wanted_.load(std::memory_order_relaxed) & flags) != 0;
    }
    // Gives back the oldest request, marked as flushed.
    void FlushOne();
    // Gives everything back as cancelled, though the host did not ask for it.
    void CancelPending();
    // Forgets frames that were not reported; events of other kinds stay.
    void ForgetFrames();
    // The same, and waits until the reported ones are on their way.
    void DropFrames();
    // Closes the device file without a word, as the death of a driver does.
    void Die();

  private:
    struct Request {
        uint64_t id;
        uint32_t mask;
    };

    void Take(const dv_file_request& message) override;
    void Taken() override { SettleFlushes(); }
    void HostGone() override;

    void Give(const dv_file_completion& completion);
    void Complete(size_t index, const dv_notification_report& report);
    bool CompleteMatching(const dv_notification_report& report);
    dv_notification_report Merged(const dv_notification_report& report) const;
    void CompleteKept();
    void CancelAll();
    void SettleFlushes();
    void ForgetHost();

    std::mutex lock_;
    Ring<Request> pending_;
    bool one_mask_ = true;              // all of pending_ share one mask
    std::optional<dv_file_host> host_;  // connected by calls; nothing then goes to the socket
    size_t owed_flushes_ = 0;
    dv_notification_report kept_{};
    std::atomic<uint32_t> wanted_ = 0;
    bool listening_ = false;
    bool dead_ = false;
    const std::unique_ptr<DeviceSocket> socket_ = MakeDeviceSocket(lock_, *this);
};

}  // namespace engine
