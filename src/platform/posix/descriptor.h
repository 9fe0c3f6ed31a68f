#pragma once

#include <unistd.h>
#include <utility>

namespace platform {

// A file descriptor that is closed with its owner.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int value) : value_(value) {}
    ~Descriptor() { Reset(); }
    Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) Reset(std::exchange(other.value_, -1));
        return *this;
    }

    int get() const { return value_; }
    explicit operator bool() const { return value_ >= 0; }
    void Reset(int value = -1) {
        if (value_ >= 0) close(value_);
        value_ = value;
    }

  private:
    int value_ = -1;
};

}  // namespace platform
