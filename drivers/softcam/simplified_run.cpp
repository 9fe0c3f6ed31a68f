// A run of a simplified program: exposures, one after the other, each rendered, filtered and
// wrapped as the settings say.

#include "softcam/simplified_run.h"

#include <algorithm>
#include <cstring>

#include "softcam/centroid_finder.h"
#include "softcam/exposure_renderer.h"
#include "softcam/filters.h"

#include "firmware/metadata_frame.h"

namespace softcam {
namespace {

using firmware::MetadataFrame;
using firmware::region_extension_bytes;

// A region keeps its alignment in memory; pixels go out least significant byte first.
std::span<uint8_t> PixelBytes(Image& image) {
    return {reinterpret_cast<uint8_t*>(image.pixels.data()), image.pixels.size() * 2};
}

size_t BackgroundCount(const RunContext& context) {
    const Settings& settings = context.settings;
    if (!settings.metadata || !settings.centroids) return 1;
    return context.model.centroids->background_frames[settings.centroid_background];
}

class Cmos {
  public:
    Cmos(RunContext& context, const SimplifiedProgram& program)
        : context_(context),
          program_(program),
          digitizer_(context.model, context.settings, context.ideal),
          filters_(context.model, context.settings),
          background_(BackgroundCount(context)),
          speed_(CurrentSpeed(context.model, context.settings)),
          readout_ns_(ReadoutNanoseconds(context.model, speed_, program)),
          clear_ns_(ClearNanoseconds(context.model, speed_) * program.clear_count) {
        if (context.settings.delivery_mode == OX_FRAME_DELIVERY_MODE_CONSTANT_INTERVALS)
            longest_wait_ns_ = LongestWait();
    }

    void Run() {
        context_.host.Exposing();
        if (ClearsBeforeSequence() && !Clear()) return;
        for (uint64_t index = 0; program_.Continuous() || index < program_.frame_count; ++index) {
            if (!RunFrame(index)) return;
            context_.host.Exposing();
        }
        context_.live.last_end = "terminated";
    }

  private:
    bool ClearsBeforeSequence() const {
        return program_.clear_mode == CLEAR_PRE_SEQUENCE ||
               program_.clear_mode == CLEAR_PRE_POST_SEQUENCE;
    }
    bool ClearsBeforeExposure() const {
        return program_.clear_mode == CLEAR_PRE_EXPOSURE ||
               program_.clear_mode == CLEAR_PRE_EXPOSURE_POST_SEQ;
    }
    bool Clear() { return context_.clock.Pass(clear_ns_); }

    // Modes from 256 on carry the expose-out mode in their low byte.
    bool WaitsForTrigger(uint64_t index) const {
        const uint32_t mode = program_.exposure_mode >= 256 ? program_.exposure_mode & ~0xFFu
                                                            : program_.exposure_mode;
        switch (mode) {
            case STROBED_MODE:
            case BULB_MODE:
            case EXT_TRIG_EDGE_RISING: return true;
            case TRIGGER_FIRST_MODE:
            case EXT_TRIG_TRIG_FIRST: return index == 0;
            default: return false;
        }
    }

    int64_t ExposureOf(uint64_t index) const {
        const Settings& settings = context_.settings;
        if (settings.tidal_enabled && !settings.tidal_exposures.empty()) {
            const size_t entry = index % settings.tidal_exposures.size();
            return program_.Nanoseconds(settings.tidal_exposures[entry]);
        }
        if (program_.exposure_mode == BULB_MODE)
            return static_cast<int64_t>(context_.trigger.width_ms * 1e6);
        if (program_.exposure_mode == VARIABLE_TIMED_MODE)
            return program_.Nanoseconds(settings.exposure_register);
        return program_.Nanoseconds(program_.exposure);
    }

    // Rows expose anew as soon as they are read, unless a clear or a trigger comes in between.
    bool ExposesDuringReadout(uint64_t index) const {
        const bool clears = ClearsBeforeExposure() && program_.clear_count > 0;
        return index > 0 && !clears && !WaitsForTrigger(index);
    }

    // Entries of the two lists come in turn, each list at its own length.
    int64_t DelayOf(uint64_t index) const {
        const Settings& settings = context_.settings;
        if (!settings.tidal_enabled || settings.tidal_delays.empty()) return 0;
        return program_.Nanoseconds(settings.tidal_delays[index % settings.tidal_delays.size()]);
    }

