#include "softcam/head.h"

#include <cmath>
#include <utility>

#include "orvex/orvex_ddi.h"

#include "softcam/ccl_interpreter.h"
#include "softcam/full_program.h"

#include "firmware/camera.h"

namespace softcam {
namespace {

// What a camera takes to come to rest after an abort, in its own time.
constexpr double post_abort_ns = 5e6;

}  // namespace

Head::Head(CameraOptions options, std::unique_ptr<Scene> scene)
    : options_(std::move(options)),
      scene_(std::move(scene)),
      hot_pixels_(MakeHotPixels(Sheet().geometry, options_.hot_pixels, options_.seed)),
      cooler_(Sheet().temperatures, options_.time_scale),
      noise_(options_.seed) {
    for (const FaultPlan& plan : options_.faults) faults_.Plan(plan);
    Describe();
}

Head::~Head() {
    pump_.Stop();
}

void Head::Describe() {
    about_.name = options_.name;
    about_.driver_type = options_.driver_type;
    about_.kernel_driver = options_.kernel_driver;
    about_.driver_version = 0x0102;
    // Over PCI the driver wants the buffer's table fixed, and counts frame interrupts.
    about_.driver_capabilities = options_.driver_type == DRIVER_TYPE_PCI ? 1 : 0;
    about_.info = "Software camera driver, " + options_.name;
    firmware::DescribeBridge(Sheet(), "Software Interface", about_, nodes_);
}

const Model* Head::Connect(engine::HostSide& host, LiveState& live) {
    host_ = &host;
    live_ = &live;
    return &Sheet();
}

void Head::Disconnect() {
    pump_.Stop();
    host_ = nullptr;
}

bool Head::Accepts(const SimplifiedProgram& /*program*/, const Settings& /*settings*/) {
    return true;
}

bool Head::AcceptsFull(engine::Bytes program) {
    return CheckProgram(program) == ProgramEnd::terminated;
}

int64_t Head::PostAbortNanoseconds() {
    return static_cast<int64_t>(post_abort_ns * options_.time_scale);
}

uint32_t Head::ExposureListStep() {
    return options_.tidal_step != 0 ? options_.tidal_step : Sheet().tidal->step;
}

bool Head::Start(firmware::RunPlan plan) {
    live_->frames_behind = 0;
    live_->schedule_lost_ns = 0;
    if (new_seed_) noise_ = Noise(*std::exchange(new_seed_, std::nullopt));
    pump_.Start([this, context = Context(plan.settings), plan = std::move(plan)]() mutable {
        Run(context, plan);
    });
    return true;
}

// Made by the thread that brings the command: the next one may change what is copied here.
RunContext Head::Context(const Settings& settings) {
    if (!options_.ideal && !pattern_) pattern_.emplace(Sheet().geometry, options_.seed);
    const double scale = options_.time_scale;
    // With no pace of its own, the camera's time stands still between its runs.
    const int64_t start_ns =
        scale > 0 ? std::llround(static_cast<double>(engine::CurrentTimeStamp()) * 100.0 / scale)
                  : idle_since_ns_;
    return {
        .model = Sheet(),
        .physics = options_.type->physics,
        .settings = settings,
        .live = *live_,
        .scene = *scene_,
        .noise = noise_,
        .faults = faults_,
        .cooler = cooler_,
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

void Head::Run(RunContext& context, const firmware::RunPlan& plan) {
    live_->running = true;
    if (plan.simplified != nullptr)
        RunSimplifiedProgram(context, *plan.simplified);
    else
        RunFullProgram(context, plan.full);
    idle_since_ns_ = context.Now();
    live_->running = false;
}

int64_t Head::ReadoutNanoseconds(const firmware::RunPlan& plan) {
    const Model& model = Sheet();
    const Speed& speed = CurrentSpeed(model, plan.settings);
    if (plan.simplified != nullptr)
        return firmware::ReadoutNanoseconds(model, speed, *plan.simplified);
    if (!plan.full.empty()) return softcam::ReadoutNanoseconds(speed, plan.full);
    const Geometry& geometry = model.geometry;
    if (model.dialect == Dialect::simplified)
        return static_cast<int64_t>(geometry.rows * speed.row_time_us * 1000.0);
    return int64_t{geometry.columns} * geometry.rows * speed.pixel_time_ns;
}

bool Head::SetScene(const SceneChoice& choice, std::string& message) {
    const Geometry& geometry = Sheet().geometry;
    auto scene = MakeScene(choice, geometry.columns, geometry.rows, options_.seed, message);
    if (!scene) return false;
    pump_.Stop();
    if (host_ != nullptr) host_->RunStopped();
    scene_ = std::move(scene);
    options_.scene = choice;
    return true;
}

}  // namespace softcam
