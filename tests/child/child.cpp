// What tests do in a process of its own, because of its environment or its end: runs the body that
// the arguments name. Exits with 0 when everything was as it has to be.
#include <cstdlib>
#include <iostream>
#include <string>

#include "support/scripted_driver.h"

#include "body.h"

void Require(bool held, const char* what) {
    if (held) return;
    std::cerr << "not so: " << what << ", error " << ox_error_code() << '\n';
    std::_Exit(1);
}

namespace {

void TracedRun(const std::string&) {
    support::ScriptedDriver driver;
    driver.add_camera("Traced");
    driver.publish();
    REQUIRE(ox_orvex_init() == 1);
    int16 total = 0;
    REQUIRE(ox_cam_get_total(&total) == 1);
    REQUIRE(ox_exp_abort(3, CCS_HALT) == 0);
    REQUIRE(ox_orvex_uninit() == 1);
}

struct Body {
    const char* name;
    void (*run)(const std::string& argument);
};
constexpr Body bodies[] = {
    {"traced_run", TracedRun},
    {"exit", Exits},
    {"late_calls", CallsLate},
    {"fork", Forks},
    {"refused_writes", MeetsRefusedWrites},
    {"privileged", RunsPrivileged},
};

}  // namespace

int main(int argc, char** argv) {
    for (const Body& body : bodies) {
        if (argc < 2 || std::string(argv[1]) != body.name) continue;
        body.run(argc > 2 ? argv[2] : "");
        return 0;
    }
    std::cerr << "no such body\n";
    return 2;
}
