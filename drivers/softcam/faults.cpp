#include "softcam/faults.h"

#include <algorithm>

namespace softcam {
namespace {

constexpr std::array<const char*, fault_count> names = {
    "lost_write_ack",  "lost_read_ack",  "short_reply",       "garbled_reply",
    "refused_command", "stuck_transfer", "failed_transfer",   "late_completion",
    "unplug",          "driver_death",   "cancelled_requests"};

}  // namespace

const char* NameOf(Fault fault) {
    return names[static_cast<size_t>(fault)];
}

bool ParseFault(const std::string& name, Fault& fault) {
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end()) return false;
    fault = static_cast<Fault>(found - names.begin());
    return true;
}

bool StrikesLink(Fault fault) {
    return fault <= Fault::garbled_reply;
}

std::array<FaultPlan, fault_count> Faults::Nothing() {
    std::array<FaultPlan, fault_count> plans{};
    for (size_t i = 0; i < plans.size(); ++i)
        plans[i] = {.fault = static_cast<Fault>(i), .count = 0};
    return plans;
}

void Faults::Plan(const FaultPlan& plan) {
    const std::lock_guard hold(lock_);
    plans_[static_cast<size_t>(plan.fault)] = plan;
    any_ = true;
}

void Faults::Clear() {
    const std::lock_guard hold(lock_);
    plans_ = Nothing();
    any_ = false;
}

bool Faults::Strikes(Fault fault) {
    if (!any_.load(std::memory_order_relaxed)) return false;
    const std::lock_guard hold(lock_);
    FaultPlan& plan = plans_[static_cast<size_t>(fault)];
    if (plan.fault != fault || plan.count == 0) return false;
    if (plan.after > 0) {
        --plan.after;
        return false;
    }
    --plan.count;
    return true;
}

void Faults::ChangesReply(std::vector<uint8_t>& reply) {
    if (Strikes(Fault::short_reply)) reply.resize(reply.size() / 2);
    if (Strikes(Fault::garbled_reply))
        for (uint8_t& byte : reply) byte ^= 0xA5;
}

}  // namespace softcam
