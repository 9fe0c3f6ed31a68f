#pragma once

#include <cstdint>

#include "engine/bytes.h"

namespace softcam {

// What a program does to the camera. Operations that take time return false to end the run.
class ProgramEffects {
  public:
    virtual ~ProgramEffects() = default;

    // `scale` is 0 while no scale was loaded: then the exposure time register counts.
    virtual bool Expose(uint16_t scale, uint16_t count, bool fast) = 0;
    virtual bool ClearUntilTrigger() = 0;
    virtual bool ExposeUntilTrigger() = 0;
    virtual bool ExposeWhileTrigger() = 0;
    virtual bool Flash(uint16_t duration) = 0;
    virtual void Shutter(bool open) = 0;

    virtual void ParallelDiscard(uint16_t rows) = 0;
    virtual void ParallelBin(uint16_t rows) = 0;
    virtual void ParallelClear(uint16_t rows) = 0;
    virtual void Clear() = 0;
    virtual void StorageOnly(bool on) = 0;

    virtual void SerialDiscard(uint16_t pixels) = 0;
    virtual void SerialBin(uint16_t factor) = 0;
    // False when the frame outgrows what the camera can hold.
    virtual bool SerialConvert(uint16_t pixels) = 0;
    virtual bool EndOfFrame() = 0;

    virtual void SelectPort(uint16_t address) = 0;
    virtual void SetPort(uint16_t state) = 0;
    virtual void SetDac(uint16_t thousandths) = 0;
    virtual void SetGain(uint16_t gain) = 0;
    // Clocking modes that leave the pixels as they are.
    virtual void ClockingMode(uint8_t operation) = 0;
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
