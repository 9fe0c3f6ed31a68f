#include "platform/library_life.h"

#include <atomic>

namespace platform {

namespace {

constinit std::atomic<LibraryEnd> end_of_library{LibraryEnd::unloaded};

}  // namespace

LibraryEnd EndOfLibrary() {
    return end_of_library;
}

void SetEndOfLibrary(LibraryEnd end) {
    end_of_library = end;
}

bool OtherThreadsAreDead() {
    return end_of_library == LibraryEnd::process_ends;
}

std::unique_lock<std::mutex> LockUnlessDead(std::mutex& mutex) {
    if (OtherThreadsAreDead()) return {mutex, std::try_to_lock};
    return std::unique_lock(mutex);
}

}  // namespace platform
