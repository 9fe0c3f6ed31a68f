#pragma once

#include <atomic>

namespace bv {

// A plain value that two threads may share without a lock: each finds either the old or the new
// value, in no particular order with other words.
template <class T>
class Word {
  public:
    Word(T value = T{}) : value_(value) {}
    Word(const Word& other) : value_(other.get()) {}
    Word& operator=(const Word& other) { return *this = other.get(); }
    Word& operator=(T value) {
        value_.store(value, std::memory_order_relaxed);
        return *this;
    }
    operator T() const { return get(); }
    T get() const { return value_.load(std::memory_order_relaxed); }
    // Adds and returns the new value.
    T add(T delta) {
        return static_cast<T>(value_.fetch_add(delta, std::memory_order_relaxed) + delta);
    }

  private:
    std::atomic<T> value_;
};

}  // namespace bv
