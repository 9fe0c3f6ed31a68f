#include "softcam/ccl_interpreter.h"

#include <array>

#include "orvex/orvex_protocol.h"

namespace softcam {
namespace {

constexpr size_t record_size = 3;
constexpr size_t loop_depth = 16;
constexpr uint8_t last_operation = OP_PARALLEL_CLEAR;

struct Loop {
    size_t body;
    uint16_t turns_left;
};

// The registers of a running program.
class Machine {
  public:
    Machine(engine::Bytes program, ProgramEffects& effects, uint32_t budget)
        : program_(program), effects_(effects), budget_(budget), steps_left_(budget) {}

    ProgramEnd Run() {
        while (!ended_) Step();
        return end_;
    }

  private:
    void End(ProgramEnd reason) {
        ended_ = true;
        end_ = reason;
    }
    void Continue(bool going_on) {
        if (!going_on) End(ProgramEnd::stopped);
    }

    void Step() {
        if (program_.size() - position_ < record_size) return End(ProgramEnd::truncated);
        if (steps_left_-- == 0) return End(ProgramEnd::budget_spent);
        const auto argument =
            static_cast<uint16_t>(program_[position_] << 8 | program_[position_ + 1]);
        const uint8_t operation = program_[position_ + 2];
        position_ += record_size;
        if (operation > last_operation) return End(ProgramEnd::bad_operation);
        Execute(static_cast<orvex_ccl_operation>(operation), argument);
    }

    void BeginLoop(uint16_t turns) {
        if (depth_ == loops_.size()) return End(ProgramEnd::unbalanced_loop);
        // A loop of no turns still runs its body once: the test stands at its end.
        loops_[depth_++] = {.body = position_, .turns_left = turns};
    }

    void EndLoop() {
        if (depth_ == 0) return End(ProgramEnd::unbalanced_loop);
        Loop& loop = loops_[depth_ - 1];
        if (loop.turns_left > 1) {
            --loop.turns_left;
            position_ = loop.body;
        } else {
            --depth_;
        }
    }

    void EndFrame() {
        steps_left_ = budget_;
        Continue(effects_.EndOfFrame());
    }

    void Execute(orvex_ccl_operation operation, uint16_t argument) {
        switch (operation) {
            case OP_TERMINATE:
                return End(depth_ == 0 ? ProgramEnd::terminated : ProgramEnd::unbalanced_loop);
            case OP_DO_LOOP: return BeginLoop(argument);
            case OP_END_DO: return EndLoop();
            case OP_EXPOSE_SCALE: scale_ = argument; return;
            case OP_EXPOSE: return Continue(effects_.Expose(scale_, argument, false));
            case OP_EXPOSE_FAST: return Continue(effects_.Expose(scale_, argument, true));
            case OP_OPEN_SHUTTER: return Continue(effects_.Shutter(true));
            case OP_CLOSE_SHUTTER: return Continue(effects_.Shutter(false));
            case OP_PARALLEL_DIS: return effects_.ParallelDiscard(argument);
            case OP_PARALLEL_BIN: return effects_.ParallelBin(argument);
            case OP_PARALLEL_CLEAR: return effects_.ParallelClear(argument);
            case OP_CLAMPED_DISCARD:
            case OP_SERIAL_DISCARD: return effects_.SerialDiscard(argument);
            case OP_SET_SERIAL_BIN: return effects_.SerialBin(argument);
            case OP_SERIAL_CONVERT:
            case OP_DIAGNOSTIC_CONV: return Continue(effects_.SerialConvert(argument));
            case OP_CLEAR_UNTIL_TRIG: return Continue(effects_.ClearUntilTrigger());
            case OP_EXPOSE_UNTIL_TRIG: return Continue(effects_.ExposeUntilTrigger());
            case OP_EXPOSE_WHILE_TRIG: return Continue(effects_.ExposeWhileTrigger());
            case OP_EOF: return EndFrame();
            case OP_CLEAR: return effects_.Clear();
            case OP_SET_GAIN: return effects_.SetGain(argument);
            case OP_IMAGE_AND_STORAGE: return effects_.StorageOnly(false);
            case OP_STORAGE_ONLY: return effects_.StorageOnly(true);
            case OP_FLASH: return Continue(effects_.Flash(argument));
            case OP_PORT_SELECT: return effects_.SelectPort(argument);
            case OP_SET_DAC: return effects_.SetDac(argument);
            case OP_SET_PORT_TTL: return effects_.SetPort(argument);
            case OP_PARALLEL_ALT_ON:
            case OP_PARALLEL_ALT_OFF:
            case OP_PREAMP_ON:
            case OP_PREAMP_OFF:
            case OP_MPP_ON:
            case OP_MPP_OFF:
            case OP_ANTIBLOOM_ON:
            case OP_ANTIBLOOM_OFF:
            case OP_SERIAL_LATCH: return effects_.ClockingMode(static_cast<uint8_t>(operation));
        }
    }

    engine::Bytes program_;
    ProgramEffects& effects_;
    uint32_t budget_;
    uint32_t steps_left_;
    size_t position_ = 0;
    std::array<Loop, loop_depth> loops_{};
    size_t depth_ = 0;
    uint16_t scale_ = 0;
    bool ended_ = false;
    ProgramEnd end_ = ProgramEnd::terminated;
};

}  // namespace

const char* NameOf(ProgramEnd end) {
    switch (end) {
        case ProgramEnd::terminated: return "terminated";
        case ProgramEnd::bad_operation: return "bad operation";
        case ProgramEnd::truncated: return "truncated";
        case ProgramEnd::unbalanced_loop: return "unbalanced loop";
        case ProgramEnd::budget_spent: return "budget spent";
        case ProgramEnd::stopped: return "stopped";
    }
    return "";
}

ProgramEnd CheckProgram(engine::Bytes program) {
    size_t depth = 0;
    for (size_t at = 0; at + record_size <= program.size(); at += record_size) {
        const uint8_t operation = program[at + 2];
        if (operation > last_operation) return ProgramEnd::bad_operation;
        if (operation == OP_DO_LOOP && ++depth > loop_depth) return ProgramEnd::unbalanced_loop;
        if (operation == OP_END_DO && depth-- == 0) return ProgramEnd::unbalanced_loop;
        if (operation != OP_TERMINATE) continue;
        if (at + record_size != program.size()) return ProgramEnd::truncated;
        return depth == 0 ? ProgramEnd::terminated : ProgramEnd::unbalanced_loop;
    }
    return ProgramEnd::truncated;
}

ProgramEnd RunProgram(engine::Bytes program, ProgramEffects& effects, uint32_t budget) {
    return Machine(program, effects, budget).Run();
}

}  // namespace softcam
