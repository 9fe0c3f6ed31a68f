#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace support {

// Polls a condition until it holds; false when it never did within the limit.
inline bool eventually(const std::function<bool()>& condition,
                       std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// For as long as a slow machine may need.
inline bool Eventually(const std::function<bool()>& condition) {
    return eventually(condition, std::chrono::seconds(60));
}

}  // namespace support
