#include <algorithm>
#include <memory>
#include <new>
#include <span>

#include "acquisition/generator/program_writer.h"

namespace {

using bv::Emit;

// What one line of a strip reads.
struct StripRegion {
    uns16 s1;
    uns16 s2;
    uns16 sbin;
};

// The rows of the sensor pass the serial register one after the other. They are cut into strips
// that every region covers alike; a strip without a region is discarded, the others are binned
// and digitised line by line.
class Readout {
  public:
    Readout(const bv::ProgramSetup& setup, bv::ProgramState& state, script_type& script)
        : setup_(setup), cam_(setup.camera), state_(state), last_group_(&script.groups) {}

    void Write() {
        const size_t count = setup_.regions.size();
        strip_.reset(new (std::nothrow) StripRegion[count]{});
        const std::unique_ptr<int16[]> boundary(new (std::nothrow) int16[count * 2 + 2]{});
        if (!strip_ || !boundary) return state_.Fail(C2_CANNOT_ALLOCATE_MEMORY);

        const uns16 boundaries = bv_set_boundaries(
            boundary.get(), setup_.regions.data(), static_cast<uns16>(count),
            state_.working_premask, static_cast<uns16>(cam_.postmask + state_.working_par_size));
        for (uns16 idx = 1; idx < boundaries; ++idx) {
            if (state_.HasFailed()) break;
            WriteStrip(boundary[idx - 1u], boundary[idx], idx == 1);
        }
        if (!eof_done_) EndOfFrame();
    }

  private:
    void WriteStrip(int16 low, int16 high, bool first) {
        const bool active = std::any_of(
            setup_.regions.begin(), setup_.regions.end(),
            [&](const rgn_type& region) { return region.p1 < high && region.p2 >= low; });
        if (active) {
            ReadStrip(low, high, first);
        } else {
            DiscardStrip(low, high);
        }
    }

    void DiscardStrip(int16 low, int16 high) {
        // Behind the image nothing more is read; the camera may pass the frame on.
        const bool behind_image = high >= state_.working_par_size;
        if (behind_image) {
            eof_done_ = true;
            EndOfFrame();
        }
        Emit(OP_PARALLEL_DIS, static_cast<uns16>(high - low));
        if (!behind_image) FlushLine();
    }

    void ReadStrip(int16 low, int16 high, bool first) {
        if (first) FlushLine();
        const uns16 pbin = CollectRegions(low, high);
        if (pbin == 0) return state_.Fail(C3_INVALID_SCRIPT);
        const auto common = bv::CommonSerialBinning(std::span(strip_.get(), in_strip_));
        if (!common) {
            state_.current_sbin = 0;
        } else if (*common != 0 && *common != state_.current_sbin) {
            SetSerialBinning(*common);
        }
        bv::EmitPortActions(setup_, SCR_PRE_READOUT);
        const auto repeat = static_cast<uns16>((high - low) / pbin);
        if (repeat > 1) Emit(OP_DO_LOOP, repeat);
        script_group_entry_type* entries = AppendGroup(repeat);
        if (!entries) return state_.Fail(C2_CANNOT_ALLOCATE_MEMORY);
        ReadLine(pbin, entries);
        if (repeat > 1) Emit(OP_END_DO);
    }

    // The strip's regions in index order. Their common parallel binning; 0 when they can't be
    // read together: a binned row must not straddle a boundary.
    uns16 CollectRegions(int16 low, int16 high) {
        in_strip_ = 0;
        uns16 pbin = 0;
        for (const rgn_type& region : setup_.regions) {
            if (region.p1 >= high || region.p2 < low) continue;
            if (in_strip_ == 0) pbin = region.pbin;
            if (pbin == 0 || region.pbin != pbin) return 0;
            if (region.p1 < low && (low - region.p1) % pbin != 0) return 0;
            strip_[in_strip_++] = {.s1 = region.s1, .s2 = region.s2, .sbin = region.sbin};
        }
        return pbin;
    }

    void ReadLine(uns16 pbin, script_group_entry_type* entries) {
        Emit(OP_PARALLEL_BIN, pbin);
        if (cam_.prescan != 0) Emit(OP_CLAMPED_DISCARD, cam_.prescan);
        uns16 column = 0;
        for (size_t i = 0; i < in_strip_; ++i) {
            const StripRegion& region = strip_[i];
            const auto gap = static_cast<uns16>(region.s1 - column);
            if (gap != 0) Emit(OP_SERIAL_DISCARD, gap);
            if (region.sbin != state_.current_sbin) {
                SetSerialBinning(std::max<uns16>(region.sbin, 1));
            }
            uns16 converted = gap;
            if (state_.current_sbin != 0) {
                converted = static_cast<uns16>((region.s2 - region.s1 + 1) / state_.current_sbin);
                Emit(OP_SERIAL_CONVERT, converted);
            }
            column = static_cast<uns16>(region.s1 + state_.current_sbin * converted);
            entries[i].pixels = converted;
        }
        const auto rest = static_cast<uns16>(cam_.postscan - column + cam_.ser_size);
        if (rest != 0) Emit(OP_SERIAL_DISCARD, rest);
    }

    void SetSerialBinning(uns16 sbin) {
        state_.current_sbin = sbin;
        Emit(OP_SET_SERIAL_BIN, sbin);
    }

    // Empties the serial register twice over.
    void FlushLine() {
        Emit(OP_SERIAL_DISCARD,
             static_cast<uns16>((cam_.postscan + cam_.prescan + cam_.ser_size) * 2));
    }

    void EndOfFrame() {
        Emit(OP_EOF);
        bv::EmitPortActions(setup_, SCR_POST_READOUT);
    }

    // Null without memory.
    script_group_entry_type* AppendGroup(uns16 repeat) {
        auto* group = new (std::nothrow) script_group_type{};
        if (!group) return nullptr;
        *last_group_ = group;
        last_group_ = &group->next;
        group->repeat = repeat;
        group->region_count = static_cast<uns16>(in_strip_);
        group->entries = new (std::nothrow) script_group_entry_type[in_strip_]{};
        return group->entries;
    }

    const bv::ProgramSetup& setup_;
    const active_camera_type& cam_;
    bv::ProgramState& state_;
    script_group_type** last_group_;
    std::unique_ptr<StripRegion[]> strip_;
    size_t in_strip_ = 0;
    bool eof_done_ = false;
};

}  // namespace

void bv::WriteReadout(const ProgramSetup& setup, ProgramState& state, script_type& script) {
    Readout(setup, state, script).Write();
}
