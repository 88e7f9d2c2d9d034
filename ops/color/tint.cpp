// Tint: each pixel reduced to a brightness with one color's channels as weights,
// then colored with another color's channels as factors.
#include "ops/color/channel_chunks.h"
#include "ops/color/color_kernels.h"
#include "plugin/operations.h"

TintFactors MakeTintFactors(uint32_t greyBase, uint32_t sepiaBase) {
    const RGB grey = ColorToRGB(greyBase);
    const RGB sepia = ColorToRGB(sepiaBase);
    return TintFactors{grey.r / 255.0, grey.g / 255.0, grey.b / 255.0, sepia.r / 255.0, sepia.g / 255.0, sepia.b / 255.0};
}

// The brightness sums blue last, and every factor is at most 1, so a channel is at
// most 765 before the clamp: the conversion to an integer never overflows.
static void TintChunk(ChannelChunk& c, int32_t count, const TintFactors& f) {
    for (int32_t i = 0; i < count; ++i) {
        const double L = c.b[i] * f.wB + (c.r[i] * f.wR + c.g[i] * f.wG);
        const int32_t r = static_cast<int32_t>(L * f.tR);
        const int32_t g = static_cast<int32_t>(L * f.tG);
        const int32_t b = static_cast<int32_t>(L * f.tB);
        c.r[i] = static_cast<uint8_t>(r < 255 ? r : 255);
        c.g[i] = static_cast<uint8_t>(g < 255 ? g : 255);
        c.b[i] = static_cast<uint8_t>(b < 255 ? b : 255);
    }
}

void TintPixels(PictureReader& reader, PictureWriter& writer, const TintFactors& factors) {
    ChannelChunk chunk;
    for (int32_t y = 0; y < reader.height; ++y) {
        for (int32_t x = 0; x < reader.width; x += kChunkPixels) {
            const int32_t count = reader.width - x < kChunkPixels ? reader.width - x : kChunkPixels;
            SplitChannels(reader.pixelType, PixelAt(reader, reader.row, x), count, chunk);
            TintChunk(chunk, count, factors);
            JoinChannels(writer.pixelType, PixelAt(writer, writer.row, x), count, chunk);
        }
        reader.AddPixelRow();
        writer.AddPixelRow();
    }
}

REALpictureStruct* TintPicture(REALpictureStruct* source, uint32_t greyBase, uint32_t sepiaBase) {
    PictureReader reader;
    PictureWriter writer;
    if (!reader.GetPictureReader(source)) return nullptr;
    if (!writer.NewPictureWriter(reader)) return nullptr;
    TintPixels(reader, writer, MakeTintFactors(greyBase, sepiaBase));
    return writer.RenderPictureWriter();
}
