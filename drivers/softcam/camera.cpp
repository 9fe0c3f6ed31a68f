#include "softcam/camera.h"

#include <cmath>
#include <utility>

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_protocol.h"

#include "softcam/ccl_interpreter.h"
#include "softcam/full_program.h"

namespace softcam {
namespace {

using engine::Outcome;

// Tagged texts of a bridge node: 4 to 6 are the parts of its version, 7 its name.
std::vector<uint8_t> VersionInfo(std::string_view part, const Model& model) {
    std::vector<uint8_t> block;
    engine::ByteWriter out(block);
    const auto add = [&out](uint8_t tag, std::string_view text) {
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

Camera::Camera(CameraOptions options, std::unique_ptr<Scene> scene)
    : options_(std::move(options)),
      scene_(std::move(scene)),
      hot_pixels_(MakeHotPixels(options_.model->geometry, options_.hot_pixels, options_.seed)),
      firmware_(options_, live_, faults_, *this),
      noise_(options_.seed) {
    for (const FaultPlan& plan : options_.faults) faults_.Plan(plan);
    Describe();
}

Camera::~Camera() {
    pump_.Stop();
}

void Camera::Describe() {
    const Model& model = *options_.model;
    about_.name = options_.name;
    about_.driver_type = options_.driver_type;
    about_.kernel_driver = options_.kernel_driver;
    about_.driver_version = 0x0102;
    // Over PCI the driver wants the buffer's table fixed, and counts frame interrupts.
    about_.driver_capabilities = options_.driver_type == DRIVER_TYPE_PCI ? 1 : 0;
    about_.reply_status = model.reply_status;
    about_.info = "Software camera driver, " + options_.name;
    constexpr uint8_t boot_idle = 3;
    uint8_t flags = BRIDGE_CAPS_BOOT_STATUS;
    if (model.reply_status) flags |= BRIDGE_CAPS_REPLY_STATUS;
    // A camera of the first generation has no bridge that could tell anything.
    if (model.firmware_major >= 6)
        about_.bridge_caps = {ORVEX_BRIDGE_CAPS_SIGNATURE, flags, boot_idle, 0, 0};
    nodes_.push_back(
        {.friendly_name = "Software Interface", .version_info = VersionInfo("Bridge", model)});
    nodes_.push_back({.friendly_name = std::string(model.default_name),
                      .version_info = VersionInfo(model.texts.chip, model)});
}

bool Camera::Connect(engine::HostSide& host) {
    host_ = &host;
    return true;
}

void Camera::Disconnect() {
    pump_.Stop();
    host_ = nullptr;
}

// Stops what runs; nobody is told any more of its frames.
void Camera::StopRun() {
    pump_.Stop();
    if (host_ != nullptr) host_->RunStopped();
}

void Camera::Reset() {
    StopRun();
    full_program_.clear();
    simplified_program_.reset();
}

Outcome Camera::HostCommand(uint8_t id, engine::Bytes data, std::vector<uint8_t>& reply) {
    return firmware_.Run(id, data, reply);
}

Outcome Camera::PluginCommand(uint8_t id, engine::Bytes data, std::vector<uint8_t>& reply) {
    if (id == 10)
        firmware_.plugin_mode = engine::ByteReader(data).U16();
    else
        engine::ByteWriter(reply).U16(firmware_.plugin_mode);
    return Outcome::done;
}

Outcome Camera::LoadProgram(uint8_t message_class, engine::Bytes program) {
    const Model& model = *options_.model;
    const bool full = message_class == CLASS_CCL_SCRIPT;
    if (full != (model.dialect == Dialect::full)) return Outcome::refused;
    StopRun();
    if (full) {
        full_program_.clear();
        if (CheckProgram(program) != ProgramEnd::terminated) return Outcome::refused;
        full_program_.assign(program.begin(), program.end());
        return Outcome::done;
    }
    simplified_program_ = ParseSimplified(program, model);
    return simplified_program_ ? Outcome::done : Outcome::refused;
}

bool Camera::Execute() {
    if (host_ == nullptr || (full_program_.empty() && !simplified_program_)) return false;
    live_.clearing = false;
    StopRun();
    // Here and not in the run, which may be stopped before it begins.
    live_.frames_written = 0;
    live_.frames_behind = 0;
    live_.schedule_lost_ns = 0;
    if (new_seed_) noise_ = Noise(*std::exchange(new_seed_, std::nullopt));
    pump_.Start([this, context = Context()]() mutable { Run(context); });
    return true;
}

// Made by the thread that brings the command: the next one may change what is copied here.
RunContext Camera::Context() {
    if (!options_.ideal && !pattern_) pattern_.emplace(options_.model->geometry, options_.seed);
    const double scale = options_.time_scale;
    // With no pace of its own, the camera's time stands still between its runs.
    const int64_t start_ns =
        scale > 0 ? std::llround(static_cast<double>(engine::CurrentTimeStamp()) * 100.0 / scale)
                  : idle_since_ns_;
    return {
        .model = *options_.model,
        .settings = firmware_.settings,
        .live = live_,
        .scene = *scene_,
        .noise = noise_,
        .faults = faults_,
        .cooler = firmware_.cooler,
        .pump = pump_,
        .host = *host_,
        .clock = CameraClock(pump_, scale),
        .start_ns = start_ns,
        .trigger = options_.trigger,
        .hot_pixels = hot_pixels_,
        .pattern = pattern_ ? &*pattern_ : nullptr,
        .ideal = options_.ideal,
        .stamp = options_.stamp,
        .flux = options_.flux,
        .time_scale = scale,
        .noise_frames = options_.noise_frames,
    };
}

void Camera::Run(RunContext& context) {
    live_.running = true;
    if (options_.model->dialect == Dialect::full)
        RunFullProgram(context, full_program_);
    else
        RunSimplifiedProgram(context, *simplified_program_);
    idle_since_ns_ = context.Now();
    live_.running = false;
}

void Camera::Stop(uint16_t options) {
    StopRun();
    live_.clearing = (options & HC_CCS_CONT_CLEAR) != 0;
    if (!options_.model->shutter) return;
    if ((options & HC_CCS_CLOSE_SHTR) != 0) live_.shutter_open = false;
    if ((options & HC_CCS_OPEN_SHTR) != 0) live_.shutter_open = true;
}

int64_t Camera::ExposureNanoseconds() const {
    return simplified_program_ ? simplified_program_->Nanoseconds(simplified_program_->exposure)
                               : 0;
}

int64_t Camera::ReadoutNanoseconds() const {
    const Model& model = *options_.model;
    const Speed& speed = CurrentSpeed(model, firmware_.settings);
    if (simplified_program_) return softcam::ReadoutNanoseconds(model, speed, *simplified_program_);
    if (!full_program_.empty()) return softcam::ReadoutNanoseconds(speed, full_program_);
    // Of the whole sensor, until a program says what to read.
    const Geometry& geometry = model.geometry;
    if (model.dialect == Dialect::simplified)
        return static_cast<int64_t>(geometry.rows * speed.row_time_us * 1000.0);
    return int64_t{geometry.columns} * geometry.rows * speed.pixel_time_ns;
}

int64_t Camera::ClearingNanoseconds() const {
    const Model& model = *options_.model;
    return simplified_program_ ? ClearNanoseconds(model, CurrentSpeed(model, firmware_.settings)) *
                                     simplified_program_->clear_count
                               : 0;
}

bool Camera::SetScene(const SceneChoice& choice, std::string& message) {
    const Geometry& geometry = options_.model->geometry;
    auto scene = MakeScene(choice, geometry.columns, geometry.rows, options_.seed, message);
    if (!scene) return false;
    StopRun();
    scene_ = std::move(scene);
    options_.scene = choice;
    return true;
}

}  // namespace softcam
