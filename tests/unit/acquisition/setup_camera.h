#pragma once

#include "support/core/test_camera.h"

// A camera that setups work on: one that has been opened has a parallel mode.
class SetupCamera : public support::TestCamera {
  public:
    SetupCamera() { reads().pmode_nvp.count = 1; }
};
