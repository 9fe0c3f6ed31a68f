// What tests do in a process of its own, because of its environment or its end: runs the body that
// the argument names. Exits with 0 when everything was as it has to be.
#include <array>
#include <cstdlib>
#include <iostream>
#include <string>
#include <unistd.h>

#include "orvex/orvex.h"

#include "support/scripted_driver.h"

namespace {

void Require(bool held, const char* what) {
    if (held) return;
    std::cerr << "not so: " << what << ", error " << ox_error_code() << '\n';
    std::exit(1);
}
#define REQUIRE(condition) Require(condition, #condition)

void TracedRun() {
    support::ScriptedDriver driver;
    driver.add_camera("Traced");
    driver.publish();
    REQUIRE(ox_orvex_init() == 1);
    int16 total = 0;
    REQUIRE(ox_cam_get_total(&total) == 1);
    REQUIRE(ox_exp_abort(3, CCS_HALT) == 0);
    REQUIRE(ox_orvex_uninit() == 1);
}

void EndWithOpenCameras() {
    // The driver stays for the end of the process, as a real module would.
    auto* driver = new support::ScriptedDriver;
    std::array<std::string, 2> names{"Left open", "Left open, too"};
    driver->add_camera(names[0]).kernel_mode();
    driver->add_camera(names[1]);
    driver->publish();
    REQUIRE(ox_orvex_init() == 1);
    for (std::string& name : names) {
        int16 hcam = -1;
        REQUIRE(ox_cam_open(name.data(), &hcam, EXT_OPEN_FW_UPDATE) == 1);
    }
}

bool late_calls = false;

void CallAfterTheLibraryIsTornDown() {
    if (!late_calls) return;
    int16 total = 0;
    uns16 value = 0;
    uns16 version = 0;
    char message[ERROR_MSG_LEN];
    const bool as_expected =
        ox_cam_get_total(&total) == 0 && ox_error_code() == C2_ORVEX_NOT_INITED &&
        ox_error_message(ox_error_code(), message) == 1 && ox_dd_get_timeout(0, &value) == 0 &&
        ox_orvex_get_ver(&version) == 1 && ox_orvex_uninit() == 0;
    const std::string text = as_expected ? "late calls are answered\n" : "late calls differ\n";
    if (write(STDOUT_FILENO, text.data(), text.size()) < 0) _exit(1);
}

// Registered before any library is initialised, so that it runs after all of them are torn down.
void RegisterLateCalls() {
    std::atexit(CallAfterTheLibraryIsTornDown);
}

__attribute__((section(".preinit_array"),
               used)) void (*const register_late_calls)() = RegisterLateCalls;

}  // namespace

int main(int argc, char** argv) {
    const std::string body = argc == 2 ? argv[1] : "";
    if (body == "traced_run") {
        TracedRun();
    } else if (body == "end_with_open_cameras") {
        EndWithOpenCameras();
    } else if (body == "late_calls") {
        late_calls = true;
    } else {
        std::cerr << "usage: test_child traced_run|end_with_open_cameras|late_calls\n";
        return 2;
    }
    return 0;
}
