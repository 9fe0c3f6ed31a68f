#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

// Integers on the camera wire are big-endian; records of the frame buffer are little-endian.
namespace engine {

using Bytes = std::span<const uint8_t>;

// Reads a received block from front to back. Reading past the end yields zeros and is remembered,
// so that a caller checks once, after the last field.
class ByteReader {
  public:
    explicit ByteReader(Bytes data) : data_(data) {}

    uint8_t U8() { return static_cast<uint8_t>(Integer(1)); }
    uint16_t U16() { return static_cast<uint16_t>(Integer(2)); }
    uint32_t U32() { return static_cast<uint32_t>(Integer(4)); }

    Bytes Take(size_t size) {
        if (data_.size() - position_ < size) {
            overrun_ = true;
            position_ = data_.size();
            return {};
        }
        const Bytes part = data_.subspan(position_, size);
        position_ += size;
        return part;
    }

    size_t Remaining() const { return data_.size() - position_; }
    size_t Position() const { return position_; }
    bool Ok() const { return !overrun_; }

  private:
    uint64_t Integer(size_t size) {
        uint64_t value = 0;
        for (const uint8_t byte : Take(size)) value = value << 8 | byte;
        return value;
    }

    Bytes data_;
    size_t position_ = 0;
    bool overrun_ = false;
};

// Appends to a block that goes to the host.
class ByteWriter {
  public:
    explicit ByteWriter(std::vector<uint8_t>& out) : out_(out) {}

    void U8(uint64_t value) { Integer(value, 1); }
    void U16(uint64_t value) { Integer(value, 2); }
    void U32(uint64_t value) { Integer(value, 4); }
    void U64(uint64_t value) { Integer(value, 8); }
    void Raw(Bytes data) { out_.insert(out_.end(), data.begin(), data.end()); }
    // A text field of fixed size, cut or filled with zeros.
    void Text(std::string_view text, size_t size) {
        for (size_t i = 0; i < size; ++i)
            out_.push_back(i < text.size() ? static_cast<uint8_t>(text[i]) : uint8_t{0});
    }

  private:
    void Integer(uint64_t value, size_t size) {
        while (size-- > 0) out_.push_back(static_cast<uint8_t>(value >> (8 * size)));
    }

    std::vector<uint8_t>& out_;
};

// Writes the low `size` bytes of a value, least significant first.
inline void StoreLittle(uint8_t* at, uint64_t value, size_t size) {
    for (size_t i = 0; i < size; ++i) at[i] = static_cast<uint8_t>(value >> (8 * i));
}

}  // namespace engine
