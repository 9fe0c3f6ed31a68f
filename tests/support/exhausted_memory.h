#pragma once

#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <sys/resource.h>
#include <unistd.h>
#include <utility>

namespace support {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool address_space_can_be_limited = false;
#else
inline constexpr bool address_space_can_be_limited = true;
#endif
inline constexpr const char* no_memory_limit =
    "the sanitizer needs more address space than a limit leaves";

// No blocks of this size any more for the life of this object: what the heap still has is taken,
// and the system gives nothing.
class ExhaustedMemory {
  public:
    explicit ExhaustedMemory(size_t bytes = 100000) {
        getrlimit(RLIMIT_AS, &former_);
        std::ifstream statm("/proc/self/statm");
        rlim_t pages = 0;
        statm >> pages;
        const rlimit limit = {pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)), former_.rlim_max};
        setrlimit(RLIMIT_AS, &limit);
        while (void* block = std::malloc(bytes)) {
            *static_cast<void**>(block) = taken_;
            taken_ = block;
        }
    }
    ~ExhaustedMemory() {
        while (taken_) std::free(std::exchange(taken_, *static_cast<void**>(taken_)));
        setrlimit(RLIMIT_AS, &former_);
    }
    ExhaustedMemory(const ExhaustedMemory&) = delete;
    ExhaustedMemory& operator=(const ExhaustedMemory&) = delete;

  private:
    rlimit former_{};
    void* taken_ = nullptr;
};

}  // namespace support
