#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "orvex/trace/calls.h"

// Who called whom, and how long it took.
namespace orvex::trace {

// Calls of one function that follow each other; the layers of an exported function are one.
struct Node {
    std::string function;
    std::string arguments;  // of the first
    std::string result;
    int64_t begin_us = 0;
    uint64_t line = 0;
    uint64_t count = 0;
    uint64_t failed = 0;
    int64_t total_us = 0;
    int64_t own_us = 0;
    std::vector<std::string> troubles;  // error and warning lines of its own, the first few
    std::vector<std::unique_ptr<Node>> calls;
};

class Tree : public Listener {
  public:
    // Levels below the outermost call that are shown; 0 for all.
    Tree(Names& names, unsigned levels) : names_(names), levels_(levels) {}

    // Called with an outermost call when it is over, and no other of its kind follows it.
    std::function<void(const Thread&, const Node&)> on_tree;

    void begin(const Thread& thread, const Call& call) override;
    void end(const Thread& thread, const Call& call, const Ending& ending) override;
    void remark(const Thread& thread, const Record& record, Moment moment) override;
    // Gives what is left, with calls that never ended.
    void finish();

  private:
    struct Open {
        Node* node = nullptr;  // null for what is not shown
        unsigned level = 0;
    };
    struct Growing {
        Node root;
        size_t nodes = 0;
        std::vector<Open> open;
    };

    Node* child(Growing& growing, Node& parent, const std::string& function);
    void give(const Thread& thread, Growing& growing);

    Names& names_;
    unsigned levels_;
    std::map<const Thread*, Growing> growing_;
};

}  // namespace orvex::trace
