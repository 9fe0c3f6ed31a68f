// Ends of the process while cameras run, and calls that come after its end has begun.
#include <cstdlib>
#include <thread>
#include <unistd.h>

#include "support/eventually.h"

#include "body.h"

Streams::Streams() {
    REQUIRE(ox_orvex_init() == 1);
    int16 total = 0;
    REQUIRE(ox_cam_get_total(&total) == 1 && total > 0);
    for (int16 number = 0; number < total; ++number) {
        const rgn_type region{0, 63, 1, 0, 63, 1};
        char name[CAM_NAME_LEN];
        int16 hcam = -1;
        uns32 bytes = 0;
        REQUIRE(ox_cam_get_name(number, name) == 1);
        REQUIRE(ox_cam_open(name, &hcam, EXT_OPEN_EXCLUSIVE) == 1);
        REQUIRE(ox_exp_setup_cont(hcam, 1, &region, TIMED_MODE, 1, &bytes, CIRC_OVERWRITE) == 1);
        std::vector<uns16>& ring = rings_.emplace_back(size_t{8} * bytes / 2);
        REQUIRE(ox_exp_start_cont(hcam, ring.data(), 8 * bytes) == 1);
        cameras.push_back(hcam);
    }
    REQUIRE(GoOn());
}

int32 Streams::Frames(int16 hcam) const {
    int16 status = 0;
    uns32 bytes = 0;
    uns32 rings = 0;
    FRAME_INFO info{};
    REQUIRE(ox_exp_check_cont_status_ex(hcam, &status, &bytes, &rings, &info) == 1);
    return info.FrameNr;
}

bool Streams::GoOn() const {
    for (const int16 hcam : cameras) {
        const int32 before = Frames(hcam);
        if (!support::Eventually([&] { return Frames(hcam) > before + 2; })) return false;
    }
    return true;
}

namespace {

// As a program's own global object that holds a camera; made before the driver module is loaded.
Streams* held = nullptr;
const char* late = "";

void CallLate() {
    std::string text = "late calls are answered\n";
    if (held) {
        REQUIRE(held->GoOn());
        for (const int16 hcam : held->cameras) REQUIRE(ox_cam_close(hcam) == 1);
        REQUIRE(ox_orvex_uninit() == 1);
    }
    int16 total = 0;
    uns16 value = 0;
    uns16 version = 0;
    char message[ERROR_MSG_LEN];
    REQUIRE(ox_cam_get_total(&total) == 0 && ox_error_code() == C2_ORVEX_NOT_INITED);
    REQUIRE(ox_error_message(ox_error_code(), message) == 1 && ox_dd_get_timeout(0, &value) == 0);
    REQUIRE(ox_orvex_get_ver(&version) == 1 && ox_orvex_uninit() == 0);
    if (held) REQUIRE(ox_orvex_init() == 1 && ox_orvex_uninit() == 1);
    REQUIRE(write(STDOUT_FILENO, text.data(), text.size()) > 0);
}

struct Global {
    ~Global() {
        if (std::string(late) == "global") CallLate();
    }
} global;

// Registered before any library is initialised, so that it runs after all of them are torn down.
void RegisterLateCalls() {
    std::atexit([] {
        if (std::string(late) == "last" || std::string(late) == "idle") CallLate();
    });
}

__attribute__((section(".preinit_array"),
               used)) void (*const register_late_calls)() = RegisterLateCalls;

void ExitInCallback(FRAME_INFO*, void*) {
    std::exit(0);
}

}  // namespace

void CallsLate(const std::string& when) {
    late = when == "global" ? "global" : when == "last" ? "last" : "idle";
    if (when != "idle") held = new Streams;
}

void Exits(const std::string& from) {
    auto* const streams = new Streams;
    if (from == "main") std::exit(0);
    if (from == "return") return;
    if (from == "thread") std::thread([] { std::exit(0); }).detach();
    if (from == "callback") {
        auto* const callback = reinterpret_cast<void*>(&ExitInCallback);
        REQUIRE(ox_cam_register_callback_ex3(streams->cameras.back(), OX_CALLBACK_EOF, callback,
                                             nullptr) == 1);
    }
    for (;;) pause();
}
