#include "support/device_file_host.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace support {

namespace {

// A module opens its device file by calls alone.
class CallingHost : public DeviceFileHost {
  public:
    ~CallingHost() override {
        if (driver_.close) driver_.close(driver_.context);
    }

    bool Connect(const std::string& path, dv_file_opener opener) {
        const dv_file_host host = {this, Complete, Gone};
        return opener(path.c_str(), &host, &driver_) != 0;
    }

    bool send(const dv_file_request& request) override {
        return driver_.submit(driver_.context, &request) != 0;
    }
    bool take(dv_file_completion& completion) override {
        std::unique_lock lock(mutex_);
        if (!WaitUntil(lock, [this] { return gone_ || !completions_.empty(); }) ||
            completions_.empty())
            return false;
        completion = completions_.front();
        completions_.pop_front();
        return true;
    }
    bool ended() override {
        std::unique_lock lock(mutex_);
        return WaitUntil(lock, [this] { return gone_; });
    }

  private:
    template <class Condition>
    bool WaitUntil(std::unique_lock<std::mutex>& lock, Condition condition) {
        return changed_.wait_for(lock, std::chrono::seconds(10), condition);
    }
    template <class Change>
    void Note(Change change) {
        const std::lock_guard lock(mutex_);
        change();
        changed_.notify_all();
    }
    static void Complete(void* context, const dv_file_completion* completion) {
        auto& host = *static_cast<CallingHost*>(context);
        host.Note([&] { host.completions_.push_back(*completion); });
    }
    static void Gone(void* context) {
        auto& host = *static_cast<CallingHost*>(context);
        host.Note([&] { host.gone_ = true; });
    }

    dv_file_driver driver_{};
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<dv_file_completion> completions_;
    bool gone_ = false;
};

}  // namespace

std::unique_ptr<DeviceFileHost> DeviceFileHost::connect(const std::string& path,
                                                        dv_file_opener opener) {
    auto host = std::make_unique<CallingHost>();
    return host->Connect(path, opener) ? std::move(host) : nullptr;
}

}  // namespace support
