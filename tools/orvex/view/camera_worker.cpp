#include "orvex/view/camera_worker.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "orvex/frame_file.h"
#include "orvex/parameters.h"
#include "orvex/view/camera_facts.h"

namespace orvex::view {

namespace {

using Json = nlohmann::json;
using namespace std::chrono_literals;

constexpr auto between_opens = 2s;
constexpr auto between_temperatures = 2s;
// A picture in so long at least, so that who comes new sees one at once.
constexpr auto longest_unseen = 500ms;
// A camera that is faster than frames are taken is shown as often as that all the same.
constexpr auto longest_lag = 100ms;
constexpr size_t most_temperatures = 1800;  // an hour

std::string name_of_now() {
    std::string text = utc_now().substr(0, 19);
    std::erase_if(text, [](char c) { return c == '-' || c == ':'; });
    return text;
}

}  // namespace

CameraWorker::CameraWorker(WorkerOptions options, FrameBoard& board, EventLog& log,
                           ProgramTrace& trace)
    : options_(std::move(options)),
      board_(board),
      log_(log),
      trace_(trace),
      set_up_(options_.set_up),
      parameters_(Json::array()) {
    note_status();
    thread_ = std::thread([this] { work(); });
}

CameraWorker::~CameraWorker() {
    {
        const std::lock_guard hold(lock_);
        ended_ = true;
        asked_.notify_all();
    }
    thread_.join();
}

void CameraWorker::work() {
    for (bool ended = false; !ended;) {
        turn();
        const std::lock_guard hold(lock_);
        ended = ended_;
    }
    end();
    camera_.reset();
    library_.reset();
    const std::lock_guard hold(lock_);
    tasks_.clear();  // who waits for one is told
}

void CameraWorker::turn() {
    try {
        if (!camera_ && Clock::now() >= next_open_) open();
        if (std::optional<Task> task = next_task(run_ ? 0ms : 100ms)) {
            (*task)();
            next_status_ = {};
        }
        if (run_) {
            take_frames();
        } else if (camera_ && Clock::now() >= next_temperature_) {
            measure_temperature();
        }
    } catch (const CameraGone& gone) {
        lose(gone.what());
    } catch (const std::exception& problem) {
        end_after(problem);
    }
    if (Clock::now() >= next_status_) note_status();
}

std::optional<CameraWorker::Task> CameraWorker::next_task(std::chrono::milliseconds patience) {
    std::unique_lock hold(lock_);
    asked_.wait_for(hold, patience, [&] { return !tasks_.empty() || ended_; });
    if (tasks_.empty()) return std::nullopt;
    Task task = std::move(tasks_.front());
    tasks_.pop_front();
    return task;
}

void CameraWorker::open() {
    next_open_ = Clock::now() + between_opens;
    try {
        if (!library_) library_ = std::make_unique<Library>();
        camera_ = std::make_unique<Camera>(open_camera(*library_, options_.camera));
        learn_camera();
        begin_set_up();
        learn_parameters();
    } catch (const std::exception& problem) {
        camera_.reset();
        // A driver that died is loaded anew.
        library_.reset();
        if (last_refusal_ != problem.what()) log_.add(Weight::error, problem.what());
        last_refusal_ = problem.what();
        return;
    }
    log_.add(Weight::notice, camera_->name() + " is open");
    last_refusal_.clear();
    next_temperature_ = {};
    if (live_) begin_live();
}

void CameraWorker::begin_set_up() {
    try {
        check_set_up(set_up_);
    } catch (const CameraGone&) {
        throw;
    } catch (const std::exception& refusal) {
        // One that was given for another camera, or by mistake.
        log_.add(Weight::error, refusal.what());
        set_up_ = {};
        check_set_up(set_up_);
    }
}

void CameraWorker::lose(const std::string& why) {
    log_.add(Weight::error, why);
    last_refusal_ = why;
    end();
    camera_.reset();
    next_open_ = Clock::now() + between_opens;
}

void CameraWorker::learn_camera() {
    Json facts = camera_facts(*camera_);
    const std::lock_guard hold(lock_);
    status_["camera"] = std::move(facts);
}

void CameraWorker::learn_parameters() {
    Json all = Json::array();
    for (const ParameterId& parameter : all_parameters()) {
        all.push_back(Json(reflect(*camera_, parameter)));
    }
    const std::lock_guard hold(lock_);
    parameters_ = std::move(all);
    ++parameters_revision_;
}

void CameraWorker::measure_temperature() {
    next_temperature_ = Clock::now() + between_temperatures;
    if (!camera_->available(PARAM_TEMP)) return;
    const double celsius = camera_->get<PARAM_TEMP>() / 100.0;
    const std::chrono::duration<double> since = Clock::now() - began_;
    const std::lock_guard hold(lock_);
    temperatures_.push_back({since.count(), celsius});
    ++temperature_number_;
    if (temperatures_.size() > most_temperatures) temperatures_.pop_front();
}

void CameraWorker::take_frames() {
    // Commands have their turn in between.
    constexpr int most_at_once = 64;
    for (int i = 0; i < most_at_once; ++i) {
        const Clock::time_point now = Clock::now();
        const auto unseen = now - last_shown_;
        const bool newest = run_->run().waiting() <= 1;
        const bool wanted =
            unseen > longest_unseen || (board_.wanted() && (newest || unseen > longest_lag));
        const std::optional<uint32_t> number = run_->take(wanted || snap_format_);
        if (!number) {
            run_->check();
            run_->wait_for_frame(20ms);
            return;
        }
        if (wanted || snap_format_) show(*number);
        if (snap_format_) save_snap(*number);
        if (run_->complete() || (one_frame_ && !snap_format_)) {
            end();
            if (live_) begin_live();
            return;
        }
    }
}

void CameraWorker::show(uint32_t number) {
    last_shown_ = Clock::now();
    const Facts& facts = run_->facts();
    std::shared_ptr<Frame> frame = board_.blank();
    run_->picture(frame->pixels);
    frame->number = number;
    frame->size = {facts.width, facts.height};
    frame->region = facts.region;
    frame->saturation = static_cast<uint16_t>(saturation(facts));
    board_.show(std::move(frame));
}

void CameraWorker::begin(std::optional<RecordingFiles> files, uint32_t frames) {
    end();
    run_ =
        std::make_unique<LiveRun>(*camera_, resolve(*camera_, set_up_), std::move(files), frames);
    rate_.reset();
    try {
        run_->start();
    } catch (...) {
        run_.reset();
        throw;
    }
}

void CameraWorker::begin_live() {
    begin(std::nullopt, 0);
}

void CameraWorker::end() {
    one_frame_ = false;
    snap_format_.reset();
    if (!run_) return;
    const std::unique_ptr<LiveRun> run = std::move(run_);
    const bool records = run->records();
    try {
        run->finish();
    } catch (const CameraGone&) {
        // Whoever uses the camera next tells of it.
    } catch (const std::exception& problem) {
        log_.add(Weight::error, problem.what());
    }
    next_temperature_ = {};
    if (!records) return;
    if (run->recorded() == 0 || !std::filesystem::exists(run->path())) {
        log_.add(Weight::warning, "nothing was recorded into '" + run->path() + "'");
        return;
    }
    note_file(run->path());
    log_.add(Weight::notice, "recorded " + std::to_string(run->recorded()) + " frames into '" +
                                 run->path() + "', " + std::to_string(run->run().lost()) + " lost");
}

void CameraWorker::end_after(const std::exception& problem) {
    log_.add(Weight::error, problem.what());
    live_ = false;
    end();
}

void CameraWorker::save_snap(uint32_t number) {
    const Format& format = find_format(*snap_format_);
    snap_format_.reset();
    Facts facts = run_->facts();
    facts.frames = 1;
    facts.start_utc = utc_now();
    std::vector<uint16_t> pixels;
    run_->picture(pixels);
    try {
        std::vector<std::string> paths =
            write_snap(format, new_path(format.endings.front()), facts, pixels, number);
        for (const std::string& path : paths) note_file(path);
        log_.add(Weight::notice,
                 "saved frame " + std::to_string(number) + " as '" + paths[0] + "'");
    } catch (const std::exception& problem) {
        log_.add(Weight::error, problem.what());
    }
}

std::string CameraWorker::new_path(const std::string& ending) const {
    std::string name = camera_->name();
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '/' || c == '"' || c < ' '; }, '_');
    const std::filesystem::path base =
        std::filesystem::path(options_.folder) / (name + '-' + name_of_now());
    for (int i = 1;; ++i) {
        const std::string path = base.string() + (i > 1 ? '-' + std::to_string(i) : "") + ending;
        if (!std::filesystem::exists(path) && !std::filesystem::exists(path + ".part")) return path;
    }
}