    // From the end of the exposure before, less what passes while that is read, to the end of the
    // exposure of a frame.
    int64_t WaitFor(uint64_t index) const {
        const int64_t overlap_ns = ExposesDuringReadout(index) ? readout_ns_ : 0;
        return std::max(DelayOf(index) + ExposureOf(index) - overlap_ns, int64_t{0});
    }

    int64_t LongestWait() const {
        const Settings& settings = context_.settings;
        const uint64_t pairs = std::max(settings.tidal_exposures.size(), size_t{1}) *
                               std::max(settings.tidal_delays.size(), size_t{1});
        int64_t longest_ns = 0;
        for (uint64_t index = 1; index <= pairs; ++index)
            longest_ns = std::max(longest_ns, WaitFor(index));
        return longest_ns;
    }

    // What a shorter frame is held back, for all to come at the interval of the longest. Those that
    // a trigger begins come at its pace.
    int64_t IdleBefore(uint64_t index) const {
        if (index == 0 || WaitsForTrigger(index)) return 0;
        return std::max(longest_wait_ns_ - WaitFor(index), int64_t{0});
    }

    bool RunFrame(uint64_t index) {
        if (ClearsBeforeExposure() && !Clear()) return false;
        if (WaitsForTrigger(index) && !WaitForTrigger(context_)) return false;
        const int64_t exposure_ns = ExposureOf(index);
        if (!context_.clock.Pass(IdleBefore(index) + WaitFor(index))) return false;
        const double at = context_.clock.Seconds() - static_cast<double>(exposure_ns) * 1e-9;
        return DeliverFrame(context_, readout_ns_, [&] {
            const std::span<uint8_t> frame = Rendered(index, exposure_ns, at);
            if (context_.settings.metadata) Stamp(frame, index, exposure_ns);
            return frame;
        });
    }

    void Stamp(std::span<uint8_t> frame, uint64_t index, int64_t exposure_ns) {
        const int64_t now = context_.Now() / 100;
        MetadataFrame::Stamp(frame, {.number = static_cast<uint32_t>(index + 1),
                                     .begin = now,
                                     .end = now + readout_ns_ / 100,
                                     .exposure_ns = exposure_ns,
                                     .bits = speed_.bits,
                                     .color = context_.model.color});
    }

    // How many frames differ before they are delivered again, a multiple of the entries of an
    // exposure list; 0 where every frame is rendered. At full speed a frame is to cost one copy;
    // what moves or depends on the frames before can't be repeated.
    size_t Variants(size_t entries) const {
        if (context_.scene.Moves() || filters_.Remembers() || background_.Remembers()) return 0;
        if (context_.ideal) return entries;
        if (context_.time_scale > 0 || context_.noise_frames == 0) return 0;
        return std::max<size_t>(context_.noise_frames / entries, 1) * entries;
    }

    std::span<uint8_t> Rendered(uint64_t index, int64_t exposure_ns, double at) {
        const Settings& settings = context_.settings;
        const bool listed = settings.tidal_enabled && !settings.tidal_exposures.empty();
        const size_t variants = Variants(listed ? settings.tidal_exposures.size() : 1);
        // What is not to be kept and wrapped goes out as it is.
        if (variants == 0 && program_.regions.size() == 1 && !settings.metadata) {
            Expose(exposure_ns, at);
            return PixelBytes(images_[0]);
        }
        const size_t variant = variants > 0 ? index % variants : 0;
        if (frames_.size() <= variant) frames_.resize(variant + 1);
        if (variants == 0 || frames_[variant].empty()) Render(frames_[variant], exposure_ns, at);
        return frames_[variant];
    }

    void Expose(int64_t exposure_ns, double at) {
        const Image& light = context_.scene.At(at);
        images_.resize(program_.regions.size());
        for (size_t i = 0; i < images_.size(); ++i) {
            RenderRegion(context_, digitizer_, light, program_.regions[i], exposure_ns, images_[i]);
            filters_.Apply(images_[i]);
        }
    }

    void Render(std::vector<uint8_t>& frame, int64_t exposure_ns, double at) {
        Expose(exposure_ns, at);
        if (!context_.settings.metadata) return Pack(frame);
        if (context_.settings.centroids) return WrapSpots(frame);
        MetadataFrame wrapped(frame, context_.model.abilities.extended_metadata);
        wrapped.Begin(static_cast<uint16_t>(images_.size()));
        for (size_t i = 0; i < images_.size(); ++i)
            wrapped.AddRegion(program_.regions[i], PixelBytes(images_[i]), nullptr);
    }

