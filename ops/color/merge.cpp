// Pictures built from pictures of one size: the lighter value of two pictures per
// channel (merge), or each channel taken from its own picture (combine).
#include "ops/color/channel_chunks.h"
#include "ops/color/color_kernels.h"
#include "plugin/operations.h"

static int32_t ChunkLength(int32_t width, int32_t x) { return width - x < kChunkPixels ? width - x : kChunkPixels; }

void MergePixels(PictureReader& source1, PictureReader& source2, PictureWriter& writer) {
    ChannelChunk a;
    ChannelChunk b;
    for (int32_t y = 0; y < source1.height; ++y) {
        for (int32_t x = 0; x < source1.width; x += kChunkPixels) {
            const int32_t count = ChunkLength(source1.width, x);
            SplitChannels(source1.pixelType, PixelAt(source1, source1.row, x), count, a);
            SplitChannels(source2.pixelType, PixelAt(source2, source2.row, x), count, b);
            for (int32_t i = 0; i < count; ++i) {
                a.r[i] = a.r[i] > b.r[i] ? a.r[i] : b.r[i];
                a.g[i] = a.g[i] > b.g[i] ? a.g[i] : b.g[i];
                a.b[i] = a.b[i] > b.b[i] ? a.b[i] : b.b[i];
            }
            JoinChannels(writer.pixelType, PixelAt(writer, writer.row, x), count, a);
        }
        source1.AddPixelRow();
        source2.AddPixelRow();
        writer.AddPixelRow();
    }
}

void CombinePixels(PictureReader& red, PictureReader& green, PictureReader& blue, PictureWriter& writer) {
    ChannelChunk out;
    ChannelChunk other;
    for (int32_t y = 0; y < red.height; ++y) {
        for (int32_t x = 0; x < red.width; x += kChunkPixels) {
            const int32_t count = ChunkLength(red.width, x);
            SplitChannels(red.pixelType, PixelAt(red, red.row, x), count, out);
            SplitChannels(green.pixelType, PixelAt(green, green.row, x), count, other);
            for (int32_t i = 0; i < count; ++i) out.g[i] = other.g[i];
            SplitChannels(blue.pixelType, PixelAt(blue, blue.row, x), count, other);
            for (int32_t i = 0; i < count; ++i) out.b[i] = other.b[i];
            JoinChannels(writer.pixelType, PixelAt(writer, writer.row, x), count, out);
        }
        red.AddPixelRow();
        green.AddPixelRow();
        blue.AddPixelRow();
        writer.AddPixelRow();
    }
}

static bool SameSize(const PictureEditor& a, const PictureEditor& b) {
    return a.width == b.width && a.height == b.height;
}

REALpictureStruct* MergePicture(REALpictureStruct* source1, REALpictureStruct* source2) {
    if (!source1 || !source2) return nullptr;
    PictureReader reader1;
    PictureReader reader2;
    PictureWriter writer;
    if (!reader1.GetPictureReader(source1) || !reader2.GetPictureReader(source2)) return nullptr;
    if (!SameSize(reader1, reader2)) return nullptr;
    if (!writer.NewPictureWriter(reader1.width, reader1.height)) return nullptr;
    MergePixels(reader1, reader2, writer);
    return writer.RenderPictureWriter();
}

// Note the argument order of the host declaration: red, blue, green.
REALpictureStruct* CombinePicturesVQZ(REALpictureStruct* red, REALpictureStruct* blue, REALpictureStruct* green) {
    PictureReader redReader;
    PictureReader greenReader;
    PictureReader blueReader;
    PictureWriter writer;
    if (!redReader.GetPictureReader(red) || !greenReader.GetPictureReader(green) || !blueReader.GetPictureReader(blue))
        return nullptr;
    if (!SameSize(redReader, greenReader) || !SameSize(redReader, blueReader)) return nullptr;
    if (!writer.NewPictureWriter(redReader.width, redReader.height)) return nullptr;
    CombinePixels(redReader, greenReader, blueReader, writer);
    return writer.RenderPictureWriter();
}
