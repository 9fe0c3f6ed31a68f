#pragma once

#include <memory>
#include <string>
#include <vector>

#include "orvex/orvex.h"

#include "support/environment.h"
#include "support/scene_image.h"
#include "support/temp_dir.h"

// A software camera without noise that looks at a known picture, reached through the exported
// functions alone, as fast as it can run.
class IdealCamera {
  public:
    // `model` as in the configuration of the software camera.
    IdealCamera(const std::string& model, uns32 columns, uns32 rows);
    ~IdealCamera();

    int16 handle() const { return handle_; }
    const support::SceneImage& scene() const { return scene_; }

    // Fails the test with the library's own text when a call is refused.
    void Require(boolean16 result, const char* what) const;
    void Set(uns32 id, int32 value) const;

    // One whole sequence of a set-up; the frames one after the other.
    std::vector<uns16> Run(uns16 frames, const std::vector<rgn_type>& regions, int16 exp_mode,
                           uns32 exposure_time) const;

  private:
    support::TempDir folder_;
    support::SceneImage scene_;
    std::vector<std::unique_ptr<support::Environment>> environment_;
    int16 handle_ = -1;
};
