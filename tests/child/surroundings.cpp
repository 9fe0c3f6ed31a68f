// What the process finds around itself: files that refuse to be written, privileges.
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/eventually.h"

#include "body.h"

namespace {

std::string LogFile() {
    const char* file = std::getenv("ORVEX_CORE_LOG_FILE");
    return file ? file : "";
}

bool HasReader(const std::string& pipe) {
    const int end = open(pipe.c_str(), O_WRONLY | O_NONBLOCK);
    if (end >= 0) close(end);
    return end >= 0;
}

// The end of the library waits for the trace.
void Trace() {
    char message[ERROR_MSG_LEN];
    for (int i = 0; i < 50; ++i) REQUIRE(ox_error_message(0, message) == 1);
    ox_orvex_uninit();
}

bool IsPrivileged() {
    return std::getenv("ORVEX_TEST_PRIVILEGED") != nullptr;
}

}  // namespace

// Takes the place of the system's, which answers so in a set-user-id program.
extern "C" __attribute__((visibility("default"))) char* secure_getenv(const char* name) noexcept {
    return IsPrivileged() ? nullptr : std::getenv(name);
}

void MeetsRefusedWrites(const std::string& why) {
    const std::string log = LogFile();
    if (why == "pipe") {
        REQUIRE(support::Eventually([&] { return !HasReader(log); }));
        return Trace();
    }
    // In the middle of a line.
    struct stat status{};
    REQUIRE(stat(log.c_str(), &status) == 0);
    const rlimit low{static_cast<rlim_t>(status.st_size) + 30, RLIM_INFINITY};
    REQUIRE(setrlimit(RLIMIT_FSIZE, &low) == 0);
    Trace();
    const rlimit high{RLIM_INFINITY, RLIM_INFINITY};
    REQUIRE(setrlimit(RLIMIT_FSIZE, &high) == 0);
    Trace();
}

// Everything that the environment names is in the directory, and none of it may be used.
void RunsPrivileged(const std::string& directory) {
    REQUIRE(IsPrivileged());
    uns16 version = 0;
    REQUIRE(ox_orvex_get_ver(&version) == 1 && version != 0x0999);
    REQUIRE(ox_orvex_init() == 1);
    int16 total = 0;
    REQUIRE(ox_cam_get_total(&total) == 1 && total == 4);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        REQUIRE(line.find(directory) == std::string::npos);
    REQUIRE(ox_orvex_uninit() == 1);
}
