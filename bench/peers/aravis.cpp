// Aravis with its in-process fake camera: a thread of it fills buffers of the application and hands
// them over by a queue.
//
//     aravis_bench fast SIDE   frames as fast as they come, SIDE x SIDE x 16 bit
//     aravis_bench paced       500 frames a second of 512 x 64, and how long the hand-off takes
#include <algorithm>
#include <arv.h>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr guint64 pop_limit_us = 2'000'000;

struct Unref {
    void operator()(void* object) const { g_object_unref(object); }
};
template <class T>
using Object = std::unique_ptr<T, Unref>;

void require(GError* error) {
    if (error) throw std::runtime_error(error->message);
}

// What the camera's thread does for a frame in place of its own slow pattern: one copy.
struct Source {
    std::vector<uint8_t> pixels;
    Clock::time_point filled;  // handed over with the buffer, by the queue's own lock
};

void fill(ArvBuffer* buffer, void* context, guint32, guint32, ArvPixelFormat) {
    auto& source = *static_cast<Source*>(context);
    // The application gave the memory, of this size; here the library lends it read-only and does
    // not tell a size before the frame is complete.
    void* pixels = const_cast<void*>(arv_buffer_get_data(buffer, nullptr));
    std::memcpy(pixels, source.pixels.data(), source.pixels.size());
    source.filled = Clock::now();
}

class Run {
  public:
    Run(int width, int height, guint32 period_us, size_t slots) {
        arv_enable_interface("Fake");
        GError* error = nullptr;
        camera_.reset(arv_camera_new("Fake_1", &error));
        require(error);
        arv_camera_set_region(camera_.get(), 0, 0, width, height, &error);
        require(error);
        arv_camera_set_pixel_format(camera_.get(), ARV_PIXEL_FORMAT_MONO_16, &error);
        require(error);
        const size_t payload = arv_camera_get_payload(camera_.get(), &error);
        require(error);
        source_.pixels.assign(payload, 7);
        ArvFakeCamera* fake =
            arv_fake_device_get_fake_camera(ARV_FAKE_DEVICE(arv_camera_get_device(camera_.get())));
        arv_fake_camera_set_fill_pattern(fake, fill, &source_);
        arv_fake_camera_write_register(fake, ARV_FAKE_CAMERA_REGISTER_ACQUISITION_FRAME_PERIOD_US,
                                       period_us);
        stream_.reset(arv_camera_create_stream(camera_.get(), nullptr, nullptr, &error));
        require(error);
        // Written before it is timed.
        memory_.assign(payload * slots, 1);
        for (size_t i = 0; i < slots; ++i)
            arv_stream_push_buffer(stream_.get(), arv_buffer_new(payload, &memory_[i * payload]));
        arv_camera_start_acquisition(camera_.get(), &error);
        require(error);
    }
    ~Run() { arv_camera_stop_acquisition(camera_.get(), nullptr); }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    // Waits for a frame and gives its buffer back; the time from its end to its arrival.
    double take_us() {
        ArvBuffer* buffer = arv_stream_timeout_pop_buffer(stream_.get(), pop_limit_us);
        const Clock::time_point now = Clock::now();
        if (!buffer) throw std::runtime_error("no frame");
        const Clock::time_point filled = source_.filled;
        arv_stream_push_buffer(stream_.get(), buffer);
        return std::chrono::duration<double, std::micro>(now - filled).count();
    }

  private:
    Source source_;
    std::vector<uint8_t> memory_;
    Object<ArvCamera> camera_;
    Object<ArvStream> stream_;
};

void measure_fast(int side) {
    Run run(side, side, 1, side >= 2048 ? 32 : side >= 512 ? 512 : 4096);
    const Clock::time_point start = Clock::now();
    double frames = 0, seconds = 0;
    for (; seconds < 2; seconds = std::chrono::duration<double>(Clock::now() - start).count()) {
        run.take_us();
        ++frames;
    }
    std::printf("frames_per_second %.9g\n", frames / seconds);
}

void measure_paced() {
    Run run(512, 64, 2000, 64);
    std::vector<double> samples(1900);
    for (double& sample : samples) sample = run.take_us();
    std::sort(samples.begin(), samples.end());
    std::printf("median_us %.9g\np99_us %.9g\n", samples[samples.size() / 2],
                samples[samples.size() * 99 / 100]);
}

}  // namespace

int main(int count, char** words) {
    try {
        const std::string what = count > 1 ? words[1] : "";
        if (what == "fast" && count == 3) {
            measure_fast(std::stoi(words[2]));
        } else if (what == "paced" && count == 2) {
            measure_paced();
        } else {
            std::fputs("usage: aravis_bench fast SIDE | paced\n", stderr);
            return 2;
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "aravis_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
