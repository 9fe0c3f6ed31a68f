#include <cmath>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

#include "softcam/ccl_interpreter.h"
#include "softcam/charge_array.h"

#include "driver_client.h"

namespace {

using client::Full;
using softcam::ProgramEnd;

// Writes down what a program does, as one word per operation.
class Record : public softcam::ProgramEffects {
  public:
    bool Expose(uint16_t scale, uint16_t count, bool fast) override {
        return Note(fast ? "fast" : "expose", scale * 1000 + count);
    }
    bool ClearUntilTrigger() override { return Note("clear_trig"); }
    bool ExposeUntilTrigger() override { return Note("until_trig"); }
    bool ExposeWhileTrigger() override { return Note("while_trig"); }
    bool Flash(uint16_t duration) override { return Note("flash", duration); }
    bool Shutter(bool open) override { return Note(open ? "open" : "close"); }
    void ParallelDiscard(uint16_t rows) override { Note("discard", rows); }
    void ParallelBin(uint16_t rows) override { Note("bin", rows); }
    void ParallelClear(uint16_t rows) override { Note("pclear", rows); }
    void Clear() override { Note("clear"); }
    void StorageOnly(bool on) override { Note(on ? "storage" : "both"); }
    void SerialDiscard(uint16_t pixels) override { Note("skip", pixels); }
    void SerialBin(uint16_t factor) override { Note("sbin", factor); }
    bool SerialConvert(uint16_t pixels) override { return Note("convert", pixels); }
    bool EndOfFrame() override { return Note("eof"); }
    void SelectPort(uint16_t address) override { Note("port", address); }
    void SetPort(uint16_t state) override { Note("ttl", state); }
    void SetDac(uint16_t thousandths) override { Note("dac", thousandths); }
    void SetGain(uint16_t gain) override { Note("gain", gain); }
    void ClockingMode(uint8_t operation) override { Note("mode", operation); }

    std::string text;
    int left = -1;  // timed operations until the run is stopped

