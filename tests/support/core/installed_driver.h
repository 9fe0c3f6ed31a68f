#pragma once

#include "device/ddi.h"
#include "device/device_table.h"
#include "state/camera_tables.h"
#include "support/scripted_driver.h"

namespace support {

// Puts a scripted driver into the library's own record, without a module and a loader, for the
// life of this object. Cameras that are still open are closed at its end.
class InstalledDriver {
  public:
    explicit InstalledDriver(ScriptedDriver& driver) : driver_(driver) {
        g_orvex_ddi = {};
        driver_.init(&g_orvex_ddi);
        total_cams = g_orvex_ddi.camCount;
    }
    ~InstalledDriver() {
        for (int16 hcam = 0; hcam < static_cast<int16>(driver_.size()); ++hcam) {
            orvex_device* device = dv_device(hcam);
            if (device && dv_device_state(device) != DEVICE_CLOSED) dv_cam_close(hcam);
            if (device) close_camera_events(device);
        }
        driver_.uninit(&g_orvex_ddi);
        g_orvex_ddi = {};
        total_cams = 0;
    }
    InstalledDriver(const InstalledDriver&) = delete;
    InstalledDriver& operator=(const InstalledDriver&) = delete;

  private:
    ScriptedDriver& driver_;
};

}  // namespace support
