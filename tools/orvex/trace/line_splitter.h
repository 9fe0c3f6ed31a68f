#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orvex::trace {

// Cuts what comes in pieces into lines.
class LineSplitter {
  public:
    // Calls `line` for each line that ends in the piece, without its end. Of a line that is longer
    // than any of a trace only the front is kept.
    template <class OnLine>
    void add(std::string_view piece, OnLine&& line) {
        for (size_t end; (end = piece.find('\n')) != std::string_view::npos;
             piece.remove_prefix(end + 1)) {
            if (begun_.empty()) {
                line(piece.substr(0, end));
                continue;
            }
            keep(piece.substr(0, end));
            line(std::string_view(begun_));
            begun_.clear();
        }
        keep(piece);
    }
    // What stands behind the last end of a line.
    std::string_view rest() const { return begun_; }

  private:
    static constexpr size_t longest = 4u << 20;

    void keep(std::string_view part) {
        if (begun_.size() < longest) begun_.append(part.substr(0, longest - begun_.size()));
    }

    std::string begun_;
};

}  // namespace orvex::trace
