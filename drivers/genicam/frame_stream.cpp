#include "genicam/frame_stream.h"

#include <algorithm>

namespace genicam {
namespace {

// Frames that may wait while another one is converted.
constexpr int buffer_count = 8;
// What the system allows may be less.
constexpr gint socket_buffer_limit = 64 << 20;

// When the first part of a frame came in, in time stamps of the engine. Aravis notes it by the
// clock of the day, which may be set meanwhile.
int64_t BeginOf(ArvBuffer* buffer, int64_t now) {
    constexpr int64_t longest = 60ll * 10'000'000;
    const auto begin_ns = static_cast<int64_t>(arv_buffer_get_system_timestamp(buffer));
    const int64_t age = g_get_real_time() * 10 - begin_ns / 100;
    return age >= 0 && age < longest ? now - age : now;
}

}  // namespace

FrameStream::FrameStream(const FramePlan& plan, engine::HostSide& host, firmware::LiveState& live,
                         std::atomic<uint64_t>& lost)
    : plan_(plan),
      reader_(plan.format, plan.window, plan.region),
      host_(host),
      live_(live),
      lost_(lost) {
    lost_ = 0;
}

bool FrameStream::Open(ArvCamera* camera) {
    const auto payload = Ask(arv_camera_get_payload, camera);
    if (!payload || *payload < reader_.SourceBytes(0)) return false;
    const auto stream =
        Ask(arv_camera_create_stream, camera, &FrameStream::OnEvent, static_cast<void*>(this));
    if (!stream || *stream == nullptr) return false;
    stream_ = *stream;
    if (ARV_IS_GV_STREAM(stream_)) {
        const auto size = static_cast<gint>(std::min<guint>(*payload, socket_buffer_limit / 4) * 4);
        g_object_set(stream_, "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED,
                     "socket-buffer-size", size, nullptr);
    }
    host_.Exposing();
    for (int i = 0; i < buffer_count; ++i)
        arv_stream_push_buffer(stream_, arv_buffer_new_allocate(*payload));
    return true;
}

void FrameStream::Detach() {
    const std::lock_guard hold(delivery_);
    over_ = true;
    end_.notify_all();
}

void FrameStream::AwaitEnd() {
    std::unique_lock hold(delivery_);
    end_.wait(hold, [this] { return over_; });
}

void FrameStream::Close() {
    Detach();
    if (stream_ == nullptr) return;
    // The callback uses the stream until this is over.
    g_object_unref(stream_);
    stream_ = nullptr;
}

void FrameStream::OnEvent(void* context, ArvStreamCallbackType event, ArvBuffer* /*buffer*/) {
    if (event != ARV_STREAM_CALLBACK_TYPE_BUFFER_DONE) return;
    auto& self = *static_cast<FrameStream*>(context);
    ArvBuffer* buffer = arv_stream_pop_buffer(self.stream_);
    if (buffer == nullptr) return;
    self.Take(buffer);
    // At once: a buffer that comes in the middle of a frame gets the rest of that frame.
    arv_stream_push_buffer(self.stream_, buffer);
}

void FrameStream::Take(ArvBuffer* buffer) {
    const std::lock_guard hold(delivery_);
    if (over_) return;
    if (!IsWhole(buffer)) {
        // It may carry the number of another frame.
        ++failed_since_;
        ++lost_;
        return;
    }
    CountGap(arv_buffer_get_frame_id(buffer));
    if (Deliver(buffer)) return;
    live_.running = false;
    host_.RunEnds();
    over_ = true;
    end_.notify_all();
}

bool FrameStream::IsWhole(ArvBuffer* buffer) const {
    const ArvBufferPayloadType type = arv_buffer_get_payload_type(buffer);
    if (arv_buffer_get_status(buffer) != ARV_BUFFER_STATUS_SUCCESS ||
        (type != ARV_BUFFER_PAYLOAD_TYPE_IMAGE &&
         type != ARV_BUFFER_PAYLOAD_TYPE_EXTENDED_CHUNK_DATA))
        return false;
    size_t size = 0;
    gint line_padding = 0;
    gint frame_padding = 0;
    arv_buffer_get_image_data(buffer, &size);
    arv_buffer_get_image_padding(buffer, &line_padding, &frame_padding);
    return arv_buffer_get_image_pixel_format(buffer) == plan_.format.code &&
           arv_buffer_get_image_width(buffer) == static_cast<gint>(plan_.window.width) &&
           arv_buffer_get_image_height(buffer) == static_cast<gint>(plan_.window.height) &&
           size >= reader_.SourceBytes(static_cast<uint32_t>(line_padding));
}

void FrameStream::CountGap(uint64_t number) {
    // Numbers of 16 bits go from the last one to 1.
    constexpr uint64_t short_last = 0xFFFF;
    const uint64_t former = std::exchange(last_number_, number);
    const uint64_t failed = std::exchange(failed_since_, 0);
    if (delivered_ == 0) return;
    uint64_t step = number - former;
    if (number <= former) {
        if (!plan_.network || former > short_last) return;
        step = number + short_last - former;
    }
    if (step - 1 > failed) lost_ += step - 1 - failed;
}

bool FrameStream::Deliver(ArvBuffer* buffer) {
    struct Source {
        PixelReader& reader;
        engine::Bytes pixels;
        uint32_t line_padding;
    };
    size_t size = 0;
    gint line_padding = 0;
    gint frame_padding = 0;
    const void* data = arv_buffer_get_image_data(buffer, &size);
    arv_buffer_get_image_padding(buffer, &line_padding, &frame_padding);
    Source source{
        reader_, {static_cast<const uint8_t*>(data), size}, static_cast<uint32_t>(line_padding)};
    const auto write = [](void* context, std::span<uint8_t> frame) {
        auto& from = *static_cast<Source*>(context);
        from.reader.Read(from.pixels, from.line_padding, frame);
    };

    // Only now, as nobody may hear of the beginning of a frame that does not come.
    host_.FrameBegins(BeginOf(buffer, engine::CurrentTimeStamp()));
    if (!host_.FrameData(reader_.FrameBytes(), {write, &source})) return false;
    ++delivered_;
    live_.frames_written.fetch_add(1, std::memory_order_relaxed);
    host_.FrameEnds(engine::CurrentTimeStamp());
    if (delivered_ == plan_.frames) return false;
    host_.Exposing();
    return true;
}

}  // namespace genicam
