#include "state/call.h"

namespace bv {

boolean16 Call::fail(int16 code, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    scope_.LineV(log_error, format, arguments);
    va_end(arguments);
    return fail_silently(code);
}

boolean16 Call::fail_silently(int16 code) {
    ApiGlobal::SetErrorCode(EXT_OPEN_EXCLUSIVE, code);
    return failed();
}

boolean16 Call::fail_bridge(int16 code, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    scope_.LineV(log_error, format, arguments);
    va_end(arguments);
    ApiGlobal::SetErrorCode(EXT_OPEN_FW_UPDATE, code);
    return failed();
}

void Call::error(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    scope_.LineV(log_error, format, arguments);
    va_end(arguments);
}

void Call::warn(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    scope_.LineV(log_warning, format, arguments);
    va_end(arguments);
}

void Call::info(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    scope_.LineV(log_info, format, arguments);
    va_end(arguments);
}

void Call::debug(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    scope_.LineV(log_debug, format, arguments);
    va_end(arguments);
}

}  // namespace bv
