#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "acquisition/generator.h"
#include "acquisition/script.h"
#include "state/api_global.h"

// Programs as texts, and the small camera that most tests of programs start from.
namespace program_test {

struct Op {
    uns8 op;
    uns16 argument;
};
using Ops = std::vector<Op>;

// By the number of the operation; with its argument, unless that is 0, it reads "shift 200".
inline std::string WordOf(uns8 op) {
    std::istringstream words(
        "terminate|do|end do|scale|expose|open|close|shift|bin|alternate on|clamped|skip|"
        "serial bin|convert|clear until trigger|until trigger|while trigger|eof|clear|gain|"
        "preamp on|preamp off|both halves|storage only|mpp on|mpp off|antibloom on|"
        "antibloom off|flash|alternate off|latch|diagnose|expose fast|port|dac|ttl|parallel clear");
    std::string word;
    for (int i = 0; i <= op; ++i) std::getline(words, word, '|');
    return word;
}

// A program of its own that this thread loads.
class Program {
  public:
    explicit Program(uns16 entries = script_max_entries) {
        bv::ApiGlobal::ClearErrorCode(EXT_OPEN_EXCLUSIVE);
        script_.Allocate(entries);
        bv_script_load_begin(script_.get(), entries);
    }

    script_type& script() const { return *script_.get(); }
    std::vector<uns8> bytes() const {
        return {script_->data, script_->data + bv_script_load_position()};
    }
    Ops ops() const {
        Ops ops;
        const std::vector<uns8> all = bytes();
        for (size_t i = 0; i + 2 < all.size(); i += 3) {
            ops.push_back({all[i + 2], static_cast<uns16>(all[i] << 8 | all[i + 1])});
        }
        return ops;
    }
    std::string text() const {
        std::string text;
        for (const Op& op : ops()) {
            text += (text.empty() ? "" : ", ") + WordOf(op.op);
            if (op.argument != 0) text += " " + std::to_string(op.argument);
        }
        return text;
    }

  private:
    bv::ScriptOwner script_;
};

// A plain sensor of 100 by 100 and one frame of 10 ms of its rows 10 to 19.
struct PlainRun {
    std::vector<rgn_type> regions{{.s1 = 0, .s2 = 99, .sbin = 1, .p1 = 10, .p2 = 19, .pbin = 1}};
    uns16 exp_total = 1;
    int16 exp_mode = TIMED_MODE;
    uns32 exposure_time = 10;
    int32 exp_res = EXP_RES_ONE_MILLISEC;
    int16 buf_mode = CIRC_NONE;
    uns16 clear_mode = CLEAR_PRE_SEQUENCE;
    uns16 clear_cycles = 2;
    bool parallel_clear = false;
    uns16 shtr_open_mode = OPEN_PRE_EXPOSURE;
    uns16 shtr_open_delay = 0;
    uns16 shtr_close_delay = 0;
    uns16 preflash = 0;
    uns16 par_size = 100;
    uns16 ser_size = 100;
    uns16 prescan = 0;
    uns16 postscan = 0;
    uns16 premask = 0;
    uns16 postmask = 0;
    uns16 frame_capable = 0;
    uns16 frame_transfer_on = 0;
    uns16 alt_on = 0;
    uns16 mpp_selectable = 0;
    uns16 mpp_on = 0;
    io_script_lists* io_info = nullptr;

    // False when the full program can't be written.
    bool Write(const Program& program) const {
        bv::ProgramSetup setup;
        setup.camera = {.shtr_close_delay = shtr_close_delay,
                        .shtr_open_delay = shtr_open_delay,
                        .par_size = par_size,
                        .ser_size = ser_size,
                        .prescan = prescan,
                        .postscan = postscan,
                        .premask = premask,
                        .postmask = postmask,
                        .preflash = preflash,
                        .clear_cycles = clear_cycles,
                        .mpp_selectable = mpp_selectable,
                        .frame_capable = frame_capable,
                        .clear_mode = clear_mode,
                        .shtr_open_mode = shtr_open_mode,
                        .mpp_on = mpp_on,
                        .frame_transfer_on = frame_transfer_on,
                        .alt_on = alt_on,
                        .exp_res = exp_res,
                        .io_info = io_info};
        setup.parallel_clear = parallel_clear;
        setup.preamp_off_control = 10000;
        setup.buf_mode = buf_mode;
        setup.exp_total = exp_total;
        setup.regions = regions;
        setup.exp_mode = exp_mode;
        setup.exposure_time = exposure_time;
        return bv::WriteFullProgram(setup, program.script());
    }
    // Empty when it can't be written.
    std::string Text() const {
        const Program program;
        return Write(program) ? program.text() : std::string();
    }
};

}  // namespace program_test
