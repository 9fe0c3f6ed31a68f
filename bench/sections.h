#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "child.h"
#include "table.h"

// What is measured, one file a section; those that need a system's own means are in its folder.
// Every section starts and stops the library itself.
namespace bench {

// The peer's program, if one is to be measured too.
class Peer {
  public:
    explicit Peer(std::string program) : program_(std::move(program)) {}

    // A run as fast as possible, or one paced by a frame rate. Empty without a peer.
    Figures fast(unsigned side) const { return measure("fast " + std::to_string(side)); }
    Figures paced() const { return measure("paced"); }

  private:
    Figures measure(const std::string& arguments) const {
        return program_.empty() ? Figures{} : run("'" + program_ + "' " + arguments);
    }

    std::string program_;
};

void measure_frames(Table& table, const Peer& peer);
void measure_pace(Table& table, const Peer& peer);
void measure_latency(Table& table, const Peer& peer);
void measure_metadata(Table& table, const Peer& peer);
void measure_set_up(Table& table, const Peer& peer);
void measure_calls(Table& table, const Peer& peer);
void measure_trace(Table& table, const Peer& peer);

struct Section {
    const char* name;
    void (*measure)(Table& table, const Peer& peer);
};

// Those that this system has.
std::span<const Section> sections();
// What a child of that kind does.
void run_child(std::string_view kind);

}  // namespace bench
