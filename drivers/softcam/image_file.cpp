#include "softcam/image_file.h"

#include <array>
#include <cstdio>
#include <memory>
#include <string_view>

#include "softcam/formats/image_format.h"

namespace softcam {

// The build writes the rows of those formats whose library is there.
#define SOFTCAM_IMAGE_FORMAT(name) ReadImage Read##name;
#include "softcam_formats.def"
#undef SOFTCAM_IMAGE_FORMAT

namespace {

struct Format {
    std::string_view name;
    ReadImage* read;
};

constexpr Format formats[] = {
#define SOFTCAM_IMAGE_FORMAT(name) {#name, Read##name},
#include "softcam_formats.def"
#undef SOFTCAM_IMAGE_FORMAT
    {},
};

}  // namespace

bool FailToRead(const std::string& path, const std::string& reason, std::string& message) {
    message = "cannot read image file '" + path + "': " + reason;
    return false;
}

bool ReadImageFile(const std::string& path, Image& image, std::string& message) {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!file) return FailToRead(path, "no such file", message);
    std::array<uint8_t, 4> start{};
    const size_t count = std::fread(start.data(), 1, start.size(), file.get());
    const bool png = count == start.size() && start[0] == 0x89 && start[1] == 'P';
    const std::string name = png ? "PNG" : "TIFF";
    for (const Format& format : formats)
        if (format.name == name) return format.read(path, image, message);
    return FailToRead(path, "this driver was built without support for " + name + " files",
                      message);
}

}  // namespace softcam
