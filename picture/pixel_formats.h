// The one place that knows how pixels are laid out in memory.
//
//   code 13: mask, red, green, blue   (desktop picture of depth 32)
//   code 12: red, green, blue         (desktop picture of depth 24)
//   code 8:  blue, green, red, mask   (console and web bitmaps)
//
// Reading ignores the mask byte; writing stores 255 there in code 13 and 0 in code 8.
#pragma once

#include <cstdint>
#include <cstring>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the 32-bit views below assume x86 byte order");

enum : int32_t { kPixelType32ARGB = 13, kPixelType24RGB = 12, kPixelType32BGRA = 8 };

struct RGB {
    uint8_t r, g, b;
};

struct Code13 {
    static constexpr int32_t code = kPixelType32ARGB;
    static constexpr int bytes = 4;
    static RGB load(const uint8_t* p) { return RGB{p[1], p[2], p[3]}; }
    static void store(uint8_t* p, RGB c) { p[0] = 255; p[1] = c.r; p[2] = c.g; p[3] = c.b; }
    static uint8_t mask(const uint8_t* p) { return p[0]; }
    static void setMask(uint8_t* p, uint8_t m) { p[0] = m; }
};

struct Code12 {
    static constexpr int32_t code = kPixelType24RGB;
    static constexpr int bytes = 3;
    static RGB load(const uint8_t* p) { return RGB{p[0], p[1], p[2]}; }
    static void store(uint8_t* p, RGB c) { p[0] = c.r; p[1] = c.g; p[2] = c.b; }
    static uint8_t mask(const uint8_t*) { return 255; }  // no mask byte: fully opaque
};

struct Code8 {
    static constexpr int32_t code = kPixelType32BGRA;
    static constexpr int bytes = 4;
    // Through the 32-bit view 0xMMRRGGBB: byte by byte, the reversed channel order
    // costs the vectorized loops a shuffle per pixel.
    static RGB load(const uint8_t* p) {
        uint32_t w;
        memcpy(&w, p, 4);
        return RGB{static_cast<uint8_t>(w >> 16), static_cast<uint8_t>(w >> 8), static_cast<uint8_t>(w)};
    }
    static void store(uint8_t* p, RGB c) {
        const uint32_t w = uint32_t(c.r) << 16 | uint32_t(c.g) << 8 | uint32_t(c.b);
        memcpy(p, &w, 4);
    }
    // The stored byte is a 7-bit value: its low seven bits shifted up, bit 0 copied down.
    static uint8_t mask(const uint8_t* p) { return static_cast<uint8_t>((p[3] << 1) | (p[3] & 1)); }
    // The inverse: keeps the value's top seven bits, so mask() reads back the nearest
    // value it can represent (the value itself when its two low bits agree).
    static void setMask(uint8_t* p, uint8_t m) { p[3] = static_cast<uint8_t>(m >> 1); }
};

// A host color argument, 0x00RRGGBB; the top byte is ignored.
inline RGB ColorToRGB(uint32_t color) {
    return RGB{static_cast<uint8_t>(color >> 16), static_cast<uint8_t>(color >> 8), static_cast<uint8_t>(color)};
}

inline bool SameRGB(RGB a, RGB b) { return a.r == b.r && a.g == b.g && a.b == b.b; }
