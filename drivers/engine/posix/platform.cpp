#include "engine/platform.h"

#include <cstdlib>
#include <pthread.h>
#include <sys/prctl.h>

namespace engine {

std::string EnvironmentVariable(const char* name) {
    const char* value = secure_getenv(name);
    return value != nullptr ? value : "";
}

void InForkedChildren(void (*function)()) {
    static const int registered = pthread_atfork(nullptr, nullptr, function);
    static_cast<void>(registered);
}

// The default slack would add 50 microseconds.
SharpSleep::SharpSleep() {
    prctl(PR_SET_TIMERSLACK, 1UL);
}

// 0 stands for the default.
SharpSleep::~SharpSleep() {
    prctl(PR_SET_TIMERSLACK, 0UL);
}

}  // namespace engine