  private:
    bool Note(const std::string& word, int value = -1) {
        text += (text.empty() ? "" : " ") + word;
        if (value >= 0) text += std::to_string(value);
        return left < 0 || left-- > 0;
    }
};

std::string Trace(const client::Bytes& program, ProgramEnd expected = ProgramEnd::terminated) {
    Record record;
    EXPECT_EQ(softcam::RunProgram(program, record, 1000), expected);
    return record.text;
}

TEST(Interpreter, OperationsHaveTheirEffectAndTheScaleHolds) {
    EXPECT_EQ(Trace(Full({{OP_EXPOSE_SCALE, 2},
                          {OP_EXPOSE, 1},
                          {OP_EXPOSE_FAST, 5},
                          {OP_EXPOSE_SCALE, 3},
                          {OP_EXPOSE, 1},
                          {OP_OPEN_SHUTTER},
                          {OP_CLOSE_SHUTTER},
                          {OP_PARALLEL_DIS, 260},
                          {OP_PARALLEL_BIN, 2},
                          {OP_PARALLEL_CLEAR, 9},
                          {OP_CLAMPED_DISCARD, 4},
                          {OP_SERIAL_DISCARD, 5},
                          {OP_SET_SERIAL_BIN, 2},
                          {OP_SERIAL_CONVERT, 6},
                          {OP_CLEAR_UNTIL_TRIG},
                          {OP_EXPOSE_UNTIL_TRIG},
                          {OP_EXPOSE_WHILE_TRIG},
                          {OP_EOF},
                          {OP_CLEAR},
                          {OP_SET_GAIN, 2},
                          {OP_IMAGE_AND_STORAGE},
                          {OP_STORAGE_ONLY},
                          {OP_FLASH, 8},
                          {OP_PORT_SELECT, 1},
                          {OP_SET_DAC, 1500},
                          {OP_SET_PORT_TTL, 1},
                          {OP_PREAMP_OFF},
                          {OP_TERMINATE}})),
              "expose2001 fast2005 expose3001 open close discard260 bin2 pclear9 skip4 skip5 sbin2 "
              "convert6 clear_trig until_trig while_trig eof clear gain2 both storage flash8 port1 "
              "dac1500 ttl1 mode21");
}

TEST(Interpreter, EndsWithAReason) {
    EXPECT_EQ(Trace({}, ProgramEnd::truncated), "");
    EXPECT_EQ(Trace({0, 0}, ProgramEnd::truncated), "");
    EXPECT_EQ(Trace(Full({{OP_CLEAR}}), ProgramEnd::truncated), "clear");
    EXPECT_EQ(Trace({0, 0, 37}, ProgramEnd::bad_operation), "");
    EXPECT_EQ(Trace(Full({{OP_END_DO}}), ProgramEnd::unbalanced_loop), "");
    EXPECT_EQ(Trace(Full({{OP_DO_LOOP, 1}, {OP_TERMINATE}}), ProgramEnd::unbalanced_loop), "");
    EXPECT_EQ(Trace(Full({{OP_DO_LOOP, 65535}, {OP_PREAMP_ON}, {OP_END_DO}, {OP_TERMINATE}}),
                    ProgramEnd::budget_spent)
                  .size(),
              499 * 7u + 6u);
    // A program without end is good as long as it makes frames.
    Record record;
    record.left = 5000;
    EXPECT_EQ(softcam::RunProgram(
                  Full({{OP_DO_LOOP, 65535}, {OP_EOF}, {OP_END_DO}, {OP_TERMINATE}}), record, 10),
              ProgramEnd::stopped);
}

TEST(Interpreter, NeverLeavesTheProgram) {
    std::mt19937 random(3);
    for (int round = 0; round < 5000; ++round) {
        client::Bytes program(random() % 90);
        for (uint8_t& byte : program) byte = static_cast<uint8_t>(random() % 40);
        Record record;
        const ProgramEnd end = softcam::RunProgram(program, record, 500);
        const bool sound = softcam::CheckProgram(program) == ProgramEnd::terminated;
        EXPECT_TRUE(!sound || end == ProgramEnd::terminated || end == ProgramEnd::budget_spent);
    }
}

// One electron more in each row, in its first pixel.
void NumberRow(int32_t row, std::span<uint32_t> pixels) {
    pixels[0] = static_cast<uint32_t>(row) + 1;
}

// A sensor that counts its storage among its rows: the half away from the register sees light.
TEST(ChargeArray, HalfOfTheRowsAreStorageWhenThePreMaskIsSmall) {
    const firmware::Geometry geometry{.columns = 2, .rows = 7, .premask = 1, .postmask = 1};
    const softcam::SensorLayout layout = softcam::LayoutOf(geometry, true);
    EXPECT_EQ(layout.lit_rows, 3u);
    softcam::ChargeArray charge(layout);
    const auto expose = [&] { charge.Charge(false, NumberRow); };
    expose();
    for (int frame = 0; frame < 2; ++frame) {
        charge.Shift(4);
        charge.StorageOnly(true);
        expose();  // the next frame, which stays where it is meanwhile
        charge.DiscardSerial(4);
        charge.Shift(1);
        charge.DiscardSerial(4);
        for (uint32_t row = 1; row <= 3; ++row) {
            charge.Shift(1);
            EXPECT_EQ(charge.ShiftSerial(), row);
            EXPECT_EQ(charge.ShiftSerial(), 0u);
        }
        charge.StorageOnly(false);
    }
}

TEST(ChargeArray, DiscardedRowsReachTheRegisterAndDrainedOnesDoNot) {
    const firmware::Geometry geometry{.columns = 1, .rows = 4};
    softcam::ChargeArray charge(softcam::LayoutOf(geometry, false));
    charge.Charge(false, NumberRow);
    charge.Drain(1);
    charge.Shift(2);
    EXPECT_EQ(charge.ShiftSerial(), 2u + 3u);
    charge.Shift(65535);
    EXPECT_EQ(charge.ShiftSerial(), 4u);
}

// One charge in row 199 and column 49 takes 200 shifts down and 50 along; a share stays behind each
// time and comes with the next row or column.
TEST(ChargeArray, ShiftsLeaveAShareToTheNextCharge) {
    constexpr uint32_t bright = 10'000'000;
    constexpr double loss = 1e-5;
    softcam::Noise noise(5);
    const firmware::Geometry geometry{.columns = 52, .rows = 202};
    softcam::ChargeArray charge(softcam::LayoutOf(geometry, false), loss, &noise);
    charge.Charge(false, [](int32_t row, std::span<uint32_t> pixels) {
        if (row == 199) pixels[49] = bright;
    });
    std::array<std::array<uint32_t, 52>, 202> read{};
    for (auto& row : read) {
        charge.Shift(1);
        for (uint32_t& pixel : row) pixel = charge.ShiftSerial();
    }
    const auto five_errors = [](double electrons) { return 5 * std::sqrt(electrons); };
    EXPECT_NEAR(read[200][49], 200 * loss * bright, five_errors(200 * loss * bright) + 50);
    EXPECT_NEAR(read[199][50], 50 * loss * bright, five_errors(50 * loss * bright) + 50);
    uint32_t sum = 0;
    for (const auto& row : read) sum = std::accumulate(row.begin(), row.end(), sum);
    EXPECT_EQ(sum, bright);
}

}  // namespace
