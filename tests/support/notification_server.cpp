#include "support/notification_server.h"

#include <chrono>

namespace support {

NotificationServer::NotificationServer(std::unique_ptr<DeviceFileEnd> end) : end_(std::move(end)) {
    thread_ = std::thread([this] { serve(); });
}

NotificationServer::~NotificationServer() {
    {
        std::lock_guard lock(mutex_);
        stop_ = true;
    }
    end_->wake();
    thread_.join();
}

void NotificationServer::serve() {
    for (;;) {
        end_->wait();
        std::lock_guard lock(mutex_);
        if (stop_) return;
        take_all();
        changed_.notify_all();
    }
}

// Everything that the library has sent so far; what it sent before a control operation must count
// in it.
void NotificationServer::take_all() {
    while (take_message()) {
    }
    if (end_->connected()) return;
    pending_.clear();
    waiting_.clear();
    owed_flushes_ = 0;
}

bool NotificationServer::take_message() {
    dv_file_request request{};
    if (!end_->receive(request)) return false;
    if (request.operation == DV_FILE_SUBMIT) {
        ++submitted_;
        pending_.push_back({request.id, request.in.mask});
        if (owed_flushes_ > 0) {
            --owed_flushes_;
            complete_flushed();
        }
        complete_waiting();
    } else if (request.id != 0) {
        std::erase_if(pending_, [&](const Request& known) { return known.id == request.id; });
    } else if (request.operation == DV_FILE_CANCEL_ALL) {
        dv_notification_report cancelled{};
        cancelled.status = NOTIFICATION_STATUS_CANCELLED;
        while (!pending_.empty()) complete_first(cancelled);
    }
    return true;
}

void NotificationServer::complete_first(const dv_notification_report& report) {
    dv_file_completion completion{};
    completion.id = pending_.front().id;
    completion.bytes = sizeof completion.out;
    completion.out = report;
    pending_.pop_front();
    end_->send(completion);
}

void NotificationServer::complete_flushed() {
    dv_notification_report flushed{};
    flushed.flags = NOTIFICATION_FLUSH;
    complete_first(flushed);
}

void NotificationServer::complete_waiting() {
    while (!waiting_.empty() && !pending_.empty()) {
        const dv_notification_report report = waiting_.front();
        waiting_.pop_front();
        if ((pending_.front().mask & report.flags) != 0) complete_first(report);
    }
}

bool NotificationServer::report(const dv_notification_report& report) {
    std::lock_guard lock(mutex_);
    take_all();
    if (!end_->connected()) return false;
    if (!pending_.empty() && (pending_.front().mask & report.flags) == 0) return false;
    waiting_.push_back(report);
    complete_waiting();
    changed_.notify_all();
    return true;
}

void NotificationServer::flush_one() {
    std::lock_guard lock(mutex_);
    take_all();
    if (pending_.empty()) {
        ++owed_flushes_;
        return;
    }
    complete_flushed();
    changed_.notify_all();
}

bool NotificationServer::connected() const {
    std::lock_guard lock(mutex_);
    return end_->connected();
}

size_t NotificationServer::pending() const {
    std::lock_guard lock(mutex_);
    return pending_.size();
}

std::vector<uint32_t> NotificationServer::masks() const {
    std::lock_guard lock(mutex_);
    std::vector<uint32_t> masks;
    for (const Request& request : pending_) masks.push_back(request.mask);
    return masks;
}

size_t NotificationServer::submitted() const {
    std::lock_guard lock(mutex_);
    return submitted_;
}

bool NotificationServer::wait_for_pending(size_t count) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(10),
                             [&] { return pending_.size() == count; });
}

}  // namespace support
