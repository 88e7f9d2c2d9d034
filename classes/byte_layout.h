// Where a pixel format keeps each channel, found by asking the format's own load
// and store (the compiler folds the answers to constants), so that vector code can
// shuffle whole pixels while the byte layouts stay in picture/pixel_formats.h.
#pragma once

#include <cstdint>
#include <cstring>

#include "picture/pixel_formats.h"

namespace layout {

// Which channel F::load takes from byte `at` of a pixel: 0 red, 1 green, 2 blue, -1 none.
template <class F>
inline int ChannelReadFrom(int at) {
    uint8_t bytes[4] = {0, 0, 0, 0};
    bytes[at] = 1;
    const RGB c = F::load(bytes);
    return c.r ? 0 : c.g ? 1 : c.b ? 2 : -1;
}

// The bytes F::store writes for a color, as a little-endian word (4-byte formats).
template <class F>
inline uint32_t StoredWord(RGB c) {
    uint8_t bytes[4] = {0, 0, 0, 0};
    F::store(bytes, c);
    uint32_t word;
    memcpy(&word, bytes, sizeof word);
    return word;
}

// What F::store writes besides the color: the mask byte of the writing rule.
template <class F>
inline uint32_t FixedBits() {
    return StoredWord<F>(RGB{0, 0, 0});
}

// The bits of a stored word that hold color.
template <class F>
inline uint32_t ColorBits() {
    return StoredWord<F>(RGB{255, 255, 255}) ^ FixedBits<F>();
}

// Which channel F::store writes into byte `at`: 0 red, 1 green, 2 blue, -1 none.
template <class F>
inline int ChannelStoredAt(int at) {
    const uint32_t fixed = FixedBits<F>();
    const uint32_t shift = 8u * static_cast<uint32_t>(at);
    if ((StoredWord<F>(RGB{255, 0, 0}) ^ fixed) >> shift & 255u) return 0;
    if ((StoredWord<F>(RGB{0, 255, 0}) ^ fixed) >> shift & 255u) return 1;
    if ((StoredWord<F>(RGB{0, 0, 255}) ^ fixed) >> shift & 255u) return 2;
    return -1;
}

}  // namespace layout
