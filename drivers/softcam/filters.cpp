#include "softcam/filters.h"

#include <algorithm>
#include <array>

namespace softcam {
namespace {

// The median of the pixel and its neighbours; at the border, of those that exist.
uint16_t Median(const Image& image, uint32_t column, uint32_t row) {
    std::array<uint16_t, 9> values{};
    size_t count = 0;
    const uint32_t last_row = std::min(row + 1, image.rows - 1);
    const uint32_t last_column = std::min(column + 1, image.columns - 1);
    for (uint32_t y = row > 0 ? row - 1 : 0; y <= last_row; ++y)
        for (uint32_t x = column > 0 ? column - 1 : 0; x <= last_column; ++x)
            values[count++] = image.At(x, y);
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(count / 2);
    std::nth_element(values.begin(), middle, values.begin() + static_cast<std::ptrdiff_t>(count));
    return *middle;
}

// Replaces each pixel for which `replace(pixel, median)` holds.
template <typename Replace>
void MedianWhere(Image& image, Replace replace) {
    const Image source = image;
    for (uint32_t y = 0; y < image.rows; ++y) {
        for (uint32_t x = 0; x < image.columns; ++x) {
            const uint16_t median = Median(source, x, y);
            if (replace(source.At(x, y), median)) image.At(x, y) = median;
        }
    }
}

void Subtract(Image& image, uint32_t level) {
    for (uint16_t& pixel : image.pixels)
        pixel = pixel > level ? static_cast<uint16_t>(pixel - level) : uint16_t{0};
}

}  // namespace

bool FilterChain::Remembers() const {
    for (size_t i = 0; i < model_.filters.size(); ++i) {
        if (model_.filters[i].kind == FilterKind::average && settings_.filter_values[i][0] > 1)
            return true;
    }
    return false;
}

void FilterChain::Apply(Image& image) {
    for (size_t i = 0; i < model_.filters.size(); ++i) {
        const std::vector<uint32_t>& values = settings_.filter_values[i];
        if (values[0] == 0) continue;
        switch (model_.filters[i].kind) {
            case FilterKind::background: Subtract(image, values[1]); break;
            case FilterKind::despeckle:
                MedianWhere(image, [percent = values[1]](uint32_t pixel, uint32_t median) {
                    return pixel * 100 > median * percent;
                });
                break;
            case FilterKind::median:
                MedianWhere(image, [](uint32_t, uint32_t) { return true; });
                break;
            case FilterKind::average: Average(image, values[0]); break;
        }
    }
}

void FilterChain::Average(Image& image, uint32_t frames) {
    if (!history_.empty() && history_.front().pixels.size() != image.pixels.size())
        history_.clear();
    history_.push_back(image);
    while (history_.size() > frames) history_.pop_front();
    const auto count = static_cast<uint32_t>(history_.size());
    for (size_t i = 0; i < image.pixels.size(); ++i) {
        uint32_t sum = count / 2;
        for (const Image& past : history_) sum += past.pixels[i];
        image.pixels[i] = static_cast<uint16_t>(sum / count);
    }
}

}  // namespace softcam
