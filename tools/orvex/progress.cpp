#include "orvex/progress.h"

#include <cstdio>

#include "orvex/terminal.h"

namespace orvex {

Progress::Progress(std::string label, uint64_t total)
    : label_(std::move(label)),
      total_(total),
      terminal_(on_terminal()),
      start_(std::chrono::steady_clock::now()),
      last_(start_) {}

Progress::~Progress() {
    if (terminal_) std::fputs("\r\033[K", stderr);
}

void Progress::update(uint64_t done) {
    const auto now = std::chrono::steady_clock::now();
    if (!terminal_ || (done < total_ && now - last_ < std::chrono::milliseconds(50))) return;
    last_ = now;
    draw(done);
}

void Progress::draw(uint64_t done) {
    constexpr uint64_t width = 30;
    const uint64_t filled = total_ ? done * width / total_ : width;
    std::string bar(filled, '#');
    bar.resize(width, '.');
    const double seconds = std::chrono::duration<double>(last_ - start_).count();
    std::fprintf(stderr, "\r%s [%s] %llu/%llu  %.1f s\033[K", label_.c_str(), bar.c_str(),
                 static_cast<unsigned long long>(done), static_cast<unsigned long long>(total_),
                 seconds);
}

}  // namespace orvex
