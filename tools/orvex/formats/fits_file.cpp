#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fitsio.h>
#include <limits>
#include <utility>

#include "orvex/frame_file.h"

// FITS: an unsigned 16-bit image, or a cube when more frames are planned, with a table of when each
// frame began.
namespace orvex {

Format fits_format();

namespace {

class FitsFile : public FrameFile {
  public:
    FitsFile(std::string path, const Facts& facts)
        : path_(std::move(path)),
          start_utc_(facts.start_utc),
          pixels_(static_cast<LONGLONG>(facts.frame_bytes / 2)),
          planned_(std::max(facts.frames, 1u)),
          cube_(facts.frames != 1) {
        long axes[3] = {static_cast<long>(facts.width), static_cast<long>(facts.height), planned_};
        // A plain file name: in others, brackets and more have a meaning of their own. And the file
        // must not be there.
        const std::string name = std::filesystem::absolute(path_).string();
        std::remove(name.c_str());
        fits_create_diskfile(&file_, name.c_str(), &status_);
        fits_create_img(file_, USHORT_IMG, cube_ ? 3 : 2, axes, &status_);
        write_header(facts);
        check();
    }
    FitsFile(const FitsFile&) = delete;
    FitsFile& operator=(const FitsFile&) = delete;
    ~FitsFile() override { close(); }

    void add(std::span<const uint8_t> frame) override {
        // cfitsio swaps the bytes in a copy of its own.
        auto* data = const_cast<uint8_t*>(frame.data());
        fits_write_img(file_, TUSHORT, 1 + written_ * pixels_, pixels_, data, &status_);
        check();
        ++written_;
    }

    // The cube is made as deep as it came out, and filled up to a whole block.
    void finish(std::span<const FrameStamp> frames) override {
        if (cube_ && written_ != planned_) {
            fits_update_key_lng(file_, "NAXIS3", written_, nullptr, &status_);
            fits_set_hdustruc(file_, &status_);
        }
        fits_write_date(file_, &status_);
        if (cube_) write_times(frames);
        close();
        check();
    }

  private:
    void text(const char* key, const std::string& value, const char* comment) {
        if (!value.empty()) fits_update_key_str(file_, key, value.c_str(), comment, &status_);
    }
    void number(const char* key, const std::optional<double>& value, const char* comment) {
        if (value) fits_update_key_dbl(file_, key, *value, -9, comment, &status_);
    }
    void integer(const char* key, const std::optional<long>& value, const char* comment) {
        if (value) fits_update_key_lng(file_, key, *value, comment, &status_);
    }

    void write_header(const Facts& a) {
        const auto binned = [](const std::optional<double>& size, unsigned bins) {
            return size ? std::optional(*size * bins) : std::nullopt;
        };
        std::string type = a.image_type;
        for (char& c : type) c = static_cast<char>(std::toupper(static_cast<uint8_t>(c)));
        text("INSTRUME", a.camera, "camera");
        text("DETECTOR", a.chip, "sensor");
        text("CAMSER", a.serial, "serial number");
        text("IMAGETYP", type, "LIGHT, DARK, BIAS or FLAT");
        text("BUNIT", "adu", "counts of the converter");
        text("TIMESYS", "UTC", "");
        text("DATE-OBS", a.start_utc, "start of the first exposure, UTC");
        number("EXPTIME", a.exposure_ms / 1000, "[s] exposure of one frame");
        text("EXPMODE", a.exposure_mode, "what starts an exposure");
        integer("XBINNING", a.region.sbin, "columns summed");
        integer("YBINNING", a.region.pbin, "rows summed");
        integer("XORGSUBF", a.region.s1, "first column on the sensor");
        integer("YORGSUBF", a.region.p1, "first row on the sensor");
        number("XPIXSZ", binned(a.pixel_width_um, a.region.sbin), "[um] width of a binned pixel");
        number("YPIXSZ", binned(a.pixel_height_um, a.region.pbin), "[um] height of a binned pixel");
        number("CCD-TEMP", a.temperature_c, "[deg C] sensor temperature");
        number("SET-TEMP", a.setpoint_c, "[deg C] set-point of the cooling");
        text("READOUTM", readout_text(a), "port and speed of the readout");
        integer("GAIN", a.gain_index, "gain index");
        text("GAINNAME", a.gain_name, "name of the gain");
        number("EGAIN", a.electrons_per_count, "[electron/adu] conversion gain");
        integer("EMGAIN", a.multiplication_gain, "multiplication gain");
        number("RDNOISE", a.read_noise_electrons, "[electron] read noise");
        integer("PEDESTAL", a.adc_offset, "[adu] offset that is part of every pixel");
        integer("SATURATE", static_cast<long>(saturation(a)), "[adu] largest value of a pixel");
        integer("BITDEPTH", a.bit_depth, "bits of a converted pixel");
        number("PIXTIME", a.pixel_time_ns, "[ns] time of one pixel");
        text("ROWORDER", "TOP-DOWN", "first row of the file is the top");
        text("SWCREATE", "orvex " ORVEX_PROGRAM_VERSION, "");
    }

    void write_times(std::span<const FrameStamp> frames) {
        char number_name[] = "FRAME", time_name[] = "TIME", date_name[] = "DATE_OBS";
        char number_form[] = "1J", time_form[] = "1D", date_form[] = "26A";
        char no_unit[] = "", seconds[] = "s";
        char* names[] = {number_name, time_name, date_name};
        char* forms[] = {number_form, time_form, date_form};
        char* units[] = {no_unit, seconds, no_unit};
        fits_create_tbl(file_, BINARY_TBL, 0, 3, names, forms, units, "FRAMES", &status_);
        for (size_t i = 0; i < frames.size(); ++i) {
            const LONGLONG row = static_cast<LONGLONG>(i) + 1;
            auto frame = static_cast<int>(frames[i].number);
            double begin = frames[i].begin_s.value_or(std::numeric_limits<double>::quiet_NaN());
            std::string date =
                frames[i].begin_s ? utc_after(start_utc_, *frames[i].begin_s) : std::string();
            char* dates[] = {date.data()};
            fits_write_col(file_, TINT, 1, row, 1, 1, &frame, &status_);
            fits_write_col(file_, TDOUBLE, 2, row, 1, 1, &begin, &status_);
            fits_write_col(file_, TSTRING, 3, row, 1, 1, static_cast<void*>(dates), &status_);
        }
        text("TIMESYS", "UTC", "");
    }

    // cfitsio does nothing once something failed, and remembers what.
    void check() {
        if (!status_) return;
        char reason[FLEN_STATUS] = {};
        fits_get_errstatus(status_, reason);
        close();
        fail_to_write(path_, reason);
    }

    void close() {
        if (!file_) return;
        int close_status = 0;
        fits_close_file(std::exchange(file_, nullptr), &close_status);
        if (!status_) status_ = close_status;
    }

    std::string path_;
    std::string start_utc_;
    LONGLONG pixels_;
    long planned_;
    bool cube_;
    fitsfile* file_ = nullptr;
    int status_ = 0;
    long written_ = 0;
};

}  // namespace

Format fits_format() {
    return {
        .name = "fits",
        .endings = {".fits", ".fit", ".fts"},
        .faithful = true,
        .bare = false,
        .create = [](const std::string& path, const Facts& facts) -> std::unique_ptr<FrameFile> {
            return std::make_unique<FitsFile>(path, facts);
        }};
}

}  // namespace orvex
