// PNG through libpng. libpng reports errors by longjmp, so the functions that call
// it keep no C++ objects of their own: everything they fill lives in the caller.
#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <cstring>

#include "tools/image_io.h"

namespace vqz {

namespace {

struct PngSource {
    const unsigned char* data;
    size_t size;
    size_t offset;
    char error[200];
};

void pngError(png_structp png, png_const_charp message) {
    PngSource* src = static_cast<PngSource*>(png_get_error_ptr(png));
    std::snprintf(src->error, sizeof src->error, "%s", message);
    png_longjmp(png, 1);
}

void pngWarning(png_structp, png_const_charp) {}

void readFromMemory(png_structp png, png_bytep out, png_size_t length) {
    PngSource* src = static_cast<PngSource*>(png_get_io_ptr(png));
    if (length > src->size - src->offset) png_error(png, "the file is truncated");
    std::memcpy(out, src->data + src->offset, length);
    src->offset += length;
}

// Reads into `out` (sized here through `pixels`); false with src->error on failure.
bool readPng(png_structp png, png_infop info, PngSource* src, Image* out, std::vector<png_bytep>* rows) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_set_read_fn(png, src, readFromMemory);
    png_read_info(png, info);
    png_uint_32 width = png_get_image_width(png, info);
    png_uint_32 height = png_get_image_height(png, info);
    int colorType = png_get_color_type(png, info);
    if (width == 0 || height == 0 || width > png_uint_32(kMaxSide) || height > png_uint_32(kMaxSide) ||
        size_t(width) * size_t(height) > kMaxPixels) {
        std::snprintf(src->error, sizeof src->error, "a picture of %ux%u is larger than the host accepts",
                      unsigned(width), unsigned(height));
        return false;
    }
    bool alpha = (colorType & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(png, info, PNG_INFO_tRNS) != 0;
    png_set_expand(png);
    png_set_scale_16(png);
    png_set_gray_to_rgb(png);
    if (!(colorType & PNG_COLOR_MASK_ALPHA) && !png_get_valid(png, info, PNG_INFO_tRNS))
        png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    if (png_get_rowbytes(png, info) != size_t(width) * 4) png_error(png, "unexpected row layout");
    out->width = int(width);
    out->height = int(height);
    out->hasAlpha = alpha;
    out->rgba.assign(size_t(width) * size_t(height) * 4, 0);
    rows->resize(height);
    for (png_uint_32 y = 0; y < height; ++y) (*rows)[y] = out->rgba.data() + size_t(y) * size_t(width) * 4;
    png_read_image(png, rows->data());
    png_read_end(png, nullptr);
    return true;
}

struct PngSink {
    Bytes* bytes;
    char error[200];
};

void writeToMemory(png_structp png, png_bytep data, png_size_t length) {
    PngSink* sink = static_cast<PngSink*>(png_get_io_ptr(png));
    sink->bytes->insert(sink->bytes->end(), data, data + length);
}

void flushNothing(png_structp) {}

void pngWriteError(png_structp png, png_const_charp message) {
    PngSink* sink = static_cast<PngSink*>(png_get_error_ptr(png));
    std::snprintf(sink->error, sizeof sink->error, "%s", message);
    png_longjmp(png, 1);
}

bool writePng(png_structp png, png_infop info, PngSink* sink, const Image* image, std::vector<png_bytep>* rows,
              std::vector<unsigned char>* rgb) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_set_write_fn(png, sink, writeToMemory, flushNothing);
    bool alpha = image->hasAlpha;
    png_set_IHDR(png, info, png_uint_32(image->width), png_uint_32(image->height), 8,
                 alpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(png, 6);
    png_write_info(png, info);
    size_t channels = alpha ? 4 : 3;
    size_t w = size_t(image->width);
    rows->resize(size_t(image->height));
    if (alpha) {
        for (int y = 0; y < image->height; ++y)
            (*rows)[size_t(y)] = const_cast<png_bytep>(image->rgba.data() + size_t(y) * w * 4);
    } else {
        rgb->resize(w * size_t(image->height) * channels);
        for (size_t i = 0, n = w * size_t(image->height); i < n; ++i)
            std::memcpy(rgb->data() + i * 3, image->rgba.data() + i * 4, 3);
        for (int y = 0; y < image->height; ++y) (*rows)[size_t(y)] = rgb->data() + size_t(y) * w * 3;
    }
    png_write_image(png, rows->data());
    png_write_end(png, nullptr);
    return true;
}

}  // namespace

bool isPng(const unsigned char* data, size_t size) {
    return size >= 8 && png_sig_cmp(data, 0, 8) == 0;
}

bool decodePng(const unsigned char* data, size_t size, Image& out, std::string& error) {
    PngSource src{data, size, 0, {0}};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &src, pngError, pngWarning);
    if (!png) {
        error = "out of memory";
        return false;
    }
    png_infop info = png_create_info_struct(png);
    std::vector<png_bytep> rows;
    bool ok = info && readPng(png, info, &src, &out, &rows);
    png_destroy_read_struct(&png, info ? &info : nullptr, nullptr);
    if (!ok) {
        error = src.error[0] ? std::string("broken PNG file: ") + src.error : "broken PNG file";
        if (std::strstr(src.error, "larger than")) error = src.error;
        out = Image();
    }
    return ok;
}

Bytes encodePng(const Image& image) {
    Bytes bytes;
    PngSink sink{&bytes, {0}};
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &sink, pngWriteError, pngWarning);
    if (!png) throw std::bad_alloc();
    png_infop info = png_create_info_struct(png);
    std::vector<png_bytep> rows;
    std::vector<unsigned char> rgb;
    bool ok = info && writePng(png, info, &sink, &image, &rows, &rgb);
    png_destroy_write_struct(&png, info ? &info : nullptr);
    if (!ok) throw std::runtime_error(std::string("cannot encode PNG: ") + sink.error);
    return bytes;
}

}  // namespace vqz
