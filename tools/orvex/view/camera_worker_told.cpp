#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "orvex/view/camera_worker.h"

// What other threads ask of the camera's thread, and what it tells them.
namespace orvex::view {

namespace {

using Json = nlohmann::json;
using namespace std::chrono_literals;

constexpr auto between_statuses = 200ms;
constexpr auto longest_command = 30s;

Json latency_json(const Percentiles& latency) {
    return {{"notifications", latency.count},
            {"median_us", latency.median_us},
            {"p95_us", latency.p95_us},
            {"p99_us", latency.p99_us},
            {"worst_us", latency.worst_us}};
}

std::string file_name(const std::string& path) {
    return std::filesystem::path(path).filename().string();
}

}  // namespace

void CameraWorker::note_status() {
    const Clock::time_point now = Clock::now();
    next_status_ = now + between_statuses;
    Json run = {{"kind", !run_ ? "idle" : run_->records() ? "recording" : "live"}};
    if (run_) {
        const ContinuousRun& counts = run_->run();
        rate_.note(counts.newest(), now);
        run["rate"] = rate_.per_second(now);
        run["frames"] = counts.newest();
        run["lost"] = counts.lost();
        run["waiting"] = counts.waiting();
        run["ring"] = counts.ring_frames();
        run["frame_bytes"] = counts.frame_bytes();
        run["latency"] = latency_json(run_->latency());
        if (run_->records()) {
            run["path"] = run_->path();
            run["recorded"] = run_->recorded();
        }
    }
    const std::lock_guard hold(lock_);
    status_["run"] = std::move(run);
    status_["set_up"] = to_json(set_up_);
    status_["present"] = camera_ != nullptr;
    status_["wanted"] = options_.camera;
    status_["gone"] = last_refusal_;
}

Json CameraWorker::act(const Command& command) {
    Task task([this, command] {
        if (!camera_) throw std::runtime_error("there is no camera: " + last_refusal_);
        try {
            Json answer = std::visit([this](const auto& one) { return perform(one); }, command);
            // Who asks next is told of it.
            note_status();
            return answer;
        } catch (const CameraGone& gone) {
            lose(gone.what());
            throw;
        }
    });
    std::future<Json> result = task.get_future();
    {
        const std::lock_guard hold(lock_);
        if (ended_) throw std::runtime_error("the view ends");
        tasks_.push_back(std::move(task));
        asked_.notify_all();
    }
    if (result.wait_for(longest_command) != std::future_status::ready) {
        throw std::runtime_error("the camera is still busy");
    }
    return result.get();
}

Json CameraWorker::state(const Seen& seen) const {
    Json out;
    {
        const std::lock_guard hold(lock_);
        out = status_;
        Json points = Json::array();
        const uint64_t first = temperature_number_ - temperatures_.size();
        const uint64_t from = seen.temperatures > temperature_number_ ? 0 : seen.temperatures;
        for (size_t i = from > first ? from - first : 0; i < temperatures_.size(); ++i) {
            points.push_back({temperatures_[i].seconds, temperatures_[i].celsius});
        }
        const std::chrono::duration<double> now = Clock::now() - began_;
        out["temperatures"] = {
            {"last", temperature_number_}, {"now", now.count()}, {"points", points}};
        out["parameters_revision"] = parameters_revision_;
        Json files = Json::array();
        for (const std::string& path : files_) files.push_back(file_name(path));
        out["files"] = std::move(files);
        out["folder"] = options_.folder;
    }
    out["program_revision"] = trace_.revision();
    out["log"] = log_.after(seen.lines);
    return out;
}

Json CameraWorker::parameters() const {
    const std::lock_guard hold(lock_);
    return {{"revision", parameters_revision_}, {"parameters", parameters_}};
}

Json CameraWorker::program() const {
    return trace_.program();
}

std::string CameraWorker::file_path(const std::string& name) const {
    const std::lock_guard hold(lock_);
    const auto at = std::find_if(files_.begin(), files_.end(),
                                 [&](const std::string& path) { return file_name(path) == name; });
    return at == files_.end() ? std::string() : *at;
}

}  // namespace orvex::view
