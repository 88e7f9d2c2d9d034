// Image files: PNG (8 and 16 bit, gray, palette, alpha), JPEG, PPM and PGM.
// Readers recognise the format by its first bytes; writers choose it by the
// file name's extension.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/image.h"

namespace vqz {

using Bytes = std::vector<unsigned char>;

// Reads an image file; throws ToolError "PATH: PROBLEM" (one line).
Image readImage(const std::string& path);
// The same from bytes in memory; `name` is used in messages.
Image decodeImage(const std::string& name, const unsigned char* data, size_t size);

enum class ImageFormat { Png, Jpeg, Ppm, Pgm };
// The format for an output file name; throws ToolError for an unknown extension.
ImageFormat outputFormat(const std::string& path);
bool isImageExtension(const std::string& ext);
// Writes an image all or nothing (a temporary file renamed into place).
void writeImage(const std::string& path, const Image& image, int jpegQuality = 92);
Bytes encodeImage(const Image& image, ImageFormat format, int jpegQuality = 92);

// Each decoder fills `out` or returns false with a short reason in `error`.
bool decodePng(const unsigned char* data, size_t size, Image& out, std::string& error);
bool decodeJpeg(const unsigned char* data, size_t size, Image& out, std::string& error);
bool decodePnm(const unsigned char* data, size_t size, Image& out, std::string& error);
bool isPng(const unsigned char* data, size_t size);
bool isJpeg(const unsigned char* data, size_t size);
bool isPnm(const unsigned char* data, size_t size);

// Encoders. PNG keeps the alpha channel when the image has one; JPEG, PPM and PGM
// drop it; PGM stores the luma of each pixel.
Bytes encodePng(const Image& image);
Bytes encodeJpeg(const Image& image, int quality);
Bytes encodePnm(const Image& image, bool gray);

}  // namespace vqz
