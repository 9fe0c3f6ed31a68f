#include "platform/mutex.h"

#include <system_error>

namespace platform {

namespace {

thread_local std::atomic<bool>* waiting_mark = nullptr;

void Check(int error) {
    if (error != 0) throw std::system_error(error, std::generic_category());
}

}  // namespace

void ErrorCheckingMutex::lock() {
    if (pthread_mutex_trylock(&mutex_) == 0) return;
    if (waiting_mark) *waiting_mark = true;
    const int error = pthread_mutex_lock(&mutex_);
    if (waiting_mark) *waiting_mark = false;
    Check(error);
}

void ErrorCheckingMutex::unlock() {
    pthread_mutex_unlock(&mutex_);
}

void ErrorCheckingMutex::Renew() {
    mutex_ = PTHREAD_ERRORCHECK_MUTEX_INITIALIZER_NP;
}

void MarkWaitsOfThisThread(std::atomic<bool>* mark) {
    waiting_mark = mark;
}

}  // namespace platform
