#include "orvex/view/server.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <fstream>
#include <functional>
#include <httplib.h>
#include <mutex>
#include <stdexcept>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "orvex/view/connection.h"

namespace orvex::view {

namespace {

// Each carries one connection. A browser holds a few of them open.
constexpr size_t threads = 32;
// Connections that wait for a thread; more wait with the system.
constexpr size_t most_waiting = 64;

// The threads of the server. Compressing pictures must not take the processor from the camera.
class Workers : public httplib::TaskQueue {
  public:
    Workers() {
        for (size_t i = 0; i < threads; ++i) threads_.emplace_back([this] { work(); });
    }

    void enqueue(std::function<void()> task) override {
        std::unique_lock hold(lock_);
        changed_.wait(hold, [&] { return tasks_.size() < most_waiting || ended_; });
        tasks_.push_back(std::move(task));
        changed_.notify_all();
    }

    void shutdown() override {
        {
            const std::lock_guard hold(lock_);
            ended_ = true;
            changed_.notify_all();
        }
        for (std::thread& thread : threads_) thread.join();
    }

  private:
    void work() {
        // Of this thread alone.
        const auto self = static_cast<id_t>(gettid());
        constexpr int nicer = 5;
        setpriority(PRIO_PROCESS, self, getpriority(PRIO_PROCESS, self) + nicer);
        std::unique_lock hold(lock_);
        for (;;) {
            changed_.wait(hold, [&] { return !tasks_.empty() || ended_; });
            if (tasks_.empty()) return;
            const std::function<void()> task = std::move(tasks_.front());
            tasks_.pop_front();
            changed_.notify_all();
            hold.unlock();
            task();
            hold.lock();
        }
    }

    std::mutex lock_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> tasks_;
    bool ended_ = false;
    std::vector<std::thread> threads_;
};

// The request of this thread had a body that was not read, behind which no other can be found.
thread_local bool body_is_left = false;

Request read_request(const httplib::Request& from) {
    Request out;
    out.method = from.method;
    out.path = from.path;
    out.query = from.params;
    out.host = from.get_header_value("Host");
    out.origin = from.get_header_value("Origin");
    out.cookies = from.get_header_value("Cookie");
    out.content_type = from.get_header_value("Content-Type");
    out.content_encoding = from.get_header_value("Content-Encoding");
    return out;
}

void send_file(const std::string& path, const std::string& type, httplib::Response& to) {
    auto file = std::make_shared<std::ifstream>(path, std::ios::binary | std::ios::ate);
    if (!*file) {
        to.status = 404;
        return;
    }
    const auto size = static_cast<size_t>(file->tellg());
    file->seekg(0);
    to.set_content_provider(size, type,
                            [file](size_t offset, size_t length, httplib::DataSink& sink) {
                                std::vector<char> part(std::min<size_t>(length, 1 << 20));
                                file->seekg(static_cast<std::streamoff>(offset));
                                file->read(part.data(), static_cast<std::streamsize>(part.size()));
                                return *file && sink.write(part.data(), part.size());
                            });
}

void write_answer(Answer answer, httplib::Response& to) {
    to.status = answer.status;
    for (const auto& [name, value] : Site::headers()) to.set_header(name, value);
    for (const auto& [name, value] : answer.headers) to.set_header(name, value);
    if (!answer.file.empty()) return send_file(answer.file, answer.type, to);
    to.body = std::move(answer.body);
    if (!answer.type.empty()) to.set_header("Content-Type", answer.type);
}

}  // namespace

struct Server::Carrier : httplib::Server {
    std::atomic<bool> ended{false};
    std::thread thread;

    // More than the few that the library lets wait for the server; who finds no place tries again
    // only after a second.
    bool widen() { return ::listen(svr_sock_, SOMAXCONN) == 0; }

  private:
    bool process_and_close_socket(socket_t socket) override {
        Connection connection(socket);
        const auto handle = [](httplib::Request&) {};
        while (!ended && connection.wait_for_request()) {
            bool closed = false;
            body_is_left = false;
            if (!process_request(connection, false, closed, handle) || closed || body_is_left ||
                connection.spent()) {
                break;
            }
        }
        return true;
    }
};

Server::Server(int port) : carrier_(std::make_unique<Carrier>()) {
    Carrier& carrier = *carrier_;
    carrier.new_task_queue = [] { return new Workers; };
    carrier.set_tcp_nodelay(true);
    carrier.set_keep_alive_max_count(1000000);
    carrier.set_payload_max_length(Site::longest_body);
    carrier.set_socket_options([](socket_t socket) {
        // A port of a server that has just ended can be taken again; one that is in use can't.
        const int yes = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    const char* here = "127.0.0.1";
    if (port == 0) {
        port_ = carrier.bind_to_any_port(here);
    } else {
        port_ = carrier.bind_to_port(here, port) ? port : -1;
    }
    if (port_ < 0 || !carrier.widen()) {
        throw std::runtime_error("cannot serve on port " + std::to_string(port) +
                                 " of 127.0.0.1; leave --port out for one that is free");
    }
}

Server::~Server() = default;

Server::Running::Running(Server& server, const Site& site) : server_(server) {
    Carrier& carrier = *server.carrier_;
    using Outcome = httplib::Server::HandlerResponse;
    // Before a body is read.
    carrier.set_pre_routing_handler([&site](const httplib::Request& from, httplib::Response& to) {
        const Request request = read_request(from);
        if (from.method == "POST") {
            std::optional<Answer> refusal = site.refuse(request);
            if (!refusal) return Outcome::Unhandled;
            to.set_header("Connection", "close");
            write_answer(std::move(*refusal), to);
        } else {
            write_answer(site.answer(request), to);
        }
        return Outcome::Handled;
    });
    carrier.Post(".*", [&site](const httplib::Request& from, httplib::Response& to) {
        Request request = read_request(from);
        request.body = from.body;
        write_answer(site.answer(request), to);
    });
    carrier.thread = std::thread([&carrier] { carrier.listen_after_bind(); });
    while (!carrier.is_running()) std::this_thread::yield();
}

Server::Running::~Running() {
    Carrier& carrier = *server_.carrier_;
    carrier.ended = true;
    carrier.stop();
    carrier.thread.join();
}

}  // namespace orvex::view
