#pragma once

#include <utility>

#include "orvex/orvex_types.h"

#include "log/argument.h"
#include "log/log.h"
#include "state/api_global.h"

namespace bv {

// Result words of the log, and the results themselves.
constexpr boolean16 OZ_OK = 1;
constexpr boolean16 OZ_FAIL = 0;

// One traced function: ENTER with its arguments at construction, RETURN with its result at the
// end of the scope. All results of the library leave through it, so that log line, error code and
// result always come in the same order.
//
//     Call call("bv_exp_start_seq", arg("hcam", hcam), arg("pixel_stream", pixel_stream));
//     if (!script_valid) return call.fail(C3_INVALID_SCRIPT, "Script not valid");
//     return call.ok(arg("*status", *status));
class Call {
  public:
    template <class... Args>
    explicit Call(const char* name, const Args&... args) : scope_(ProcessLog(), "COR", name) {
        if (scope_.IsTraceEnabled()) scope_.Enter(JoinArguments(args...));
    }

    // "OZ_OK" and, behind it, the outputs.
    template <class... Outputs>
    boolean16 ok(const Outputs&... outputs) {
        if (scope_.IsTraceEnabled()) scope_.SetResult(JoinArguments(words("OZ_OK"), outputs...));
        return OZ_OK;
    }

    // "OZ_FAIL" alone: a lower layer has told the reason.
    boolean16 failed() {
        if (scope_.IsTraceEnabled()) scope_.SetResult("OZ_FAIL");
        return OZ_FAIL;
    }

    boolean16 result(boolean16 success) { return success ? ok() : failed(); }

    // An error line in this function's own scope, the error code, "OZ_FAIL".
    boolean16 fail(int16 code, const char* format, ...) __attribute__((format(printf, 3, 4)));
    // An error code without a line of its own.
    boolean16 fail_silently(int16 code);
    // As fail(), with the code read by the table of the camera's bridge.
    boolean16 fail_bridge(int16 code, const char* format, ...)
        __attribute__((format(printf, 3, 4)));

    void error(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void warn(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void info(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void debug(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // For results that are no OZ_OK.
    template <class... Results>
    void returns(const Results&... results) {
        if (scope_.IsTraceEnabled()) scope_.SetResult(JoinArguments(results...));
    }

    bool tracing() const { return scope_.IsTraceEnabled(); }

  private:
    LogScope scope_;
};

}  // namespace bv
