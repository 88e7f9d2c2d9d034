// JPEG through libjpeg(-turbo). Its errors arrive by longjmp, so the functions that
// call it keep no C++ objects of their own.
#include <cstdio>  // jpeglib.h needs FILE and size_t first

#include <jpeglib.h>

#include <csetjmp>
#include <cstdlib>
#include <stdexcept>
#include <cstring>

#include "tools/image_io.h"

namespace vqz {

namespace {

struct JpegError {
    jpeg_error_mgr manager;
    jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
};

void jpegErrorExit(j_common_ptr cinfo) {
    JpegError* err = reinterpret_cast<JpegError*>(cinfo->err);
    (*cinfo->err->format_message)(cinfo, err->message);
    longjmp(err->jump, 1);
}

void jpegQuiet(j_common_ptr, int) {}

bool readJpeg(jpeg_decompress_struct* cinfo, JpegError* err, const unsigned char* data, size_t size, Image* out,
              std::vector<unsigned char>* row) {
    if (setjmp(err->jump)) return false;
    jpeg_create_decompress(cinfo);
    jpeg_mem_src(cinfo, data, static_cast<unsigned long>(size));
    jpeg_read_header(cinfo, TRUE);
    bool cmyk = cinfo->jpeg_color_space == JCS_CMYK || cinfo->jpeg_color_space == JCS_YCCK;
    cinfo->out_color_space = cmyk ? JCS_CMYK : JCS_RGB;
    if (cinfo->image_width > JDIMENSION(kMaxSide) || cinfo->image_height > JDIMENSION(kMaxSide) ||
        size_t(cinfo->image_width) * size_t(cinfo->image_height) > kMaxPixels) {
        std::snprintf(err->message, sizeof err->message, "a picture of %ux%u is larger than the host accepts",
                      unsigned(cinfo->image_width), unsigned(cinfo->image_height));
        return false;
    }
    jpeg_start_decompress(cinfo);
    int w = int(cinfo->output_width), h = int(cinfo->output_height);
    int components = cinfo->output_components;
    out->width = w;
    out->height = h;
    out->hasAlpha = false;
    out->rgba.assign(size_t(w) * size_t(h) * 4, 255);
    row->resize(size_t(w) * size_t(components));
    while (cinfo->output_scanline < cinfo->output_height) {
        int y = int(cinfo->output_scanline);
        JSAMPROW rows[1] = {row->data()};
        jpeg_read_scanlines(cinfo, rows, 1);
        unsigned char* dst = out->rgba.data() + size_t(y) * size_t(w) * 4;
        const unsigned char* src = row->data();
        for (int x = 0; x < w; ++x, dst += 4, src += components) {
            if (cmyk) {
                // Adobe writes CMYK inverted: each byte is 255 - ink.
                unsigned k = src[3];
                dst[0] = uint8_t(src[0] * k / 255);
                dst[1] = uint8_t(src[1] * k / 255);
                dst[2] = uint8_t(src[2] * k / 255);
            } else {
                dst[0] = src[0];
                dst[1] = src[1];
                dst[2] = src[2];
            }
        }
    }
    jpeg_finish_decompress(cinfo);
    return true;
}

bool writeJpeg(jpeg_compress_struct* cinfo, JpegError* err, const Image* image, int quality, unsigned char** buffer,
               unsigned long* length, std::vector<unsigned char>* row) {
    if (setjmp(err->jump)) return false;
    jpeg_create_compress(cinfo);
    jpeg_mem_dest(cinfo, buffer, length);
    cinfo->image_width = JDIMENSION(image->width);
    cinfo->image_height = JDIMENSION(image->height);
    cinfo->input_components = 3;
    cinfo->in_color_space = JCS_RGB;
    jpeg_set_defaults(cinfo);
    jpeg_set_quality(cinfo, quality, TRUE);
    jpeg_start_compress(cinfo, TRUE);
    row->resize(size_t(image->width) * 3);
    while (cinfo->next_scanline < cinfo->image_height) {
        const unsigned char* src = image->rgba.data() + size_t(cinfo->next_scanline) * size_t(image->width) * 4;
        for (int x = 0; x < image->width; ++x) std::memcpy(row->data() + size_t(x) * 3, src + size_t(x) * 4, 3);
        JSAMPROW rows[1] = {row->data()};
        jpeg_write_scanlines(cinfo, rows, 1);
    }
    jpeg_finish_compress(cinfo);
    return true;
}

}  // namespace

bool isJpeg(const unsigned char* data, size_t size) {
    return size >= 3 && data[0] == 0xFF && data[1] == 0xD8 && data[2] == 0xFF;
}

bool decodeJpeg(const unsigned char* data, size_t size, Image& out, std::string& error) {
    jpeg_decompress_struct cinfo;
    JpegError err;
    std::memset(&cinfo, 0, sizeof cinfo);
    err.message[0] = '\0';
    cinfo.err = jpeg_std_error(&err.manager);
    err.manager.error_exit = jpegErrorExit;
    err.manager.emit_message = jpegQuiet;
    std::vector<unsigned char> row;
    bool ok = readJpeg(&cinfo, &err, data, size, &out, &row);
    jpeg_destroy_decompress(&cinfo);
    if (!ok) {
        error = std::strstr(err.message, "larger than") ? std::string(err.message)
                                                        : std::string("broken JPEG file: ") + err.message;
        out = Image();
    }
    return ok;
}

Bytes encodeJpeg(const Image& image, int quality) {
    jpeg_compress_struct cinfo;
    JpegError err;
    std::memset(&cinfo, 0, sizeof cinfo);
    err.message[0] = '\0';
    cinfo.err = jpeg_std_error(&err.manager);
    err.manager.error_exit = jpegErrorExit;
    err.manager.emit_message = jpegQuiet;
    unsigned char* buffer = nullptr;
    unsigned long length = 0;
    std::vector<unsigned char> row;
    bool ok = writeJpeg(&cinfo, &err, &image, quality, &buffer, &length, &row);
    jpeg_destroy_compress(&cinfo);
    Bytes bytes;
    if (ok && buffer) bytes.assign(buffer, buffer + length);
    std::free(buffer);
    if (!ok) throw std::runtime_error(std::string("cannot encode JPEG: ") + err.message);
    return bytes;
}

}  // namespace vqz
