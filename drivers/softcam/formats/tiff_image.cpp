#include <cstring>
#include <memory>
#include <tiffio.h>
#include <vector>

#include "softcam/formats/image_format.h"

namespace softcam {
namespace {

// Luma of 8-bit red, green and blue.
constexpr uint32_t Grey(uint32_t red, uint32_t green, uint32_t blue) {
    return (299 * red + 587 * green + 114 * blue + 500) / 1000;
}

bool ReadGrey16(TIFF* tiff, Image& image) {
    const auto line_bytes = static_cast<size_t>(TIFFScanlineSize(tiff));
    if (line_bytes < image.columns * size_t{2}) return false;
    std::vector<uint16_t> line((line_bytes + 1) / 2);
    for (uint32_t row = 0; row < image.rows; ++row) {
        if (TIFFReadScanline(tiff, line.data(), row) < 0) return false;
        std::memcpy(&image.At(0, row), line.data(), image.columns * sizeof(uint16_t));
    }
    return true;
}

bool ReadColors(TIFF* tiff, Image& image) {
    std::vector<uint32_t> raster(image.pixels.size());
    if (TIFFReadRGBAImageOriented(tiff, image.columns, image.rows, raster.data(),
                                  ORIENTATION_TOPLEFT, 0) == 0)
        return false;
    for (size_t i = 0; i < raster.size(); ++i) {
        image.pixels[i] =
            FromEightBits(Grey(TIFFGetR(raster[i]), TIFFGetG(raster[i]), TIFFGetB(raster[i])));
    }
    return true;
}

}  // namespace

ReadImage ReadTIFF;

bool ReadTIFF(const std::string& path, Image& image, std::string& message) {
    // The library would print its complaints.
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    const std::unique_ptr<TIFF, decltype(&TIFFClose)> tiff(TIFFOpen(path.c_str(), "r"), TIFFClose);
    if (!tiff) return FailToRead(path, "not a TIFF file", message);
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t bits = 1;
    uint16_t samples = 1;
    TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
    if (width == 0 || height == 0 || width > image_side_limit || height > image_side_limit)
        return FailToRead(path, "unusable size", message);
    image = Image(width, height);
    const bool grey = bits == 16 && samples == 1 && TIFFIsTiled(tiff.get()) == 0;
    if (grey ? ReadGrey16(tiff.get(), image) : ReadColors(tiff.get(), image)) return true;
    return FailToRead(path, "damaged, or of a kind not supported", message);
}

}  // namespace softcam
