#include "tools/image_io.h"

#include "tools/errors.h"
#include "tools/files.h"

namespace vqz {

Image decodeImage(const std::string& name, const unsigned char* data, size_t size) {
    Image image;
    std::string error;
    bool ok;
    if (size == 0) {
        throw ToolError(name + ": the file is empty");
    } else if (isPng(data, size)) {
        ok = decodePng(data, size, image, error);
    } else if (isJpeg(data, size)) {
        ok = decodeJpeg(data, size, image, error);
    } else if (isPnm(data, size)) {
        ok = decodePnm(data, size, image, error);
    } else {
        throw ToolError(name + ": not a PNG, JPEG, PPM or PGM file");
    }
    if (!ok) throw ToolError(name + ": " + error);
    return image;
}

Image readImage(const std::string& path) {
    Bytes data = readFile(path);
    return decodeImage(path, data.data(), data.size());
}

bool isImageExtension(const std::string& ext) {
    return ext == "png" || ext == "jpg" || ext == "jpeg" || ext == "ppm" || ext == "pnm" || ext == "pgm";
}

ImageFormat outputFormat(const std::string& path) {
    std::string ext = extensionOf(path);
    if (ext == "png") return ImageFormat::Png;
    if (ext == "jpg" || ext == "jpeg") return ImageFormat::Jpeg;
    if (ext == "ppm" || ext == "pnm") return ImageFormat::Ppm;
    if (ext == "pgm") return ImageFormat::Pgm;
    throw ToolError(path + ": unsupported output format" + (ext.empty() ? std::string() : " '." + ext + "'") +
                    " (use .png, .jpg, .ppm or .pgm)");
}

Bytes encodeImage(const Image& image, ImageFormat format, int jpegQuality) {
    switch (format) {
        case ImageFormat::Png: return encodePng(image);
        case ImageFormat::Jpeg: return encodeJpeg(image, jpegQuality);
        case ImageFormat::Ppm: return encodePnm(image, false);
        case ImageFormat::Pgm: return encodePnm(image, true);
    }
    return {};
}

void writeImage(const std::string& path, const Image& image, int jpegQuality) {
    ImageFormat format = outputFormat(path);
    Bytes bytes;
    try {
        bytes = encodeImage(image, format, jpegQuality);
    } catch (const std::runtime_error& e) {
        throw ToolError(path + ": " + e.what());
    }
    writeFileAtomically(path, bytes);
}

}  // namespace vqz
