#include "orvex/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace orvex {

bool on_terminal() {
    return isatty(STDERR_FILENO) != 0;
}

size_t terminal_width() {
    winsize size{};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    return known ? size.ws_col - 1u : 79;
}

}  // namespace orvex
