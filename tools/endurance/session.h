#pragma once

#include <optional>
#include <string>
#include <vector>

#include "orvex/orvex.hpp"

#include "listener.h"
#include "parameter_reader.h"

namespace endurance {

// A software camera of the configuration that the program writes.
struct CameraKind {
    const char* model;
    Delivery delivery;
    uns16 side;    // pixels of the sensor
    uns16 widest;  // of the regions to use: programs that are executed step by step take their time
    uns32 slowness;  // against the fastest, roughly
};

const std::vector<CameraKind>& camera_kinds();

// The library and the one camera that is open, with the thread that reads from it.
class Session {
  public:
    // The names of cameras begin with the tag.
    explicit Session(const std::string& tag) : tag_(tag) {}
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    int16 camera() const { return camera_->handle(); }
    const CameraKind& kind() const { return camera_kinds()[kind_]; }
    // Opens the next camera in turn, starting the library when it isn't.
    void open_next();
    // Both may come while a run is going on, and the library may end before its camera. What does
    // not end will not begin again.
    void close();
    void stop_library();

    // Frames that the camera says it wrote since the last start; ends a run.
    uns32 frames_written() const;
    uns64 reads() const { return reader_.reads(); }

    unsigned opens = 0;
    unsigned starts = 0;  // of the library

  private:
    std::string tag_;
    std::optional<orvex::Library> library_;
    std::optional<orvex::Camera> camera_;
    size_t kind_ = 0;
    ParameterReader reader_;
};

}  // namespace endurance
