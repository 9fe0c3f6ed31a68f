#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "orvex/orvex_ddi.h"

namespace engine {

// A first-in first-out store that reuses its memory: nothing is allocated once it is warm.
template <typename T>
class Ring {
  public:
    bool Empty() const { return count_ == 0; }
    size_t Size() const { return count_; }
    T& At(size_t index) { return slots_[(head_ + index) & (slots_.size() - 1)]; }
    T& Front() { return At(0); }

    void Push(const T& value) {
        if (count_ == slots_.size()) Grow();
        ++count_;
        At(count_ - 1) = value;
    }
    void Pop() {
        head_ = (head_ + 1) & (slots_.size() - 1);
        --count_;
    }
    void Erase(size_t index) {
        for (; index > 0; --index) At(index) = At(index - 1);
        Pop();
    }
    void Clear() { head_ = count_ = 0; }

  private:
    void Grow() {
        std::vector<T> larger(slots_.empty() ? 64 : slots_.size() * 2);
        for (size_t i = 0; i < count_; ++i) larger[i] = At(i);
        slots_.swap(larger);
        head_ = 0;
    }

    std::vector<T> slots_;
    size_t head_ = 0;
    size_t count_ = 0;
};

// The device file of one camera, on which the host leaves notification requests: a socket, or calls
// within the process. A report
// completes the oldest request whose mask wants it. A report that finds no request is kept and
// merged with what follows until one comes: frame numbers are cumulative, so the newest end of a
// frame stands for those before it, and events other than frames are never lost.
class NotificationChannel {
  public:
    NotificationChannel() = default;
    ~NotificationChannel() { Close(); }
    NotificationChannel(const NotificationChannel&) = delete;
    NotificationChannel& operator=(const NotificationChannel&) = delete;

    bool Listen(const std::string& path);
    void Close();
    bool Listening() const { return thread_.joinable(); }

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

    void Run();
    void Accept();
    // Takes what has arrived; false when the other end is gone.
    bool Receive();
    void TakeRequest(const dv_file_request& message);
    bool Send();
    bool SendAtOnce();
    void Give(const dv_file_completion& completion);
    void Complete(size_t index, const dv_notification_report& report);
    bool CompleteMatching(const dv_notification_report& report);
    dv_notification_report Merged(const dv_notification_report& report) const;
    void CompleteKept();
    void CancelAll();
    void SettleFlushes();
    int Peer();
    void ForgetPeer();
    void Wake();

    std::mutex lock_;
    std::condition_variable sent_;
    Ring<Request> pending_;
    bool one_mask_ = true;              // all of pending_ share one mask
    std::optional<dv_file_host> host_;  // connected by calls; nothing then goes through outgoing_
    Ring<dv_file_completion> outgoing_;
    size_t sending_ = 0;
    size_t owed_flushes_ = 0;
    dv_notification_report kept_{};
    std::atomic<uint32_t> wanted_ = 0;

    std::string path_;
    int listener_ = -1;
    int peer_ = -1;
    int wake_ = -1;
    bool wake_sent_ = false;
    std::atomic<bool> accept_refused_ = false;
    bool stop_ = false;
    std::thread thread_;
};

}  // namespace engine
