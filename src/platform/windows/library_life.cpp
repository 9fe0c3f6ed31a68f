#include "platform/library_life.h"

#include "platform/windows/api.h"
#include "platform/windows/this_module.h"

namespace platform {

namespace {

constinit LibraryLife::Hook loader_hook = nullptr;

}  // namespace

// What is linked into a program lives as the objects of the program do.
LibraryLife::LibraryLife(Hook hook) : hook_(hook) {
    if (ThisModuleIsProgram())
        hook_(nullptr, LibraryEvent::process_attach, nullptr);
    else
        loader_hook = hook_;
}

LibraryLife::~LibraryLife() {
    if (ThisModuleIsProgram()) hook_(nullptr, LibraryEvent::process_detach, nullptr);
}

}  // namespace platform

// Called by the loader, with the lock that it holds for the whole process: when the last static
// object was made, and before the first is destroyed.
extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID reserved) {
    using platform::LibraryEvent;
    const auto event = static_cast<LibraryEvent>(reason);
    // Without `reserved` somebody has unloaded the library.
    if (event == LibraryEvent::process_detach && reserved)
        platform::SetEndOfLibrary(platform::LibraryEnd::process_ends);
    return platform::loader_hook ? platform::loader_hook(library, event, reserved) : TRUE;
}
