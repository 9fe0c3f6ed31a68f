#include "platform/fork.h"

// No process of this system is a copy of another.
namespace platform {

ForkHandler::ForkHandler(void (*)()) {}

ForkHandler::ForkHandler(void (*)(), void (*)()) {}

}  // namespace platform