void CameraWorker::note_file(const std::string& path) {
    const std::lock_guard hold(lock_);
    files_.push_back(path);
}

void CameraWorker::between_runs(const std::function<void()>& change) {
    if (run_ && run_->records()) {
        throw std::runtime_error("a recording is on, which a change would end; stop it first");
    }
    end();
    std::exception_ptr refusal;
    try {
        change();
    } catch (const CameraGone&) {
        throw;
    } catch (...) {
        refusal = std::current_exception();
    }
    // What the camera offers may have changed, even by what it refused.
    learn_parameters();
    if (live_) begin_live();
    if (refusal) std::rethrow_exception(refusal);
}

void CameraWorker::check_set_up(const ViewSetUp& set_up) {
    const RunSetUp run = resolve(*camera_, set_up);
    const uns32 time = apply_exposure(*camera_, run.exposure, run.mode);
    uns32 bytes = 0;
    camera_->require(ox_exp_setup_cont(camera_->handle(), static_cast<uns16>(run.regions.size()),
                                       run.regions.data(), run.mode, time, &bytes, CIRC_OVERWRITE),
                     "the set-up was refused");
}

Json CameraWorker::perform(const Start& /*start*/) {
    if (run_ && run_->records()) throw std::runtime_error("a recording is on already");
    live_ = true;
    begin_live();
    log_.add(Weight::notice, "live");
    return Json::object();
}

