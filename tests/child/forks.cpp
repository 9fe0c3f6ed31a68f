// Children of a process that uses the library: cameras run and a thread traces while it forks.
#include <atomic>
#include <cstdlib>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "support/eventually.h"

#include "body.h"

namespace {

constexpr int children = 3;
constexpr unsigned limit_seconds = 60;

void ExpectNotInitialised(const Streams& parents) {
    int16 total = 0;
    int16 hcam = -1;
    char name[CAM_NAME_LEN] = "It";
    char message[ERROR_MSG_LEN];
    const auto refused = [](boolean16 result) {
        return result == 0 && ox_error_code() == C2_ORVEX_NOT_INITED;
    };
    REQUIRE(refused(ox_cam_get_total(&total)));
    REQUIRE(refused(ox_cam_open(name, &hcam, EXT_OPEN_EXCLUSIVE)));
    for (const int16 parents_camera : parents.cameras) {
        REQUIRE(refused(ox_cam_check(parents_camera)));
        REQUIRE(refused(ox_exp_abort(parents_camera, CCS_HALT)));
        REQUIRE(refused(ox_cam_close(parents_camera)));
    }
    REQUIRE(refused(ox_orvex_uninit()));
    for (int i = 0; i < 100; ++i) REQUIRE(ox_error_message(C2_ORVEX_NOT_INITED, message) == 1);
}

// What a child does between fork() and exit().
void LiveAsChild(const std::string& what = "exit", const Streams* parents = nullptr) {
    alarm(limit_seconds);  // instead of a hang
    if (what == "call") ExpectNotInitialised(*parents);
    if (what == "restart") {
        const Streams own;
        REQUIRE(own.GoOn());
        REQUIRE(ox_orvex_uninit() == 1);
        REQUIRE(ox_orvex_init() == 1);  // and does not end it
    }
    std::exit(0);
}

void ExpectEnds(pid_t child) {
    int status = -1;
    REQUIRE(waitpid(child, &status, 0) == child);
    REQUIRE(status == 0);
}

std::atomic<pid_t> forked_in_callback{0};

void ForkInCallback(FRAME_INFO*, void*) {
    if (forked_in_callback != 0) return;
    const pid_t child = fork();
    if (child == 0) LiveAsChild();
    forked_in_callback = child;
}

}  // namespace

void Forks(const std::string& what) {
    const Streams streams;
    std::atomic<bool> stop = false;
    std::thread tracing([&] {
        char message[ERROR_MSG_LEN];
        while (!stop) REQUIRE(ox_error_message(0, message) == 1);
    });
    if (what == "callback") {
        auto* const callback = reinterpret_cast<void*>(&ForkInCallback);
        REQUIRE(ox_cam_register_callback_ex3(streams.cameras.back(), OX_CALLBACK_EOF, callback,
                                             nullptr) == 1);
        REQUIRE(support::Eventually([] { return forked_in_callback != 0; }));
        ExpectEnds(forked_in_callback);
    } else {
        for (int i = 0; i < children; ++i) {
            const pid_t child = fork();
            if (child == 0) LiveAsChild(what, &streams);
            ExpectEnds(child);
        }
    }
    stop = true;
    tracing.join();
    REQUIRE(streams.GoOn());
    REQUIRE(ox_orvex_uninit() == 1);
}
