#pragma once

#include "support/core/test_camera.h"
#include "support/core/trace_capture.h"

namespace support {

// A camera for each test, and what the library says meanwhile.
template <class Camera = TestCamera>
class CameraTest : public testing::Test {
  protected:
    static constexpr int16 hcam = TestCamera::hcam;

    TraceCapture trace_;
    Camera camera_;
};

}  // namespace support
