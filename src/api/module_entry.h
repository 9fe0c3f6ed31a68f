#pragma once

#include "orvex/orvex_types.h"

// The library's load and unload hook. While it runs, no thread may be created or waited for, which
// the log's loader-lock mode stands for.

// Reasons of a call of DllMain.
constexpr uns32 DLL_PROCESS_DETACH = 0;
constexpr uns32 DLL_PROCESS_ATTACH = 1;
constexpr uns32 DLL_THREAD_ATTACH = 2;
constexpr uns32 DLL_THREAD_DETACH = 3;

// Always 1.
int32 DllMain(void* hinstDll, uns32 fdwReason, void* lpvReserved);

// In a forked child: the log, which is the only thing that its first use has to make anew. What the
// child has of its parent was forgotten when it was forked.
void StartAnewInForkedChild();

// Finer timers for the life of the library; failures are logged and ignored.
void systemTimerInit();
void systemTimerUninit();
