#pragma once

#include <string>
#include <vector>

#include "orvex/orvex.h"

// What the bodies of the test program share. A body gets the words behind its name and returns when
// everything was as it has to be.
void Require(bool held, const char* what);
#define REQUIRE(condition) Require(condition, #condition)

void Exits(const std::string& from);
void CallsLate(const std::string& when);
void Forks(const std::string& what);
void MeetsRefusedWrites(const std::string& why);
void RunsPrivileged(const std::string& directory);

// All cameras of the software camera, running without end.
class Streams {
  public:
    Streams();
    // Every camera has new frames.
    bool GoOn() const;

    std::vector<int16> cameras;

  private:
    int32 Frames(int16 hcam) const;
    std::vector<std::vector<uns16>> rings_;
};
