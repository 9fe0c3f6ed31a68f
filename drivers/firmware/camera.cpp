#include "firmware/camera.h"

#include <utility>

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_protocol.h"

namespace firmware {

namespace {

using engine::Outcome;

// Tagged texts of a bridge node: 4 to 6 are the parts of its version, 7 its name.
std::vector<uint8_t> VersionInfo(const std::string& part, const Model& model) {
    std::vector<uint8_t> block;
    engine::ByteWriter out(block);
    const auto add = [&out](uint8_t tag, const std::string& text) {
        out.U8(tag);
        out.Text(text, text.size() + 1);
    };
    add(4, std::to_string(model.firmware_major));
    add(5, std::to_string(model.firmware_minor));
    add(6, "0");
    add(7, part);
    out.U8(0);
    return block;
}

}  // namespace

void DescribeBridge(const Model& model, const std::string& interface_name,
                    engine::Description& about, std::vector<engine::BridgeNode>& nodes) {
    constexpr uint8_t boot_idle = 3;
    uint8_t flags = BRIDGE_CAPS_BOOT_STATUS;
    about.reply_status = model.reply_status;
    if (model.reply_status) flags |= BRIDGE_CAPS_REPLY_STATUS;
    // A camera of the first generation has no bridge that could tell anything.
    if (model.firmware_major >= 6)
        about.bridge_caps = {ORVEX_BRIDGE_CAPS_SIGNATURE, flags, boot_idle, 0, 0};
    nodes.push_back(
        {.friendly_name = interface_name, .version_info = VersionInfo("Bridge", model)});
    nodes.push_back(
        {.friendly_name = model.name, .version_info = VersionInfo(model.texts.chip, model)});
}

Camera::Camera(std::unique_ptr<Head> head) : head_(std::move(head)) {}

bool Camera::Connect(engine::HostSide& host) {
    const Model* model = head_->Connect(host, live_);
    if (model == nullptr) return false;
    // What is set stays set, unless another camera answers.
    if (!firmware_ || &firmware_->model != model) {
        firmware_.reset();
        firmware_.emplace(*model, *head_, live_, static_cast<CameraActions&>(*this));
    }
    host_ = &host;
    return true;
}

void Camera::Disconnect() {
    head_->Stop();
    head_->Disconnect();
    host_ = nullptr;
}

void Camera::StopRun() {
    head_->Stop();
    if (host_ != nullptr) host_->RunStopped();
}

void Camera::ForgetPrograms() {
    full_program_.clear();
    simplified_program_.reset();
}

void Camera::Reset() {
    const std::lock_guard hold(lock_);
    StopRun();
    ForgetPrograms();
}

Outcome Camera::HostCommand(uint8_t id, engine::Bytes data, std::vector<uint8_t>& reply) {
    return firmware_->Run(id, data, reply);
}

Outcome Camera::PluginCommand(uint8_t id, engine::Bytes data, std::vector<uint8_t>& reply) {
    if (id == 10)
        firmware_->plugin_mode = engine::ByteReader(data).U16();
    else
        engine::ByteWriter(reply).U16(firmware_->plugin_mode);
    return Outcome::done;
}

Outcome Camera::LoadProgram(uint8_t message_class, engine::Bytes program) {
    const Model& model = firmware_->model;
    const bool full = message_class == CLASS_CCL_SCRIPT;
    if (full != (model.dialect == Dialect::full)) return Outcome::refused;
    const std::lock_guard hold(lock_);
    StopRun();
    ForgetPrograms();
    if (full) {
        if (!head_->AcceptsFull(program)) return Outcome::refused;
        full_program_.assign(program.begin(), program.end());
        return Outcome::done;
    }
    std::optional<SimplifiedProgram> parsed = ParseSimplified(program, model);
    if (!parsed || !head_->Accepts(*parsed, firmware_->settings)) return Outcome::refused;
    simplified_program_ = std::move(parsed);
    return Outcome::done;
}

RunPlan Camera::Plan() const {
    return {.simplified = simplified_program_ ? &*simplified_program_ : nullptr,
            .full = full_program_,
            .settings = firmware_->settings};
}

bool Camera::Execute() {
    const std::lock_guard hold(lock_);
    if (host_ == nullptr || (full_program_.empty() && !simplified_program_)) return false;
    live_.clearing = false;
    StopRun();
    // Here and not in the run, which may be stopped before it begins.
    live_.frames_written = 0;
    return head_->Start(Plan());
}

void Camera::Stop(uint16_t options) {
    const std::lock_guard hold(lock_);
    StopRun();
    live_.clearing = (options & HC_CCS_CONT_CLEAR) != 0;
    if (!firmware_->model.shutter) return;
    if ((options & HC_CCS_CLOSE_SHTR) != 0) live_.shutter_open = false;
    if ((options & HC_CCS_OPEN_SHTR) != 0) live_.shutter_open = true;
}

int64_t Camera::ExposureNanoseconds() const {
    const std::lock_guard hold(lock_);
    return simplified_program_ ? simplified_program_->Nanoseconds(simplified_program_->exposure)
                               : 0;
}

int64_t Camera::ReadoutNanoseconds() const {
    const std::lock_guard hold(lock_);
    return head_->ReadoutNanoseconds(Plan());
}

int64_t Camera::ClearingNanoseconds() const {
    const std::lock_guard hold(lock_);
    if (!simplified_program_) return 0;
    const Model& model = firmware_->model;
    return ClearNanoseconds(model, CurrentSpeed(model, firmware_->settings)) *
           simplified_program_->clear_count;
}

}  // namespace firmware
