#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "softcam/model.h"

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

class ChargeArray {
  public:
    explicit ChargeArray(const SensorLayout& layout);

    const SensorLayout& Layout() const { return layout_; }

    // Calls `add(image_row, pixels)` for every row that sees light.
    template <typename Add>
    void Illuminate(Add&& add) {
        for (uint32_t row = 0; row < layout_.lit_rows; ++row) {
            Row& target = *order_[layout_.first_lit_row + row];
            target.charged = true;
            add(row, std::span<uint32_t>(target.pixels));
        }
    }
    // The same for every row there is.
    template <typename Add>
    void AddEverywhere(Add&& add) {
        for (Row* row : order_) {
            row->charged = true;
            add(std::span<uint32_t>(row->pixels));
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
        const uint32_t charge = register_[head_];
        register_[head_] = 0;
        if (++head_ == register_.size()) head_ = 0;
        return charge;
    }
    void DiscardSerial(uint32_t pixels);

  private:
    struct Row {
        std::vector<uint32_t> pixels;
        bool charged = false;
    };

    void MoveOut(uint32_t rows, bool into_register);
    void AddToRegister(const Row& row);

    SensorLayout layout_;
    std::vector<Row> rows_;
    std::vector<Row*> order_;  // by distance from the register
    std::vector<uint32_t> register_;
    size_t head_ = 0;
    bool storage_only_ = false;
};

}  // namespace softcam
