// Pixels of one exact color (the mask byte plays no part): repainted in a copy of
// the picture, or picked out against a background.
#include "ops/color/color_kernels.h"
#include "picture/pixel_loop.h"
#include "plugin/operations.h"

void ReplaceMatchingPixels(PictureReader& reader, PictureWriter& writer, RGB search, RGB replacement) {
    MapPixels(reader, writer, WholePicture(reader.width, reader.height),
              [&](RGB c) { return SameRGB(c, search) ? replacement : c; });
}

void ExtractMatchingPixels(PictureReader& reader, PictureWriter& writer, RGB search, RGB replacement, RGB background) {
    MapPixels(reader, writer, WholePicture(reader.width, reader.height),
              [&](RGB c) { return SameRGB(c, search) ? replacement : background; });
}

REALpictureStruct* ReplaceColorVQZ(REALpictureStruct* picture, uint32_t searchColor, uint32_t replaceWithColor) {
    PictureReader reader;
    PictureWriter writer;
    if (!reader.GetPictureReader(picture)) return nullptr;
    if (!writer.NewPictureWriter(reader)) return nullptr;
    ReplaceMatchingPixels(reader, writer, ColorToRGB(searchColor), ColorToRGB(replaceWithColor));
    return writer.RenderPictureWriter();
}

REALpictureStruct* ExtractColorVQZ(REALpictureStruct* picture, uint32_t searchColor, uint32_t replaceWithColor,
                                   uint32_t backgroundColor) {
    PictureReader reader;
    PictureWriter writer;
    if (!reader.GetPictureReader(picture)) return nullptr;
    if (!writer.NewPictureWriter(reader.width, reader.height)) return nullptr;
    ExtractMatchingPixels(reader, writer, ColorToRGB(searchColor), ColorToRGB(replaceWithColor),
                          ColorToRGB(backgroundColor));
    return writer.RenderPictureWriter();
}
