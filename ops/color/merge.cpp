// Pictures built from pictures of one size: the lighter value of two pictures per
// channel (merge), or each channel taken from its own picture (combine).
#include <cstddef>

#include "ops/color/color_kernels.h"
#include "ops/color/color_rows.h"
#include "plugin/operations.h"

// All pictures in one 4-byte format: the maximum of every byte of the two rows (mask
// bytes too), then each pixel word gets the writer's mask byte.
template <class F>
static void MergeWordRows(PictureReader& source1, PictureReader& source2, PictureWriter& writer) {
    using W = pixel::Word<F>;
    const uint32_t colorBits = W::colorBits(), fixedBits = W::fixedBits();
    const int32_t width = source1.width;
    for (int32_t y = 0; y < source1.height; ++y) {
        const uint8_t* a = source1.row;
        const uint8_t* b = source2.row;
        uint8_t* target = writer.row;
        for (ptrdiff_t i = 0; i < static_cast<ptrdiff_t>(width) * 4; ++i) target[i] = a[i] > b[i] ? a[i] : b[i];
        for (int32_t x = 0; x < width; ++x) {
            uint8_t* p = target + static_cast<ptrdiff_t>(x) * 4;
            W::store(p, (W::load(p) & colorBits) | fixedBits);
        }
        source1.AddPixelRow();
        source2.AddPixelRow();
        writer.AddPixelRow();
    }
}

// Any mix of formats, through channel chunks.
static void MergeChunkRows(PictureReader& source1, PictureReader& source2, PictureWriter& writer) {
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

void MergePixels(PictureReader& source1, PictureReader& source2, PictureWriter& writer) {
    const int32_t code = writer.pixelType;
    if (source1.pixelType == code && source2.pixelType == code) {
        if (code == Code13::code) return MergeWordRows<Code13>(source1, source2, writer);
        if (code == Code8::code) return MergeWordRows<Code8>(source1, source2, writer);
    }
    MergeChunkRows(source1, source2, writer);
}

template <class F>
static void CombineWordRows(PictureReader& red, PictureReader& green, PictureReader& blue, PictureWriter& writer) {
    using W = pixel::Word<F>;
    const uint32_t redBits = W::redBits(), greenBits = W::greenBits(), blueBits = W::blueBits();
    const uint32_t fixedBits = W::fixedBits();
    const int32_t width = red.width;
    for (int32_t y = 0; y < red.height; ++y) {
        const uint8_t* r = red.row;
        const uint8_t* g = green.row;
        const uint8_t* b = blue.row;
        uint8_t* target = writer.row;
        for (int32_t x = 0; x < width; ++x) {
            const ptrdiff_t at = static_cast<ptrdiff_t>(x) * 4;
            W::store(target + at, (W::load(r + at) & redBits) | (W::load(g + at) & greenBits) |
                                      (W::load(b + at) & blueBits) | fixedBits);
        }
        red.AddPixelRow();
        green.AddPixelRow();
        blue.AddPixelRow();
        writer.AddPixelRow();
    }
}

static void CombineChunkRows(PictureReader& red, PictureReader& green, PictureReader& blue, PictureWriter& writer) {
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

void CombinePixels(PictureReader& red, PictureReader& green, PictureReader& blue, PictureWriter& writer) {
    const int32_t code = writer.pixelType;
    if (red.pixelType == code && green.pixelType == code && blue.pixelType == code) {
        if (code == Code13::code) return CombineWordRows<Code13>(red, green, blue, writer);
        if (code == Code8::code) return CombineWordRows<Code8>(red, green, blue, writer);
    }
    CombineChunkRows(red, green, blue, writer);
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
