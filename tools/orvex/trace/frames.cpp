#include "orvex/trace/frames.h"

#include <algorithm>
#include <cmath>

#include "orvex/orvex_ddi.h"
#include "orvex/orvex_types.h"

namespace orvex::trace {

namespace {

constexpr size_t gaps_kept = 8;
constexpr size_t runs_kept = 1000;
constexpr double interval_step = 1.05;
constexpr std::string_view dispatched = "bv::EventNotifier::DispatchAll";
constexpr std::string_view invoked = "orvex_callbacks_invoke";

bool starts_a_run(const std::string& function, Layer layer) {
    return layer == Layer::entry && function.find("::ox_exp_start_") != std::string::npos;
}

}  // namespace

void Intervals::add(int64_t us) {
    ++count_;
    ++steps_[us < 1 ? 0 : 1 + static_cast<int>(std::log(us) / std::log(interval_step))];
}

int64_t Intervals::percentile(double part) const {
    const double wanted = part * static_cast<double>(count_);
    uint64_t passed = 0;
    for (const auto& [step, count] : steps_) {
        passed += count;
        if (static_cast<double>(passed) >= wanted)
            return step == 0 ? 0 : std::llround(std::pow(interval_step, step - 0.5));
    }
    return 0;
}

double FrameRun::rate() const {
    if (frames < 2 || last_us <= first_us) return 0;
    return static_cast<double>(frames - 1) * 1e6 / static_cast<double>(last_us - first_us);
}

std::vector<Gap> FrameRun::gaps() const {
    constexpr int64_t stands_out = 2;
    const int64_t usual = intervals.percentile(0.5);
    std::vector<Gap> out;
    for (const Gap& gap : longest)
        if (gap.us > stands_out * usual && gap.us > 1000) out.push_back(gap);
    return out;
}

void Frames::begin(const Thread& thread, const Call& call) {
    const std::string& function = names_[call.name];
    if (starts_a_run(function, call.layer)) {
        // Threads that call back tell no frame numbers by which a new run could be known.
        std::erase_if(current_, [&](const auto& entry) {
            return entry.first->process == thread.process && !entry.second->numbered;
        });
    } else if (function == dispatched) {
        const int64_t flags = argument_number(argument(call.arguments, "flags"));
        const int64_t number = argument_number(argument(call.arguments, "FrameNr"));
        if (flags > 0 && flags <= INT32_MAX && (flags & NOTIFICATION_EOF) && number > 0)
            add_frame(thread, call, static_cast<uint64_t>(number));
    } else if (function == invoked &&
               argument_number(argument(call.arguments, "event")) == OX_CALLBACK_EOF) {
        add_frame(thread, call, 0);
    }
}

FrameRun* Frames::begin_run(const Thread& thread) {
    FrameRun* run = &beyond_;
    if (runs_.size() < runs_kept) {
        run = &runs_.emplace_back();
    } else {
        ++further_runs_;
        beyond_ = {};
    }
    run->process = thread.process;
    run->thread = thread.number;
    run->camera = argument(thread.stack[0].arguments, "hcam");
    return run;
}

void Frames::add_frame(const Thread& thread, const Call& call, uint64_t number) {
    FrameRun*& run = current_[&thread];
    if (!run || (number != 0 && number <= run->last_number)) run = begin_run(thread);
    run->numbered = number != 0;
    if (number == 0) number = run->last_number + 1;
    if (run->frames > 0) {
        const Gap gap{.us = std::max<int64_t>(0, call.begin_us - run->last_us),
                      .frame = number,
                      .missing = number - run->last_number - 1,
                      .at_us = run->last_us,
                      .line = call.line};
        run->intervals.add(gap.us);
        run->missing += gap.missing;
        if (gap.missing > 0 && run->losses.size() < gaps_kept) run->losses.push_back(gap);
        const auto place = std::find_if(run->longest.begin(), run->longest.end(),
                                        [&](const Gap& other) { return other.us < gap.us; });
        run->longest.insert(place, gap);
        if (run->longest.size() > gaps_kept) run->longest.pop_back();
    } else {
        run->first_us = call.begin_us;
    }
    run->last_us = call.begin_us;
    run->last_number = number;
    ++run->frames;
}

}  // namespace orvex::trace
