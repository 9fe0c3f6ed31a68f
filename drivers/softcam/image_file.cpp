#include "softcam/image_file.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <png.h>
#include <tiffio.h>

namespace softcam {
namespace {

// Larger pictures are refused before memory is asked for.
constexpr uint32_t side_limit = 32768;

constexpr uint16_t FromEightBits(uint32_t value) {
    return static_cast<uint16_t>(value << 4);
}

// Luma of 8-bit red, green and blue.
constexpr uint32_t Grey(uint32_t red, uint32_t green, uint32_t blue) {
    return (299 * red + 587 * green + 114 * blue + 500) / 1000;
}

bool Fail(const std::string& path, const std::string& reason, std::string& message) {
    message = "cannot read image file '" + path + "': " + reason;
    return false;
}

bool ReadPng(const std::string& path, Image& image, std::string& message) {
    png_image header{};
    header.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&header, path.c_str()) == 0)
        return Fail(path, header.message, message);
    if (header.width > side_limit || header.height > side_limit) {
        png_image_free(&header);
        return Fail(path, "too large", message);
    }
    header.format = PNG_FORMAT_GRAY;
    std::vector<uint8_t> grey(PNG_IMAGE_SIZE(header));
    image = Image(header.width, header.height);
    if (png_image_finish_read(&header, nullptr, grey.data(), 0, nullptr) == 0)
        return Fail(path, header.message, message);
    for (size_t i = 0; i < grey.size(); ++i) image.pixels[i] = FromEightBits(grey[i]);
    return true;
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

bool ReadTiff(const std::string& path, Image& image, std::string& message) {
    // The library would print its complaints.
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    const std::unique_ptr<TIFF, decltype(&TIFFClose)> tiff(TIFFOpen(path.c_str(), "r"), TIFFClose);
    if (!tiff) return Fail(path, "not a TIFF file", message);
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t bits = 1;
    uint16_t samples = 1;
    TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
    if (width == 0 || height == 0 || width > side_limit || height > side_limit)
        return Fail(path, "unusable size", message);
    image = Image(width, height);
    const bool grey = bits == 16 && samples == 1 && TIFFIsTiled(tiff.get()) == 0;
    if (grey ? ReadGrey16(tiff.get(), image) : ReadColors(tiff.get(), image)) return true;
    return Fail(path, "damaged, or of a kind not supported", message);
}

}  // namespace

bool ReadImageFile(const std::string& path, Image& image, std::string& message) {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!file) return Fail(path, "no such file", message);
    std::array<uint8_t, 4> start{};
    const size_t count = std::fread(start.data(), 1, start.size(), file.get());
    const bool png = count == start.size() && start[0] == 0x89 && start[1] == 'P';
    return png ? ReadPng(path, image, message) : ReadTiff(path, image, message);
}

}  // namespace softcam
