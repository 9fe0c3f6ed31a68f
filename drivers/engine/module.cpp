#include "engine/module.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <new>
#include <string>
#include <string_view>

#include "orvex/orvex_ddi.h"

#include "engine/device.h"
#include "engine/device_directory.h"
#include "engine/entry_points.h"
#include "engine/platform.h"

namespace engine {
namespace {

// The cameras from init to uninit. A second init starts over; an uninit without init is harmless.
class Module {
  public:
    bool Init(orvex_ddi& ddi) {
        Clear();
        std::vector<std::unique_ptr<Sensor>> sensors;
        std::string message;
        if (!FindSensors(sensors, message) || !directory_.Make(message)) {
            std::fprintf(stderr, "orvexDDI: %s\n", message.c_str());
            return false;
        }
        const size_t count = std::min<size_t>(sensors.size(), ORVEX_DDI_MAX_DEVICES);
        for (size_t i = 0; i < count; ++i) {
            devices_.push_back(std::make_unique<Device>(
                std::move(sensors[i]), directory_.File("cam" + std::to_string(i))));
            ddi.devices[i] = devices_.back()->Record();
        }
        ddi.camCount = static_cast<int16_t>(count);
        has_cameras = count > 0;
        return true;
    }

    bool OpenFile(std::string_view path, const dv_file_host& host, dv_file_driver& driver) {
        const auto found = std::ranges::find_if(
            devices_, [&](const auto& device) { return path == device->Record()->path; });
        return found != devices_.end() && (*found)->OpenFile(host, driver);
    }

    void Clear() {
        std::vector<std::unique_ptr<Device>>().swap(devices_);
        directory_.Remove();
        has_cameras = false;
    }

    std::mutex lock;
    std::atomic<bool> has_cameras = false;

  private:
    std::vector<std::unique_ptr<Device>> devices_;
    DeviceDirectory directory_;
};

// Never destroyed: what ends the cameras is uninit, or the end of the process, during which they
// are used.
Module& TheModule() {
    static union Storage {
        Storage() : module() {}
        ~Storage() {}

        Module module;
    } storage;
    return storage.module;
}

// A forked child has a copy of the parent's cameras, whose threads are not there, and leaves it
// alone: with none of its own it starts from nothing.
void ForgetInForkedChildren() {
    InForkedChildren([] { new (&TheModule()) Module; });
}

}  // namespace

bool HasCameras() {
    return TheModule().has_cameras;
}

int64_t CurrentTimeStamp() {
    using Ticks = std::chrono::duration<int64_t, std::ratio<1, 10'000'000>>;
    static const auto start = std::chrono::steady_clock::now();
    return std::chrono::duration_cast<Ticks>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace engine

extern "C" {

ORVEX_EXPORT uint16_t orvex_ddi_version(void) {
    return engine::module_version;
}

ORVEX_EXPORT uint32_t orvex_ddi_init(orvex_ddi* ddi) {
    if (ddi == nullptr) return 0;
    engine::ForgetInForkedChildren();
    engine::CurrentTimeStamp();  // which counts from here
    return engine::InitModule(engine::TheModule(), *ddi);
}

ORVEX_EXPORT uint32_t orvex_ddi_uninit(orvex_ddi* /*ddi*/) {
    return engine::UninitModule(engine::TheModule());
}

ORVEX_EXPORT uint16_t orvex_ddi_open_file(const char* path, const dv_file_host* host,
                                          dv_file_driver* driver) {
    return engine::OpenModuleFile(engine::TheModule(), path, host, driver);
}
}
