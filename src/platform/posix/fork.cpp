#include "platform/fork.h"

#include <pthread.h>

namespace platform {

// Unloading the library takes its handlers away.
ForkHandler::ForkHandler(void (*in_child)()) {
    pthread_atfork(nullptr, nullptr, in_child);
}

ForkHandler::ForkHandler(void (*before)(), void (*after)()) {
    pthread_atfork(before, after, after);
}

}  // namespace platform
