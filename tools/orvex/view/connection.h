#pragma once

#include <chrono>
#include <httplib.h>

namespace orvex::view {

// A connection that gives each request a limit of bytes and of time, so that nobody fills the
// memory with headers or keeps a thread by sending them slowly.
class Connection : public httplib::Stream {
  public:
    explicit Connection(socket_t socket) : socket_(socket) {}
    // Closes it.
    ~Connection() override;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // False when none comes for a while.
    bool wait_for_request();
    // A request had more bytes than it may have, or took too long.
    bool spent() const { return spent_; }

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* to, size_t size) override;
    ssize_t write(const char* from, size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return socket_; }

  private:
    using Clock = std::chrono::steady_clock;

    bool wait(short events, Clock::time_point until) const;

    socket_t socket_;
    char buffer_[4096];
    size_t filled_ = 0;
    size_t taken_ = 0;
    size_t read_ = 0;  // bytes of this request
    bool spent_ = false;
    Clock::time_point until_{};
};

}  // namespace orvex::view
