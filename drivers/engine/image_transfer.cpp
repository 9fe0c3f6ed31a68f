#include "engine/image_transfer.h"

#include <algorithm>
#include <cstring>

namespace engine {
namespace {

// Any value outside the list of statuses tells the host that the readout failed.
constexpr uint32_t status_failed = 99;

}  // namespace

bool ImageTransfer::Sensible(const dv_image_parameters& parameters) {
    return parameters.frame_bytes != 0 && parameters.total_bytes >= parameters.frame_bytes;
}

void ImageTransfer::Shape(const dv_image_parameters& parameters) {
    frame_bytes_ = parameters.frame_bytes;
    kind_ = parameters.circular != 0 ? RunKind::circular : RunKind::sequence;
}

bool ImageTransfer::Announce(const dv_image_parameters& parameters) {
    if (!Sensible(parameters)) return false;
    const std::lock_guard hold(lock_);
    announced_ = parameters;
    return true;
}

bool ImageTransfer::FixTable(const dv_image_parameters& parameters) {
    const std::lock_guard hold(lock_);
    if (!armed_ || !Sensible(parameters) || parameters.total_bytes != total_) return false;
    Shape(parameters);
    return true;
}

bool ImageTransfer::Begin(void* piece, uint32_t piece_bytes, uint32_t total_bytes) {
    if (piece == nullptr || piece_bytes == 0 || piece_bytes > total_bytes) return false;
    const std::lock_guard hold(lock_);
    pieces_.assign(1, {.data = static_cast<uint8_t*>(piece), .size = piece_bytes});
    handed_over_ = piece_bytes;
    total_ = total_bytes;
    frame_bytes_ = 0;
    kind_ = RunKind::unknown;
    if (announced_ && announced_->total_bytes == total_bytes) Shape(*announced_);
    announced_.reset();
    bytes_ = 0;
    frames_ = 0;
    status_ = DRIVER_STATUS_NONE;
    armed_ = true;
    return true;
}

bool ImageTransfer::AddPiece(void* piece, uint32_t piece_bytes) {
    const std::lock_guard hold(lock_);
    if (!armed_ || piece == nullptr || piece_bytes == 0 || total_ - handed_over_ < piece_bytes)
        return false;
    pieces_.push_back({.data = static_cast<uint8_t*>(piece), .size = piece_bytes});
    handed_over_ += piece_bytes;
    return true;
}

void ImageTransfer::Release() {
    const std::lock_guard hold(lock_);
    armed_ = false;
    pieces_.clear();
    announced_.reset();
    if (status_ != DRIVER_STATUS_COMPLETE) status_ = DRIVER_STATUS_INACTIVE;
}

void ImageTransfer::SetStatus(uint32_t status) {
    if (armed_.load(std::memory_order_relaxed)) status_.store(status, std::memory_order_relaxed);
}

bool ImageTransfer::Complete() const {
    return frame_bytes_ == 0 || (frames_ + size_t{1}) * frame_bytes_ > total_;
}

bool ImageTransfer::Store(size_t bytes, FrameWriter writer) {
    const std::lock_guard hold(lock_);
    if (!armed_) return false;
    if (frame_bytes_ == 0) frame_bytes_ = bytes;
    // A buffer whose pieces have not all come yet must not be written into.
    if (bytes == 0 || bytes != frame_bytes_ || handed_over_ != total_ || total_ < frame_bytes_) {
        status_ = status_failed;
        return false;
    }
    if (kind_ == RunKind::sequence && Complete()) return false;
    const size_t slot = frames_ % (total_ / frame_bytes_);
    Write(slot * frame_bytes_, writer);
    return true;
}

void ImageTransfer::Write(size_t offset, FrameWriter writer) {
    size_t start = offset;
    for (const Piece& piece : pieces_) {
        if (start >= piece.size) {
            start -= piece.size;
            continue;
        }
        if (piece.size - start < frame_bytes_) break;
        return writer({piece.data + start, frame_bytes_});
    }
    scratch_.resize(frame_bytes_);
    writer(scratch_);
    Copy(offset, scratch_);
}

void ImageTransfer::Copy(size_t offset, Bytes frame) {
    for (const Piece& piece : pieces_) {
        if (frame.empty()) return;
        if (offset >= piece.size) {
            offset -= piece.size;
            continue;
        }
        const size_t count = std::min(frame.size(), piece.size - offset);
        std::memcpy(piece.data + offset, frame.data(), count);
        frame = frame.subspan(count);
        offset = 0;
    }
}

uint32_t ImageTransfer::CountFrame() {
    const std::lock_guard hold(lock_);
    const uint32_t number = frames_.load(std::memory_order_relaxed) + 1;
    frames_.store(number, std::memory_order_relaxed);
    bytes_.fetch_add(static_cast<uint32_t>(frame_bytes_), std::memory_order_release);
    if (armed_) {
        const bool done = kind_ == RunKind::sequence && Complete();
        status_ = done ? DRIVER_STATUS_COMPLETE : DRIVER_STATUS_EXPOSING;
    }
    return number;
}

void ImageTransfer::Finish() {
    const std::lock_guard hold(lock_);
    if (!armed_ || status_ == status_failed) return;
    // A ring is never complete, however often it was filled.
    const bool complete = kind_ != RunKind::circular && frame_bytes_ != 0 && Complete();
    status_ = complete ? DRIVER_STATUS_COMPLETE : DRIVER_STATUS_INACTIVE;
}

void ImageTransfer::Fail() {
    SetStatus(status_failed);
}

dv_status_record ImageTransfer::Status() const {
    dv_status_record record{};
    // Whoever learns of a frame here may read its pixels.
    record.status = status_.load(std::memory_order_acquire);
    record.bytes = bytes_.load(std::memory_order_acquire);
    return record;
}

}  // namespace engine
