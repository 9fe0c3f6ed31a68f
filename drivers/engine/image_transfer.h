#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

#include "orvex/orvex_ddi.h"

#include "engine/bytes.h"
#include "engine/frame_writer.h"

namespace engine {

// The application's buffer while the driver has it, and how far it is filled. Frames are written
// straight into it, over the borders of the pieces that it came in.
class ImageTransfer {
  public:
    enum class RunKind : uint8_t { unknown, sequence, circular };

    // Frame size and kind of run of the buffer that comes next; refused when they make no sense.
    // A transport that sends none leaves both to the camera.
    bool Announce(const dv_image_parameters& parameters);
    // The same for the buffer that is there.
    bool FixTable(const dv_image_parameters& parameters);
    // Takes the buffer or its first piece and starts counting from zero.
    bool Begin(void* piece, uint32_t piece_bytes, uint32_t total_bytes);
    bool AddPiece(void* piece, uint32_t piece_bytes);
    // Gives the buffer back. When it returns, nothing is written any more.
    void Release();

    // Frames, from one thread at a time.
    void Exposing() { SetStatus(DRIVER_STATUS_EXPOSING); }
    void Reading() { SetStatus(DRIVER_STATUS_READING); }
    // False when there is no buffer, the frame doesn't fit, or a sequence is complete.
    // The writer is called with the memory of the frame's slot before this returns.
    bool Store(size_t bytes, FrameWriter writer);
    // Counts the frame just stored and returns its number, from 1.
    uint32_t CountFrame();
    void Finish();
    void Fail();

    bool Armed() const { return armed_.load(std::memory_order_relaxed); }
    dv_status_record Status() const;
    uint32_t Frames() const { return frames_.load(std::memory_order_relaxed); }

  private:
    struct Piece {
        uint8_t* data;
        size_t size;
    };

    static bool Sensible(const dv_image_parameters& parameters);
    void Shape(const dv_image_parameters& parameters);
    void SetStatus(uint32_t status);
    bool Complete() const;
    void Write(size_t offset, FrameWriter writer);
    void Copy(size_t offset, Bytes frame);

    // Held while pixels are written, so that releasing waits for a frame in progress.
    std::mutex lock_;
    std::vector<Piece> pieces_;
    std::vector<uint8_t> scratch_;  // of a frame across pieces; keeps its memory
    size_t total_ = 0;
    size_t handed_over_ = 0;
    size_t frame_bytes_ = 0;
    RunKind kind_ = RunKind::unknown;
    std::optional<dv_image_parameters> announced_;
    std::atomic<bool> armed_ = false;
    std::atomic<uint32_t> status_ = DRIVER_STATUS_INACTIVE;
    std::atomic<uint32_t> bytes_ = 0;
    std::atomic<uint32_t> frames_ = 0;
};

}  // namespace engine
