#include "firmware/firmware.h"

namespace firmware {
bool Always(const Model& /*model*/) {
    return true;
}
bool HasExtended(const Model& model) {
    return model.extended.has_value();
}

Firmware::Firmware(const Model& data_sheet, Head& camera_head, LiveState& live_state,
                   CameraActions& camera_actions)
    : model(data_sheet),
      about(camera_head.About()),
      head(camera_head),
      live(live_state),
      actions(camera_actions),
      settings(InitialSettings(model)) {
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
    if (command == nullptr || !command->available(model) || head.RefusesCommand())
        return engine::Outcome::refused;
    engine::ByteReader reader(data);
    engine::ByteWriter writer(reply);
    return command->run(*this, reader, writer) ? engine::Outcome::done : engine::Outcome::refused;
}

}  // namespace firmware
