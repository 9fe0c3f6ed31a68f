#include <array>
#include <cstdint>
#include <cstdio>

#include "log/log.h"
#include "platform/system.h"

namespace bv {

std::string FormatText(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = FormatTextV(format, arguments);
    va_end(arguments);
    return text;
}

std::string FormatTextV(const char* format, va_list arguments) {
    std::array<char, 512> buffer;
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
    std::string text;
    if (length > 0) {
        const auto size = static_cast<size_t>(length);
        if (size < buffer.size()) {
            text.assign(buffer.data(), size);
        } else {
            text.resize(size);
            std::vsnprintf(text.data(), size + 1, format, again);
        }
    }
    va_end(again);
    return text;
}

std::string FormatPointer(const volatile void* pointer) {
    std::string text = "0x0000000000000000";
    auto address = reinterpret_cast<uintptr_t>(pointer);
    for (size_t at = text.size(); address != 0; address >>= 4) {
        text[--at] = "0123456789ABCDEF"[address & 15];
    }
    return text;
}

std::string GetSystemErrorText(uint32_t code) {
    std::string text = platform::ErrorText(code);
    return text.empty() ? "Unknown error" : text;
}

std::string GetLastErrorText() {
    return GetSystemErrorText(platform::LastError());
}

}  // namespace bv
