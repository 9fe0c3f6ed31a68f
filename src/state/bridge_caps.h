#pragma once

#include <vector>

#include "orvex/orvex_types.h"

namespace bv {

enum class FirmwareBootStatus { Unknown = 0, Booting = 1, Loading = 2, Idle = 3 };

// What the driver says of the bridge between host and camera head.
class BridgeCaps {
  public:
    // Asks the driver anew. 1 also when the driver knows nothing of the bridge. Defined with the
    // messages, which speak to the driver.
    boolean16 Read(int16 hcam);

    // Replies to host commands begin with a status byte.
    bool HasReplyStatusByte() const;
    bool HasBootStatus() const;
    FirmwareBootStatus BootStatus() const;

  private:
    uns8 valid_ = 0;  // the block carries the signature
    std::vector<uns8> data_;
};

}  // namespace bv
