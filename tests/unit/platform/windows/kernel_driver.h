#pragma once

#include "support/eventually.h"
#include "support/windows/relay_end.h"

#include "../driver_end.h"

namespace tests {

// Behind the relay driver.
class KernelDriver : public DriverEnd {
  public:
    void Die() override { relay.die(); }
    dv_file_request Receive() override {
        dv_file_request request{};
        support::eventually([&] { return relay.receive(request) || !relay.connected(); });
        return request;
    }
    bool LibraryHasGone() override {
        dv_file_request request{};
        return support::eventually([&] { return !relay.receive(request) && !relay.connected(); });
    }
    void Send(const dv_file_completion& completion) override { relay.send(completion); }
    Unsent OfUnsent() const override { return Unsent::cancelled_by_system; }
    // Each takes the system a thousand times what a socket takes.
    uint32_t Flood() const override { return 1000; }

    support::RelayEnd relay;
};

}  // namespace tests
