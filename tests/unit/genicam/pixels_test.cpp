// Any format, window, cut and bin against sums over single pixels.
#include "genicam/pixels.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <ostream>
#include <rapidcheck.h>

#include "genicam/window.h"

using genicam::PixelFormat;
using genicam::Window;

namespace {

struct Cut {
    const PixelFormat* format;
    Window window;
    uint32_t line_padding;
    rgn_type region;
    bool odd;  // address of the frame
};

std::ostream& operator<<(std::ostream& out, const Cut& cut) {
    const rgn_type& r = cut.region;
    return out << cut.format->name << " " << cut.window.left << "," << cut.window.top << " "
               << cut.window.width << " x " << cut.window.height << " + " << cut.line_padding
               << ", columns " << r.s1 << ".." << r.s2 << "/" << r.sbin << ", rows " << r.p1 << ".."
               << r.p2 << "/" << r.pbin << (cut.odd ? ", odd" : "");
}

// A region of one axis inside a window of it.
void Place(uint32_t start, uint32_t size, uint16_t& first, uint16_t& last, uint16_t& bin) {
    const auto count = *rc::gen::inRange<uint32_t>(1, size + 1);
    first = static_cast<uint16_t>(start + *rc::gen::inRange<uint32_t>(0, size - count + 1));
    last = static_cast<uint16_t>(first + count - 1);
    bin = static_cast<uint16_t>(*rc::gen::inRange<uint32_t>(1, std::min(count, 9u) + 1));
}

Cut AnyCut() {
    const auto formats = genicam::PixelFormats();
    Cut cut{.format = &formats[*rc::gen::inRange<size_t>(0, formats.size())],
            .window = {.left = *rc::gen::inRange<uint32_t>(0, 50),
                       .top = *rc::gen::inRange<uint32_t>(0, 50),
                       .width = *rc::gen::inRange<uint32_t>(1, 40),
                       .height = *rc::gen::inRange<uint32_t>(1, 20)},
            .line_padding = *rc::gen::inRange<uint32_t>(0, 3),
            .region = {},
            .odd = *rc::gen::arbitrary<bool>()};
    Place(cut.window.left, cut.window.width, cut.region.s1, cut.region.s2, cut.region.sbin);
    Place(cut.window.top, cut.window.height, cut.region.p1, cut.region.p2, cut.region.pbin);
    return cut;
}

// Sets one pixel bit by bit, as the standard of the format draws it.
void Draw(const PixelFormat& format, uint8_t* line, size_t index, uint32_t value) {
    for (uint32_t bit = 0; bit < format.bits; ++bit) {
        if ((value >> bit & 1) == 0) continue;
        size_t at = index * format.StoredBits() + bit;
        if (format.packing == genicam::Packing::pairs) {
            const uint32_t low = format.bits - 8u;
            at =
                index / 2 * 24 + (bit < low ? 8 + index % 2 * 4 + bit : index % 2 * 16 + bit - low);
        }
        line[at / 8] = static_cast<uint8_t>(line[at / 8] | 1u << at % 8);
    }
}

TEST(Pixels, AnyRegionOfAnyFormatIsTheSumOfItsPixels) {
    const bool held = rc::check([] {
        const Cut cut = AnyCut();
        RC_LOG() << cut;
        const Window& window = cut.window;
        const uint32_t largest = (1u << cut.format->bits) - 1;
        const auto values = *rc::gen::container<std::vector<uint32_t>>(
            size_t{window.width} * window.height,
            rc::gen::oneOf(rc::gen::inRange<uint32_t>(0, largest + 1), rc::gen::just(largest)));

        genicam::PixelReader reader(*cut.format, window, cut.region);
        // No byte more than it asks for: what reads beyond the end is found by a sanitizer.
        std::vector<uint8_t> source(reader.SourceBytes(cut.line_padding));
        const size_t pitch = source.size() / window.height;
        for (size_t i = 0; i < values.size(); ++i) {
            const size_t line = cut.line_padding > 0 ? i / window.width * pitch : 0;
            Draw(*cut.format, &source[line], cut.line_padding > 0 ? i % window.width : i,
                 values[i]);
        }

        std::vector<uint8_t> memory(reader.FrameBytes() + 2, 0xA5);
        const std::span frame(&memory[cut.odd ? 1 : 0], reader.FrameBytes());
        reader.Read(source, cut.line_padding, frame);
        RC_ASSERT(memory[cut.odd ? 0 : frame.size()] == 0xA5);
        RC_ASSERT(memory.back() == 0xA5);

        const rgn_type& r = cut.region;
        size_t at = 0;
        for (uint32_t y = r.p1; y + r.pbin <= r.p2 + 1u; y += r.pbin)
            for (uint32_t x = r.s1; x + r.sbin <= r.s2 + 1u; x += r.sbin, at += 2) {
                uint32_t sum = 0;
                for (uint32_t i = 0; i < r.pbin * r.sbin; ++i)
                    sum += values[(y - window.top + i / r.sbin) * window.width + x - window.left +
                                  i % r.sbin];
                RC_ASSERT((frame[at] | frame[at + 1] << 8) ==
                          static_cast<int>(std::min(sum, 65535u)));
            }
        RC_ASSERT(at == frame.size());
    });
    EXPECT_TRUE(held);
}

// Of one direction: what the camera would take.
bool Legal(const genicam::Axis& axis, uint32_t start, uint32_t size) {
    return start % axis.start_step == 0 && size >= axis.size_min &&
           (size - axis.size_min) % axis.size_step == 0 && start + size <= axis.limit;
}

TEST(Windows, AreTheSmallestThatACameraTakes) {
    const bool held = rc::check([] {
        const auto step = rc::gen::element<uint32_t>(1, 2, 3, 4, 8, 16);
        genicam::Axis axis{.limit = *rc::gen::inRange<uint32_t>(16, 80),
                           .start_step = *step,
                           .size_min = *rc::gen::inRange<uint32_t>(1, 17),
                           .size_step = *step};
        const uint32_t usable = axis.LargestSize();
        RC_ASSERT(Legal(axis, 0, usable));
        RC_ASSERT(!Legal(axis, 0, usable + axis.size_step));
        const uint32_t multiple = *rc::gen::element<uint32_t>(1, 2, 4);
        rgn_type region{.s1 = 0, .s2 = 0, .sbin = 1, .p1 = 0, .p2 = 0, .pbin = 1};
        Place(0, usable, region.s1, region.s2, region.sbin);
        const auto window =
            genicam::WindowAround(region, {.columns = axis, .rows = {.limit = 1}}, multiple);
        RC_ASSERT(window.has_value());
        RC_ASSERT(Legal(axis, window->left, window->width));
        RC_ASSERT(window->left <= region.s1);
        RC_ASSERT(window->left + window->width > region.s2);
        // Nothing smaller would do, but for lines of whole bytes where there are any.
        uint32_t smallest = UINT32_MAX;
        uint32_t smallest_whole = UINT32_MAX;
        for (uint32_t start = 0; start <= region.s1; ++start)
            for (uint32_t size = region.s2 + 1 - start; size <= axis.limit; ++size) {
                if (!Legal(axis, start, size)) continue;
                smallest = std::min(smallest, size);
                if (size % multiple == 0) smallest_whole = std::min(smallest_whole, size);
            }
        RC_ASSERT(window->width == (smallest_whole != UINT32_MAX ? smallest_whole : smallest));
    });
    EXPECT_TRUE(held);
}

}  // namespace
