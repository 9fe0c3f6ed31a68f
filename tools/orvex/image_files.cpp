#include "orvex/image_files.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fitsio.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <png.h>
#include <stdexcept>
#include <tiffio.h>

namespace orvex {

namespace {

[[noreturn]] void fail(const std::string& path, const std::string& why) {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
    throw std::runtime_error("cannot write '" + path + "'" + (why.empty() ? "" : ": " + why));
}

struct CloseTiff {
    void operator()(TIFF* file) const { TIFFClose(file); }
};

// Header keys of FITS, written one by one; remembers the first failure as cfitsio does.
class FitsHeader {
  public:
    FitsHeader(fitsfile* file, int& status) : file_(file), status_(status) {}
    void text(const char* key, const std::string& value, const char* comment) {
        if (!value.empty()) fits_update_key_str(file_, key, value.c_str(), comment, &status_);
    }
    void number(const char* key, double value, const char* comment) {
        fits_update_key_dbl(file_, key, value, -9, comment, &status_);
    }
    void integer(const char* key, long value, const char* comment) {
        fits_update_key_lng(file_, key, value, comment, &status_);
    }

  private:
    fitsfile* file_;
    int& status_;
};

void write_fits_header(fitsfile* file, const Acquisition& a, int& status) {
    FitsHeader header(file, status);
    header.text("INSTRUME", a.camera, "camera");
    header.text("DETECTOR", a.chip, "sensor");
    header.text("CAMSER", a.serial, "serial number");
    header.text("DATE-OBS", a.start_utc, "start of the first exposure, UTC");
    header.number("EXPTIME", a.exposure_ms / 1000, "[s] exposure of one frame");
    header.integer("XBINNING", a.region.sbin, "columns summed");
    header.integer("YBINNING", a.region.pbin, "rows summed");
    header.integer("XORGSUBF", a.region.s1, "first column on the sensor");
    header.integer("YORGSUBF", a.region.p1, "first row on the sensor");
    header.number("CCD-TEMP", a.temperature_c, "[deg C] sensor temperature");
    header.integer("GAININDX", a.gain_index, "gain index");
    header.integer("BITDEPTH", a.bit_depth, "bits of a converted pixel");
    header.number("PIXTIME", a.pixel_time_ns, "[ns] time of one pixel");
    header.text("ROWORDER", "TOP-DOWN", "first row of the file is the top");
    header.text("CREATOR", "orvex", "");
}

// 8-bit pixels, with the few brightest and darkest clipped.
std::vector<uint8_t> stretch(std::span<const uint16_t> frame) {
    std::vector<uint16_t> sorted(frame.begin(), frame.end());
    const auto percentile = [&](double share) {
        const auto at = sorted.begin() +
                        static_cast<std::ptrdiff_t>(share * static_cast<double>(sorted.size() - 1));
        std::nth_element(sorted.begin(), at, sorted.end());
        return static_cast<double>(*at);
    };
    const double low = percentile(0.005);
    const double high = std::max(percentile(0.998), low + 1);
    std::vector<uint8_t> out(frame.size());
    std::transform(frame.begin(), frame.end(), out.begin(), [&](uint16_t pixel) {
        return static_cast<uint8_t>(std::clamp((pixel - low) / (high - low), 0.0, 1.0) * 255);
    });
    return out;
}

}  // namespace

std::string facts_json(const Acquisition& a) {
    nlohmann::ordered_json facts = {
        {"camera", a.camera},
        {"sensor", a.chip},
        {"serial", a.serial},
        {"start_utc", a.start_utc},
        {"frames", a.frames},
        {"width", a.width},
        {"height", a.height},
        {"region",
         {a.region.s1, a.region.p1, a.region.s2 - a.region.s1 + 1, a.region.p2 - a.region.p1 + 1}},
        {"binning", {a.region.sbin, a.region.pbin}},
        {"exposure_ms", a.exposure_ms},
        {"bit_depth", a.bit_depth},
        {"gain_index", a.gain_index},
        {"pixel_time_ns", a.pixel_time_ns},
        {"temperature_c", a.temperature_c}};
    return facts.dump();
}

void write_tiff(const std::string& path, const Acquisition& a) {
    TIFFSetErrorHandler(nullptr);
    // Classic TIFF ends at 4 GiB; BigTIFF takes over before that.
    const bool big = static_cast<uint64_t>(a.frame_bytes) * a.frames > 4'000'000'000u;
    std::unique_ptr<TIFF, CloseTiff> file(TIFFOpen(path.c_str(), big ? "w8" : "w"));
    if (!file) fail(path, "");
    const std::string facts = facts_json(a);
    for (uint32_t i = 0; i < a.frames; ++i) {
        TIFF* t = file.get();
        TIFFSetField(t, TIFFTAG_IMAGEWIDTH, a.width);
        TIFFSetField(t, TIFFTAG_IMAGELENGTH, a.height);
        TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, 16);
        TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(t, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(t, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
        TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, a.height);
        TIFFSetField(t, TIFFTAG_SUBFILETYPE, a.frames > 1 ? FILETYPE_PAGE : 0);
        TIFFSetField(t, TIFFTAG_PAGENUMBER, i, a.frames);
        TIFFSetField(t, TIFFTAG_MODEL, a.camera.c_str());
        TIFFSetField(t, TIFFTAG_SOFTWARE, "orvex");
        TIFFSetField(t, TIFFTAG_IMAGEDESCRIPTION, facts.c_str());
        // The strip is written as it lies; libtiff takes but does not change it.
        auto* data = const_cast<uint16_t*>(a.frame(i).data());
        if (TIFFWriteEncodedStrip(t, 0, data, a.frame_bytes) < 0 || !TIFFWriteDirectory(t)) {
            file.reset();
            fail(path, "");
        }
    }
}

void write_fits(const std::string& path, const Acquisition& a) {
    int status = 0;
    fitsfile* file = nullptr;
    long axes[3] = {static_cast<long>(a.width), static_cast<long>(a.height),
                    static_cast<long>(a.frames)};
    // The leading ! replaces a file that is there.
    if (!fits_create_file(&file, ("!" + path).c_str(), &status)) {
        fits_create_img(file, USHORT_IMG, a.frames > 1 ? 3 : 2, axes, &status);
        write_fits_header(file, a, status);
        auto* data = const_cast<uint16_t*>(a.pixels.data());
        fits_write_img(file, TUSHORT, 1, static_cast<LONGLONG>(a.pixels.size()), data, &status);
        int close_status = status;
        fits_close_file(file, &close_status);
        if (!status) status = close_status;
    }
    if (status) {
        char text[FLEN_STATUS] = {};
        fits_get_errstatus(status, text);
        fail(path, text);
    }
}

void write_preview(const std::string& path, const Acquisition& a, uint32_t index) {
    std::vector<uint8_t> pixels = stretch(a.frame(index));
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = a.width;
    image.height = a.height;
    image.format = PNG_FORMAT_GRAY;
    if (!png_image_write_to_file(&image, path.c_str(), 0, pixels.data(), 0, nullptr)) {
        fail(path, image.message);
    }
}

}  // namespace orvex
