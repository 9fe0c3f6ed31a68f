#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "orvex/orvex_ddi.h"

namespace tests {

// A driver's end of a device file that does only what a test says, on the test's own thread.
class DriverEnd {
  public:
    virtual ~DriverEnd() = default;

    virtual void Accept() {}
    virtual void Die() = 0;
    // The next message; all zero when none comes or the library has gone.
    virtual dv_file_request Receive() = 0;
    virtual bool LibraryHasGone() = 0;
    virtual void Send(const dv_file_completion& completion) = 0;
    // What the system does with requests that are cancelled or forgotten.
    enum class Unsent { none, kept_back, cancelled_by_system };
    virtual Unsent OfUnsent() const { return Unsent::none; }
    // How many requests are more than it takes at once.
    virtual uint32_t Flood() const { return 50'000; }

    std::vector<uint64_t> ReceiveIds(size_t count) {
        std::vector<uint64_t> ids;
        for (size_t i = 0; i < count; ++i) ids.push_back(Receive().id);
        return ids;
    }
    void Complete(uint64_t id, uint32_t frame = 0, uint32_t bytes = 48) {
        dv_file_completion completion{};
        completion.id = id;
        completion.bytes = bytes;
        completion.out.flags = NOTIFICATION_EOF;
        completion.out.frame_number_eof = frame;
        Send(completion);
    }
};

// Behind what this system has for device files, with the path by which the library reaches it.
struct SystemDriver {
    std::unique_ptr<DriverEnd> driver;
    std::string path;
};
SystemDriver MakeSystemDriver(const std::filesystem::path& directory);

// In the library's own process, called in place of being sent messages. One at a time.
class CalledDriver : public DriverEnd {
  public:
    CalledDriver() { only_ = this; }

    static uint16_t Open(const char* path, const dv_file_host* host, dv_file_driver* driver) {
        if (std::string_view(path) != "camera") return 0;
        only_->host_ = *host;
        *driver = {only_, Submit, [](void*) { only_->closed_ = true; }};
        return 1;
    }

    void Die() override {
        takes_ = false;
        host_.gone(host_.context);
    }
    dv_file_request Receive() override {
        if (requests_.empty()) return {};
        const dv_file_request first = requests_.front();
        requests_.pop_front();
        return first;
    }
    bool LibraryHasGone() override { return closed_; }
    void Send(const dv_file_completion& completion) override {
        host_.complete(host_.context, &completion);
    }

    bool completes_at_once = false;

  private:
    static uint16_t Submit(void*, const dv_file_request* request) {
        only_->requests_.push_back(*request);
        if (only_->completes_at_once) only_->Complete(request->id, 1);
        return only_->takes_ ? 1 : 0;
    }

    static inline CalledDriver* only_ = nullptr;
    dv_file_host host_{};
    std::deque<dv_file_request> requests_;
    bool takes_ = true;
    bool closed_ = false;
};

}  // namespace tests
