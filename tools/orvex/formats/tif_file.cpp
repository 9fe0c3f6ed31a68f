// libtiff marks int16 and its like, which are types of the library too, as old names of its own.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

#include <cerrno>
#include <cstring>
#include <tiffio.h>

#include "orvex/frame_file.h"
#include "orvex/ome_xml.h"

// OME-TIFF: 16 bits, one page a frame, the facts in the standard tags and in the description of the
// first page. Programs that know nothing of OME see pages.
namespace orvex {

Format tif_format();

namespace {

class TiffFile : public FrameFile {
  public:
    TiffFile(std::string path, const Facts& facts) : path_(std::move(path)), facts_(facts) {
        TIFFSetErrorHandler(nullptr);
        TIFFSetWarningHandler(nullptr);
        // Classic TIFF ends at 4 GiB; BigTIFF takes over before that, and when nobody knows.
        const bool big = facts.frames == 0 ||
                         static_cast<uint64_t>(facts.frame_bytes) * facts.frames > 4'000'000'000u;
        file_.reset(TIFFOpen(path_.c_str(), big ? "w8" : "w"));
        if (!file_) fail_to_write(path_, std::strerror(errno));
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
        TIFFSetField(t, TIFFTAG_SOFTWARE, "orvex " ORVEX_PROGRAM_VERSION);
        set_resolution();
        // The strip is written as it lies; libtiff takes but does not change it.
        auto* data = const_cast<uint8_t*>(frame.data());
        if (TIFFWriteEncodedStrip(t, 0, data, static_cast<tmsize_t>(frame.size())) < 0 ||
            !TIFFWriteDirectory(t)) {
            fail_to_write(path_, std::strerror(errno));
        }
        ++page_;
    }

    // The description counts the pages, so the first one is described when all are there.
    void finish(std::span<const FrameStamp> frames) override {
        TIFF* t = file_.get();
        const std::string description = ome_xml(facts_, frames);
        if (!TIFFSetDirectory(t, 0) ||
            !TIFFSetField(t, TIFFTAG_IMAGEDESCRIPTION, description.c_str()) ||
            !TIFFRewriteDirectory(t) || !TIFFFlush(t)) {
            fail_to_write(path_, std::strerror(errno));
        }
        file_.reset();
    }

  private:
    struct Close {
        void operator()(TIFF* file) const { TIFFClose(file); }
    };

    // Pixels per centimetre on the sensor.
    void set_resolution() {
        constexpr double micrometres = 10000;
        const auto density = [](const std::optional<double>& size, unsigned binning) {
            return micrometres / (size.value_or(0) * binning);
        };
        if (facts_.pixel_width_um.value_or(0) <= 0 || facts_.pixel_height_um.value_or(0) <= 0)
            return;
        TIFF* t = file_.get();
        TIFFSetField(t, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
        TIFFSetField(t, TIFFTAG_XRESOLUTION, density(facts_.pixel_width_um, facts_.region.sbin));
        TIFFSetField(t, TIFFTAG_YRESOLUTION, density(facts_.pixel_height_um, facts_.region.pbin));
    }

    std::string path_;
    Facts facts_;
    std::unique_ptr<TIFF, Close> file_;
    uint32_t page_ = 0;
};

}  // namespace

Format tif_format() {
    return {
        .name = "tif",
        .endings = {".tif", ".tiff"},
        .faithful = true,
        .bare = false,
        .create = [](const std::string& path, const Facts& facts) -> std::unique_ptr<FrameFile> {
            return std::make_unique<TiffFile>(path, facts);
        }};
}

}  // namespace orvex
