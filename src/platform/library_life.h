#pragma once

#include <cstdint>
#include <mutex>

// Load and unload of this library, as the system tells of them.
namespace platform {

// In the numbers that the trace shows.
enum class LibraryEvent : uint32_t { process_detach, process_attach, thread_attach, thread_detach };

// Tells a hook of the library's attach and detach: as it is constructed and destroyed or, where the
// system calls the library itself, when it does, which is after the last static object was made and
// before the first is destroyed. There is one, behind all static objects that the hook needs.
class LibraryLife {
  public:
    using Hook = int32_t (*)(void* library, LibraryEvent event, void* reserved);

    explicit LibraryLife(Hook hook);
    ~LibraryLife();
    LibraryLife(const LibraryLife&) = delete;
    LibraryLife& operator=(const LibraryLife&) = delete;

  private:
    Hook hook_;
};

// What the detach of the library finds.
enum class LibraryEnd {
    unloaded,      // other threads run, and give their locks back
    process_ends,  // the system has ended all other threads wherever they were
};

// To be asked from the detach on; `unloaded` before.
LibraryEnd EndOfLibrary();
// For who is told by the system, before the hook is.
void SetEndOfLibrary(LibraryEnd end);
// Whether no other thread is left, and a lock that one held was never given back.
bool OtherThreadsAreDead();
// A lock; not had, instead of waited for, when a dead thread holds it.
std::unique_lock<std::mutex> LockUnlessDead(std::mutex& mutex);

}  // namespace platform
