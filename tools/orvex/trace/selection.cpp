#include "orvex/trace/selection.h"

#include <charconv>
#include <stdexcept>

#include "orvex/names.h"

namespace orvex::trace {

namespace {

uint32_t parse_id(std::string_view text, const std::string& whole) {
    uint32_t id = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), id);
    if (problem != std::errc() || end != text.data() + text.size() || text.empty())
        throw std::invalid_argument("'" + whole +
                                    "' is no thread; a number or PROCESS:THREAD is one");
    return id;
}

std::vector<std::string> listed(const std::set<std::string>& names) {
    constexpr size_t most = 12;
    std::vector<std::string> out(names.begin(), names.end());
    if (out.size() > most) out.resize(most);
    return out;
}

}  // namespace

Selection::Selection(const Wanted& wanted, Names& names, std::vector<Listener*> listeners)
    : wanted_(wanted), names_(names), listeners_(std::move(listeners)) {
    if (wanted.thread.empty()) return;
    const std::string_view text = wanted.thread;
    const size_t colon = text.find(':');
    if (colon != std::string_view::npos) process_ = parse_id(text.substr(0, colon), wanted.thread);
    thread_ =
        parse_id(colon == std::string_view::npos ? text : text.substr(colon + 1), wanted.thread);
}

bool Selection::is_of_camera(const Thread& thread, const Call& call) {
    const std::string_view name = argument(call.arguments, "cam_name");
    // Other functions are given room for a name.
    if (!name.empty() && !name.starts_with("0x")) {
        cameras_seen_.emplace(name);
        if (name == wanted_.camera) return true;
    }
    const std::string_view hcam = argument(call.arguments, "hcam");
    const auto opened = opened_.find(thread.process);
    const bool is_opened = opened != opened_.end() && opened->second == hcam;
    return !hcam.empty() && (is_opened || hcam == wanted_.camera);
}

bool Selection::is_wanted(const Thread& thread, const Call& call) {
    if (thread_ && (*thread_ != thread.number || (process_ && *process_ != thread.process))) {
        if (threads_seen_.size() < 64)
            threads_seen_.insert(std::to_string(thread.process) + ':' +
                                 std::to_string(thread.number));
        return false;
    }
    const std::string& function = names_[call.name];
    const std::string plain(plain_function(function));
    const bool right_camera = wanted_.camera.empty() || is_of_camera(thread, call);
    if (!wanted_.call.empty() && wanted_.call != plain && wanted_.call != function) {
        calls_seen_.insert(plain);
        return false;
    }
    return right_camera;
}

void Selection::begin(const Thread& thread, const Call& call) {
    bool& passing = passing_[&thread];
    if (thread.open == 1) passing = is_wanted(thread, call);
    if (!passing) return;
    found_ = true;
    for (Listener* listener : listeners_) listener->begin(thread, call);
}

void Selection::end(const Thread& thread, const Call& call, const Ending& ending) {
    if (thread.open == 1 && !wanted_.camera.empty() &&
        argument(call.arguments, "cam_name") == wanted_.camera) {
        const std::string_view hcam = argument(ending.result, "hcam");
        if (!hcam.empty()) opened_[thread.process] = hcam;
    }
    if (!passing_[&thread]) return;
    for (Listener* listener : listeners_) listener->end(thread, call, ending);
}

void Selection::remark(const Thread& thread, const Record& record, Moment moment) {
    const bool outside = thread.open == 0;
    const bool anything = wanted_.thread.empty() && wanted_.call.empty() && wanted_.camera.empty();
    if (outside ? !anything : !passing_[&thread]) return;
    for (Listener* listener : listeners_) listener->remark(thread, record, moment);
}

bool Selection::found_nothing(std::string& what) const {
    if (found_) return false;
    const std::string of_trace = " in the trace";
    if (!wanted_.thread.empty() && !threads_seen_.empty())
        what = "there is no thread " + wanted_.thread + of_trace + "; there are " +
               any_of(listed(threads_seen_));
    if (!wanted_.camera.empty())
        what = "nothing is about a camera '" + wanted_.camera + "'" + of_trace +
               (cameras_seen_.empty() ? "" : "; opened was " + any_of(listed(cameras_seen_)));
    if (!wanted_.call.empty()) {
        const std::string near =
            did_you_mean(wanted_.call, {calls_seen_.begin(), calls_seen_.end()});
        what = "there is no outermost call of " + wanted_.call + of_trace +
               (near.empty() && !calls_seen_.empty() ? "; there are " + any_of(listed(calls_seen_))
                                                     : near);
    }
    return !what.empty();
}

}  // namespace orvex::trace
