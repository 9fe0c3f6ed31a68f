#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/device_file_end.h"

namespace support {

// The driver's end of a device file: keeps the pending notification requests of a library and
// completes them with the reports of a test, oldest request first. A report for which no request
// is pending waits for the next one.
class NotificationServer {
  public:
    explicit NotificationServer(std::unique_ptr<DeviceFileEnd> end);
    ~NotificationServer();
    NotificationServer(const NotificationServer&) = delete;
    NotificationServer& operator=(const NotificationServer&) = delete;

    // False when the mask of the pending requests doesn't want it, or nobody is connected.
    bool report(const dv_notification_report& report);
    // Gives one request back with NOTIFICATION_FLUSH: the next one when none is pending.
    void flush_one();

    std::string path() const { return end_->path(); }
    bool connected() const;
    size_t pending() const;
    std::vector<uint32_t> masks() const;  // of the pending requests, oldest first
    size_t submitted() const;             // requests ever taken
    bool wait_for_pending(size_t count) const;

  private:
    void serve();
    void take_all();
    bool take_message();
    void complete_first(const dv_notification_report& report);
    void complete_flushed();
    void complete_waiting();

    struct Request {
        uint64_t id;
        uint32_t mask;
    };

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::unique_ptr<DeviceFileEnd> end_;
    bool stop_ = false;
    std::deque<Request> pending_;
    std::deque<dv_notification_report> waiting_;
    size_t submitted_ = 0;
    size_t owed_flushes_ = 0;
    std::thread thread_;
};

}  // namespace support
