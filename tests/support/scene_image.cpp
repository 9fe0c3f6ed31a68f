#include "support/scene_image.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <random>
#include <stdexcept>

namespace support {

namespace {

// Tags of a directory entry that holds one number.
struct TiffEntry {
    uns16 tag;
    uns16 type;  // 3 a 16-bit, 4 a 32-bit number
    uns32 value;
};

template <class T>
void Put(std::string& out, T value) {
    for (size_t i = 0; i < sizeof(T); ++i) {
        out.push_back(static_cast<char>(value & 0xFF));
        value = static_cast<T>(value >> (sizeof(T) > 1 ? 8 : 0));
    }
}

}  // namespace

SceneImage::SceneImage(uns32 columns, uns32 rows, uns32 seed)
    : columns_(columns), rows_(rows), pixels_(size_t{columns} * rows) {
    std::mt19937 random(seed);
    for (uns16& pixel : pixels_) pixel = static_cast<uns16>(random() % 4096);
}

void SceneImage::WriteTiff(const std::string& path) const {
    constexpr uns32 header_bytes = 8;
    const auto pixel_bytes = static_cast<uns32>(pixels_.size() * 2);
    const std::array<TiffEntry, 9> entries = {{{256, 4, columns_},
                                               {257, 4, rows_},
                                               {258, 3, 16},
                                               {259, 3, 1},
                                               {262, 3, 1},
                                               {273, 4, header_bytes},
                                               {277, 3, 1},
                                               {278, 4, rows_},
                                               {279, 4, pixel_bytes}}};
    std::string out = "II";
    Put<uns16>(out, 42);
    Put<uns32>(out, header_bytes + pixel_bytes);
    for (const uns16 pixel : pixels_) Put<uns16>(out, pixel);
    Put<uns16>(out, static_cast<uns16>(entries.size()));
    for (const TiffEntry& entry : entries) {
        Put<uns16>(out, entry.tag);
        Put<uns16>(out, entry.type);
        Put<uns32>(out, 1);
        Put<uns32>(out, entry.value);
    }
    Put<uns32>(out, 0);
    std::ofstream file(path, std::ios::binary);
    if (!file.write(out.data(), static_cast<std::streamsize>(out.size()))) {
        throw std::runtime_error("cannot write " + path);
    }
}

std::vector<uns16> SceneImage::CropAndBin(const rgn_type& region, uns32 exposures) const {
    const uns32 width = (region.s2 - region.s1 + 1u) / region.sbin;
    const uns32 height = (region.p2 - region.p1 + 1u) / region.pbin;
    std::vector<uns16> out;
    out.reserve(size_t{width} * height);
    for (uns32 y = 0; y < height; ++y) {
        for (uns32 x = 0; x < width; ++x) {
            uns32 sum = 0;
            for (uns32 dy = 0; dy < region.pbin; ++dy) {
                const size_t row = region.p1 + y * region.pbin + dy;
                const size_t first = row * columns_ + region.s1 + x * region.sbin;
                for (uns32 dx = 0; dx < region.sbin; ++dx) sum += pixels_[first + dx];
            }
            out.push_back(static_cast<uns16>(std::min<uns32>(sum * exposures, 65535)));
        }
    }
    return out;
}

uns32 RampPixel(uns32 x, uns32 y, uns32 columns, uns32 rows) {
    uns32 sum = 0;
    for (uns32 j = y; j < y + rows; ++j)
        for (uns32 i = x; i < x + columns; ++i)
            sum += (3 * i + 5 * j + 7 * (i / 16) * (j / 16)) % 4096;
    return sum;
}

std::vector<uns16> RampRegion(const rgn_type& r) {
    std::vector<uns16> pixels;
    for (uns32 y = r.p1; y + r.pbin <= r.p2 + 1u; y += r.pbin)
        for (uns32 x = r.s1; x + r.sbin <= r.s2 + 1u; x += r.sbin)
            pixels.push_back(
                static_cast<uns16>(std::min<uns32>(RampPixel(x, y, r.sbin, r.pbin), 65535)));
    return pixels;
}

}  // namespace support