    void Pack(std::vector<uint8_t>& frame) {
        frame.clear();
        for (Image& image : images_) {
            const engine::Bytes bytes = PixelBytes(image);
            frame.insert(frame.end(), bytes.begin(), bytes.end());
        }
    }

    // A square of the sensor around a spot, moved where it would leave the region.
    rgn_type SquareAround(const Spot& spot, const Image& image) const {
        const rgn_type& region = program_.regions[0];
        const uint32_t radius = context_.settings.centroid_radius;
        const uint32_t side = 2 * radius + 1;
        const auto start = [&](uint32_t center, uint32_t size) {
            const uint32_t wanted = center - std::min(center, radius);
            return size > side ? std::min(wanted, size - side) : 0;
        };
        const uint32_t s1 = region.s1 + start(spot.column, image.columns);
        const uint32_t p1 = region.p1 + start(spot.row, image.rows);
        return {.s1 = static_cast<uint16_t>(s1),
                .s2 = static_cast<uint16_t>(s1 + side - 1),
                .sbin = 1,
                .p1 = static_cast<uint16_t>(p1),
                .p2 = static_cast<uint16_t>(p1 + side - 1),
                .pbin = 1};
    }

    void WrapSpots(std::vector<uint8_t>& frame) {
        const Settings& settings = context_.settings;
        Image& image = images_[0];
        const bool extended = context_.model.abilities.extended_metadata;
        const size_t block = 32 + (extended ? region_extension_bytes : 0);
        std::vector<Spot> spots = FindSpots(background_.Without(image), settings.centroid_radius,
                                            settings.centroid_count, settings.centroid_threshold);
        MetadataFrame wrapped(frame, extended);
        const bool locate = settings.centroid_mode == OX_CENTROIDS_MODE_LOCATE;
        const size_t expected = settings.centroid_count + (locate ? 0u : 1u);
        const size_t present = spots.size() + (locate ? 0u : 1u);
        wrapped.Begin(static_cast<uint16_t>(expected));
        size_t size = 48 + block * expected;
        if (locate) {
            const size_t side = 2u * settings.centroid_radius + 1;
            size += settings.centroid_count * side * side * 2;
            for (const Spot& spot : spots) AddSquare(wrapped, spot, image);
        } else {
            tracker_.Number(spots, settings.centroid_radius);
            size += image.pixels.size() * 2;
            wrapped.AddRegion(program_.regions[0], PixelBytes(image), nullptr);
            for (const Spot& spot : spots) wrapped.AddHeaderOnly(SquareAround(spot, image), spot);
        }
        if (present < expected) wrapped.EndList();
        wrapped.PadTo(size);
    }

    void AddSquare(MetadataFrame& wrapped, const Spot& spot, const Image& image) {
        const rgn_type square = SquareAround(spot, image);
        const uint32_t side = square.s2 - square.s1 + 1u;
        std::vector<uint8_t> pixels(size_t{side} * side * 2);
        for (uint32_t y = 0; y < side; ++y) {
            for (uint32_t x = 0; x < side; ++x) {
                const uint32_t column = square.s1 - program_.regions[0].s1 + x;
                const uint32_t row = square.p1 - program_.regions[0].p1 + y;
                const bool inside = column < image.columns && row < image.rows;
                engine::StoreLittle(&pixels[(size_t{y} * side + x) * 2],
                                    inside ? image.At(column, row) : 0, 2);
            }
        }
        wrapped.AddRegion(square, pixels, &spot);
    }

    RunContext& context_;
    const SimplifiedProgram& program_;
    Digitizer digitizer_;
    FilterChain filters_;
    BackgroundFrames background_;
    SpotTracker tracker_;
    const Speed& speed_;
    int64_t readout_ns_;
    int64_t clear_ns_;
    int64_t longest_wait_ns_ = 0;  // 0 to let frames come as soon as they can
    std::vector<Image> images_;
    std::vector<std::vector<uint8_t>> frames_;
};

}  // namespace

void RunSimplifiedProgram(RunContext& context, const SimplifiedProgram& program) {
    context.live.last_end = "stopped";
    Cmos(context, program).Run();
    context.host.RunEnds();
}

}  // namespace softcam
