// Pixels of one exact color (the mask byte plays no part): repainted in a copy of
// the picture, or picked out against a background.
#include "ops/color/color_kernels.h"
#include "ops/color/color_rows.h"
#include "plugin/operations.h"

// When reader and writer share a 4-byte format, each color is made into the writer's
// finished pixel word once, so that matching is one compare and writing one store.
void ReplaceMatchingPixels(PictureReader& reader, PictureWriter& writer, RGB search, RGB replacement) {
    DispatchFormats(reader.pixelType, writer.pixelType, [&](auto in, auto out) {
        using In = decltype(in);
        using Out = decltype(out);
        if constexpr (kSameWordFormat<In, Out>) {
            using W = pixel::Word<Out>;
            const uint32_t colorBits = W::colorBits(), fixedBits = W::fixedBits();
            const uint32_t searchWord = pixel::StoredWord<Out>(search) & colorBits;
            const uint32_t replacementWord = pixel::StoredWord<Out>(replacement);
            MapWords<Out>(reader, writer, [&](uint32_t w) {
                return (w & colorBits) == searchWord ? replacementWord : (w & colorBits) | fixedBits;
            });
        } else {
            MapColors<In, Out>(reader, writer, [&](RGB c) { return SameRGB(c, search) ? replacement : c; });
        }
    });
}

void ExtractMatchingPixels(PictureReader& reader, PictureWriter& writer, RGB search, RGB replacement, RGB background) {
    DispatchFormats(reader.pixelType, writer.pixelType, [&](auto in, auto out) {
        using In = decltype(in);
        using Out = decltype(out);
        if constexpr (kSameWordFormat<In, Out>) {
            const uint32_t colorBits = pixel::Word<Out>::colorBits();
            const uint32_t searchWord = pixel::StoredWord<Out>(search) & colorBits;
            const uint32_t replacementWord = pixel::StoredWord<Out>(replacement);
            const uint32_t backgroundWord = pixel::StoredWord<Out>(background);
            MapWords<Out>(reader, writer,
                          [&](uint32_t w) { return (w & colorBits) == searchWord ? replacementWord : backgroundWord; });
        } else {
            MapColors<In, Out>(reader, writer, [&](RGB c) { return SameRGB(c, search) ? replacement : background; });
        }
    });
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
