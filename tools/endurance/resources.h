#pragma once

#include <cstddef>
#include <string>

// What this process holds of the system.
namespace endurance {

struct Resources {
    size_t threads = 0;
    size_t files = 0;
    size_t shared_objects = 0;

    std::string text() const;
    bool operator==(const Resources&) const = default;
};

// Counts shared objects of the library with the tag in their names: those of other processes have
// none.
Resources held_resources(const std::string& tag);

// Bytes of the process in memory.
size_t resident_bytes();

}  // namespace endurance
