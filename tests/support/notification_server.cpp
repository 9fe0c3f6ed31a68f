#include "support/notification_server.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace support {

namespace {

void Close(int& descriptor) {
    if (descriptor >= 0) close(descriptor);
    descriptor = -1;
}

}  // namespace

NotificationServer::NotificationServer(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.string().size() >= sizeof address.sun_path)
        throw std::runtime_error("path too long for a socket: " + path.string());
    std::strcpy(address.sun_path, path.c_str());
    listener_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    wake_ = eventfd(0, EFD_CLOEXEC);
    if (bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener_, 4) != 0)
        throw std::runtime_error("no socket at " + path.string());
    thread_ = std::thread([this] { serve(); });
}

NotificationServer::~NotificationServer() {
    {
        std::lock_guard lock(mutex_);
        stop_ = true;
    }
    eventfd_write(wake_, 1);
    thread_.join();
    for (int* descriptor : {&listener_, &connection_, &wake_}) Close(*descriptor);
}

void NotificationServer::serve() {
    for (;;) {
        pollfd descriptors[2] = {{wake_, POLLIN, 0}, {-1, POLLIN, 0}};
        {
            std::lock_guard lock(mutex_);
            if (stop_) return;
            descriptors[1].fd = connection_ >= 0 ? connection_ : listener_;
        }
        poll(descriptors, 2, -1);
        std::lock_guard lock(mutex_);
        if (stop_) return;
        if (descriptors[1].revents == 0) continue;
        if (connection_ < 0)
            connection_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        else
            take_all();
        changed_.notify_all();
    }
}

// Everything that the library has sent so far; what it sent before a control operation must count
// in it.
void NotificationServer::take_all() {
    while (connection_ >= 0 && take_message()) {
    }
}

bool NotificationServer::take_message() {
    dv_file_request request{};
    const ssize_t size = recv(connection_, &request, sizeof request, MSG_DONTWAIT);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return false;
    if (size != sizeof request) {
        Close(connection_);
        pending_.clear();
        waiting_.clear();
        owed_flushes_ = 0;
        return false;
    }
    if (request.operation == DV_FILE_SUBMIT) {
        ++submitted_;
        pending_.push_back({request.id, request.in.mask});
        if (owed_flushes_ > 0) {
            --owed_flushes_;
            complete_flushed();
        }
        complete_waiting();
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
    send(connection_, &completion, sizeof completion, MSG_NOSIGNAL);
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
    if (connection_ < 0) return false;
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
    return connection_ >= 0;
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
