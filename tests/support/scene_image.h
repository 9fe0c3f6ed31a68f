#pragma once

#include <string>
#include <vector>

#include "orvex/orvex_types.h"

namespace support {

// A picture of random values for a camera to look at, and what a read-out of it must give. It knows
// nothing of programs, shifts or registers: only where a pixel lies and which pixels add up.
class SceneImage {
  public:
    // Values from 0 to 4095, the range of the software camera's scenes.
    SceneImage(uns32 columns, uns32 rows, uns32 seed);

    uns32 columns() const { return columns_; }
    uns32 rows() const { return rows_; }

    // An uncompressed 16-bit TIFF.
    void WriteTiff(const std::string& path) const;

    // The region, binned, after so many exposures; sums end at 65535. Columns and rows that fill no
    // pixel are left out.
    std::vector<uns16> CropAndBin(const rgn_type& region, uns32 exposures = 1) const;

  private:
    uns32 columns_;
    uns32 rows_;
    std::vector<uns16> pixels_;
};

// The ramp scene of the software camera: what a pixel sums up, and a region of it.
uns32 RampPixel(uns32 x, uns32 y, uns32 columns = 1, uns32 rows = 1);
std::vector<uns16> RampRegion(const rgn_type& region);

}  // namespace support
