// Row helpers of the color operations.
//
// Chunks: operations that read several pictures of different formats, or do heavy
// per-pixel arithmetic, split each source chunk into three channel arrays, work on
// plain byte arrays, and join the result into the writer's format: three small loops
// per format instead of one loop per combination of formats, and array loops that the
// compiler vectorizes.
//
// Words: a 4-byte pixel as one 32-bit word (pixel::Word, whose channel positions come
// from the formats' own store), for the common case of reader and writer in the same
// 4-byte format, where a pixel becomes a few shifts, masks and ors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "picture/pixel_formats.h"
#include "picture/pixel_loop.h"
#include "picture/pixel_words.h"

constexpr int32_t kChunkPixels = 512;

struct ChannelChunk {
    alignas(16) uint8_t r[kChunkPixels];
    alignas(16) uint8_t g[kChunkPixels];
    alignas(16) uint8_t b[kChunkPixels];
};

template <class F>
inline void SplitChannels(const uint8_t* pixels, int32_t count, ChannelChunk& out) {
    for (int32_t i = 0; i < count; ++i) {
        const RGB c = F::load(pixels + static_cast<ptrdiff_t>(i) * F::bytes);
        out.r[i] = c.r;
        out.g[i] = c.g;
        out.b[i] = c.b;
    }
}

template <class F>
inline void JoinChannels(uint8_t* pixels, int32_t count, const ChannelChunk& in) {
    for (int32_t i = 0; i < count; ++i)
        F::store(pixels + static_cast<ptrdiff_t>(i) * F::bytes, RGB{in.r[i], in.g[i], in.b[i]});
}

// The same, choosing the format once per chunk. `pixels` is the chunk's first pixel.
inline void SplitChannels(int32_t code, const uint8_t* pixels, int32_t count, ChannelChunk& out) {
    DispatchFormat(code, [&](auto format) { SplitChannels<decltype(format)>(pixels, count, out); });
}

inline void JoinChannels(int32_t code, uint8_t* pixels, int32_t count, const ChannelChunk& in) {
    DispatchFormat(code, [&](auto format) { JoinChannels<decltype(format)>(pixels, count, in); });
}

inline int32_t ChunkLength(int32_t width, int32_t x) { return width - x < kChunkPixels ? width - x : kChunkPixels; }

// Address of pixel x of a row in an editor's format.
inline uint8_t* PixelAt(const PictureEditor& editor, uint8_t* row, int32_t x) {
    return row + static_cast<ptrdiff_t>(x) * editor.bytesPerPixel;
}

// Calls rowFunction(readerRow, writerRow) for each of the reader's rows, then moves
// both editors on.
template <class RowFunction>
inline void WalkRows(PictureReader& reader, PictureWriter& writer, RowFunction rowFunction) {
    for (int32_t y = 0; y < reader.height; ++y) {
        rowFunction(static_cast<const uint8_t*>(reader.row), writer.row);
        reader.AddPixelRow();
        writer.AddPixelRow();
    }
}

// Maps each pixel of the reader's rows to the writer: pixel(RGB) -> RGB.
template <class In, class Out, class Pixel>
inline void MapColors(PictureReader& reader, PictureWriter& writer, Pixel pixel) {
    const int32_t width = reader.width;
    WalkRows(reader, writer, [&](const uint8_t* source, uint8_t* target) {
        for (int32_t x = 0; x < width; ++x)
            Out::store(target + static_cast<ptrdiff_t>(x) * Out::bytes,
                       pixel(In::load(source + static_cast<ptrdiff_t>(x) * In::bytes)));
    });
}

// The same for a reader and writer of one 4-byte format, on whole pixel words:
// word(uint32_t) -> uint32_t.
template <class F, class WordPixel>
inline void MapWords(PictureReader& reader, PictureWriter& writer, WordPixel word) {
    using W = pixel::Word<F>;
    const int32_t width = reader.width;
    WalkRows(reader, writer, [&](const uint8_t* source, uint8_t* target) {
        for (int32_t x = 0; x < width; ++x)
            W::store(target + static_cast<ptrdiff_t>(x) * 4, word(W::load(source + static_cast<ptrdiff_t>(x) * 4)));
    });
}

template <class In, class Out>
constexpr bool kSameWordFormat = std::is_same_v<In, Out>&& In::bytes == 4;
