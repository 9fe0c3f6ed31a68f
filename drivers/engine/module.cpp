#include "engine/module.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <mutex>
#include <string>

#include "orvex/orvex_ddi.h"

#include "engine/device.h"
#include "engine/device_folder.h"

namespace engine {
namespace {

// The cameras from init to uninit. A second init starts over; an uninit without init is harmless.
class Module {
  public:
    bool Init(orvex_ddi& ddi) {
        Clear();
        std::vector<std::unique_ptr<Sensor>> sensors;
        std::string message;
        if (!FindSensors(sensors, message) || !folder_.Make(message)) {
            std::fprintf(stderr, "orvexDDI: %s\n", message.c_str());
            return false;
        }
        const size_t count = std::min<size_t>(sensors.size(), ORVEX_DDI_MAX_DEVICES);
        for (size_t i = 0; i < count; ++i) {
            devices_.push_back(std::make_unique<Device>(
                std::move(sensors[i]), folder_.Path() + "/cam" + std::to_string(i)));
            ddi.devices[i] = devices_.back()->Record();
        }
        ddi.camCount = static_cast<int16_t>(count);
        return true;
    }

    void Clear() {
        devices_.clear();
        folder_.Remove();
    }

    ~Module() { Clear(); }

  private:
    std::vector<std::unique_ptr<Device>> devices_;
    DeviceFolder folder_;
};

std::mutex module_lock;

Module& TheModule() {
    static Module module;
    return module;
}

}  // namespace

int64_t CurrentTimeStamp() {
    using Ticks = std::chrono::duration<int64_t, std::ratio<1, 10'000'000>>;
    static const auto start = std::chrono::steady_clock::now();
    return std::chrono::duration_cast<Ticks>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace engine

#define ORVEX_EXPORT __attribute__((visibility("default")))

extern "C" {

ORVEX_EXPORT uint16_t orvex_ddi_version(void) {
    return 0x0100;
}

ORVEX_EXPORT uint32_t orvex_ddi_init(orvex_ddi* ddi) {
    if (ddi == nullptr) return 0;
    const std::lock_guard hold(engine::module_lock);
    engine::CurrentTimeStamp();
    // Nothing may be thrown through a C interface.
    try {
        return engine::TheModule().Init(*ddi) ? 1 : 0;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "orvexDDI: %s\n", problem.what());
        engine::TheModule().Clear();
        return 0;
    }
}

ORVEX_EXPORT uint32_t orvex_ddi_uninit(orvex_ddi* /*ddi*/) {
    const std::lock_guard hold(engine::module_lock);
    engine::TheModule().Clear();
    return 1;
}
}
