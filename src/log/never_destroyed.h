#pragma once

namespace bv {

// Storage of a process-wide object whose destructor never runs, so that threads which outlive the
// static objects of the library still find it.
template <class T>
union NeverDestroyed {
    constexpr NeverDestroyed() : value() {}
    constexpr ~NeverDestroyed() {}

    T value;
};

}  // namespace bv
