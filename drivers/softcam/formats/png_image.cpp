#include <png.h>
#include <vector>

#include "softcam/formats/image_format.h"

namespace softcam {

ReadImage ReadPNG;

bool ReadPNG(const std::string& path, Image& image, std::string& message) {
    png_image header{};
    header.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&header, path.c_str()) == 0)
        return FailToRead(path, header.message, message);
    if (header.width > image_side_limit || header.height > image_side_limit) {
        png_image_free(&header);
        return FailToRead(path, "too large", message);
    }
    header.format = PNG_FORMAT_GRAY;
    std::vector<uint8_t> grey(PNG_IMAGE_SIZE(header));
    image = Image(header.width, header.height);
    if (png_image_finish_read(&header, nullptr, grey.data(), 0, nullptr) == 0)
        return FailToRead(path, header.message, message);
    for (size_t i = 0; i < grey.size(); ++i) image.pixels[i] = FromEightBits(grey[i]);
    return true;
}

}  // namespace softcam
