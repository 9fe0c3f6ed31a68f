#pragma once

#include <array>
#include <string>

#include "orvex/orvex.h"

#include "support/soft_cameras.h"

// One read of an attribute, into storage that shows what was written and how far.
class Reading {
  public:
    Reading(int16 hcam, uns32 id, int16 attribute);

    bool succeeded() const { return result_ == 1; }
    // The value by the width of a TYPE_ code; zero after a failure.
    double number(int type) const;
    // The value, the text, or "error N".
    std::string Describe(int type) const;
    // Nothing behind the value was written.
    bool KeptTheRest(int type) const;

  private:
    size_t Size(int type) const;

    std::array<uns8, 512> storage_;
    boolean16 result_;
    int16 error_;
};

// One software camera without noise, as fast as possible, named "Walk".
class WalkedCamera {
  public:
    explicit WalkedCamera(const std::string& model);
    ~WalkedCamera();

    int16 handle() const { return handle_; }
    void Reopen();
    // The error code; 0 when the value was taken.
    int16 Set(uns32 id, int type, double value) const;
    // Two frames of 8 x 4 pixels, binned 1 x 2, 25 units of exposure.
    bool SetUp() const;

  private:
    support::SoftCameras cameras_;
    int16 handle_ = -1;
};
