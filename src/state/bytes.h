#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

// Integers in byte buffers. The camera's wire is big-endian, the driver's little-endian.
namespace bv {

template <class T>
void StoreBigEndian(uint8_t* to, T value) {
    for (size_t i = sizeof(T); i-- > 0;) {
        to[i] = static_cast<uint8_t>(value);
        value = static_cast<T>(static_cast<uint64_t>(value) >> 8);
    }
}

template <class T>
T LoadBigEndian(const uint8_t* from) {
    uint64_t value = 0;
    for (size_t i = 0; i < sizeof(T); ++i) value = value << 8 | from[i];
    return static_cast<T>(value);
}

template <class T>
T LoadLittleEndian(const uint8_t* from) {
    uint64_t value = 0;
    for (size_t i = sizeof(T); i-- > 0;) value = value << 8 | from[i];
    return static_cast<T>(value);
}

// Reads big-endian integers and blocks one after the other. A read past the end yields zeros and
// is remembered, so that one check at the end of a walk is enough.
class BigEndianReader {
  public:
    explicit BigEndianReader(std::span<const uint8_t> bytes) : bytes_(bytes) {}

    template <class T>
    T take() {
        static_assert(std::is_integral_v<T>);
        std::span<const uint8_t> part = take_bytes(sizeof(T));
        return part.empty() ? T{} : LoadBigEndian<T>(part.data());
    }

    // Empty when fewer are left.
    std::span<const uint8_t> take_bytes(size_t count) {
        if (bytes_.size() - position_ < count) {
            overrun_ = true;
            position_ = bytes_.size();
            return {};
        }
        std::span<const uint8_t> part = bytes_.subspan(position_, count);
        position_ += count;
        return part;
    }

    bool overrun() const { return overrun_; }
    size_t left() const { return bytes_.size() - position_; }

  private:
    std::span<const uint8_t> bytes_;
    size_t position_ = 0;
    bool overrun_ = false;
};

}  // namespace bv
