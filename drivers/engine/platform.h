#pragma once

#include <string>

// What the engine and its sensors need of the system.
namespace engine {

// A variable of the environment; empty when it is not set, and for a program of raised privileges.
std::string EnvironmentVariable(const char* name);

// Runs a function in every forked child, on its only thread; where nothing forks, never. For one
// function of the module.
void InForkedChildren(void (*function)());

// Sleeps of the calling thread end as sharp as the system can for as long as this exists.
class SharpSleep {
  public:
    SharpSleep();
    ~SharpSleep();
    SharpSleep(const SharpSleep&) = delete;
    SharpSleep& operator=(const SharpSleep&) = delete;
};

}  // namespace engine
