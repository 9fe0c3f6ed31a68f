#include "genicam/window.h"

namespace genicam {
namespace {

// The least size that is allowed and of the multiple, if any of the next ones is.
uint32_t SizeFor(const Axis& axis, uint32_t wanted, uint32_t multiple) {
    const uint32_t above = wanted > axis.size_min ? wanted - axis.size_min : 0;
    uint32_t size = axis.size_min + (above + axis.size_step - 1) / axis.size_step * axis.size_step;
    for (uint32_t i = 1; i < multiple && size % multiple != 0; ++i) size += axis.size_step;
    return size;
}

// From the first to the last pixel.
bool Cover(const Axis& axis, uint32_t first, uint32_t last, uint32_t multiple, uint32_t& start,
           uint32_t& size) {
    // A size that was rounded up beyond the end of the sensor may fit further in front.
    for (start = first / axis.start_step * axis.start_step;; start -= axis.start_step) {
        size = SizeFor(axis, last + 1 - start, multiple);
        if (start + size <= axis.limit && size % multiple == 0) return true;
        if (start == 0) return false;
    }
}

}  // namespace

uint32_t Axis::LargestSize() const {
    if (limit < size_min) return 0;
    return size_min + (limit - size_min) / size_step * size_step;
}

std::optional<Window> WindowAround(const rgn_type& region, const Axes& axes, uint32_t multiple) {
    Window window;
    if (!Cover(axes.rows, region.p1, region.p2, 1, window.top, window.height)) return std::nullopt;
    if (Cover(axes.columns, region.s1, region.s2, multiple, window.left, window.width) ||
        Cover(axes.columns, region.s1, region.s2, 1, window.left, window.width))
        return window;
    return std::nullopt;
}

}  // namespace genicam
