#pragma once

#include <atomic>

#include "orvex/orvex_errors.h"
#include "orvex/orvex_types.h"

namespace bv {

// The error of the process: one code, and the mode that tells which table it belongs to. One plain
// pair for all threads; applications that want exact errors serialise their calls.
class ApiGlobal {
  public:
    static int16 GetErrorCode();
    static void SetErrorCode(int16 openMode, int16 errorCode);
    static bool IsErrorCodeSet();
    static void ClearErrorCode(int16 openMode);
    // Writes at most ERROR_MSG_LEN bytes, always terminated; 0 when no row of the current mode's
    // table fits the code.
    static boolean16 GetErrorMessage(int16 errorCode, char* pErrorMessage);

  private:
    static std::atomic<int16> errorCode;
    static std::atomic<int16> openMode;
};

}  // namespace bv

// Set between ox_orvex_init and ox_orvex_uninit.
extern std::atomic<uns16> orvex_initialized;
