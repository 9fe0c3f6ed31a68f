// The driver module of many: loads every family of cameras beside it, each a complete driver
// module, and hands out the union of their cameras. Records carry their own operations, so that
// nothing of what passes between the library and a camera comes through here.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <vector>

#include "orvex/orvex_ddi.h"

#include "engine/entry_points.h"

#include "families/shared_object.h"

namespace families {
namespace {

constexpr const char* folder_name = "families";
// Real cameras come first.
constexpr const char* last_family = "softcam";

// A text of which a record holds so many bytes.
std::string NameOf(const orvex_device& device) {
    return {device.name, strnlen(device.name, ORVEX_DEVICE_NAME_LEN)};
}

struct Family {
    Family(const std::filesystem::path& file, std::string& reason)
        : name(file.stem().string()), object(file, reason) {
        if (!object) return;
        version = object.Find<decltype(orvex_ddi_version)>("orvex_ddi_version");
        init = object.Find<decltype(orvex_ddi_init)>("orvex_ddi_init");
        uninit = object.Find<decltype(orvex_ddi_uninit)>("orvex_ddi_uninit");
        open_file = object.Find<decltype(orvex_ddi_open_file)>("orvex_ddi_open_file");
        if (!version || !init || !uninit) reason = "it is no driver module";
    }

    std::string name;
    SharedObject object;
    decltype(&orvex_ddi_version) version = nullptr;
    decltype(&orvex_ddi_init) init = nullptr;
    decltype(&orvex_ddi_uninit) uninit = nullptr;
    decltype(&orvex_ddi_open_file) open_file = nullptr;
    orvex_ddi record{};
};

// As the library reads the result of a module.
bool Succeeded(uint32_t result) {
    return static_cast<uint16_t>(result) == 1;
}

void Warn(const std::string& text) {
    std::fprintf(stderr, "orvexDDI: %s\n", text.c_str());
}

std::vector<std::filesystem::path> FamilyFiles() {
    std::vector<std::filesystem::path> files;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(OwnFolder() / folder_name, none)) {
        if (entry.path().extension() == module_ending) files.push_back(entry.path());
    }
    const auto rank = [](const std::filesystem::path& file) {
        return std::pair(file.stem() == last_family, file);
    };
    std::ranges::sort(files, {}, rank);
    return files;
}

// The families from init to uninit. A second init starts over; an uninit without init is harmless.
class Families {
  public:
    // False when there are families and none of them works.
    bool Init(orvex_ddi& ddi) {
        Clear();
        ddi.camCount = 0;
        bool failed = false;
        for (const std::filesystem::path& file : FamilyFiles()) failed |= !Add(file);
        for (const Family& family : loaded_) Unite(family, ddi);
        return !failed || !loaded_.empty();
    }

    bool OpenFile(const char* path, const dv_file_host& host, dv_file_driver& driver) const {
        return std::ranges::any_of(loaded_, [&](const Family& family) {
            return family.open_file != nullptr && family.open_file(path, &host, &driver) != 0;
        });
    }

    void Clear() {
        while (!loaded_.empty()) {
            loaded_.back().uninit(&loaded_.back().record);
            loaded_.pop_back();
        }
        loaded_.shrink_to_fit();
    }

    std::mutex lock;

  private:
    bool Add(const std::filesystem::path& file) {
        std::string reason;
        Family family(file, reason);
        if (reason.empty() && !Succeeded(family.init(&family.record))) {
            family.uninit(&family.record);
            reason = "it does not start";
        }
        if (!reason.empty()) {
            Warn("without the cameras of " + family.name + ": " + reason);
            return false;
        }
        loaded_.push_back(std::move(family));
        return true;
    }

    static void Unite(const Family& family, orvex_ddi& ddi) {
        for (int16_t i = 0; i < family.record.camCount; ++i) {
            orvex_device* const device = family.record.devices[i];
            orvex_device** const end = ddi.devices + ddi.camCount;
            const bool taken = std::any_of(ddi.devices, end, [&](const orvex_device* other) {
                return NameOf(*other) == NameOf(*device);
            });
            if (taken) {
                Warn("without the camera '" + NameOf(*device) + "' of " + family.name +
                     ": another has this name");
            } else if (ddi.camCount < ORVEX_DDI_MAX_DEVICES) {
                ddi.devices[ddi.camCount++] = device;
            }
        }
    }

    std::vector<Family> loaded_;
};

// Never destroyed: what ends the cameras is uninit, or the end of the process, during which they
// are used.
Families& TheFamilies() {
    static union Storage {
        Storage() : families() {}
        ~Storage() {}

        Families families;
    } storage;
    return storage.families;
}

}  // namespace
}  // namespace families

extern "C" {

ORVEX_EXPORT uint16_t orvex_ddi_version(void) {
    return engine::module_version;
}

ORVEX_EXPORT uint32_t orvex_ddi_init(orvex_ddi* ddi) {
    if (ddi == nullptr) return 0;
    return engine::InitModule(families::TheFamilies(), *ddi);
}

ORVEX_EXPORT uint32_t orvex_ddi_uninit(orvex_ddi* /*ddi*/) {
    return engine::UninitModule(families::TheFamilies());
}

ORVEX_EXPORT uint16_t orvex_ddi_open_file(const char* path, const dv_file_host* host,
                                          dv_file_driver* driver) {
    return engine::OpenModuleFile(families::TheFamilies(), path, host, driver);
}
}
