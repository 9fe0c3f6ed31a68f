#pragma once

#include <mutex>
#include <string>
#include <tuple>
#include <type_traits>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_types.h"

#include "api/operation_arguments.h"
#include "state/api_global.h"
#include "state/api_locks.h"
#include "state/call.h"

// What every exported operation does on its way through the two layers.
namespace bv {

// What an operation holds during its run.
enum class ApiLock {
    none,    // nothing, and the error state is left alone
    global,  // api_global_mutex
    camera,  // the mutex of its first argument, the handle
};

// Words in front of the arguments of a traced operation, on each layer.
struct ApiWords {
    const char* entry;
    const char* exec;
};
constexpr ApiWords current{"", ""};
constexpr ApiWords deprecated{"[DEPRECATED] ", "[DEPRECATED] "};
// Readers of old traces know these operations by their own spelling.
constexpr ApiWords deprecated_unspaced{"[DEPRECATED]", "[DEPRECATED]"};
constexpr ApiWords deprecated_on_entry{"[DEPRECATED] ", ""};

// The arguments as a traced call prints them; nothing is formatted before that.
template <class... Arguments>
struct EnteredArguments {
    const char* words;
    std::tuple<const Arguments&...> arguments;
};

template <class... Arguments>
void Append(std::string& out, const EnteredArguments<Arguments...>& entered) {
    out += entered.words;
    if constexpr (sizeof...(Arguments) == 0) {
        if (!out.empty()) out.pop_back();
    } else {
        out +=
            std::apply([](const auto&... argument) { return JoinArguments(argument.entered()...); },
                       entered.arguments);
    }
}

// The result of an operation: OZ_OK with the outputs, a number, or an address.
template <class Result, class... Arguments>
struct ApiResult {
    Result result;
    ApiLayer layer;
    std::tuple<const Arguments&...> arguments;
};

template <class Result, class... Arguments>
void Append(std::string& out, const ApiResult<Result, Arguments...>& r) {
    if constexpr (std::is_pointer_v<Result>) {
        out += r.result ? FormatPointer(r.result) : "NULL";
    } else if constexpr (!std::is_same_v<Result, boolean16>) {
        AppendValue(out, r.result);
    } else if (!r.result) {
        out += "OZ_FAIL";
    } else {
        out += "OZ_OK";
        std::apply([&](const auto&... argument) { (argument.AppendOutput(out, r.layer), ...); },
                   r.arguments);
    }
}

template <class Argument>
bool RefuseNull(Call& call, const Argument& argument) {
    if (!argument.refused()) return false;
    call.fail(C0_NULL_POINTER, "Argument '%s' is null", argument.word);
    return true;
}

template <class Handle, class... Arguments>
int16 CameraOf(const Handle& hcam, const Arguments&...) {
    return static_cast<int16>(hcam.value);
}

// Trace, lock, clearing of the error state, null checks, the operation itself, result, unlock. A
// camera operation whose handle is refused has not cleared the error state before it. A failing
// mutex throws; the exception goes up to the application.
template <ApiLock lock, class Result, class Operation, class... Arguments>
Result RunOnEntry(const char* name, const char* words, Operation operation,
                  const Arguments&... arguments) {
    Call call(name, EnteredArguments<Arguments...>{words, {arguments...}});
    const auto finish = [&](Result result) {
        call.returns(ApiResult<Result, Arguments...>{result, ApiLayer::Entry, {arguments...}});
        return result;
    };

    std::unique_lock<platform::ErrorCheckingMutex> locked;
    if constexpr (lock != ApiLock::none) {
        platform::ErrorCheckingMutex* mutex = &api_global_mutex;
        if constexpr (lock == ApiLock::camera)
            mutex = api_select_camera_mutex(CameraOf(arguments...));
        if (!mutex) return finish(Result{});
        locked = std::unique_lock(*mutex);
        // The work counts on an open camera, and the holder before may have been its close.
        if constexpr (lock == ApiLock::camera) {
            if (!api_camera_still_open(CameraOf(arguments...))) return finish(Result{});
        }
        ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
    }
    if ((RefuseNull(call, arguments) || ...)) return finish(Result{});
    return finish(operation());
}

// Trace and work. `work` logs and fails in the scope that it is given.
template <class Result, class Work, class... Arguments>
Result RunOnExec(const char* name, const char* words, Work work, const Arguments&... arguments) {
    Call call(name, EnteredArguments<Arguments...>{words, {arguments...}});
    const Result result = work(call);
    call.returns(ApiResult<Result, Arguments...>{result, ApiLayer::Exec, {arguments...}});
    return result;
}

}  // namespace bv
