#pragma once

#include "platform/windows/api.h"
#include "support/device_file_end.h"

namespace support {

// Behind the relay driver (relay.c), which is installed and started where it isn't there. One at a
// time on a machine.
class RelayEnd : public DeviceFileEnd {
  public:
    RelayEnd();
    ~RelayEnd() override { die(); }

    std::string path() const override;
    bool connected() const override { return connected_; }
    bool receive(dv_file_request& request) override;
    void send(const dv_file_completion& completion) override;
    void wait() override { Sleep(1); }
    void wake() override {}
    // The removal of the camera.
    void die();
    // Makes the driver complete (RELAY_AT_ONCE) or refuse (RELAY_REFUSE) what is submitted.
    void answer(DWORD relay_code);

  private:
    bool Control(DWORD code, void* in, DWORD in_size, void* out, DWORD out_size);

    HANDLE relay_ = INVALID_HANDLE_VALUE;
    bool connected_ = false;
};

}  // namespace support