Json CameraWorker::perform(const Stop& /*stop*/) {
    live_ = false;
    if (run_) log_.add(Weight::notice, "stopped");
    end();
    learn_parameters();
    return Json::object();
}

Json CameraWorker::perform(const Snap& snap) {
    if (!run_) {
        begin(std::nullopt, 0);
        one_frame_ = true;
    }
    snap_format_ = snap.format;
    return Json::object();
}

Json CameraWorker::perform(const Record& record) {
    if (run_ && run_->records()) throw std::runtime_error("a recording is on already");
    const Format& format = find_format(record.format);
    RecordingFiles files(new_path(format.endings.front()), false);
    const std::string path = files.frames.path();
    try {
        begin(std::move(files), record.frames);
    } catch (const CameraGone&) {
        throw;
    } catch (...) {
        const std::exception_ptr refusal = std::current_exception();
        if (live_) begin_live();
        std::rethrow_exception(refusal);
    }
    log_.add(Weight::notice, "recording into '" + path + "'");
    return {{"path", path}};
}

Json CameraWorker::perform(const Change& change) {
    const ViewSetUp wanted = changed(set_up_, change);
    between_runs([&] {
        check_set_up(wanted);
        set_up_ = wanted;
    });
    return Json::object();
}

Json CameraWorker::perform(const SetParameter& set) {
    const ParameterId parameter = find_parameter(set.name);
    between_runs([&] {
        set_from_text(*camera_, parameter, set.value);
        log_.add(Weight::notice, std::string(parameter.name) + " is " +
                                     value_text(*camera_, parameter).value_or(set.value));
        check_set_up(set_up_);
    });
    return Json::object();
}

}  // namespace orvex::view
