#include "softcam/scene.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "softcam/image_file.h"
#include "softcam/noise.h"

namespace softcam {
namespace {

constexpr uint16_t sky = 20;

struct NamedKind {
    const char* name;
    SceneKind kind;
};

constexpr std::array<NamedKind, 6> kinds = {{{"chart", SceneKind::chart},
                                             {"ramp", SceneKind::ramp},
                                             {"flat", SceneKind::flat},
                                             {"stars", SceneKind::stars},
                                             {"beads", SceneKind::beads},
                                             {"file", SceneKind::file}}};

// Four quarters: grey steps, fine and coarse lines, a checkerboard, rings; a frame around them.
uint16_t ChartValue(uint32_t x, uint32_t y, uint32_t columns, uint32_t rows) {
    if (x == 0 || y == 0 || x == columns - 1 || y == rows - 1) return scene_max;
    const bool right = x >= columns / 2;
    const bool lower = y >= rows / 2;
    if (!right && !lower) return static_cast<uint16_t>(x * 16 / columns * 256 + y % 128);
    if (right && !lower) {
        const uint32_t period = 2 + y * 32 / rows;
        return x / period % 2 != 0 ? 3000 : 200;
    }
    if (!right) return (x / 16 + y / 16) % 2 != 0 ? 3500 : 300;
    const double dx = static_cast<double>(x) - columns * 0.75;
    const double dy = static_cast<double>(y) - rows * 0.75;
    const double radius = std::sqrt(dx * dx + dy * dy);
    return static_cast<uint16_t>(2000.0 + 1800.0 * std::cos(radius * radius / 400.0));
}

uint16_t RampValue(uint32_t x, uint32_t y) {
    return static_cast<uint16_t>((3 * x + 5 * y + 7 * (x / 16) * (y / 16)) % 4096);
}

// Adds a round spot of the given height and width.
void AddSpot(Image& image, double x, double y, double peak, double sigma) {
    const int reach = static_cast<int>(std::ceil(4 * sigma));
    const int center_x = static_cast<int>(std::lround(x));
    const int center_y = static_cast<int>(std::lround(y));
    for (int row = center_y - reach; row <= center_y + reach; ++row) {
        for (int column = center_x - reach; column <= center_x + reach; ++column) {
            if (row < 0 || column < 0 || row >= static_cast<int>(image.rows) ||
                column >= static_cast<int>(image.columns))
                continue;
            const double dx = column - x;
            const double dy = row - y;
            uint16_t& pixel = image.At(static_cast<uint32_t>(column), static_cast<uint32_t>(row));
            const double value =
                pixel + peak * std::exp(-(dx * dx + dy * dy) / (2 * sigma * sigma));
            pixel = static_cast<uint16_t>(std::min<double>(value, scene_max));
        }
    }
}

class Still : public Scene {
  public:
    explicit Still(Image image) : image_(std::move(image)) {}
    const Image& At(double /*seconds*/) override { return image_; }

  private:
    Image image_;
};

struct Bead {
    double x, y, speed_x, speed_y, peak;
};

// Spots that travel straight and bounce off the edges of the sensor.
class Beads : public Scene {
  public:
    Beads(uint32_t columns, uint32_t rows, uint32_t count, double speed, uint64_t seed)
        : image_(columns, rows) {
        Noise random(seed);
        const auto part = [&random] { return static_cast<double>(random.Bits() >> 11) * 0x1p-53; };
        for (uint32_t i = 0; i < count; ++i) {
            const double angle = part() * 6.283185307179586;
            beads_.push_back({.x = part() * columns,
                              .y = part() * rows,
                              .speed_x = speed * std::cos(angle),
                              .speed_y = speed * std::sin(angle),
                              .peak = 1000.0 + 2500.0 * part()});
        }
    }

    bool Moves() const override { return true; }

