// Colors of a picture as a whole: counting one color, channel histograms added into
// MemoryBlocks, and per-channel lookup tables from MemoryBlocks.
#include <cstddef>
#include <cstring>

#include "ops/color/color_kernels.h"
#include "ops/color/color_rows.h"
#include "picture/channel_tables.h"
#include "picture/pixel_loop.h"
#include "plugin/errors.h"
#include "plugin/host_api.h"
#include "plugin/operations.h"
#include "plugin/strings.h"

constexpr int32_t kHistogramBytes = 256 * 4;
constexpr int32_t kLookupTableBytes = 256;

uint32_t CountMatchingPixels(PictureReader& reader, RGB color) {
    uint32_t count = 0;
    const int32_t width = reader.width;
    DispatchFormat(reader.pixelType, [&](auto format) {
        using F = decltype(format);
        for (int32_t y = 0; y < reader.height; ++y) {
            const uint8_t* pixels = reader.row;
            uint32_t matches = 0;
            if constexpr (F::bytes == 4) {
                // One masked compare of the pixel word: the mask byte plays no part.
                using W = pixel::Word<F>;
                const uint32_t colorBits = W::colorBits(), wanted = pixel::StoredWord<F>(color) & colorBits;
                for (int32_t x = 0; x < width; ++x)
                    matches += (W::load(pixels + static_cast<ptrdiff_t>(x) * 4) & colorBits) == wanted ? 1 : 0;
            } else {
                for (int32_t x = 0; x < width; ++x)
                    matches += SameRGB(F::load(pixels + static_cast<ptrdiff_t>(x) * F::bytes), color) ? 1 : 0;
            }
            count += matches;
            reader.AddPixelRow();
        }
    });
    return count;
}

// Four interleaved sets of counters, so that runs of one value do not wait on the
// previous increment of the same counter; they are summed at the end.
void CountChannelValues(PictureReader& reader, ChannelHistograms& histograms) {
    constexpr int kSets = 4;
    static_assert(sizeof(ChannelHistograms) == 3 * 256 * sizeof(uint32_t), "three tables of 256 counters");
    ChannelHistograms sets[kSets] = {};
    const int32_t width = reader.width;
    DispatchFormat(reader.pixelType, [&](auto format) {
        using F = decltype(format);
        // Byte loads measure faster here than splitting a pixel word.
        auto count = [](ChannelHistograms& set, const uint8_t* p) {
            const RGB c = F::load(p);
            ++set.red[c.r];
            ++set.green[c.g];
            ++set.blue[c.b];
        };
        for (int32_t y = 0; y < reader.height; ++y) {
            const uint8_t* pixels = reader.row;
            int32_t x = 0;
            for (; x + kSets <= width; x += kSets)
                for (int s = 0; s < kSets; ++s) count(sets[s], pixels + static_cast<ptrdiff_t>(x + s) * F::bytes);
            for (; x < width; ++x) count(sets[0], pixels + static_cast<ptrdiff_t>(x) * F::bytes);
            reader.AddPixelRow();
        }
    });
    for (int i = 0; i < 256; ++i) {
        histograms.red[i] = sets[0].red[i] + sets[1].red[i] + sets[2].red[i] + sets[3].red[i];
        histograms.green[i] = sets[0].green[i] + sets[1].green[i] + sets[2].green[i] + sets[3].green[i];
        histograms.blue[i] = sets[0].blue[i] + sets[1].blue[i] + sets[2].blue[i] + sets[3].blue[i];
    }
}

// ---------------------------------------------------------------- lookup tables

void MapThroughTables(PictureReader& reader, PictureWriter& writer, const uint8_t* red, const uint8_t* green,
                      const uint8_t* blue) {
    // Private copies: the tables cannot alias the pixels, and stay in cache.
    ChannelTables t;
    memcpy(t.red, red, sizeof t.red);
    memcpy(t.green, green, sizeof t.green);
    memcpy(t.blue, blue, sizeof t.blue);
    MapThroughTables(reader, writer, t);
}

int32_t CountColorVQZ(REALpictureStruct* picture, uint32_t col) {
    PictureReader reader;
    if (!reader.GetPictureReader(picture)) return 0;
    return static_cast<int32_t>(CountMatchingPixels(reader, ColorToRGB(col)));
}

// A histogram block holds 256 unsigned 32-bit counters in the machine's byte order.
// Counts are added to what it holds; the block's memory need not be aligned.
static void AddToBlock(uint8_t* block, const uint32_t* counts) {
    for (int i = 0; i < 256; ++i) {
        uint32_t entry;
        memcpy(&entry, block + i * 4, 4);
        entry += counts[i];
        memcpy(block + i * 4, &entry, 4);
    }
}

// Blocks shorter than 256 counters are refused (count -1) before anything is
// counted, so no block is changed then.
void CountColorsVQZ(REALpictureStruct* picture, REALmemoryBlockStruct** first, REALmemoryBlockStruct** second,
                    REALmemoryBlockStruct** third, int32_t* count) {
    if (!first || !second || !third || !count) return;
    REALmemoryBlockStruct** blocks[3] = {first, second, third};
    for (REALmemoryBlockStruct** block : blocks)
        if (!*block) *block = REALNewMemoryBlock(kHistogramBytes);
    *count = -1;
    uint8_t* data[3];
    for (int i = 0; i < 3; ++i) {
        if (!*blocks[i] || REALMemoryBlockGetSize(*blocks[i]) < kHistogramBytes) return;
        data[i] = static_cast<uint8_t*>(REALMemoryBlockGetPtr(*blocks[i]));
        if (!data[i]) return;
    }
    PictureReader reader;
    if (!reader.GetPictureReader(picture)) return;
    ChannelHistograms histograms;
    CountChannelValues(reader, histograms);
    // The same block may be passed twice: each addition reads what the last one left.
    AddToBlock(data[0], histograms.red);
    AddToBlock(data[1], histograms.green);
    AddToBlock(data[2], histograms.blue);
    const int64_t pixels = static_cast<int64_t>(reader.width) * reader.height;
    *count = static_cast<int32_t>(static_cast<uint32_t>(pixels));
}

REALpictureStruct* TransformColorsVQZ(REALpictureStruct* picture, REALmemoryBlockStruct* red,
                                      REALmemoryBlockStruct* blue, REALmemoryBlockStruct* green,
                                      REALpictureStruct* dest) {
    const char* missing = !picture ? "picture is nil"
                          : !red   ? "red memoryblock is nil"
                          : !green ? "green memoryblock is nil"
                          : !blue  ? "blue memoryblock is nil"
                                   : nullptr;
    if (missing) {
        RaiseException("NilObjectException", missing, kEncodingASCII);
        return nullptr;
    }
    rbData redTable(red, 0, 0);
    rbData greenTable(green, 0, 0);
    rbData blueTable(blue, 0, 0);
    // A table shorter than 256 entries yields nil, like a table without data.
    for (const rbData* table : {&redTable, &greenTable, &blueTable})
        if (!table->data || table->size < kLookupTableBytes) return nullptr;
    PictureReader reader;
    PictureWriter writer;
    if (!reader.GetPictureReader(picture)) return nullptr;
    if (!writer.NewPictureWriter(dest, reader.width, reader.height)) return nullptr;
    MapThroughTables(reader, writer, redTable.data, greenTable.data, blueTable.data);
    return writer.RenderPictureWriter();
}
