// A pixel seen as one little-endian 32-bit word, so that row loops become plain
// shifts, masks and ors (or byte shuffles) that the compiler can vectorize. Where each
// channel sits in the word is found by asking the format's own load and store (the
// compiler folds the answers to constants), so the byte layouts stay in
// picture/pixel_formats.h. 3-byte pixels go through load/store or shuffles.
#pragma once

#include <cstdint>
#include <cstring>

#include "picture/pixel_formats.h"

// For row loops made of table look-ups: vectorized, the look-ups become emulated
// gathers that run at half the speed of plain loads, so such loops stay scalar.
#if defined(__GNUC__) && !defined(__clang__)
#define PIXEL_SCALAR_LOOP __attribute__((optimize("no-tree-vectorize")))
#else
#define PIXEL_SCALAR_LOOP
#endif

namespace pixel {

// The bytes F::store writes for a color, as a word (a 3-byte format leaves the top byte 0).
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

// Which channel F::load takes from byte `at` of a pixel: 0 red, 1 green, 2 blue, -1 none.
template <class F>
inline int ChannelReadFrom(int at) {
    uint8_t bytes[4] = {0, 0, 0, 0};
    bytes[at] = 1;
    const RGB c = F::load(bytes);
    return c.r ? 0 : c.g ? 1 : c.b ? 2 : -1;
}

// A 4-byte pixel as a word: load, store, take apart and put together.
template <class F>
struct Word {
    static_assert(F::bytes == 4, "only 4-byte pixels are words");
    static uint32_t fixedBits() { return FixedBits<F>(); }
    static uint32_t redBits() { return StoredWord<F>(RGB{255, 0, 0}) ^ fixedBits(); }
    static uint32_t greenBits() { return StoredWord<F>(RGB{0, 255, 0}) ^ fixedBits(); }
    static uint32_t blueBits() { return StoredWord<F>(RGB{0, 0, 255}) ^ fixedBits(); }
    static uint32_t colorBits() { return redBits() | greenBits() | blueBits(); }
    static int redShift() { return __builtin_ctz(redBits()); }
    static int greenShift() { return __builtin_ctz(greenBits()); }
    static int blueShift() { return __builtin_ctz(blueBits()); }

    static uint32_t load(const uint8_t* p) {
        uint32_t word;
        memcpy(&word, p, sizeof word);
        return word;
    }
    static void store(uint8_t* p, uint32_t word) { memcpy(p, &word, sizeof word); }
    static uint32_t red(uint32_t w) { return (w >> redShift()) & 255u; }
    static uint32_t green(uint32_t w) { return (w >> greenShift()) & 255u; }
    static uint32_t blue(uint32_t w) { return (w >> blueShift()) & 255u; }
    // A stored pixel from channel values 0..255.
    static uint32_t pack(uint32_t r, uint32_t g, uint32_t b) {
        return fixedBits() | r << redShift() | g << greenShift() | b << blueShift();
    }
};

// Channels of one pixel as plain integers, for arithmetic that must not wrap at 8 bits.
struct Channels {
    uint32_t r, g, b;
};

template <class F>
inline Channels LoadChannels(const uint8_t* p) {
    if constexpr (F::bytes == 4) {
        const uint32_t w = Word<F>::load(p);
        return Channels{Word<F>::red(w), Word<F>::green(w), Word<F>::blue(w)};
    } else {
        const RGB c = F::load(p);
        return Channels{c.r, c.g, c.b};
    }
}

// Stores channel values that are already within 0..255.
template <class F>
inline void StoreChannels(uint8_t* p, Channels c) {
    if constexpr (F::bytes == 4) {
        Word<F>::store(p, Word<F>::pack(c.r, c.g, c.b));
    } else {
        F::store(p, RGB{static_cast<uint8_t>(c.r), static_cast<uint8_t>(c.g), static_cast<uint8_t>(c.b)});
    }
}

}  // namespace pixel
