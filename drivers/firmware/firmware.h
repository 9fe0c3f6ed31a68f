#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "orvex/orvex_protocol.h"

#include "engine/sensor.h"

#include "firmware/head.h"
#include "firmware/settings.h"

namespace firmware {

// What commands make the rest of the camera do.
class CameraActions {
  public:
    virtual ~CameraActions() = default;
    virtual bool Execute() = 0;
    // Bits of HC_CCS_.
    virtual void Stop(uint16_t options) = 0;
    // Of the program that was loaded last.
    virtual int64_t ExposureNanoseconds() const = 0;
    virtual int64_t ReadoutNanoseconds() const = 0;
    virtual int64_t ClearingNanoseconds() const = 0;
};

class Firmware;

// One command: what the camera must have for it, and what it does. False refuses it.
struct Command {
    uint8_t id;
    bool (*available)(const Model& model);
    bool (*run)(Firmware& firmware, engine::ByteReader& data, engine::ByteWriter& reply);
};

// The commands by topic.
std::span<const Command> IdentityCommands();
std::span<const Command> SettingCommands();
std::span<const Command> FilterCommands();
std::span<const Command> TidalCommands();
std::span<const Command> PortCommands();
std::span<const Command> CentroidCommands();
std::span<const Command> ListCommands();
std::span<const Command> BlobCommands();
std::span<const Command> ControlCommands();

// For commands that every camera has.
bool Always(const Model& model);
bool HasExtended(const Model& model);

// The commands of a camera with the state behind them. What is set stays set until the module is
// unloaded, as in a camera that keeps its power.
class Firmware {
  public:
    Firmware(const Model& model, Head& head, LiveState& live, CameraActions& actions);

    engine::Outcome Run(uint8_t id, engine::Bytes data, std::vector<uint8_t>& reply);

    const Model& model;
    const engine::Description& about;
    Head& head;
    LiveState& live;
    CameraActions& actions;
    Settings settings;
    std::vector<uint8_t> startup_blob;
    uint16_t plugin_mode = 0;

  private:
    std::array<const Command*, 256> commands_{};
};

}  // namespace firmware
