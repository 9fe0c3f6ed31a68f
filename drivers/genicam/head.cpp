#include "genicam/head.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "orvex/orvex_ddi.h"

#include "firmware/camera.h"

namespace genicam {
namespace {

using firmware::Model;
using firmware::SimplifiedProgram;

// A camera that is there closes in a few milliseconds.
constexpr std::chrono::milliseconds closing_patience(500);

bool NeedsTrigger(uint32_t mode) {
    return mode == EXT_TRIG_EDGE_RISING || mode == EXT_TRIG_TRIG_FIRST;
}

bool Contains(const std::vector<std::string>& texts, const std::string& text) {
    return std::ranges::find(texts, text) != texts.end();
}

}  // namespace

Head::Head(Identity identity, std::shared_ptr<Aravis> aravis)
    : aravis_(std::move(aravis)), identity_(std::move(identity)) {
    const Model model = CoverSheet(identity_);
    about_.name = NameOf(identity_);
    about_.driver_type = model.driver_type;
    const std::string link = identity_.network ? "GigE Vision" : "USB3 Vision";
    about_.info = link + " camera, " + identity_.vendor + " " + identity_.model + ", " +
                  identity_.serial + ", at " + identity_.address;
    firmware::DescribeBridge(model, link + " Interface", about_, nodes_);
}

Head::~Head() {
    Disconnect();
}

const Model* Head::Connect(engine::HostSide& host, firmware::LiveState& live) {
    // What is left of a connection before has writes of its own to come.
    if (closing_.valid()) closing_.wait();
    {
        const std::lock_guard hold(events_);
        gone_ = false;
        host_ = &host;
        live_ = &live;
    }
    const std::lock_guard hold(camera_lock_);
    if (Open()) return &sheet_->model;
    camera_.reset();
    const std::lock_guard hold_events(events_);
    host_ = nullptr;
    return nullptr;
}

bool Head::Open() {
    camera_.reset(Ask(arv_camera_new, identity_.address.c_str()).value_or(nullptr));
    if (!camera_) return false;
    ArvDevice* device = arv_camera_get_device(camera_.get());
    if (ARV_IS_GV_DEVICE(device)) {
        // It opens all the same when another program has control.
        if (arv_gv_device_is_controller(ARV_GV_DEVICE(device)) == FALSE) return false;
        // A packet socket is root's alone, and delays frames.
        arv_camera_gv_set_stream_options(camera_.get(),
                                         ARV_GV_STREAM_OPTION_PACKET_SOCKET_DISABLED);
    }
    arv_camera_set_range_check_policy(camera_.get(), ARV_RANGE_CHECK_POLICY_ENABLE);
    arv_camera_set_access_check_policy(camera_.get(), ARV_ACCESS_CHECK_POLICY_ENABLE);
    const std::string serial = ReadText(arv_camera_get_device_serial_number, camera_.get());
    // Another camera may have come to the address.
    if (sheet_ && serial != serial_) return false;
    serial_ = serial;
    if (!sheet_) {
        std::string missing;
        sheet_ = ReadSheet(camera_.get(), identity_, missing);
        if (!sheet_)
            std::fprintf(stderr, "orvexDDI: %s is without %s\n", about_.name.c_str(),
                         missing.c_str());
    }
    if (!sheet_) return false;
    g_signal_connect(device, "control-lost", G_CALLBACK(&Head::OnControlLost), this);
    return true;
}

void Head::OnControlLost(ArvDevice* /*device*/, void* head) {
    static_cast<Head*>(head)->Lose();
}

void Head::Lose() {
    const std::lock_guard hold(events_);
    if (host_ == nullptr || gone_.exchange(true)) return;
    host_->Unplugged();
}

void Head::Disconnect() {
    Stop();
    {
        const std::lock_guard hold(events_);
        host_ = nullptr;
    }
    if (!camera_) return;
    closing_ = std::async(std::launch::async, [this, camera = std::move(camera_)]() mutable {
        if (run_end_.valid()) run_end_.wait();
        // Its heartbeat, which may still tell of the end, stops with it.
        camera.reset();
    });
    if (!gone_) closing_.wait_for(closing_patience);
}

int16_t Head::Degrees(const std::string& feature) {
    const std::lock_guard hold(camera_lock_);
    if (feature.empty() || Gone()) return 0;
    const double degrees = Ask(arv_camera_get_float, camera_.get(), feature.c_str()).value_or(0);
    return static_cast<int16_t>(std::clamp(std::round(degrees * 100), -32768.0, 32767.0));
}

int16_t Head::Temperature() {
    return Degrees(sheet_->temperature);
}

int16_t Head::Setpoint() {
    return Degrees(sheet_->setpoint);
}

void Head::SetSetpoint(int16_t setpoint) {
    const std::lock_guard hold(camera_lock_);
    if (sheet_->setpoint.empty() || Gone()) return;
    Tell(arv_camera_set_float, camera_.get(), sheet_->setpoint.c_str(), setpoint / 100.0);
}

double Head::ExposureMicroseconds(const SimplifiedProgram& program) const {
    const auto wanted_us = static_cast<double>(program.Nanoseconds(program.exposure)) / 1000;
    return std::max(wanted_us, sheet_->exposure_us.min);
}

bool Head::Accepts(const SimplifiedProgram& program, const firmware::Settings& /*settings*/) {
    if (gone_ || program.regions.size() != 1) return false;
    const auto& modes = sheet_->model.extended->trigger_modes;
    const bool known = program.exposure_mode == TIMED_MODE ||
                       std::ranges::any_of(modes, [&](const firmware::NamedValue& mode) {
                           return mode.value == program.exposure_mode;
                       });
    return known && ExposureMicroseconds(program) <= sheet_->exposure_us.max &&
           WindowAround(program.regions.front(), sheet_->axes, 1);
}

int64_t Head::ReadoutNanoseconds(const firmware::RunPlan& plan) {
    const firmware::Speed& speed = firmware::CurrentSpeed(sheet_->model, plan.settings);
    if (plan.simplified != nullptr)
        return firmware::ReadoutNanoseconds(sheet_->model, speed, *plan.simplified);
    return static_cast<int64_t>(sheet_->model.geometry.rows * speed.row_time_us * 1000);
}

bool Head::Start(firmware::RunPlan plan) {
    if (run_end_.valid()) run_end_.wait();
    const std::lock_guard hold(camera_lock_);
    if (Gone()) return false;
    const SimplifiedProgram& program = *plan.simplified;
    const PixelFormat& format = *sheet_->formats[plan.settings.speed];
    const rgn_type& region = program.regions.front();
    const auto window = WindowAround(region, sheet_->axes, format.WholeBytes());
    if (!window) return false;
    const FramePlan frames{.format = format,
                           .window = *window,
                           .region = region,
                           .frames = program.Continuous() ? 0 : program.frame_count,
                           .network = identity_.network};
    if (!Configure(plan, frames)) return false;
    auto stream = std::make_shared<FrameStream>(frames, *host_, *live_, lost_);
    live_->running = true;
    if (!stream->Open(camera_.get()) || !Tell(arv_camera_start_acquisition, camera_.get())) {
        live_->running = false;
        return false;
    }
    // Not on the stream's own thread, which a write to the camera would hold up.
    run_end_ = std::async(std::launch::async, [this, stream, camera = camera_.get()] {
        stream->AwaitEnd();
        {
            const std::lock_guard hold_camera(camera_lock_);
            if (!gone_) Tell(arv_camera_stop_acquisition, camera);
        }
        stream->Close();
    });
    stream_ = std::move(stream);
    return true;
}

bool Head::Configure(const firmware::RunPlan& plan, const FramePlan& frames) {
    ArvCamera* camera = camera_.get();
    const double exposure_us = ExposureMicroseconds(*plan.simplified);
    if (!Tell(arv_camera_set_pixel_format, camera, ArvPixelFormat{frames.format.code}) ||
        !SetWindow(frames.window))
        return false;
    // What the camera would change by itself is not what was asked for.
    if (Ask(arv_camera_is_exposure_auto_available, camera).value_or(FALSE) != FALSE)
        Tell(arv_camera_set_exposure_time_auto, camera, ARV_AUTO_OFF);
    if (Ask(arv_camera_is_gain_auto_available, camera).value_or(FALSE) != FALSE)
        Tell(arv_camera_set_gain_auto, camera, ARV_AUTO_OFF);
    FreeFrameRate(camera);
    if (!Tell(arv_camera_set_exposure_time, camera, exposure_us)) return false;
    const double gain = sheet_->gains[plan.settings.gain - 1u];
    if (sheet_->gains.size() > 1 && !Tell(arv_camera_set_gain, camera, gain)) return false;
    if (sheet_->black_level) {
        const double level = std::clamp<double>(plan.settings.offset, sheet_->black_level->min,
                                                sheet_->black_level->max);
        if (!Tell(arv_camera_set_black_level, camera, level)) return false;
    }
    Tell(arv_camera_set_acquisition_mode, camera, ARV_ACQUISITION_MODE_CONTINUOUS);
    return SetTriggers(plan.simplified->exposure_mode, exposure_us);
}

bool Head::SetWindow(const Window& window) {
    ArvCamera* camera = camera_.get();
    const auto set = [&](const char* name, uint32_t value) {
        return Tell(arv_camera_set_integer, camera, name, gint64{value});
    };
    const bool moves = Ask(arv_camera_is_region_offset_available, camera).value_or(FALSE) != FALSE;
    // The limit of an offset is that of the size before.
    if (moves && (!set("OffsetX", 0) || !set("OffsetY", 0))) return false;
    if (!set("Width", window.width) || !set("Height", window.height)) return false;
    if (moves && (!set("OffsetX", window.left) || !set("OffsetY", window.top))) return false;
    gint x = 0;
    gint y = 0;
    gint width = 0;
    gint height = 0;
    if (!Tell(arv_camera_get_region, camera, &x, &y, &width, &height)) return false;
    const Window taken{.left = static_cast<uint32_t>(x),
                       .top = static_cast<uint32_t>(y),
                       .width = static_cast<uint32_t>(width),
                       .height = static_cast<uint32_t>(height)};
    return taken == window;
}

bool Head::SetTriggers(uint32_t mode, double exposure_us) {
    ArvCamera* camera = camera_.get();
    if (HasFeature(camera, "TriggerMode") && !Tell(arv_camera_clear_triggers, camera)) return false;
    if (!NeedsTrigger(mode)) {
        const auto rate = AskBounds<double>(arv_camera_get_frame_rate_bounds, camera);
        if (!rate) return true;
        double wanted = std::min(rate->max, 1e6 / exposure_us);
        if (highest_rate_ > 0) wanted = std::min(wanted, highest_rate_);
        // A camera that has a pace of its own keeps that.
        Tell(arv_camera_set_frame_rate, camera, std::max(wanted, rate->min));
        return true;
    }
    const std::vector<std::string> sources = FeatureChoices(camera, "TriggerSource");
    const auto line = std::ranges::find_if(
        sources, [](const std::string& source) { return source.starts_with("Line"); });
    std::string source = trigger_source_;
    if (source.empty()) source = line != sources.end() ? *line : "Software";
    const auto set = [&](const char* name, const char* value) {
        return Tell(arv_camera_set_string, camera, name, value);
    };
    const char* trigger = mode == EXT_TRIG_EDGE_RISING ? "FrameStart" : "AcquisitionStart";
    if (!set("TriggerSelector", trigger) || !set("TriggerMode", "On") ||
        !set("TriggerSource", source.c_str()))
        return false;
    return !Contains(FeatureChoices(camera, "TriggerActivation"), "RisingEdge") ||
           set("TriggerActivation", "RisingEdge");
}

void Head::Stop() {
    if (!stream_) return;
    stream_->Detach();
    stream_.reset();
    live_->running = false;
}

std::string Head::TellFeature(const std::string& name, const std::string& value) {
    // What the pixels of a run are read by.
    for (const char* fixed : {"Width", "Height", "OffsetX", "OffsetY", "PixelFormat"})
        if (live_->running && name == fixed) return "refused";
    if (!WriteFeature(camera_.get(), name, value)) return "refused";
    // These are set anew at each start.
    if (name == "TriggerSource") trigger_source_ = value;
    if (name == "AcquisitionFrameRate" || name == "AcquisitionFrameRateAbs")
        highest_rate_ = std::strtod(value.c_str(), nullptr);
    return "ok";
}

std::string Head::Console(const std::string& line) {
    if (line == "lost") return std::to_string(lost_);
    const std::lock_guard hold(camera_lock_);
    if (Gone()) return "refused";
    if (line == "trigger")
        return Tell(arv_camera_software_trigger, camera_.get()) ? "ok" : "refused";
    const size_t equals = line.find('=');
    if (equals == std::string::npos) return ReadFeature(camera_.get(), line).value_or("unknown");
    return TellFeature(line.substr(0, equals), line.substr(equals + 1));
}

}  // namespace genicam
