// A row handled in short chunks held as three separate channel arrays. Operations
// that read several pictures (each in its own pixel format) or do heavy per-pixel
// arithmetic split each source chunk into channels, work on plain byte arrays, and
// join the result into the writer's format: three small loops per format instead
// of one loop per combination of formats, and array loops the compiler vectorizes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "picture/pixel_formats.h"
#include "picture/pixel_loop.h"

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
    for (int32_t i = 0; i < count; ++i) F::store(pixels + static_cast<ptrdiff_t>(i) * F::bytes, RGB{in.r[i], in.g[i], in.b[i]});
}

// The same, choosing the format once per chunk. `pixels` is the chunk's first pixel.
inline void SplitChannels(int32_t code, const uint8_t* pixels, int32_t count, ChannelChunk& out) {
    DispatchFormat(code, [&](auto format) { SplitChannels<decltype(format)>(pixels, count, out); });
}

inline void JoinChannels(int32_t code, uint8_t* pixels, int32_t count, const ChannelChunk& in) {
    DispatchFormat(code, [&](auto format) { JoinChannels<decltype(format)>(pixels, count, in); });
}

// Address of pixel x of a row in an editor's format.
inline uint8_t* PixelAt(const PictureEditor& editor, uint8_t* row, int32_t x) {
    return row + static_cast<ptrdiff_t>(x) * editor.bytesPerPixel;
}
