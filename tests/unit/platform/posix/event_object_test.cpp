#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/wait.h>

#include "platform/event.h"

namespace {

using platform::Event;
using platform::EventReset;

constexpr uint32_t wait_limit_ms = 10000;

// Of this process alone, so that no leftover and no other run meets it.
std::string OwnName(const std::string& name, pid_t owner = getpid()) {
    return std::to_string(owner) + "_" + name;
}

bool Exists(const std::string& object) {
    return std::filesystem::exists("/dev/shm" + object);
}

int OpenObject(const std::string& object) {
    return shm_open(object.c_str(), O_RDWR, 0);
}

TEST(Event, ObjectLiesAsDriversExpectIt) {
    Event event;
    ASSERT_TRUE(event.Create(OwnName("a/b").c_str(), EventReset::automatic, true));
    const int descriptor = OpenObject("/orvex." + OwnName("a_b"));
    ASSERT_GE(descriptor, 0);
    struct stat status{};
    fstat(descriptor, &status);
    EXPECT_EQ(status.st_size, 64);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    uint32_t words[16];
    ASSERT_EQ(pread(descriptor, words, sizeof words, 0), 64);
    EXPECT_EQ(words[0], 1u);
    EXPECT_EQ(words[1], 1u);
    for (int i = 2; i < 16; ++i) EXPECT_EQ(words[i], 0u);
    close(descriptor);
}

TEST(Event, LeftoverIsReplacedAndNeverInherited) {
    const std::string name = OwnName("leftover");
    orvex_event leftover;
    ASSERT_TRUE(orvex_event_create(&leftover, name.c_str(), 0, 1));
    Event event;
    ASSERT_TRUE(event.Create(name.c_str(), EventReset::manual, false));
    EXPECT_FALSE(event.Wait(0));
    orvex_event_reset(&leftover);
    event.Set();
    EXPECT_FALSE(orvex_event_wait(&leftover, 0));
    // The name is another's by now, and must survive the end of its former owner.
    orvex_event_close(&leftover);
    orvex_event opened;
    ASSERT_TRUE(orvex_event_open_name(&opened, name.c_str()));
    EXPECT_TRUE(orvex_event_wait(&opened, 0));
    orvex_event_close(&opened);
    event.Close();
    EXPECT_FALSE(orvex_event_open_name(&opened, name.c_str()));
}

TEST(Event, OfADeadProcessIsSweptAway) {
    Event alive;
    ASSERT_TRUE(alive.Create(OwnName("alive").c_str(), EventReset::manual, false));
    const pid_t child = fork();
    if (child == 0) {
        orvex_event left;
        _exit(orvex_event_create(&left, OwnName("dead", getppid()).c_str(), 0, 0) ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    ASSERT_EQ(status, 0);
    const std::string dead = "/orvex." + OwnName("dead"), other = "/orvex." + OwnName("other");
    close(shm_open(other.c_str(), O_RDWR | O_CREAT, 0600));  // of another size, so no event
    EXPECT_TRUE(Exists(dead));
    platform::SweepEvents();
    EXPECT_FALSE(Exists(dead));
    EXPECT_TRUE(Exists("/orvex." + OwnName("alive")));
    EXPECT_TRUE(Exists(other));
    shm_unlink(other.c_str());
}

bool WriteFile(const char* path, const std::string& text) {
    std::ofstream file(path);
    return static_cast<bool>(file << text << std::flush);
}

// For the calling process alone: shared memory with no room left. False where the system doesn't
// let this user have a mount of his own.
bool FillSharedMemory() {
    const std::string map = " " + std::to_string(geteuid()) + " 1";
    const std::string group_map = " " + std::to_string(getegid()) + " 1";
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0 || !WriteFile("/proc/self/setgroups", "deny") ||
        !WriteFile("/proc/self/uid_map", "0" + map) ||
        !WriteFile("/proc/self/gid_map", "0" + group_map) ||
        mount("none", "/dev/shm", "tmpfs", 0, "size=16k") != 0)
        return false;
    const int filler = shm_open("/filler", O_RDWR | O_CREAT, 0600);
    const std::string page(4096, 'x');
    while (write(filler, page.data(), page.size()) > 0) {
    }
    return shm_open("/empty", O_RDWR | O_CREAT, 0600) >= 0;
}

TEST(Event, FullSharedMemoryIsAFailureAndNoSignal) {
    constexpr int not_possible = 77;
    const pid_t child = fork();
    if (child == 0) {
        if (!FillSharedMemory()) _exit(not_possible);
        orvex_event event;
        _exit(orvex_event_create(&event, "full", 0, 1));
    }
    int status = -1;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status)) << status;
    if (WEXITSTATUS(status) == not_possible) GTEST_SKIP() << "needs a mount of its own";
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(Event, MappedHandleOutlivesTheOwner) {
    Event event;
    ASSERT_TRUE(event.Create(nullptr, EventReset::manual, false));
    orvex_event mapped;
    ASSERT_TRUE(orvex_event_open_handle(&mapped, event.Handle()));
    EXPECT_EQ(mapped.handle, -1);
    EXPECT_TRUE(orvex_event_set(&mapped));
    EXPECT_TRUE(event.Wait(0));
    event.Close();
    EXPECT_EQ(event.Handle(), -1);
    EXPECT_TRUE(orvex_event_wait(&mapped, 0));
    orvex_event_close(&mapped);
    EXPECT_FALSE(orvex_event_wait(&mapped, 0));
    EXPECT_FALSE(orvex_event_set(&mapped));
}

TEST(Event, ForeignHandlesAreRefused) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    FILE* too_short = tmpfile();
    ASSERT_NE(too_short, nullptr);
    orvex_event event;
    EXPECT_FALSE(orvex_event_open_handle(&event, -1));
    EXPECT_FALSE(orvex_event_open_handle(&event, int64_t{1} << 40));
    EXPECT_FALSE(orvex_event_open_handle(&event, ends[0]));
    EXPECT_FALSE(orvex_event_open_handle(&event, fileno(too_short)));
    EXPECT_EQ(event.state, nullptr);
    fclose(too_short);
    close(ends[0]);
    close(ends[1]);
}

TEST(Event, AnotherProcessSignalsByNameAndLeavesTheNameAlone) {
    const std::string name = OwnName("ping"), answer = OwnName("pong");
    Event ping, pong;
    ASSERT_TRUE(ping.Create(name.c_str(), EventReset::automatic, false));
    ASSERT_TRUE(pong.Create(answer.c_str(), EventReset::automatic, false));
    const pid_t child = fork();
    if (child == 0) {
        orvex_event in{}, out{};
        const bool good = orvex_event_open_name(&in, name.c_str()) &&
                          orvex_event_open_name(&out, answer.c_str()) &&
                          orvex_event_wait(&in, wait_limit_ms) && orvex_event_set(&out);
        // The inherited owner is not its creator.
        ping.Close();
        _exit(good ? 0 : 1);
    }
    ping.Set();
    EXPECT_TRUE(pong.Wait(wait_limit_ms));
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    orvex_event opened;
    EXPECT_TRUE(orvex_event_open_name(&opened, name.c_str()));
    orvex_event_close(&opened);
}

}  // namespace
