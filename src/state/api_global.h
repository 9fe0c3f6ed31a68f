#pragma once

#include <atomic>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_types.h"

namespace bv {

// The error of the process: one code, and the mode that tells which table it belongs to. One plain
// pair for all threads; applications that want exact errors serialise their calls. What a thread
// itself set last is kept beside it, as the result of a call must not depend on what goes wrong on
// another camera meanwhile.
class ApiGlobal {
  public:
    static int16 GetErrorCode();
    static void SetErrorCode(int16 openMode, int16 errorCode);
    // Whether the calling thread has set a code since it last cleared the error, which every
    // exported call does that locks.
    static bool IsErrorCodeSet();
    static void ClearErrorCode(int16 openMode);
    // Writes at most ERROR_MSG_LEN bytes, always terminated; 0 when no row of the current mode's
    // table fits the code.
    static boolean16 GetErrorMessage(int16 errorCode, char* pErrorMessage);

  private:
    friend class ErrorHold;
    static void Store(int16 mode, int16 code);

    static std::atomic<int16> errorCode;
    static std::atomic<int16> openMode;
};

// Around steps whose failure is forgotten. What this thread sets and clears reaches the error of
// the process at the end of the scope, and only when it isn't what the thread had set before: an
// error that another thread left there in the meantime survives.
class ErrorHold {
  public:
    ErrorHold();
    ~ErrorHold();
    ErrorHold(const ErrorHold&) = delete;
    ErrorHold& operator=(const ErrorHold&) = delete;

  private:
    int16 mode_;
    int16 code_;
};

}  // namespace bv

// Set between ox_orvex_init and ox_orvex_uninit.
extern std::atomic<uns16> orvex_initialized;
