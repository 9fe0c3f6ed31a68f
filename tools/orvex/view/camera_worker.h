#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "orvex/view/control.h"
#include "orvex/view/event_log.h"
#include "orvex/view/frame_board.h"
#include "orvex/view/live_run.h"
#include "orvex/view/program_trace.h"
#include "orvex/view/rate.h"
#include "orvex/view/view_set_up.h"

namespace orvex::view {

struct WorkerOptions {
    std::string camera;  // name or index
    std::string folder;  // where files go
    ViewSetUp set_up;
};

// The one thread that talks to the camera: it opens it, again and again when it is gone, takes its
// frames and does what pages ask for, one after the other. Whoever else wants to know something is
// told what the thread has noted.
class CameraWorker : public Control {
  public:
    CameraWorker(WorkerOptions options, FrameBoard& board, EventLog& log, ProgramTrace& trace);
    // Stops the camera and finishes what is recorded.
    ~CameraWorker() override;
    CameraWorker(const CameraWorker&) = delete;
    CameraWorker& operator=(const CameraWorker&) = delete;

    nlohmann::json act(const Command& command) override;
    nlohmann::json state(const Seen& seen) const override;
    nlohmann::json parameters() const override;
    nlohmann::json program() const override;
    std::string file_path(const std::string& name) const override;

  private:
    using Clock = std::chrono::steady_clock;
    using Task = std::packaged_task<nlohmann::json()>;

    // The thread and what it does in between:
    void work();
    void turn();
    std::optional<Task> next_task(std::chrono::milliseconds patience);
    void open();
    void begin_set_up();
    void lose(const std::string& why);
    void learn_camera();
    void learn_parameters();
    void measure_temperature();
    void take_frames();
    void show(uint32_t number);
    void note_status();

    // Runs:
    void begin(std::optional<RecordingFiles> files, uint32_t frames);
    void begin_live();
    // Ends the run that is on, and says what went wrong with it.
    void end();
    void end_after(const std::exception& problem);
    void save_snap(uint32_t number);

    // Commands, on the thread:
    nlohmann::json perform(const Start& start);
    nlohmann::json perform(const Stop& stop);
    nlohmann::json perform(const Snap& snap);
    nlohmann::json perform(const Record& record);
    nlohmann::json perform(const Change& change);
    nlohmann::json perform(const SetParameter& set);
    // Changes something while the camera is stopped, and goes on after that.
    void between_runs(const std::function<void()>& change);
    void check_set_up(const ViewSetUp& set_up);
    std::string new_path(const std::string& ending) const;
    void note_file(const std::string& path);

    const WorkerOptions options_;
    FrameBoard& board_;
    EventLog& log_;
    ProgramTrace& trace_;

    // For the thread alone:
    std::unique_ptr<Library> library_;
    std::unique_ptr<Camera> camera_;
    ViewSetUp set_up_;
    std::unique_ptr<LiveRun> run_;
    bool live_ = false;  // a view goes on when a recording or a change is over
    std::optional<std::string> snap_format_;
    bool one_frame_ = false;  // the run is for a snap alone
    Rate rate_;
    Clock::time_point next_open_{};
    Clock::time_point next_temperature_{};
    Clock::time_point next_status_{};
    Clock::time_point last_shown_{};
    std::string last_refusal_;

    // What others ask for, and what they are told:
    mutable std::mutex lock_;
    std::condition_variable asked_;
    std::deque<Task> tasks_;
    bool ended_ = false;
    nlohmann::json status_;
    nlohmann::json parameters_;
    uint64_t parameters_revision_ = 0;
    struct Temperature {
        double seconds;
        double celsius;
    };
    std::deque<Temperature> temperatures_;
    uint64_t temperature_number_ = 0;  // of the last
    std::vector<std::string> files_;
    const Clock::time_point began_ = Clock::now();
    std::thread thread_;
};

}  // namespace orvex::view
