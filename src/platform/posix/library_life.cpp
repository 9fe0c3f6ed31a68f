#include "platform/library_life.h"

namespace platform {

// The loader calls no function of the library but the constructors and destructors of its objects.
LibraryLife::LibraryLife(Hook hook) : hook_(hook) {
    hook_(nullptr, LibraryEvent::process_attach, nullptr);
}

LibraryLife::~LibraryLife() {
    hook_(nullptr, LibraryEvent::process_detach, nullptr);
}

}  // namespace platform
