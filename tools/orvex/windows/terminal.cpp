#include "orvex/terminal.h"

#include <windows.h>

namespace orvex {

// A console that can't be told to follow control sequences would show them.
bool on_terminal() {
    const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(console, &mode) != 0 &&
           SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

size_t terminal_width() {
    CONSOLE_SCREEN_BUFFER_INFO buffer{};
    const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
    const bool known = GetConsoleScreenBufferInfo(console, &buffer) != 0 && buffer.dwSize.X > 1;
    return known ? static_cast<size_t>(buffer.dwSize.X - 1) : 79;
}

}  // namespace orvex