    const Image& At(double seconds) override {
        std::fill(image_.pixels.begin(), image_.pixels.end(), sky);
        for (const Bead& bead : beads_) {
            AddSpot(image_, Bounce(bead.x + bead.speed_x * seconds, image_.columns),
                    Bounce(bead.y + bead.speed_y * seconds, image_.rows), bead.peak, 2.0);
        }
        return image_;
    }

  private:
    static double Bounce(double place, uint32_t size) {
        const double length = static_cast<double>(size - 1);
        if (length <= 0) return 0;
        const double turn = std::fmod(std::fabs(place), 2 * length);
        return turn <= length ? turn : 2 * length - turn;
    }

    Image image_;
    std::vector<Bead> beads_;
};

template <typename Value>
Image Painted(uint32_t columns, uint32_t rows, Value value) {
    Image image(columns, rows);
    for (uint32_t y = 0; y < rows; ++y)
        for (uint32_t x = 0; x < columns; ++x) image.At(x, y) = value(x, y);
    return image;
}

Image Stars(uint32_t columns, uint32_t rows, uint32_t count, uint64_t seed) {
    Image image = Painted(columns, rows, [](uint32_t, uint32_t) { return sky; });
    Noise random(seed);
    const auto part = [&random] { return static_cast<double>(random.Bits() >> 11) * 0x1p-53; };
    for (uint32_t i = 0; i < count; ++i) {
        const double x = part() * columns;
        const double y = part() * rows;
        // Many faint ones and few bright ones.
        AddSpot(image, x, y, 30.0 / (0.008 + part()), 1.2 + 0.4 * part());
    }
    return image;
}

// Any picture, brought to the size of the sensor and to the range of a scene.
Image Fitted(const Image& source, uint32_t columns, uint32_t rows) {
    const uint16_t brightest = *std::max_element(source.pixels.begin(), source.pixels.end());
    const double scale = brightest > scene_max ? static_cast<double>(scene_max) / brightest : 1.0;
    return Painted(columns, rows, [&](uint32_t x, uint32_t y) {
        const auto from_x = static_cast<uint32_t>(uint64_t{x} * source.columns / columns);
        const auto from_y = static_cast<uint32_t>(uint64_t{y} * source.rows / rows);
        return static_cast<uint16_t>(source.At(from_x, from_y) * scale);
    });
}

}  // namespace

const char* NameOf(SceneKind kind) {
    for (const NamedKind& row : kinds)
        if (row.kind == kind) return row.name;
    return "";
}

bool ParseSceneKind(const std::string& name, SceneKind& kind) {
    for (const NamedKind& row : kinds) {
        if (name != row.name) continue;
        kind = row.kind;
        return true;
    }
    return false;
}

std::unique_ptr<Scene> MakeScene(const SceneChoice& choice, uint32_t columns, uint32_t rows,
                                 uint64_t seed, std::string& message) {
    const uint32_t area = columns * rows;
    switch (choice.kind) {
        case SceneKind::chart:
            return std::make_unique<Still>(Painted(columns, rows, [&](uint32_t x, uint32_t y) {
                return ChartValue(x, y, columns, rows);
            }));
        case SceneKind::ramp: return std::make_unique<Still>(Painted(columns, rows, RampValue));
        case SceneKind::flat:
            return std::make_unique<Still>(
                Painted(columns, rows, [&](uint32_t, uint32_t) { return choice.level; }));
        case SceneKind::stars:
            return std::make_unique<Still>(
                Stars(columns, rows, choice.count != 0 ? choice.count : area / 4000 + 1, seed));
        case SceneKind::beads:
            return std::make_unique<Beads>(columns, rows,
                                           choice.count != 0 ? choice.count : area / 40000 + 1,
                                           choice.speed, seed);
        case SceneKind::file: {
            Image image;
            if (!ReadImageFile(choice.path, image, message)) return nullptr;
            return std::make_unique<Still>(Fitted(image, columns, rows));
        }
    }
    return nullptr;
}

}  // namespace softcam
