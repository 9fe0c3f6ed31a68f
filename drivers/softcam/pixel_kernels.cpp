#include "softcam/pixel_kernels.h"

#include <bit>
#include <cmath>
#include <type_traits>
#include <vector>

namespace softcam {
namespace {

// Inlined into a function for each kind of processor, whose instructions they then use.
#define KERNEL [[gnu::always_inline]] inline

KERNEL void FillWords(Lanes& lanes, uint32_t* out) {
    auto& [a, b, c, d] = lanes.state;
    for (size_t start = 0; start < pixel_block; start += Lanes::count) {
        for (size_t i = 0; i < Lanes::count; ++i) {
            out[start + i] = std::rotl(a[i] + d[i], 7) + a[i];
            const uint32_t shifted = b[i] << 9;
            c[i] ^= a[i];
            d[i] ^= b[i];
            b[i] ^= c[i];
            a[i] ^= d[i];
            c[i] ^= shifted;
            d[i] = std::rotl(d[i], 11);
        }
    }
}

// Natural logarithm of a positive, normal number: exponent, and a polynomial (that of Cephes) for
// what is left between 1/sqrt(2) and sqrt(2).
KERNEL float Log(float x) {
    const auto bits = std::bit_cast<int32_t>(x);
    const int32_t exponent = (bits - 0x3F3504F3) >> 23;
    const float t = std::bit_cast<float>(bits - exponent * (1 << 23)) - 1.0F;
    float p = 7.0376836292e-2F;
    p = p * t - 1.1514610310e-1F;
    p = p * t + 1.1676998740e-1F;
    p = p * t - 1.2420140846e-1F;
    p = p * t + 1.4249322787e-1F;
    p = p * t - 1.6668057665e-1F;
    p = p * t + 2.0000714765e-1F;
    p = p * t - 2.4999993993e-1F;
    p = p * t + 3.3333331174e-1F;
    const float square = t * t;
    return static_cast<float>(exponent) * 0.693147181F + (t + square * (t * p - 0.5F));
}

// Box and Muller: pairs from a radius and an angle. The angle covers half a turn, where the first
// terms of the series of sine and cosine are enough; a bit of its own turns both signs.
KERNEL void FillNormal(Lanes& lanes, float* out) {
    alignas(64) PixelBlock<uint32_t> words;
    FillWords(lanes, words.data());
    constexpr size_t half = pixel_block / 2;
    for (size_t i = 0; i < half; ++i) {
        const float part = (static_cast<float>(words[i] >> 8) + 0.5F) * 0x1p-24F;
        const float squared_radius = -2.0F * Log(part);
        const float radius = std::sqrt(squared_radius < 0.0F ? 0.0F : squared_radius);
        const uint32_t word = words[half + i];
        const float angle =
            static_cast<float>(static_cast<int32_t>(word) >> 8) * (0x1p-23F * 1.57079632679F);
        const float z = angle * angle;
        float sine = z * (-1.0F / 39916800) + 1.0F / 362880;
        sine = sine * z - 1.0F / 5040;
        sine = sine * z + 1.0F / 120;
        sine = sine * z - 1.0F / 6;
        sine = angle + angle * (z * sine);
        float cosine = z * (1.0F / 479001600) - 1.0F / 3628800;
        cosine = cosine * z + 1.0F / 40320;
        cosine = cosine * z - 1.0F / 720;
        cosine = cosine * z + 1.0F / 24;
        cosine = cosine * z - 0.5F;
        cosine = cosine * z + 1.0F;
        const auto turned =
            std::bit_cast<float>(std::bit_cast<uint32_t>(radius) | (word & 1) << 31);
        out[i] = turned * cosine;
        out[half + i] = turned * sine;
    }
}

// From this mean on the quantile of a normal deviate, corrected for skewness and more, differs
// from the exact distribution by less than a sample of ten million shows.
constexpr float frequent_mean = 16.0F;
// No charge comes near; the limit keeps the conversion to an integer defined.
constexpr float highest_mean = 1e9F;
// Below it powers of a mean would be numbers that processors are slow with.
constexpr float lowest_mean = 1e-7F;

KERNEL float FrequentEvents(float mean, float w) {
    const float root = std::sqrt(mean);
    const float r = 1 / root;
    const float w2 = w * w;
    const float first = 1.0F / 3 + w2 * (1.0F / 6);
    const float second = w * (-1.0F / 36 - w2 * (1.0F / 72));
    const float third = w2 * (7.0F / 810 + w2 * (1.0F / 270)) - 8.0F / 405;
    const float number = mean + root * w + (first + r * (second + r * third));
    return static_cast<float>(static_cast<int32_t>(number < 0.0F ? 0.0F : number));
}

// Alias tables of the distributions with the means 0, 1/8, ... up to the frequent ones: each of 64
// equally likely cells gives its own number or another one.
constexpr uint32_t steps_per_event = 8;
constexpr uint32_t cells = 64;
constexpr uint32_t rows = static_cast<uint32_t>(frequent_mean) * steps_per_event;

struct AliasTable {
    // 24 bits chance of the own number, 8 bits the other one.
    std::array<uint32_t, size_t{rows} * cells> entries;

