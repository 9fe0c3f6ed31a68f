#include <algorithm>
#include <png.h>

#include "orvex/frame_file.h"

// A picture to look at: 8 bits, the first frame alone, its contrast stretched.
namespace orvex {

Format png_format();

namespace {

// From the 0.5th to the 99.8th percentile; the few brightest and darkest are clipped.
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

class PngFile : public FrameFile {
  public:
    PngFile(std::string path, const Facts& facts)
        : path_(std::move(path)), width_(facts.width), height_(facts.height) {}

    void add(std::span<const uint8_t> frame) override {
        if (!pixels_.empty()) return;
        std::vector<uint16_t> first(frame.size() / 2);
        std::copy_n(frame.data(), first.size() * 2, reinterpret_cast<uint8_t*>(first.data()));
        pixels_ = stretch(first);
    }

    void finish(std::span<const FrameStamp> /*frames*/) override {
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        image.width = width_;
        image.height = height_;
        image.format = PNG_FORMAT_GRAY;
        if (!png_image_write_to_file(&image, path_.c_str(), 0, pixels_.data(), 0, nullptr)) {
            fail_to_write(path_, image.message);
        }
    }

  private:
    std::string path_;
    uint32_t width_;
    uint32_t height_;
    std::vector<uint8_t> pixels_;
};

}  // namespace

Format png_format() {
    return {
        .name = "png",
        .endings = {".png"},
        .faithful = false,
        .bare = false,
        .create = [](const std::string& path, const Facts& facts) -> std::unique_ptr<FrameFile> {
            return std::make_unique<PngFile>(path, facts);
        }};
}

}  // namespace orvex
