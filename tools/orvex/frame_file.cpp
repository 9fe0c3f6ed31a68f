#include "orvex/frame_file.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fitsio.h>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <tiffio.h>

namespace orvex {

namespace {

[[noreturn]] void fail(const std::string& path, const std::string& why) {
    throw std::runtime_error("cannot write '" + path + "'" + (why.empty() ? "" : ": " + why));
}

class TiffFile : public FrameFile {
  public:
    TiffFile(std::string path, const Acquisition& facts)
        : path_(std::move(path)), facts_(facts), text_(facts_json(facts)) {
        TIFFSetErrorHandler(nullptr);
        TIFFSetWarningHandler(nullptr);
        // Classic TIFF ends at 4 GiB; BigTIFF takes over before that, and when nobody knows.
        const bool big = facts.frames == 0 ||
                         static_cast<uint64_t>(facts.frame_bytes) * facts.frames > 4'000'000'000u;
        file_.reset(TIFFOpen(path_.c_str(), big ? "w8" : "w"));
        if (!file_) fail(path_, std::strerror(errno));
    }

    void add(std::span<const uint8_t> frame) override {
        TIFF* t = file_.get();
        TIFFSetField(t, TIFFTAG_IMAGEWIDTH, facts_.width);
        TIFFSetField(t, TIFFTAG_IMAGELENGTH, facts_.height);
        TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, 16);
        TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(t, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(t, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
        TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, facts_.height);
        TIFFSetField(t, TIFFTAG_SUBFILETYPE, facts_.frames == 1 ? 0 : FILETYPE_PAGE);
        // The tag holds 16 bits; a total of 0 is one that was not known.
        if (page_ <= 65535 && facts_.frames <= 65535) {
            TIFFSetField(t, TIFFTAG_PAGENUMBER, page_, facts_.frames);
        }
        TIFFSetField(t, TIFFTAG_MODEL, facts_.camera.c_str());
        TIFFSetField(t, TIFFTAG_SOFTWARE, "orvex");
        TIFFSetField(t, TIFFTAG_IMAGEDESCRIPTION, text_.c_str());
        // The strip is written as it lies; libtiff takes but does not change it.
        auto* data = const_cast<uint8_t*>(frame.data());
        if (TIFFWriteEncodedStrip(t, 0, data, static_cast<tmsize_t>(frame.size())) < 0 ||
            !TIFFWriteDirectory(t)) {
            fail(path_, std::strerror(errno));
        }
        ++page_;
    }

    void finish() override { file_.reset(); }

  private:
    struct Close {
        void operator()(TIFF* file) const { TIFFClose(file); }
    };

    std::string path_;
    Acquisition facts_;
    std::string text_;
    std::unique_ptr<TIFF, Close> file_;
    uint32_t page_ = 0;
};

class FitsFile : public FrameFile {
  public:
    FitsFile(std::string path, const Acquisition& facts)
        : path_(std::move(path)),
          pixels_(static_cast<LONGLONG>(facts.frame_bytes / 2)),
          planned_(std::max(facts.frames, 1u)),
          cube_(facts.frames != 1) {
        long axes[3] = {static_cast<long>(facts.width), static_cast<long>(facts.height), planned_};
        // The leading ! replaces a file that is there.
        fits_create_file(&file_, ("!" + path_).c_str(), &status_);
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
    void finish() override {
        if (cube_ && written_ != planned_) {
            fits_update_key_lng(file_, "NAXIS3", written_, nullptr, &status_);
            fits_set_hdustruc(file_, &status_);
        }
        close();
        check();
    }

  private:
    void text(const char* key, const std::string& value, const char* comment) {
        if (!value.empty()) fits_update_key_str(file_, key, value.c_str(), comment, &status_);
    }
    void number(const char* key, double value, const char* comment) {
        fits_update_key_dbl(file_, key, value, -9, comment, &status_);
    }
    void integer(const char* key, long value, const char* comment) {
        fits_update_key_lng(file_, key, value, comment, &status_);
    }

    void write_header(const Acquisition& a) {
        text("INSTRUME", a.camera, "camera");
        text("DETECTOR", a.chip, "sensor");
        text("CAMSER", a.serial, "serial number");
        text("DATE-OBS", a.start_utc, "start of the first exposure, UTC");
        number("EXPTIME", a.exposure_ms / 1000, "[s] exposure of one frame");
        integer("XBINNING", a.region.sbin, "columns summed");
        integer("YBINNING", a.region.pbin, "rows summed");
        integer("XORGSUBF", a.region.s1, "first column on the sensor");
        integer("YORGSUBF", a.region.p1, "first row on the sensor");
        number("CCD-TEMP", a.temperature_c, "[deg C] sensor temperature");
        integer("GAININDX", a.gain_index, "gain index");
        integer("BITDEPTH", a.bit_depth, "bits of a converted pixel");
        number("PIXTIME", a.pixel_time_ns, "[ns] time of one pixel");
        text("ROWORDER", "TOP-DOWN", "first row of the file is the top");
        text("CREATOR", "orvex", "");
    }

    // cfitsio does nothing once something failed, and remembers what.
    void check() {
        if (!status_) return;
        char reason[FLEN_STATUS] = {};
        fits_get_errstatus(status_, reason);
        close();
        fail(path_, reason);
    }

    void close() {
        if (!file_) return;
        int close_status = 0;
        fits_close_file(std::exchange(file_, nullptr), &close_status);
        if (!status_) status_ = close_status;
    }

    std::string path_;
    LONGLONG pixels_;
    long planned_;
    bool cube_;
    fitsfile* file_ = nullptr;
    int status_ = 0;
    long written_ = 0;
};

class RawFile : public FrameFile {
  public:
    explicit RawFile(std::string path)
        : path_(std::move(path)), file_(std::fopen(path_.c_str(), "wb")) {
        if (!file_) fail(path_, std::strerror(errno));
    }

    void add(std::span<const uint8_t> frame) override {
        if (std::fwrite(frame.data(), 1, frame.size(), file_.get()) != frame.size()) {
            fail(path_, std::strerror(errno));
        }
    }

    void finish() override {
        if (std::fclose(file_.release()) != 0) fail(path_, std::strerror(errno));
    }

  private:
    struct Close {
        void operator()(FILE* file) const { std::fclose(file); }
    };

    std::string path_;
    std::unique_ptr<FILE, Close> file_;
};

struct Ending {
    const char* text;
    FileKind kind;
};
constexpr Ending endings[] = {{".tif", FileKind::tiff},
                              {".tiff", FileKind::tiff},
                              {".fits", FileKind::fits},
                              {".raw", FileKind::raw}};

}  // namespace

FileKind file_kind(const std::string& path) {
    const std::string ending = std::filesystem::path(path).extension();
    for (const Ending& known : endings) {
        if (ending == known.text) return known.kind;
    }
    throw std::invalid_argument("'" + path + "' must end in .tif, .tiff, .fits or .raw");
}

std::unique_ptr<FrameFile> create_frame_file(FileKind kind, const std::string& path,
                                             const Acquisition& facts) {
    switch (kind) {
        case FileKind::tiff: return std::make_unique<TiffFile>(path, facts);
        case FileKind::fits: return std::make_unique<FitsFile>(path, facts);
        case FileKind::raw: return std::make_unique<RawFile>(path);
    }
    return nullptr;
}

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
    // Pages are written before anybody knows how many there will be.
    if (a.frames == 0) facts.erase("frames");
    return facts.dump();
}

}  // namespace orvex
