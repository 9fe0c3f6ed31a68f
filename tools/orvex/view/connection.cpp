#include "orvex/view/connection.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "orvex/view/site.h"

namespace orvex::view {

namespace {

constexpr size_t longest_request = Site::longest_body + (32 << 10);
constexpr std::chrono::seconds request_time{5};
// Between two requests. A page that shows a camera asks without a pause.
constexpr std::chrono::seconds idle_time{5};
// A page that takes nothing for so long is not there any more.
constexpr std::chrono::seconds write_time{5};

}  // namespace

Connection::~Connection() {
    shutdown(socket_, SHUT_RDWR);
    close(socket_);
}

bool Connection::wait(short events, Clock::time_point until) const {
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
        pollfd one{.fd = socket_, .events = events, .revents = 0};
        const int count = poll(&one, 1, static_cast<int>(std::max<int64_t>(left, 0)));
        if (count > 0) return true;
        if (count == 0 || errno != EINTR) return false;
    }
}

bool Connection::wait_for_request() {
    read_ = 0;
    if (taken_ == filled_ && !wait(POLLIN, Clock::now() + idle_time)) return false;
    until_ = Clock::now() + request_time;
    return true;
}

bool Connection::is_readable() const {
    return taken_ < filled_ || wait(POLLIN, until_);
}

bool Connection::is_writable() const {
    return wait(POLLOUT, Clock::now() + write_time);
}

ssize_t Connection::read(char* to, size_t size) {
    if (taken_ == filled_) {
        taken_ = filled_ = 0;
        if (!wait(POLLIN, until_)) {
            spent_ = true;
            return -1;
        }
        const ssize_t count = recv(socket_, buffer_, sizeof buffer_, 0);
        if (count <= 0) return count;
        filled_ = static_cast<size_t>(count);
    }
    const size_t count = std::min(size, filled_ - taken_);
    read_ += count;
    if (read_ > longest_request) {
        spent_ = true;
        return -1;
    }
    std::memcpy(to, buffer_ + taken_, count);
    taken_ += count;
    return static_cast<ssize_t>(count);
}

ssize_t Connection::write(const char* from, size_t size) {
    if (!is_writable()) return -1;
    return send(socket_, from, size, MSG_NOSIGNAL | MSG_DONTWAIT);
}

void Connection::get_remote_ip_and_port(std::string& /*ip*/, int& /*port*/) const {}
void Connection::get_local_ip_and_port(std::string& /*ip*/, int& /*port*/) const {}

}  // namespace orvex::view
