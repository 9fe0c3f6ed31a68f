#pragma once

// A forked child has a copy of everything in its parent but the threads: locks may be held for
// ever, and records may be half written.
namespace platform {

// Until the library is unloaded, runs a function in every forked child, on its only thread, before
// fork() returns there. It must only store: neither lock, nor free, nor trace. Made by a static
// object of the file whose state has to be forgotten.
class ForkHandler {
  public:
    explicit ForkHandler(void (*in_child)());
    // `before` runs in the parent before it forks, `after` in both.
    ForkHandler(void (*before)(), void (*after)());
};

}  // namespace platform
