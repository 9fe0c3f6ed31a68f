#include "state/api_global.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>

#include "log/argument.h"
#include "log/enum_texts.h"
#include "log/log.h"

constinit std::atomic<uns16> orvex_initialized{0};

namespace bv {

constinit std::atomic<int16> ApiGlobal::errorCode{0};
constinit std::atomic<int16> ApiGlobal::openMode{EXT_OPEN_EXCLUSIVE};

namespace {

// What the calling thread set last. Trivial to destroy, so that it doesn't keep the library loaded.
struct ThreadError {
    int16 mode = EXT_OPEN_EXCLUSIVE;
    int16 code = 0;
    int holds = 0;
};
constinit thread_local ThreadError own;

struct ErrorRow {
    int16 code;
    const char* name;
    const char* text;
};

#define ERROR_ROW(name, code, text) {code, #name, text},
constexpr ErrorRow library_errors[] = {ORVEX_ERRORS(ERROR_ROW)};
constexpr ErrorRow bridge_errors[] = {ORVEX_BRIDGE_STATUSES(ERROR_ROW)};

template <size_t N>
constexpr bool IsIndexedByCode(const ErrorRow (&rows)[N]) {
    for (size_t i = 0; i < N; ++i) {
        if (rows[i].code != static_cast<int16>(i + 1)) return false;
    }
    return true;
}
static_assert(IsIndexedByCode(library_errors) && IsIndexedByCode(bridge_errors));

// Null when there is no such row.
const ErrorRow* FindRow(std::span<const ErrorRow> rows, int16 code) {
    return code >= 1 && static_cast<size_t>(code) <= rows.size()
               ? &rows[static_cast<size_t>(code) - 1]
               : nullptr;
}

std::string LibraryMessage(const ErrorRow& row) {
    return std::string(row.text) + " (" + row.name + ")";
}

std::string BridgeMessage(const ErrorRow& row) {
    constexpr size_t text_column = 30;
    std::string message = row.name;
    message.resize(std::max(message.size(), text_column), ' ');
    return message + row.text;
}

void CopyMessage(const std::string& message, char* to) {
    const size_t length = std::min<size_t>(message.size(), ERROR_MSG_LEN - 1);
    std::fill(std::copy_n(message.data(), length, to), to + ERROR_MSG_LEN, '\0');
}

LogScope Scope(const char* name) {
    return {ProcessLog(), "COR", name};
}

}  // namespace

int16 ApiGlobal::GetErrorCode() {
    LogScope scope = Scope("bv::ApiGlobal::GetErrorCode");
    if (scope.IsTraceEnabled()) scope.Enter("");
    const int16 code = own.holds != 0 ? own.code : errorCode.load(std::memory_order_relaxed);
    if (scope.IsTraceEnabled()) scope.SetResult(std::to_string(code));
    return code;
}

void ApiGlobal::SetErrorCode(int16 mode, int16 code) {
    LogScope scope = Scope("bv::ApiGlobal::SetErrorCode");
    if (scope.IsTraceEnabled()) {
        scope.Enter(
            JoinArguments(enumerated("openMode", mode, bv_text_open_mode), arg("errorCode", code)));
    }
    Store(mode, code);
}

bool ApiGlobal::IsErrorCodeSet() {
    LogScope scope = Scope("bv::ApiGlobal::IsErrorCodeSet");
    if (scope.IsTraceEnabled()) scope.Enter("");
    const bool set = own.code != 0;
    if (scope.IsTraceEnabled()) scope.SetResult(set ? "true" : "false");
    return set;
}

void ApiGlobal::ClearErrorCode(int16 mode) {
    LogScope scope = Scope("bv::ApiGlobal::ClearErrorCode");
    if (scope.IsTraceEnabled()) {
        scope.Enter(JoinArguments(enumerated("openMode", mode, bv_text_open_mode)));
    }
    Store(mode, 0);
}

void ApiGlobal::Store(int16 mode, int16 code) {
    own.mode = mode;
    own.code = code;
    if (own.holds != 0) return;
    openMode.store(mode, std::memory_order_relaxed);
    errorCode.store(code, std::memory_order_relaxed);
}

ErrorHold::ErrorHold() : mode_(own.mode), code_(own.code) {
    ++own.holds;
}

ErrorHold::~ErrorHold() {
    --own.holds;
    // A change of the mode alone must not give the code of another thread a new meaning.
    const int16 shared = ApiGlobal::errorCode.load(std::memory_order_relaxed);
    if (own.code == code_ && (own.mode == mode_ || own.code != shared)) return;
    ApiGlobal::Store(own.mode, own.code);
}

boolean16 ApiGlobal::GetErrorMessage(int16 code, char* pErrorMessage) {
    LogScope scope = Scope("bv::ApiGlobal::GetErrorMessage");
    if (scope.IsTraceEnabled()) {
        scope.Enter(JoinArguments(arg("errorCode", code),
                                  arg("pErrorMessage", static_cast<const void*>(pErrorMessage))));
    }

    std::string message;
    // The mode of the last error tells what the code means, also when it is another code.
    const int16 mode = own.holds != 0 ? own.mode : openMode.load(std::memory_order_relaxed);
    if (code == 0) {
        message = "No Error";
    } else if (mode == EXT_OPEN_EXCLUSIVE || mode == EXT_OPEN_FW_UPDATE) {
        const bool bridge = mode == EXT_OPEN_FW_UPDATE;
        const ErrorRow* row = bridge ? FindRow(bridge_errors, code) : FindRow(library_errors, code);
        if (row) {
            message = bridge ? BridgeMessage(*row) : LibraryMessage(*row);
        } else {
            scope.Line(log_error, "Unknown error code for %s mode", bv_text_open_mode(mode));
        }
    } else {
        scope.Line(log_error, "Unknown open mode %d", mode);
    }
    const boolean16 known = message.empty() ? 0 : 1;
    CopyMessage(known ? message : "Unknown error", pErrorMessage);

    if (scope.IsTraceEnabled()) {
        scope.SetResult(JoinArguments(words(known ? "OZ_OK" : "OZ_FAIL"),
                                      quoted("pErrorMessage", pErrorMessage)));
    }
    return known;
}

}  // namespace bv
