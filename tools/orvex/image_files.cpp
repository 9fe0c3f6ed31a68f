#include "orvex/image_files.h"

#include <algorithm>
#include <filesystem>
#include <png.h>
#include <stdexcept>

namespace orvex {

namespace {

// 8-bit pixels, with the few brightest and darkest clipped.
std::vector<uint8_t> stretch(std::span<const uint16_t> frame) {
    std::vector<uint16_t> sorted(frame.begin(), frame.end());
    const auto percentile = [&](double share) {
        const auto at = sorted.begin() +
                        static_cast<std::ptrdiff_t>(share * static_cast<double>(sorted.size() - 1));
        std::nth_element(sorted.begin(), at, sorted.end());
        return static_cast<double>(*at);
    };
    const double low = percentile(0.005);
    const double high = std::max(percentile(0.998), low + 1);
    std::vector<uint8_t> out(frame.size());
    std::transform(frame.begin(), frame.end(), out.begin(), [&](uint16_t pixel) {
        return static_cast<uint8_t>(std::clamp((pixel - low) / (high - low), 0.0, 1.0) * 255);
    });
    return out;
}

void discard(const std::string& path) {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
}

}  // namespace

void write_frames(FileKind kind, const std::string& path, const Acquisition& a) {
    try {
        const std::unique_ptr<FrameFile> file = create_frame_file(kind, path, a);
        for (uint32_t i = 0; i < a.frames; ++i) {
            const std::span<const uint16_t> frame = a.frame(i);
            file->add({reinterpret_cast<const uint8_t*>(frame.data()), frame.size_bytes()});
        }
        file->finish();
    } catch (...) {
        discard(path);
        throw;
    }
}

void write_preview(const std::string& path, const Acquisition& a, uint32_t index) {
    std::vector<uint8_t> pixels = stretch(a.frame(index));
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = a.width;
    image.height = a.height;
    image.format = PNG_FORMAT_GRAY;
    if (!png_image_write_to_file(&image, path.c_str(), 0, pixels.data(), 0, nullptr)) {
        discard(path);
        throw std::runtime_error("cannot write '" + path + "': " + image.message);
    }
}

}  // namespace orvex
