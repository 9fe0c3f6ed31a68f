#pragma once

#include <cstdint>

#include "engine/bytes.h"

namespace softcam {

// What a program does to the camera; here, nothing. Operations that take time return false to end
// the run.
class ProgramEffects {
  public:
    virtual ~ProgramEffects() = default;

    // `scale` is 0 while no scale was loaded: then the exposure time register counts.
    virtual bool Expose(uint16_t /*scale*/, uint16_t /*count*/, bool /*fast*/) { return true; }
    virtual bool ClearUntilTrigger() { return true; }
    virtual bool ExposeUntilTrigger() { return true; }
    virtual bool ExposeWhileTrigger() { return true; }
    virtual bool Flash(uint16_t /*duration*/) { return true; }
    virtual bool Shutter(bool /*open*/) { return true; }

    virtual void ParallelDiscard(uint16_t /*rows*/) {}
    virtual void ParallelBin(uint16_t /*rows*/) {}
    virtual void ParallelClear(uint16_t /*rows*/) {}
    virtual void Clear() {}
    virtual void StorageOnly(bool /*on*/) {}

    virtual void SerialDiscard(uint16_t /*pixels*/) {}
    virtual void SerialBin(uint16_t /*factor*/) {}
    // False when the frame outgrows what the camera can hold.
    virtual bool SerialConvert(uint16_t /*pixels*/) { return true; }
    virtual bool EndOfFrame() { return true; }

    virtual void SelectPort(uint16_t /*address*/) {}
    virtual void SetPort(uint16_t /*state*/) {}
    virtual void SetDac(uint16_t /*thousandths*/) {}
    virtual void SetGain(uint16_t /*gain*/) {}
    // Clocking modes that leave the pixels as they are.
    virtual void ClockingMode(uint8_t /*operation*/) {}
};

enum class ProgramEnd : uint8_t {
    terminated,
    bad_operation,
    truncated,
    unbalanced_loop,
    budget_spent,
    stopped
};

const char* NameOf(ProgramEnd end);

// Whether a program can run at all: whole records, known operations, loops that close, an end.
ProgramEnd CheckProgram(engine::Bytes program);

// Runs a program of three-byte records. `budget` limits the records between two ends of frame, so
// that a program that does nothing for ever stops.
ProgramEnd RunProgram(engine::Bytes program, ProgramEffects& effects, uint32_t budget);

}  // namespace softcam
