#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>

#include "engine/notification_channel.h"
#include "support/device_file_host.h"
#include "support/temp_dir.h"

namespace tests {

constexpr uint32_t everything = 0x8000003F;
constexpr uint32_t without_begin = 0x8000003B;

// The host's end of the device file.
class Host {
  public:
    Host(const std::string& path, dv_file_opener opener)
        : file_(support::DeviceFileHost::connect(path, opener)) {
        if (!file_) throw std::runtime_error("no device file " + path);
    }

    void Send(uint32_t operation, uint64_t id, uint32_t mask) {
        EXPECT_TRUE(file_->send(operation, id, mask));
    }
    void Submit(uint64_t id, uint32_t mask = everything) { Send(DV_FILE_SUBMIT, id, mask); }
    dv_file_completion Take() {
        dv_file_completion completion{};
        EXPECT_TRUE(file_->take(completion));
        return completion;
    }
    bool Ended() { return file_->ended(); }

  private:
    std::unique_ptr<support::DeviceFileHost> file_;
};

inline dv_notification_report EndOfFrame(uint32_t number) {
    dv_notification_report report{};
    report.flags = NOTIFICATION_EOF;
    report.frame_number_eof = number;
    return report;
}
inline dv_notification_report Event(uint32_t flags) {
    dv_notification_report report{};
    report.flags = flags;
    return report;
}

class Notifications : public testing::Test {
  protected:
    void SetUp() override {
        opened_ = &channel_;
        ASSERT_TRUE(channel_.Listen(path_));
    }
    Host Connect() const { return {path_, Open}; }

    // A flush sees everything that was submitted before it: the way to know that requests arrived.
    void Settle(Host& host) {
        host.Submit(settled, NOTIFICATION_FLUSH);
        while (true) {
            channel_.FlushOne();
            if (host.Take().id == settled) return;
        }
    }

    // Requests 1 to `count` come back unused.
    void ExpectFlushed(Host& host, uint64_t count) {
        for (uint64_t id = 1; id <= count; ++id) {
            const auto completion = host.Take();
            EXPECT_EQ(completion.id, id);
            EXPECT_EQ(completion.out.flags, NOTIFICATION_FLUSH);
        }
    }

    static constexpr uint64_t settled = 1u << 30;
    support::TempDir directory_;
    const std::string path_ = (directory_ / "channel").string();
    engine::NotificationChannel channel_;

  private:
    static uint16_t Open(const char*, const dv_file_host* host, dv_file_driver* driver) {
        *driver = {opened_,
                   [](void* channel, const dv_file_request* request) -> uint16_t {
                       return Of(channel).Submit(*request) ? 1 : 0;
                   },
                   [](void* channel) { Of(channel).Disconnect(); }};
        return opened_->Connect(*host) ? 1 : 0;
    }
    static engine::NotificationChannel& Of(void* channel) {
        return *static_cast<engine::NotificationChannel*>(channel);
    }

    static inline engine::NotificationChannel* opened_ = nullptr;
};

}  // namespace tests
