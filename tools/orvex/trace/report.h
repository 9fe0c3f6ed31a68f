#pragma once

#include <string>

#include "orvex/trace/analysis.h"
#include "orvex/trace/tree.h"

// What people read of a trace. All print to the standard output.
namespace orvex::trace {

// One screen, what is wrong first.
void print_summary(const std::string& path, Names& names, const Analysis& analysis);
void print_errors(const Errors& errors);
void print_slowest(const Profile& profile, size_t count);
void print_frames(const Frames& frames);
void print_exchange(const Exchange& exchange);
void print_program(const Program& program);
void print_tree(const Thread& thread, const Node& node);

}  // namespace orvex::trace
