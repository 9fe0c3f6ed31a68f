#include "orvex/trace/tree.h"

#include <algorithm>

namespace orvex::trace {

namespace {

// From here on the calls that one call makes are put together by name, whatever came between.
constexpr size_t many_nodes = 100'000;
constexpr size_t troubles_kept = 4;

// Every call does this, and errors tell of it.
bool is_bookkeeping(const std::string& function) {
    return function == "bv::ApiGlobal::ClearErrorCode" || function == "bv::ApiGlobal::SetErrorCode";
}

}  // namespace

Node* Tree::child(Growing& growing, Node& parent, const std::string& function) {
    const auto is_it = [&](const std::unique_ptr<Node>& node) {
        return node->function == function;
    };
    const bool in_any_order = parent.count > 1 || growing.nodes > many_nodes;
    auto found = parent.calls.end();
    if (in_any_order) {
        found = std::find_if(parent.calls.begin(), parent.calls.end(), is_it);
    } else if (!parent.calls.empty() && is_it(parent.calls.back())) {
        found = parent.calls.end() - 1;
    }
    if (found != parent.calls.end()) return found->get();
    ++growing.nodes;
    parent.calls.push_back(std::make_unique<Node>());
    parent.calls.back()->function = function;
    return parent.calls.back().get();
}

void Tree::begin(const Thread& thread, const Call& call) {
    Growing& growing = growing_[&thread];
    const std::string function(plain_function(names_[call.name]));
    Open opened;
    if (growing.open.empty()) {
        if (!growing.root.calls.empty() && growing.root.calls.back()->function != function)
            give(thread, growing);
        opened.node = child(growing, growing.root, function);
    } else {
        const Open& parent = growing.open.back();
        if (parent.node && call.layer == Layer::exec && parent.node->function == function) {
            growing.open.push_back(parent);
            return;
        }
        opened.level = parent.level + 1;
        const bool shown = levels_ == 0 || opened.level <= levels_;
        if (parent.node && shown && !is_bookkeeping(function))
            opened.node = child(growing, *parent.node, function);
    }
    growing.open.push_back(opened);
    Node* node = opened.node;
    if (!node || node->count++ > 0) return;
    node->arguments = call.arguments;
    node->begin_us = call.begin_us;
    node->line = call.line;
}

void Tree::end(const Thread& thread, const Call& call, const Ending& ending) {
    Growing& growing = growing_[&thread];
    if (growing.open.empty()) return;
    Node* node = growing.open.back().node;
    growing.open.pop_back();
    if (!node) return;
    node->own_us += std::max<int64_t>(0, ending.duration_us - call.inside_us);
    if (!growing.open.empty() && growing.open.back().node == node) return;  // the inner layer
    node->total_us += ending.duration_us;
    if (ending.failed()) ++node->failed;
    if (node->result.empty()) node->result = ending.result;
}

void Tree::remark(const Thread& thread, const Record& record, Moment /*moment*/) {
    if (record.level != 'E' && record.level != 'W') return;
    Growing& growing = growing_[&thread];
    if (growing.open.empty() || !growing.open.back().node) return;
    std::vector<std::string>& troubles = growing.open.back().node->troubles;
    std::string text = std::string(1, record.level) + ": " + std::string(record.text);
    if (troubles.size() < troubles_kept &&
        std::find(troubles.begin(), troubles.end(), text) == troubles.end())
        troubles.push_back(std::move(text));
}

void Tree::give(const Thread& thread, Growing& growing) {
    for (const std::unique_ptr<Node>& node : growing.root.calls)
        if (on_tree) on_tree(thread, *node);
    growing.root.calls.clear();
    growing.nodes = 0;
}

void Tree::finish() {
    for (auto& [thread, growing] : growing_) give(*thread, growing);
}

}  // namespace orvex::trace
