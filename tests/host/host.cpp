// A program that loads the library at run time, as hosts of plug-ins do: runs the body that its
// argument names, in the build directory. Exits with 0 when everything was as it has to be.
#include <atomic>
#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <iostream>
#include <string>
#include <unistd.h>
#include <vector>

#include "orvex/orvex.h"

namespace {

void Require(bool held, const char* what) {
    if (held) return;
    const char* reason = dlerror();
    std::cerr << "not so: " << what << ' ' << (reason ? reason : "") << '\n';
    std::_Exit(1);
}
#define REQUIRE(condition) Require(condition, #condition)

constexpr const char* library_file = "lib/liborvex.so.1";

class Library {
  public:
    Library() : handle_(dlopen(library_file, RTLD_NOW | RTLD_LOCAL)) {
        REQUIRE(handle_ != nullptr);
    }
    void Close() { REQUIRE(dlclose(handle_) == 0); }
    template <class Function>
    Function* Find(Function*, const char* name) const {
        void* const found = dlsym(handle_, name);
        REQUIRE(found != nullptr);
        return reinterpret_cast<Function*>(found);
    }

  private:
    void* handle_;
};
#define CALL(library, function, ...) \
    (library).Find(static_cast<decltype(&function)>(nullptr), #function)(__VA_ARGS__)

bool IsMapped(const std::string& file) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.find(file) != std::string::npos) return true;
    return false;
}

// 'first.log' and 'second.log' in the directory.
void Reload(const std::string& directory) {
    for (const char* log : {"/first.log", "/second.log"}) {
        setenv("ORVEX_CORE_LOG_FILE", (directory + log).c_str(), 1);
        Library library;
        REQUIRE(CALL(library, ox_orvex_init) == 1);
        REQUIRE(IsMapped("liborvex") && IsMapped("orvexDDI"));
        REQUIRE(CALL(library, ox_orvex_uninit) == 1);
        REQUIRE(!IsMapped("orvexDDI"));
        library.Close();
        REQUIRE(!IsMapped("liborvex"));
    }
}

// A host that forgot ox_orvex_uninit() finds everything as it was.
void Forget(const std::string&) {
    Library library;
    REQUIRE(CALL(library, ox_orvex_init) == 1);
    char name[CAM_NAME_LEN];
    int16 hcam = -1;
    REQUIRE(CALL(library, ox_cam_get_name, 0, name) == 1);
    REQUIRE(CALL(library, ox_cam_open, name, &hcam, EXT_OPEN_EXCLUSIVE) == 1);
    library.Close();
    usleep(20'000);  // the threads of the camera run on

    Library again;
    uns16 columns = 0;
    REQUIRE(CALL(again, ox_orvex_init) == 0);
    REQUIRE(CALL(again, ox_error_code) == C2_ORVEX_ALREADY_INITED);
    REQUIRE(CALL(again, ox_get_param, hcam, PARAM_SER_SIZE, ATTR_CURRENT, &columns) == 1);
    REQUIRE(CALL(again, ox_orvex_uninit) == 1);
    REQUIRE(CALL(again, ox_orvex_init) == 1);
    REQUIRE(CALL(again, ox_orvex_uninit) == 1);
    again.Close();
    REQUIRE(!IsMapped("liborvex"));
}

Library* in_callback = nullptr;
std::atomic<int> ended{0};

void EndInCallback(FRAME_INFO*, void*) {
    if (ended != 0) return;
    ended = 1;
    REQUIRE(CALL(*in_callback, ox_orvex_uninit) == 1);
    ended = 2;
    while (ended != 3) usleep(1000);
}

// A callback that ended the library returns into it after the host has closed it.
void EndFromWithin(const std::string&) {
    Library library;
    in_callback = &library;
    const rgn_type region = {0, 63, 1, 0, 63, 1};
    char name[CAM_NAME_LEN];
    int16 hcam = -1;
    uns32 bytes = 0;
    REQUIRE(CALL(library, ox_orvex_init) == 1);
    REQUIRE(CALL(library, ox_cam_get_name, 1, name) == 1);
    REQUIRE(CALL(library, ox_cam_open, name, &hcam, EXT_OPEN_EXCLUSIVE) == 1);
    REQUIRE(CALL(library, ox_cam_register_callback_ex3, hcam, OX_CALLBACK_EOF,
                 reinterpret_cast<void*>(&EndInCallback), nullptr) == 1);
    REQUIRE(CALL(library, ox_exp_setup_seq, hcam, 1, 1, &region, TIMED_MODE, 1, &bytes) == 1);
    std::vector<char> frame(bytes);
    REQUIRE(CALL(library, ox_exp_start_seq, hcam, frame.data()) == 1);
    while (ended != 2) usleep(1000);
    library.Close();
    ended = 3;
    usleep(50'000);  // the thread comes to its end
}

// Whatever was named relative to the first directory is still found.
void ChangeDirectory(const std::string& away) {
    Library library;
    REQUIRE(chdir(away.c_str()) == 0);
    uns16 version = 0;
    REQUIRE(CALL(library, ox_orvex_get_ver, &version) == 1 && version == 0x0999);
    REQUIRE(CALL(library, ox_orvex_init) == 1);
    REQUIRE(CALL(library, ox_orvex_uninit) == 1);
    // Beside the library, with nothing in the environment.
    unsetenv("ORVEX_REGISTRY");
    unsetenv("ORVEX_MODULE_PATH");
    REQUIRE(CALL(library, ox_orvex_get_ver, &version) == 1 && version != 0x0999);
    REQUIRE(CALL(library, ox_orvex_init) == 1);
    REQUIRE(CALL(library, ox_orvex_uninit) == 1);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const std::string body = argv[1];
    if (body == "reload") Reload(argv[2]);
    if (body == "forget") Forget(argv[2]);
    if (body == "end_from_within") EndFromWithin(argv[2]);
    if (body == "change_directory") ChangeDirectory(argv[2]);
    return 0;
}
