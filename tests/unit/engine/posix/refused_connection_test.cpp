#include <atomic>
#include <cerrno>
#include <chrono>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "support/eventually.h"

#include "../notifications.h"

namespace {

// Connections that were refused; none is while it is negative.
std::atomic<int> accepts_refused = -1;

}  // namespace

// Takes the place of the system's.
extern "C" __attribute__((visibility("default"))) int accept4(int listener, sockaddr* address,
                                                              socklen_t* size, int flags) {
    if (accepts_refused < 0)
        return static_cast<int>(syscall(SYS_accept4, listener, address, size, flags));
    ++accepts_refused;
    errno = EMFILE;
    return -1;
}

namespace tests {

namespace {

// A connection that can't be taken for want of a descriptor waits without keeping the thread busy.
TEST_F(Notifications, WaitsForADescriptorInPeace) {
    accepts_refused = 0;
    const auto start = std::chrono::steady_clock::now();
    Host host = Connect();
    ASSERT_TRUE(support::Eventually([] { return accepts_refused >= 4; }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
    accepts_refused = -1;
    Settle(host);
}

}  // namespace

}  // namespace tests
