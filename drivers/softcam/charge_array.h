#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "softcam/models.h"
#include "softcam/noise.h"

namespace softcam {

// The charge of a CCD, in electrons, as rows that shift towards a serial register.
//
// Row 0 of the array lies next to the register. A frame-transfer sensor has a storage area between
// register and image: `storage_rows` of the array, which can be shifted alone. `first_lit_row` is
// where light falls on image row 0.
struct SensorLayout {
    uint32_t columns = 0;
    uint32_t height = 0;
    uint32_t storage_rows = 0;
    uint32_t first_lit_row = 0;
    uint32_t lit_rows = 0;
    uint32_t prescan = 0;
    uint32_t postscan = 0;
};

// A frame-transfer sensor whose pre-mask is at least as tall as its image has its storage there.
// One whose pre-mask is smaller counts the storage among its rows: then the half next to the
// register is storage and only the other half sees light.
SensorLayout LayoutOf(const Geometry& geometry, bool frame_transfer);

// Of every charge that is shifted the share `loss` stays behind and joins the next one. It is taken
// off when the charge leaves rows or register, all of it to the next charge, which is right to the
// first order of shifts times loss. With a loss, `noise` tells which electrons stay.
class ChargeArray {
  public:
    explicit ChargeArray(const SensorLayout& layout, double loss = 0, Noise* noise = nullptr);

    const SensorLayout& Layout() const { return layout_; }

    // Calls `add(image_row, pixels)` for every row that sees light, or for every row there is, with
    // -1 for those that see none.
    template <typename Add>
    void Charge(bool everywhere, Add&& add) {
        for (uint32_t row = 0; row < order_.size(); ++row) {
            const uint32_t image_row = row - layout_.first_lit_row;
            const bool lit = image_row < layout_.lit_rows;
            if (!lit && !everywhere) continue;
            Row& target = *order_[row];
            if (!target.charged) target.shifts = 0;
            target.charged = true;
            add(lit ? static_cast<int32_t>(image_row) : -1, std::span<uint32_t>(target.pixels));
        }
    }

    void StorageOnly(bool on) { storage_only_ = on; }
    // Moves rows into the serial register, where they add up; empty rows follow at the far end.
    void Shift(uint32_t rows);
    // Moves rows out without touching the register.
    void Drain(uint32_t rows);
    void Clear();

    // Moves the register by one and returns what came out.
    uint32_t ShiftSerial() {
        if (!settled_) SettleRegister();
        const uint32_t charge = register_[head_];
        register_[head_] = 0;
        if (++head_ == register_.size()) head_ = 0;
        return charge;
    }
    void DiscardSerial(uint32_t pixels);

  private:
    struct Row {
        std::vector<uint32_t> pixels;
        uint32_t shifts = 0;  // since it was empty
        bool charged = false;
    };

    float LossAfter(size_t shifts) const;
    void LeaveBehind(Row& row, Row& next);
    void SettleRegister();
    void MoveOut(uint32_t rows, bool into_register);
    void AddToRegister(const Row& row);

    SensorLayout layout_;
    double loss_;
    Noise* noise_;
    std::vector<Row> rows_;
    std::vector<Row*> order_;  // by distance from the register
    std::vector<uint32_t> register_;
    size_t head_ = 0;
    std::vector<float> register_loss_;  // by distance from the head
    bool settled_ = true;               // what stays behind in the register was moved
    std::vector<float> lost_;           // of one row
    bool storage_only_ = false;
};

}  // namespace softcam
