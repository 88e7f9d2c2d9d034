// The color operations written straight from their definitions: one pixel at a
// time, colors as 0x00RRGGBB, plain double arithmetic, no tables. Also the three
// pixel byte layouts, written out independently of the plugin's.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "tests/support/fixture.h"

namespace reference::color {

using vqztest::blueOf;
using vqztest::greenOf;
using vqztest::redOf;
using vqztest::rgbOf;

// ---------------------------------------------------------------- pixel layouts
// Code 13: mask, red, green, blue. Code 12: red, green, blue. Code 8: blue, green,
// red, mask. Writing puts 255 in a code 13 mask byte and 0 in a code 8 one.
inline int bytesPerPixel(int code) { return code == 12 ? 3 : 4; }

inline uint32_t decode(int code, const uint8_t* p) {
    return code == 13 ? rgbOf(p[1], p[2], p[3]) : code == 12 ? rgbOf(p[0], p[1], p[2]) : rgbOf(p[2], p[1], p[0]);
}

// The bytes a writer of `code` leaves for a color.
inline std::array<uint8_t, 4> encode(int code, uint32_t rgb) {
    const uint8_t r = uint8_t(redOf(rgb)), g = uint8_t(greenOf(rgb)), b = uint8_t(blueOf(rgb));
    if (code == 13) return {255, r, g, b};
    return code == 12 ? std::array<uint8_t, 4>{r, g, b, 0} : std::array<uint8_t, 4>{b, g, r, 0};
}

// The embedded mask value: code 13 the mask byte, code 12 opaque, code 8 the 7-bit
// byte A read as (2A + (A and 1)) mod 256.
inline uint8_t embeddedMask(int code, const uint8_t* p) {
    return code == 13 ? p[0] : code == 12 ? 255 : uint8_t((2 * p[3] + (p[3] & 1)) % 256);
}

// ---------------------------------------------------------------- operations

inline uint32_t tint(uint32_t rgb, uint32_t greyBase, uint32_t sepiaBase) {
    const double wR = redOf(greyBase) / 255.0, wG = greenOf(greyBase) / 255.0, wB = blueOf(greyBase) / 255.0;
    const double tR = redOf(sepiaBase) / 255.0, tG = greenOf(sepiaBase) / 255.0, tB = blueOf(sepiaBase) / 255.0;
    const double R = redOf(rgb), G = greenOf(rgb), B = blueOf(rgb);
    const double L = B * wB + (R * wR + G * wG);
    auto channel = [](double v) { return std::min(int(v), 255); };  // v is never above 765
    return rgbOf(channel(L * tR), channel(L * tG), channel(L * tB));
}

inline uint32_t gray(int v) { return rgbOf(v, v, v); }

inline uint32_t merge(uint32_t a, uint32_t b) {
    return rgbOf(std::max(redOf(a), redOf(b)), std::max(greenOf(a), greenOf(b)), std::max(blueOf(a), blueOf(b)));
}

inline uint32_t combine(uint32_t red, uint32_t green, uint32_t blue) {
    return rgbOf(redOf(red), greenOf(green), blueOf(blue));
}

inline bool sameColor(uint32_t rgb, uint32_t color) { return (rgb & 0xFFFFFF) == (color & 0xFFFFFF); }

inline uint32_t replace(uint32_t rgb, uint32_t search, uint32_t with) {
    return sameColor(rgb, search) ? (with & 0xFFFFFF) : rgb;
}

inline uint32_t extract(uint32_t rgb, uint32_t search, uint32_t with, uint32_t background) {
    return sameColor(rgb, search) ? (with & 0xFFFFFF) : (background & 0xFFFFFF);
}

inline uint32_t transform(uint32_t rgb, const uint8_t* red, const uint8_t* green, const uint8_t* blue) {
    return rgbOf(red[redOf(rgb)], green[greenOf(rgb)], blue[blueOf(rgb)]);
}

// ---------------------------------------------------------------- whole pictures

inline uint32_t countColor(const vqztest::Snapshot& s, uint32_t color) {
    return uint32_t(std::count_if(s.rgb.begin(), s.rgb.end(), [&](uint32_t rgb) { return sameColor(rgb, color); }));
}

struct Histograms {
    std::array<uint32_t, 256> red{}, green{}, blue{};
};

inline Histograms histograms(const vqztest::Snapshot& s) {
    Histograms h;
    for (uint32_t rgb : s.rgb) {
        ++h.red[size_t(redOf(rgb))];
        ++h.green[size_t(greenOf(rgb))];
        ++h.blue[size_t(blueOf(rgb))];
    }
    return h;
}

}  // namespace reference::color
