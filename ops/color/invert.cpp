// Inversion of a rectangle of a picture, of every pixel or of the gray ones only.
// Only the rectangle is written: the rest of the result is a new picture's.
#include "picture/editor.h"
#include "picture/pixel_loop.h"
#include "plugin/operations.h"

template <class Transform>
static REALpictureStruct* InvertRectangle(REALpictureStruct* picture, PixelSpan (*clip)(int32_t, int32_t, int32_t,
                                                                                        int32_t, int32_t, int32_t),
                                          int32_t left, int32_t top, int32_t width, int32_t height,
                                          Transform transform) {
    PictureReader reader;
    PictureWriter writer;
    if (!reader.GetPictureReader(picture)) return nullptr;
    if (!writer.NewPictureWriter(reader)) return nullptr;
    MapPixels(reader, writer, clip(left, top, width, height, reader.width, reader.height), transform);
    return writer.RenderPictureWriter();
}

// InvertVQZ reads any size below 1 as the picture's own.
static PixelSpan ClipInvert(int32_t left, int32_t top, int32_t width, int32_t height, int32_t W, int32_t H) {
    return ClipSpan(left, top, width < 1 ? W : width, height < 1 ? H : height, W, H);
}

static RGB Invert(RGB c) {
    return RGB{static_cast<uint8_t>(c.r ^ 255), static_cast<uint8_t>(c.g ^ 255), static_cast<uint8_t>(c.b ^ 255)};
}

static RGB InvertGray(RGB c) {
    if (c.r != c.g || c.g != c.b) return c;
    const uint8_t v = static_cast<uint8_t>(c.b ^ 255);
    return RGB{v, v, v};
}

REALpictureStruct* InvertPicture(REALpictureStruct* picture, int32_t left, int32_t top, int32_t width, int32_t height) {
    return InvertRectangle(picture, ClipInvert, left, top, width, height, [](RGB c) { return Invert(c); });
}

REALpictureStruct* InvertPicture2(REALpictureStruct* picture) { return InvertPicture(picture, 0, 0, -1, -1); }

REALpictureStruct* InvertGrayPicture(REALpictureStruct* picture, int32_t left, int32_t top, int32_t width,
                                     int32_t height) {
    return InvertRectangle(picture, ClipRectangle, left, top, width, height, [](RGB c) { return InvertGray(c); });
}

REALpictureStruct* InvertGrayPicture2(REALpictureStruct* picture) { return InvertGrayPicture(picture, 0, 0, -1, -1); }
