#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace softcam {

// Highest scene value; 16 binned pixels of it still fit 16 bits.
constexpr uint16_t scene_max = 4095;

// A picture of 16-bit values, row after row.
struct Image {
    uint32_t columns = 0;
    uint32_t rows = 0;
    std::vector<uint16_t> pixels;

    Image() = default;
    Image(uint32_t width, uint32_t height)
        : columns(width), rows(height), pixels(size_t{width} * height) {}
    uint16_t At(uint32_t column, uint32_t row) const {
        return pixels[size_t{row} * columns + column];
    }
    uint16_t& At(uint32_t column, uint32_t row) { return pixels[size_t{row} * columns + column]; }
};

enum class SceneKind : uint8_t { chart, ramp, flat, stars, beads, file };

struct SceneChoice {
    SceneKind kind = SceneKind::chart;
    uint16_t level = 1000;  // of a flat scene
    uint32_t count = 0;     // stars or beads; 0 for a number that suits the sensor
    double speed = 20.0;    // of beads, pixels per second
    std::string path;       // of a file
};

const char* NameOf(SceneKind kind);
bool ParseSceneKind(const std::string& name, SceneKind& kind);

// What the sensor looks at: for every pixel a brightness of 0 to scene_max.
class Scene {
  public:
    virtual ~Scene() = default;
    virtual bool Moves() const { return false; }
    // The picture at a camera time in seconds; valid until the next call.
    virtual const Image& At(double seconds) = 0;
};

// Null with a message when a file cannot be read.
std::unique_ptr<Scene> MakeScene(const SceneChoice& choice, uint32_t columns, uint32_t rows,
                                 uint64_t seed, std::string& message);

}  // namespace softcam
