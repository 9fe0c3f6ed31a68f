#include <cstdio>
#include <cstdlib>
#include <jpeglib.h>
#include <memory>
#include <new>
#include <png.h>
#include <stdexcept>
#include <zlib.h>

#include "orvex/view/picture.h"

namespace orvex::view {

namespace {

// Of the picture's own noise nothing is to be seen any more below this.
constexpr int jpeg_quality = 88;

std::string to_jpeg(const Picture& picture) {
    jpeg_compress_struct work{};
    jpeg_error_mgr errors{};
    work.err = jpeg_std_error(&errors);
    // With memory alone nothing can fail but memory, which the library ends the process for.
    errors.error_exit = [](j_common_ptr) { std::abort(); };
    jpeg_create_compress(&work);
    unsigned char* bytes = nullptr;
    unsigned long count = 0;
    jpeg_mem_dest(&work, &bytes, &count);
    work.image_width = picture.size.width;
    work.image_height = picture.size.height;
    work.input_components = 1;
    work.in_color_space = JCS_GRAYSCALE;
    jpeg_set_defaults(&work);
    jpeg_set_quality(&work, jpeg_quality, TRUE);
    work.dct_method = JDCT_IFAST;
    jpeg_start_compress(&work, TRUE);
    while (work.next_scanline < work.image_height) {
        auto* row =
            const_cast<JSAMPLE*>(&picture.pixels[size_t{work.next_scanline} * picture.size.width]);
        jpeg_write_scanlines(&work, &row, 1);
    }
    jpeg_finish_compress(&work);
    jpeg_destroy_compress(&work);
    const std::unique_ptr<unsigned char, decltype(&std::free)> release(bytes, &std::free);
    return {reinterpret_cast<const char*>(bytes), count};
}

std::string to_png(const Picture& picture) {
    std::string out;
    png_structp work = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop facts = work ? png_create_info_struct(work) : nullptr;
    if (!facts) {
        png_destroy_write_struct(&work, nullptr);
        throw std::bad_alloc();
    }
    png_set_write_fn(
        work, &out,
        [](png_structp to, png_bytep bytes, size_t count) {
            static_cast<std::string*>(png_get_io_ptr(to))
                ->append(reinterpret_cast<const char*>(bytes), count);
        },
        nullptr);
    png_set_IHDR(work, facts, picture.size.width, picture.size.height, 8, PNG_COLOR_TYPE_GRAY,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    // Noise can't be foretold; to look for patterns in it takes time and finds none.
    png_set_filter(work, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
    png_set_compression_level(work, 1);
    png_set_compression_strategy(work, Z_HUFFMAN_ONLY);
    png_write_info(work, facts);
    for (uint32_t y = 0; y < picture.size.height; ++y) {
        png_write_row(work, &picture.pixels[size_t{y} * picture.size.width]);
    }
    png_write_end(work, nullptr);
    png_destroy_write_struct(&work, &facts);
    return out;
}

}  // namespace

std::string compress(const Picture& picture, Compression compression) {
    return compression == Compression::jpeg ? to_jpeg(picture) : to_png(picture);
}

}  // namespace orvex::view
