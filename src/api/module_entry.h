#pragma once

#include "orvex/orvex_types.h"

#include "platform/library_life.h"

// The library's load and unload hook. While it runs, no thread may be created or waited for, which
// the log's loader-lock mode stands for.

// Always 1. The pointers are for the trace alone.
int32 LibraryHook(void* library, platform::LibraryEvent event, void* reserved);

// In a forked child: the log, which is the only thing that its first use has to make anew. What the
// child has of its parent was forgotten when it was forked.
void StartAnewInForkedChild();

// Finer timers for the life of the library; failures are logged and ignored.
void systemTimerInit();
void systemTimerUninit();
