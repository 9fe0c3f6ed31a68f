#pragma once

#include <string>
#include <vector>

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

// Fails with the library's error.
void require(boolean16 result, const std::string& what);

// The library and the one camera that is open, with the thread that reads from it.
class Session {
  public:
    // The names of cameras begin with the tag.
    explicit Session(const std::string& tag) : tag_(tag) {}
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    int16 camera() const { return camera_; }
    const CameraKind& kind() const { return camera_kinds()[kind_]; }
    // Opens the next camera in turn, starting the library when it isn't.
    void open_next();
    // Both may come while a run is going on.
    void close();
    void stop_library();

    // Frames that the camera says it wrote since the last start; ends a run.
    uns32 frames_written() const;
    uns64 reads() const { return reader_.reads(); }

    unsigned opens = 0;
    unsigned starts = 0;  // of the library

  private:
    std::string tag_;
    bool started_ = false;
    int16 camera_ = -1;
    size_t kind_ = 0;
    ParameterReader reader_;
};

}  // namespace endurance
