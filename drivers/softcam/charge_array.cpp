#include "softcam/charge_array.h"

#include <algorithm>
#include <cmath>

namespace softcam {

SensorLayout LayoutOf(const Geometry& geometry, bool frame_transfer) {
    SensorLayout layout{
        .columns = geometry.columns,
        .height = uint32_t{geometry.premask} + geometry.rows + geometry.postmask,
        .storage_rows = 0,
        .first_lit_row = geometry.premask,
        .lit_rows = geometry.rows,
        .prescan = geometry.prescan,
        .postscan = geometry.postscan,
    };
    if (!frame_transfer) return layout;
    if (geometry.premask >= geometry.rows) {
        layout.storage_rows = geometry.premask;
        return layout;
    }
    const uint32_t half = (uint32_t{geometry.rows} + 1) / 2;
    layout.storage_rows = geometry.premask + half;
    layout.first_lit_row = geometry.premask + half;
    layout.lit_rows = geometry.rows - half;
    return layout;
}

ChargeArray::ChargeArray(const SensorLayout& layout, double loss, Noise* noise)
    : layout_(layout),
      loss_(loss),
      noise_(noise),
      rows_(layout.height),
      register_(layout.prescan + layout.columns + layout.postscan) {
    for (Row& row : rows_) {
        row.pixels.resize(layout.columns);
        order_.push_back(&row);
    }
    for (size_t i = 0; i < register_.size(); ++i) register_loss_.push_back(LossAfter(i + 1));
}

float ChargeArray::LossAfter(size_t shifts) const {
    return static_cast<float>(-std::expm1(static_cast<double>(shifts) * std::log1p(-loss_)));
}

void ChargeArray::LeaveBehind(Row& row, Row& next) {
    const float share = LossAfter(row.shifts);
    lost_.assign(row.pixels.begin(), row.pixels.end());
    for (float& charge : lost_) charge *= share;
    noise_->Poisson(lost_);
    for (size_t i = 0; i < lost_.size(); ++i) {
        const uint32_t lost = std::min(static_cast<uint32_t>(lost_[i]), row.pixels[i]);
        row.pixels[i] -= lost;
        next.pixels[i] += lost;
    }
    next.charged = true;
}

void ChargeArray::SettleRegister() {
    settled_ = true;
    if (loss_ <= 0) return;
    const size_t size = register_.size();
    lost_.resize(size);
    for (size_t i = 0; i < size; ++i)
        lost_[i] = static_cast<float>(register_[(head_ + i) % size]) * register_loss_[i];
    noise_->Poisson(lost_);
    for (size_t i = 0; i + 1 < size; ++i) {
        uint32_t& charge = register_[(head_ + i) % size];
        const uint32_t lost = std::min(static_cast<uint32_t>(lost_[i]), charge);
        charge -= lost;
        register_[(head_ + i + 1) % size] += lost;
    }
}

void ChargeArray::AddToRegister(const Row& row) {
    settled_ = false;
    size_t place = head_ + layout_.prescan;
    for (const uint32_t charge : row.pixels) {
        if (place >= register_.size()) place -= register_.size();
        register_[place++] += charge;
    }
}

void ChargeArray::MoveOut(uint32_t rows, bool into_register) {
    const size_t area = storage_only_ ? layout_.storage_rows : order_.size();
    // After that many shifts the area is empty.
    const size_t count = std::min<size_t>(rows, area);
    for (size_t i = 0; i < count; ++i) {
        Row& row = *order_[i];
        if (!row.charged) continue;
        row.shifts += static_cast<uint32_t>(i + 1);
        if (into_register && loss_ > 0 && i + 1 < area) LeaveBehind(row, *order_[i + 1]);
        if (into_register) AddToRegister(row);
        std::fill(row.pixels.begin(), row.pixels.end(), 0);
        row.charged = false;
    }
    for (size_t i = count; loss_ > 0 && i < area; ++i)
        order_[i]->shifts += static_cast<uint32_t>(count);
    const auto first = order_.begin();
    std::rotate(first, first + static_cast<std::ptrdiff_t>(count),
                first + static_cast<std::ptrdiff_t>(area));
}

void ChargeArray::Shift(uint32_t rows) {
    MoveOut(rows, true);
}

void ChargeArray::Drain(uint32_t rows) {
    MoveOut(rows, false);
}

void ChargeArray::Clear() {
    for (Row& row : rows_) {
        if (row.charged) std::fill(row.pixels.begin(), row.pixels.end(), 0);
        row.charged = false;
    }
    std::fill(register_.begin(), register_.end(), 0);
}

void ChargeArray::DiscardSerial(uint32_t pixels) {
    if (pixels >= register_.size()) {
        std::fill(register_.begin(), register_.end(), 0);
        head_ = (head_ + pixels) % register_.size();
        return;
    }
    for (; pixels > 0; --pixels) ShiftSerial();
}

}  // namespace softcam
