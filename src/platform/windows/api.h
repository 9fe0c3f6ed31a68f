#pragma once

// The system's own headers, without what they define as macros over names of others.
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
// clang-format off
#include <windows.h>
#include <mmsystem.h>
// clang-format on
