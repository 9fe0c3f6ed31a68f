// What tests run in a process of its own: a second user of names and files, and hosts that load the
// library at run time. Exits with 0 when everything was as it has to be, else with a line number.
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "orvex/orvex.h"
#include "orvex/orvex_event.h"

#include "platform/append_file.h"
#include "platform/windows/api.h"

namespace {

#define REQUIRE(condition) \
    if (!(condition)) ExitProcess(__LINE__)

constexpr const char* library_name = "orvex.dll";

class Library {
  public:
    Library() : handle_(LoadLibraryA(ORVEX_LIBRARY)) { REQUIRE(handle_); }
    void Close() { REQUIRE(FreeLibrary(handle_)); }
    template <class Function>
    Function* Find(Function*, const char* name) const {
        const auto found = reinterpret_cast<void*>(GetProcAddress(handle_, name));
        REQUIRE(found);
        return reinterpret_cast<Function*>(found);
    }

  private:
    HMODULE handle_;
};
#define FIND(library, function) (library).Find(&function, #function)

int AnswerEvent(const char* name, const char* answer) {
    orvex_event in{}, out{};
    REQUIRE(orvex_event_open_name(&in, name) && orvex_event_open_name(&out, answer));
    REQUIRE(orvex_event_wait(&in, 10'000) && orvex_event_set(&out));
    return 0;
}

int Append(const char* path, char letter, int lines) {
    platform::AppendFile file;
    REQUIRE(file.Open(path));
    for (int i = 0; i < lines; ++i) file.Append(std::string(100, letter) + '\n');
    return 0;
}

// Without a trace the library goes each time; the thread of a trace keeps it.
int Load(int rounds, bool stays) {
    for (int i = 0; i < rounds; ++i) {
        Library library;
        REQUIRE(FIND(library, ox_orvex_init)() == 1);
        REQUIRE(FIND(library, ox_orvex_uninit)() == 1);
        library.Close();
        REQUIRE((GetModuleHandleA(library_name) != nullptr) == stays);
    }
    return 0;
}

// Ends while a camera sends frames and threads trace.
int EndInTheMiddle() {
    const Library library;
    REQUIRE(FIND(library, ox_orvex_init)() == 1);
    char name[CAM_NAME_LEN];
    int16 hcam = -1;
    uns32 bytes = 0;
    int16 status = 0;
    uns32 seen = 0, rings = 0;
    const rgn_type region{0, 63, 1, 0, 63, 1};
    REQUIRE(FIND(library, ox_cam_get_name)(0, name) == 1);
    REQUIRE(FIND(library, ox_cam_open)(name, &hcam, EXT_OPEN_EXCLUSIVE) == 1);
    REQUIRE(FIND(library, ox_exp_setup_cont)(hcam, 1, &region, TIMED_MODE, 1, &bytes,
                                             CIRC_OVERWRITE) == 1);
    std::vector<uns16> ring(size_t{8} * bytes / 2);
    REQUIRE(FIND(library, ox_exp_start_cont)(hcam, ring.data(), 8 * bytes) == 1);
    const auto get = FIND(library, ox_cam_get_total);
    for (int i = 0; i < 3; ++i) {
        std::thread([get] {
            int16 total = 0;
            // With a pause, so that the queue has an end that can be written in time.
            for (;; Sleep(1)) get(&total);
        }).detach();
    }
    const auto check = FIND(library, ox_exp_check_cont_status);
    for (int i = 0; i < 1000 && rings < 1; ++i) {
        REQUIRE(check(hcam, &status, &seen, &rings) == 1);
        Sleep(1);
    }
    // The memory of the run goes with the process.
    ExitProcess(rings < 1 ? __LINE__ : 0);
}

}  // namespace

int main(int count, char** words) {
    const std::string what = count > 1 ? words[1] : "";
    if (what == "answer" && count == 4) return AnswerEvent(words[2], words[3]);
    if (what == "append" && count == 5) return Append(words[2], *words[3], std::stoi(words[4]));
    if (what == "load" && count == 4)
        return Load(std::stoi(words[2]), words[3] == std::string("stays"));
    if (what == "end") return EndInTheMiddle();
    return __LINE__;
}
