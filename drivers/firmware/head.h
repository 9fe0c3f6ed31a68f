#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "engine/sensor.h"

#include "firmware/settings.h"
#include "firmware/simplified_program.h"

namespace firmware {

// What a run executes: one of the two kinds of program, or neither while none was loaded. The
// settings are a copy, which commands don't reach; the programs stay until the run was stopped.
struct RunPlan {
    const SimplifiedProgram* simplified = nullptr;
    engine::Bytes full;
    Settings settings;
};

// A camera without its protocol: what takes the pictures behind the firmware, be it hardware or a
// simulation. Commands and programs come one at a time, on the thread that sends them.
class Head {
  public:
    virtual ~Head() = default;

    virtual const engine::Description& About() const = 0;
    virtual std::span<const engine::BridgeNode> BridgeNodes() const = 0;
    virtual engine::Disturbance* LinkDisturbance() { return nullptr; }

    // The data sheet of the camera that answers; null when none does. Events may come from any
    // thread from here on, and none is in progress or comes after Disconnect(). The live state is
    // the camera's own to write and for commands to read.
    virtual const Model* Connect(engine::HostSide& host, LiveState& live) = 0;
    virtual void Disconnect() = 0;

    // In hundredths of a degree Celsius, where it is known.
    virtual int16_t Temperature() { return 0; }
    virtual int16_t Setpoint() { return 0; }
    virtual void SetSetpoint(int16_t /*setpoint*/) {}

    // What it can't execute is refused when it is loaded. Programs of the other dialect than the
    // data sheet's don't come here.
    virtual bool Accepts(const SimplifiedProgram& program, const Settings& settings) = 0;
    virtual bool AcceptsFull(engine::Bytes /*program*/) { return false; }
    // From the last exposure of a frame to its end; of the whole sensor without a program.
    virtual int64_t ReadoutNanoseconds(const RunPlan& plan) = 0;
    // How long it rests after an abort.
    virtual int64_t PostAbortNanoseconds() { return 0; }
    // Times of an exposure list are rounded down to multiples of this.
    virtual uint32_t ExposureListStep() { return 1; }

    // Begins a run and returns at once; its frames come from one thread. Nothing runs before.
    virtual bool Start(RunPlan plan) = 0;
    // Afterwards no frame is in progress and none comes. Harmless when nothing runs.
    virtual void Stop() = 0;

    // One line of the service console, and its answer.
    virtual std::string Console(const std::string& /*line*/) { return "unknown"; }
    // Whether the next command is refused for no reason of its own. Only tests have a use for it.
    virtual bool RefusesCommand() { return false; }
};

}  // namespace firmware
