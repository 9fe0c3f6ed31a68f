#include "softcam/firmware.h"

#include <cmath>

namespace softcam {
namespace {

// The cooler's time constant.
constexpr double cooling_seconds = 20.0;

}  // namespace

Cooler::Cooler(const Physics& physics, double time_scale)
    : time_scale_(time_scale),
      setpoint_(physics.first_setpoint),
      start_(physics.max_temperature),
      since_(std::chrono::steady_clock::now()) {}

int16_t Cooler::Temperature() const {
    if (time_scale_ <= 0) return setpoint_;
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - since_;
    const double rest = std::exp(-passed.count() / (cooling_seconds * time_scale_));
    return static_cast<int16_t>(std::lround(setpoint_ + (start_ - setpoint_) * rest));
}

void Cooler::SetSetpoint(int16_t setpoint) {
    start_ = Temperature();
    since_ = std::chrono::steady_clock::now();
    setpoint_ = setpoint;
}

bool Always(const Model& /*model*/) {
    return true;
}
bool HasExtended(const Model& model) {
    return model.extended.has_value();
}

Firmware::Firmware(const CameraOptions& camera_options, LiveState& live_state, Faults& faults,
                   CameraActions& camera_actions)
    : model(*camera_options.model),
      options(camera_options),
      live(live_state),
      actions(camera_actions),
      settings(InitialSettings(model)),
      cooler(model.physics, camera_options.time_scale),
      faults_(faults) {
    for (const auto topic :
         {IdentityCommands(), SettingCommands(), FilterCommands(), TidalCommands(), PortCommands(),
          CentroidCommands(), ListCommands(), BlobCommands(), ControlCommands()}) {
        for (const Command& command : topic) commands_[command.id] = &command;
    }
    for (size_t i = 0; i < model.io_ports.size(); ++i) {
        const uint16_t direction = model.io_ports[i].direction;
        live.directions[i] = direction;
    }
    live.shutter_open = false;
}

engine::Outcome Firmware::Run(uint8_t id, engine::Bytes data, std::vector<uint8_t>& reply) {
    const Command* command = commands_[id];
    if (command == nullptr || !command->available(model) || faults_.Strikes(Fault::refused_command))
        return engine::Outcome::refused;
    engine::ByteReader reader(data);
    engine::ByteWriter writer(reply);
    return command->run(*this, reader, writer) ? engine::Outcome::done : engine::Outcome::refused;
}

}  // namespace softcam
