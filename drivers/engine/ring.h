#pragma once

#include <cstddef>
#include <vector>

namespace engine {

// A first-in first-out store that reuses its memory: nothing is allocated once it is warm.
template <typename T>
class Ring {
  public:
    bool Empty() const { return count_ == 0; }
    size_t Size() const { return count_; }
    T& At(size_t index) { return slots_[(head_ + index) & (slots_.size() - 1)]; }
    T& Front() { return At(0); }

    void Push(const T& value) {
        if (count_ == slots_.size()) Grow();
        ++count_;
        At(count_ - 1) = value;
    }
    void Pop() {
        head_ = (head_ + 1) & (slots_.size() - 1);
        --count_;
    }
    void Erase(size_t index) {
        for (; index > 0; --index) At(index) = At(index - 1);
        Pop();
    }
    void Clear() { head_ = count_ = 0; }

  private:
    void Grow() {
        std::vector<T> larger(slots_.empty() ? 64 : slots_.size() * 2);
        for (size_t i = 0; i < count_; ++i) larger[i] = At(i);
        slots_.swap(larger);
        head_ = 0;
    }

    std::vector<T> slots_;
    size_t head_ = 0;
    size_t count_ = 0;
};

}  // namespace engine
