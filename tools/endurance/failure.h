#pragma once

#include <sstream>
#include <stdexcept>
#include <string>

namespace endurance {

// Something did not hold; the text says what was expected and what was seen.
class Failure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

template <class... Parts>
std::string text_of(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

template <class... Parts>
void expect(bool holds, const Parts&... parts) {
    if (!holds) throw Failure(text_of(parts...));
}

}  // namespace endurance
