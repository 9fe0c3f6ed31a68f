#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "orvex/trace/calls.h"

// The part of a trace that somebody asks for: all or nothing of an outermost call.
namespace orvex::trace {

struct Wanted {
    std::string thread;  // "THREAD" or "PROCESS:THREAD"
    std::string call;    // an exported function, or what a thread of the library runs
    std::string camera;  // a name, or a handle
};

// Passes on what is wanted.
class Selection : public Listener {
  public:
    // Throws std::invalid_argument for a thread that is none.
    Selection(const Wanted& wanted, Names& names, std::vector<Listener*> listeners);

    void begin(const Thread& thread, const Call& call) override;
    void end(const Thread& thread, const Call& call, const Ending& ending) override;
    void remark(const Thread& thread, const Record& record, Moment moment) override;

    // Whether a trace had none of it; `what` tells which part, and what there was instead.
    bool found_nothing(std::string& what) const;

  private:
    bool is_wanted(const Thread& thread, const Call& call);
    bool is_of_camera(const Thread& thread, const Call& call);

    Wanted wanted_;
    std::optional<uint32_t> process_;
    std::optional<uint32_t> thread_;
    Names& names_;
    std::vector<Listener*> listeners_;
    std::map<const Thread*, bool> passing_;   // of the outermost call
    std::map<uint32_t, std::string> opened_;  // by process, the handle of the camera
    std::set<std::string> calls_seen_;
    std::set<std::string> cameras_seen_;
    std::set<std::string> threads_seen_;
    bool found_ = false;
};

}  // namespace orvex::trace
