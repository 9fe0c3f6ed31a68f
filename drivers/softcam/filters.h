#pragma once

#include <deque>

#include "softcam/models.h"
#include "softcam/scene.h"

namespace softcam {

// The post-processing features of a camera, applied to a frame in the order of its list.
class FilterChain {
  public:
    FilterChain(const Model& model, const Settings& settings)
        : model_(model), settings_(settings) {}

    // Whether the result depends on frames before this one.
    bool Remembers() const;
    void Apply(Image& image);

  private:
    const Model& model_;
    const Settings& settings_;
    std::deque<Image> history_;

    void Average(Image& image, uint32_t frames);
};

}  // namespace softcam
