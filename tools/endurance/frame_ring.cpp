#include "frame_ring.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "failure.h"

// Reads what the driver may be writing, as a camera's hardware does. Which frames are worth
// anything is decided from the numbers in them, which a checker for data races can't know.
#define ORVEX_READS_A_LIVE_RING __attribute__((noinline, no_sanitize("thread")))

namespace endurance {
namespace {

// Four bytes of a frame, wherever they lie.
struct __attribute__((packed, may_alias)) Word {
    uns32 value;
};

ORVEX_READS_A_LIVE_RING uns32 word_at(const uns8* at) {
    return reinterpret_cast<const volatile Word*>(at)->value;
}

ORVEX_READS_A_LIVE_RING size_t first_difference(const uns8* frame, const uns16* scene,
                                                size_t words) {
    const auto* seen = reinterpret_cast<const volatile Word*>(frame);
    const auto* expected = reinterpret_cast<const Word*>(scene);
    size_t i = 1;
    while (i + 1 < words && seen[i].value == expected[i].value) ++i;
    return i;
}

}  // namespace

FrameRing::FrameRing(std::span<uns8> memory, std::vector<uns16> scene)
    : memory_(memory),
      scene_(std::move(scene)),
      frame_bytes_(static_cast<uns32>(scene_.size() * 2)),
      frames_(static_cast<uns32>(memory.size() / frame_bytes_)) {}

uns8* FrameRing::place(uns32 number) const {
    return &memory_[size_t{(number - 1) % frames_} * frame_bytes_];
}

void FrameRing::clear() const {
    for (uns32 number = 1; number <= frames_; ++number) {
        std::memset(place(number), 0, sizeof(Word));
        std::memset(place(number) + frame_bytes_ - sizeof(Word), 0, sizeof(Word));
    }
}

bool FrameRing::written(uns32 number) const {
    return word_at(place(number) + frame_bytes_ - sizeof(Word)) >= number;
}

Verdict FrameRing::check(uns32 number) const {
    const uns8* frame = place(number);
    const size_t words = frame_bytes_ / sizeof(Word);
    // The number at the begin is looked at last: a frame that is being replaced loses it first.
    if (first_difference(frame, scene_.data(), words) + 1 == words &&
        word_at(frame + frame_bytes_ - sizeof(Word)) == number && word_at(frame) == number)
        return Verdict::intact;
    // The place is written again only after all others were.
    return written(number + frames_ - 1) ? Verdict::overtaken : Verdict::torn;
}

std::string FrameRing::describe(uns32 number) const {
    const uns8* frame = place(number);
    const size_t words = frame_bytes_ / sizeof(Word);
    const size_t difference = first_difference(frame, scene_.data(), words);
    return text_of("expected frame ", number, " in a ring of ", frames_, " x ", frame_bytes_,
                   " bytes; seen numbers ", word_at(frame), " at the begin, ",
                   word_at(frame + frame_bytes_ - sizeof(Word)), " at the end, and ",
                   difference + 1 == words
                       ? std::string("the right pixels")
                       : text_of("other pixels from ", 2 * difference,
                                 " on: ", word_at(frame + difference * sizeof(Word)) & 0xFFFF,
                                 " for ", scene_[2 * difference]));
}

uns32 FrameRing::expect_whole() const {
    uns32 newest = 0;
    for (uns32 i = 1; i <= frames_; ++i) newest = std::max(newest, word_at(place(i)));
    const uns32 oldest = newest > frames_ ? newest - frames_ + 1 : 1;
    for (uns32 number = oldest; number <= newest; ++number)
        expect(check(number) == Verdict::intact, "after the stop with frame ", newest, ": ",
               describe(number));
    return newest;
}

std::vector<uns16> ramp(const rgn_type& r) {
    std::vector<uns16> pixels;
    for (uns32 top = r.p1; top <= r.p2; top += r.pbin) {
        for (uns32 left = r.s1; left <= r.s2; left += r.sbin) {
            uns32 sum = 0;
            for (uns32 y = top; y < top + r.pbin; ++y)
                for (uns32 x = left; x < left + r.sbin; ++x)
                    sum += (3 * x + 5 * y + 7 * (x / 16) * (y / 16)) % 4096;
            pixels.push_back(static_cast<uns16>(sum));
        }
    }
    return pixels;
}

}  // namespace endurance
