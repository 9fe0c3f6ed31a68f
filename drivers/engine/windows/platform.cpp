#include "engine/platform.h"

#include <windows.h>
// After windows.h, which it needs.
#include <mmsystem.h>

namespace engine {
namespace {

constexpr UINT sharpest_ms = 1;

}  // namespace

// Asked of the system: the C library has a copy from before the program changed it.
std::string EnvironmentVariable(const char* name) {
    std::string value;
    for (DWORD size = GetEnvironmentVariableA(name, nullptr, 0); size > value.size();) {
        value.resize(size);
        size = GetEnvironmentVariableA(name, value.data(), size);
        // The length without its end when it fits, else the size that it needs.
        if (size < value.size()) value.resize(size);
    }
    return value;
}

void InForkedChildren(void (* /*function*/)()) {}

SharpSleep::SharpSleep() {
    timeBeginPeriod(sharpest_ms);
}

SharpSleep::~SharpSleep() {
    timeEndPeriod(sharpest_ms);
}

}  // namespace engine
