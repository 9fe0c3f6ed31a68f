#pragma once

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/device_file.h"
#include "support/temp_dir.h"

#include "driver_end.h"

namespace tests {

using platform::Completion;
using platform::operation_in_progress;
using platform::OverlappedRequest;

constexpr uint64_t key = 22080;
constexpr uint32_t wait_limit_ms = 10000;
constexpr uint32_t short_wait_ms = 20;

class DeviceFileTest : public testing::Test {
  protected:
    void TearDown() override { file_.Close(); }

    void Open(DriverEnd& driver, const std::string& path, dv_file_opener opener) {
        ASSERT_TRUE(file_.Open(path.c_str(), opener));
        driver.Accept();
        ASSERT_TRUE(port_.Open(file_, key));
    }
    void SubmitAll(std::vector<OverlappedRequest>& requests) {
        for (OverlappedRequest& request : requests) {
            request.in.mask = static_cast<uint32_t>(&request - requests.data());
            ASSERT_EQ(file_.Submit(DV_EVENT_NOTIFICATION_REQUEST, request), operation_in_progress);
        }
    }
    // What comes back until there are so many, or nothing does for the time.
    std::vector<Completion> Take(size_t count, uint32_t limit_ms = wait_limit_ms) {
        std::vector<Completion> all;
        std::array<Completion, 32> entries;
        while (all.size() < count) {
            const size_t taken = port_.Take(entries, limit_ms);
            if (taken == 0) break;
            all.insert(all.end(), entries.begin(), entries.begin() + static_cast<long>(taken));
        }
        return all;
    }
    std::vector<Completion> TakeAll(uint32_t limit_ms = short_wait_ms) {
        return Take(SIZE_MAX, limit_ms);
    }

    support::TempDir directory_;
    platform::DeviceFile file_;
    platform::CompletionPort port_;
};

}  // namespace tests
