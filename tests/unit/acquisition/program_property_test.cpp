#include <gtest/gtest.h>
#include <random>

#include "unit/acquisition/program.h"

using program_test::Op;
using program_test::Ops;
using program_test::PlainRun;

namespace {

// What a program makes the sensor do, by running it without charge.
struct Totals {
    uns64 rows = 0;  // that left the sensor
    uns64 conversions = 0;
    uns64 lines = 0;
    uns32 frame_ends = 0;
    bool lines_complete = true;  // each line emptied the register
    bool balanced = true;
    bool terminated = false;
};

class Runner {
  public:
    Runner(Ops ops, const PlainRun& run) : ops_(std::move(ops)), run_(run) {}

    Totals Run() {
        Block(0, 0);
        if (line_open_) EndLine();
        return totals_;
    }

  private:
    // Runs from `at` to the matching end; returns where it stands.
    size_t Block(size_t at, int depth) {
        for (; at < ops_.size(); ++at) {
            const Op& op = ops_[at];
            switch (op.op) {
                case OP_DO_LOOP: {
                    size_t end = at;
                    for (uns16 turn = 0; turn < op.argument; ++turn) end = Block(at + 1, depth + 1);
                    at = end;
                    break;
                }
                case OP_END_DO: totals_.balanced &= depth > 0; return at;
                case OP_PARALLEL_DIS: Shift(op.argument); break;
                case OP_PARALLEL_BIN:
                    Shift(op.argument);
                    ++totals_.lines;
                    line_open_ = true;
                    pixels_ = 0;
                    break;
                case OP_SET_SERIAL_BIN: sbin_ = op.argument; break;
                case OP_CLAMPED_DISCARD:
                case OP_SERIAL_DISCARD: pixels_ += op.argument; break;
                case OP_SERIAL_CONVERT:
                    pixels_ += uns32{op.argument} * sbin_;
                    totals_.conversions += op.argument;
                    break;
                case OP_EOF:
                    if (line_open_) EndLine();
                    ++totals_.frame_ends;
                    break;
                case OP_TERMINATE:
                    totals_.terminated = at + 1 == ops_.size();
                    totals_.balanced &= depth == 0;
                    return at;
            }
        }
        totals_.balanced &= depth == 0;
        return at;
    }

    void Shift(uns16 rows) {
        if (line_open_) EndLine();
        totals_.rows += rows;
    }
    // Regions out of column order wrap at 16 bits, as the camera's counters do.
    void EndLine() {
        const auto width = static_cast<uns16>(run_.prescan + run_.ser_size + run_.postscan);
        totals_.lines_complete &= static_cast<uns16>(pixels_) == width;
        line_open_ = false;
    }

    const Ops ops_;
    const PlainRun& run_;
    Totals totals_;
    bool line_open_ = false;
    uns32 pixels_ = 0;
    uns16 sbin_ = 0;
};

struct Dice {
    uns16 Upto(int limit) {
        return static_cast<uns16>(std::uniform_int_distribution<int>(0, limit)(engine));
    }

    std::mt19937 engine{20240607};
};

// Non-overlapping regions on a grid whose cells are multiples of the binning.
std::vector<rgn_type> RandomRegions(Dice& dice, uns16 columns, uns16 rows, uns16 cell_width,
                                    uns16 cell_height, uns16 sbin, uns16 pbin) {
    std::vector<rgn_type> regions;
    for (uns16 row = 0; row < rows; ++row) {
        for (uns16 column = 0; column < columns; ++column) {
            if (dice.Upto(2) != 0) continue;
            const int s1 = column * cell_width + dice.Upto(cell_width / 2);
            const int height = pbin * (1 + dice.Upto(cell_height / pbin - 1));
            const int p1 = row * cell_height;
            const int s2 = s1 + dice.Upto(column * cell_width + cell_width - 1 - s1);
            regions.push_back({.s1 = static_cast<uns16>(s1),
                               .s2 = static_cast<uns16>(s2),
                               .sbin = sbin,
                               .p1 = static_cast<uns16>(p1),
                               .p2 = static_cast<uns16>(p1 + height - 1),
                               .pbin = pbin});
        }
    }
    return regions;
}

}  // namespace

TEST(ProgramProperty, EveryRowAndPixelIsAccountedFor) {
    Dice dice;
    int programs = 0;
    while (programs < 400) {
        const auto sbin = static_cast<uns16>(1 + dice.Upto(3));
        const auto pbin = static_cast<uns16>(1 + dice.Upto(3));
        const auto cell_width = static_cast<uns16>(sbin * (2 + dice.Upto(20)));
        const auto cell_height = static_cast<uns16>(pbin * (1 + dice.Upto(10)));
        const auto columns = static_cast<uns16>(1 + dice.Upto(3));
        const auto rows = static_cast<uns16>(1 + dice.Upto(3));
        auto regions = RandomRegions(dice, columns, rows, cell_width, cell_height, sbin, pbin);
        if (regions.empty()) continue;
        if (dice.Upto(1) == 1) std::reverse(regions.begin(), regions.end());
        ++programs;

        PlainRun run{.regions = regions, .clear_mode = CLEAR_NEVER};
        run.ser_size = static_cast<uns16>(columns * cell_width + dice.Upto(9));
        run.par_size = static_cast<uns16>(rows * cell_height + dice.Upto(9));
        run.prescan = dice.Upto(5);
        run.postscan = dice.Upto(5);
        run.premask = dice.Upto(5);
        run.postmask = dice.Upto(5);
        run.shtr_open_mode = dice.Upto(OPEN_NO_CHANGE);
        run.exp_total = static_cast<uns16>(1 + dice.Upto(3));
        run.exp_mode = static_cast<int16>(dice.Upto(INT_STROBE_MODE));
        uns64 pixels = 0;
        for (const rgn_type& r : regions) {
            pixels += uns64{static_cast<uns16>((r.s2 - r.s1 + 1) / sbin)} *
                      static_cast<uns16>((r.p2 - r.p1 + 1) / pbin);
        }

        const program_test::Program program;
        ASSERT_TRUE(run.Write(program));
        const Totals totals = Runner(program.ops(), run).Run();
        SCOPED_TRACE(program.text());
        const uns64 height = uns64{run.premask} + run.par_size + run.postmask;
        ASSERT_TRUE(totals.terminated && totals.balanced);
        ASSERT_EQ(totals.rows, height * run.exp_total);
        ASSERT_EQ(totals.conversions, pixels * run.exp_total);
        ASSERT_EQ(totals.frame_ends, run.exp_total);
        ASSERT_TRUE(totals.lines_complete);
    }
}