    AliasTable() {
        for (uint32_t row = 0; row < rows; ++row)
            FillRow(static_cast<double>(row) / steps_per_event, &entries[size_t{row} * cells]);
    }

    static void FillRow(double mean, uint32_t* row) {
        std::array<double, cells> share{};  // of a cell
        double term = std::exp(-mean);
        for (uint32_t k = 0; k < cells; ++k) {
            share[k] = term * cells;
            term *= mean / (k + 1);
        }
        std::array<uint32_t, cells> other{};
        std::vector<uint32_t> poor, rich;
        for (uint32_t k = 0; k < cells; ++k) {
            other[k] = k;
            (share[k] < 1 ? poor : rich).push_back(k);
        }
        // Whoever has too little shares a cell with one that has too much.
        while (!poor.empty() && !rich.empty()) {
            const uint32_t small = poor.back();
            const uint32_t large = rich.back();
            poor.pop_back();
            other[small] = large;
            share[large] -= 1 - share[small];
            if (share[large] >= 1) continue;
            rich.pop_back();
            poor.push_back(large);
        }
        for (uint32_t k = 0; k < cells; ++k) {
            const double chance = other[k] == k ? 1 : share[k];
            const auto steps = static_cast<uint32_t>(std::lround(std::fmin(chance, 1) * 0x1p24));
            row[k] = (steps > 0xFFFFFF ? 0xFFFFFF : steps) << 8 | other[k];
        }
    }
};

// There is nothing to destroy: cameras run until the process is gone.
const uint32_t* AliasEntries() {
    static const AliasTable table;
    static_assert(std::is_trivially_destructible_v<AliasTable>);
    return table.entries.data();
}

// Events when less than one step of the table is expected, by the chances of at least 1, 2, ... 5
// of them. The random number is exact where it is small, so that rare events are as rare as said.
KERNEL float RareEvents(float mean, uint32_t word) {
    const float part = (static_cast<float>(static_cast<int32_t>(word >> 1)) + 0.5F) * 0x1p-31F;
    float none = mean * (-1.0F / 120) + 1.0F / 24;
    none = none * mean - 1.0F / 6;
    none = none * mean + 0.5F;
    none = none * mean - 1.0F;
    none = none * mean + 1.0F;
    const float one = none * mean;
    const float two = one * mean * 0.5F;
    const float three = two * mean * (1.0F / 3);
    const float four = three * mean * 0.25F;
    const float from_5 = four * mean * 0.2F;
    const float from_4 = four + from_5;
    const float from_3 = three + from_4;
    const float from_2 = two + from_3;
    const float from_1 = one + from_2;
    const int32_t events = (part < from_1 ? 1 : 0) + (part < from_2 ? 1 : 0) +
                           (part < from_3 ? 1 : 0) + (part < from_4 ? 1 : 0) +
                           (part < from_5 ? 1 : 0);
    return static_cast<float>(events);
}

// The numbers add up of what the table's row below the mean gives and what the rest gives.
KERNEL void FillInfrequent(Lanes& lanes, const float* means, const uint32_t* entries, float* out) {
    alignas(64) PixelBlock<uint32_t> words;
    alignas(64) PixelBlock<int32_t> places;
    FillWords(lanes, words.data());
    int32_t tabled = 0;
    for (size_t i = 0; i < pixel_block; ++i) {
        const float mean = means[i] < frequent_mean ? means[i] : 0.0F;
        const auto place = static_cast<int32_t>(mean * steps_per_event);
        places[i] = place;
        tabled |= place;
        out[i] = RareEvents(mean - static_cast<float>(place) * (1.0F / steps_per_event), words[i]);
    }
    if (tabled == 0) return;
    FillWords(lanes, words.data());
    for (size_t i = 0; i < pixel_block; ++i) {
        const uint32_t word = words[i];
        const auto cell = static_cast<int32_t>(word >> 26);
        const uint32_t entry = entries[places[i] * static_cast<int32_t>(cells) + cell];
        const bool own =
            static_cast<int32_t>(word >> 2 & 0xFFFFFF) < static_cast<int32_t>(entry >> 8);
        out[i] += static_cast<float>(own ? cell : static_cast<int32_t>(entry & 0xFF));
    }
}

KERNEL void Copy(const PixelBlock<float>& from, float* to) {
    for (size_t i = 0; i < pixel_block; ++i) to[i] = from[i];
}

KERNEL void FillPoisson(Lanes& lanes, float* values, const uint32_t* entries) {
    int32_t frequent = 0;
    int32_t infrequent = 0;
    for (size_t i = 0; i < pixel_block; ++i) {
        values[i] = values[i] < highest_mean ? values[i] : highest_mean;
        values[i] = values[i] > lowest_mean ? values[i] : 0.0F;
        const int32_t often = values[i] >= frequent_mean ? 1 : 0;
        frequent |= often;
        infrequent |= 1 - often;
    }
    alignas(64) PixelBlock<float> few;
    if (infrequent != 0) FillInfrequent(lanes, values, entries, few.data());
    if (frequent == 0) return Copy(few, values);
    alignas(64) PixelBlock<float> deviates;
    FillNormal(lanes, deviates.data());
    alignas(64) PixelBlock<float> many;
    for (size_t i = 0; i < pixel_block; ++i) {
        const float mean = values[i] < frequent_mean ? frequent_mean : values[i];
        many[i] = FrequentEvents(mean, deviates[i]);
    }
    if (infrequent == 0) return Copy(many, values);
    for (size_t i = 0; i < pixel_block; ++i)
        values[i] = values[i] < frequent_mean ? few[i] : many[i];
}

KERNEL void FillExpected(const Expectation& e, float* out, size_t size) {
    for (size_t i = 0; i < size; ++i) {
        const float lit = e.flux + e.flux_spread * static_cast<float>(e.sensitivity[i]);
        const float warm = e.dark + e.dark_spread * static_cast<float>(e.heat[i]);
        out[i] = static_cast<float>(e.light[i]) * lit + (warm < 0.0F ? 0.0F : warm);
    }
}

KERNEL void FillCounts(const Conversion& c, const float* electrons, const float* deviates,
                       uint16_t* counts, size_t size) {
    const Conversion own = c;
    for (size_t i = 0; i < size; ++i) {
        const float count = electrons[i] * own.slope + (deviates[i] * own.spread + own.start);
        const auto whole = static_cast<int32_t>(count < own.top ? count : own.top);
        counts[i] = static_cast<uint16_t>(whole < 0 ? 0 : whole);
    }
}

// The same four for each kind of processor.
#define KERNELS_FOR(name, target)                                                       \
    target void name##Normal(Lanes& lanes, float* out) {                                \
        FillNormal(lanes, out);                                                         \
    }                                                                                   \
    target void name##Poisson(Lanes& lanes, float* values) {                            \
        FillPoisson(lanes, values, AliasEntries());                                     \
    }                                                                                   \
    target void name##Expect(const Expectation& expectation, float* out, size_t size) { \
        FillExpected(expectation, out, size);                                           \
    }                                                                                   \
    target void name##Convert(const Conversion& conversion, const float* electrons,     \
                              const float* deviates, uint16_t* counts, size_t size) {   \
        FillCounts(conversion, electrons, deviates, counts, size);                      \
    }                                                                                   \
    constexpr PixelKernels name = {name##Normal, name##Poisson, name##Expect, name##Convert};

KERNELS_FOR(plain, )
#ifdef __x86_64__
KERNELS_FOR(avx2, [[gnu::target("avx2")]])
KERNELS_FOR(avx512, [[gnu::target("avx512f,avx512vl,avx512bw,avx512dq")]])
#endif

}  // namespace

const PixelKernels& BestPixelKernels() {
#ifdef __x86_64__
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
        __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq"))
        return avx512;
    if (__builtin_cpu_supports("avx2")) return avx2;
#endif
    return plain;
}

}  // namespace softcam
