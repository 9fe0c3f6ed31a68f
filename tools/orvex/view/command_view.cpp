#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include "orvex/commands.h"
#include "orvex/interrupt.h"
#include "orvex/run_again.h"
#include "orvex/value_hints.h"
#include "orvex/view/camera_worker.h"
#include "orvex/view/server.h"

extern char** environ;

// view: a page that shows the camera live.
namespace orvex {

namespace {

constexpr const char* trace_variable = "ORVEX_CORE_LOG_FILE";
constexpr const char* own_trace_variable = "ORVEX_VIEW_TRACE";

struct ViewOptions {
    std::string camera = "0";
    std::string folder = ".";
    int port = 0;
    bool open = false;
    bool trace = true;
    double exposure_ms = 10;
    std::string region;
    std::string binning = "1";
};

// The library reads the name of its trace when it is loaded. So the program runs itself once more,
// with the trace in a pipe whose other end it holds itself.
void run_traced() {
    int ends[2];
    if (std::getenv(trace_variable) || pipe(ends) != 0) return;
    run_again({{own_trace_variable, std::to_string(ends[0]) + ' ' + std::to_string(ends[1])},
               {trace_variable, "/proc/self/fd/" + std::to_string(ends[1])},
               {"ORVEX_CORE_LOG_LEVEL", "D"}});
    // Without a trace, then.
    close(ends[0]);
    close(ends[1]);
}

// The end to read from, when this is the second run; else -1.
int own_trace() {
    const char* text = std::getenv(own_trace_variable);
    int reads = -1, writes = -1;
    if (!text || std::sscanf(text, "%d %d", &reads, &writes) != 2) return -1;
    // The library has opened it for itself; its end then is the end of the trace.
    close(writes);
    fcntl(reads, F_SETFD, FD_CLOEXEC);
    // Nothing that is started from here writes into it.
    unsetenv(own_trace_variable);
    unsetenv(trace_variable);
    return reads;
}

void open_browser(const std::string& address) {
    std::string program = "xdg-open", argument = address;
    char* arguments[] = {program.data(), argument.data(), nullptr};
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // The signals that this program holds back are for a browser, too.
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    pid_t child = 0;
    if (posix_spawnp(&child, program.c_str(), nullptr, &attributes, arguments, environ) != 0) {
        std::fputs("orvex: there is no xdg-open to open the page with\n", stderr);
    }
    posix_spawnattr_destroy(&attributes);
}

void view_camera(const ViewOptions& options) {
    view::WorkerOptions worker_options{options.camera, options.folder, {}};
    view::ViewSetUp& set_up = worker_options.set_up;
    set_up.exposure_ms = options.exposure_ms;
    SetUp parsed;
    parse_binning(options.binning, parsed);
    set_up.binning = {parsed.sbin, parsed.pbin};
    const int trace_pipe = own_trace();
    if (trace_pipe < 0 && options.trace) run_traced();

    view::EventLog log;
    view::ProgramTrace trace(log);
    if (trace_pipe >= 0) trace.follow(trace_pipe);
    view::FrameBoard board;
    view::Server server(options.port);
    const view::Access access(server.port());
    view::CameraWorker worker(worker_options, board, log, trace);
    const view::Site site(access, worker, board);
    const view::Server::Running running(server, site);
    const std::string address = "http://127.0.0.1:" + std::to_string(server.port()) + "/?token=";
    std::printf("view:   %s%s\nguests: %s%s\nCtrl-C ends it\n", address.c_str(),
                access.controller_token().c_str(), address.c_str(), access.guest_token().c_str());
    std::fflush(stdout);
    if (options.open) open_browser(address + access.controller_token());
    while (!interrupted_within(std::chrono::milliseconds(500))) {
    }
    board.close();
}

}  // namespace

void add_view(CLI::App& program) {
    auto options = std::make_shared<ViewOptions>();
    CLI::App* command =
        program.add_subcommand("view", "Serve a page on this machine that shows the camera live");
    hint(command->add_option("camera", options->camera, "name or index; default the first"),
         {ValueKind::camera});
    command->add_option("--port", options->port, "of 127.0.0.1; default one that is free")
        ->check(CLI::Range(1, 65535));
    command->add_option("--out", options->folder, "folder of the files that are saved")
        ->capture_default_str();
    command->add_option("--exposure", options->exposure_ms, "exposure to begin with, in ms")
        ->capture_default_str();
    command->add_option("--bin", options->binning, "binning to begin with, N or NxM")
        ->capture_default_str();
    command->add_flag("--open", options->open, "open the page in a browser");
    command->add_flag("--trace,!--no-trace", options->trace,
                      "follow the library's trace, for its lines and the camera program");
    add_examples(*command, {{"orvex view SoftCMOS-2048 --open", "a camera live, in a browser"},
                            {"orvex view --port 8080 --out night",
                             "the first camera, at an address "
                             "that stays"}});
    command->callback([options] { view_camera(*options); });
}

}  // namespace orvex
