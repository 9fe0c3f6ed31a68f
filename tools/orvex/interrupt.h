#pragma once

#include <chrono>
#include <stdexcept>
#include <string>

// The signals that ask the program to end. They don't end it where it stands: a camera that is
// exposing would go on, with its shutter open.
namespace orvex {

// A signal came; the exit status of the program tells which.
class Interrupted : public std::runtime_error {
  public:
    explicit Interrupted(const std::string& what = "interrupted");
    int exit_status() const { return status_; }

  private:
    int status_;
};

// To be called before the library starts its threads, which inherit that the signals are held back.
void hold_end_signals();

// Waits at most so long for a signal. The first one is remembered for good, and a second one ends
// the program at once.
bool interrupted_within(std::chrono::milliseconds limit);

// The number of the one that interrupted_within() told of; 0 before.
int end_signal();

// Sleeps; throws Interrupted when a signal comes meanwhile or came before.
void sleep_or_stop(std::chrono::milliseconds time);

}  // namespace orvex
