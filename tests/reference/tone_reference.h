// Tone adjustments and picture tests written straight from their definitions: one
// pixel at a time, plain double (or wide integer) arithmetic, no tables.
#pragma once

#include <cstdint>

#include "tests/support/fixture.h"

namespace reference::tone {

// ---------------------------------------------------------------- brightness and contrast

// A computed value becomes an integer by truncation toward zero; beyond the 32-bit
// range it stops at the range's ends, and NaN gives 0.
inline int64_t truncated(double y) {
    if (y != y) return 0;
    if (y >= 2147483647.0) return 2147483647;
    if (y <= -2147483648.0) return -2147483648LL;
    return static_cast<int64_t>(y);
}

inline int clamped(double y) {
    const int64_t v = truncated(y);
    return v < 0 ? 0 : v > 255 ? 255 : int(v);
}

// Linear brightness keeps the low 8 bits of the integer instead of clamping.
inline int lowByte(double y) { return int(static_cast<uint64_t>(truncated(y)) % 256); }

inline double linearScale(double b) { return b < 0 ? (255.0 + b) / 255.0 : (255.0 - b) / 255.0; }
inline double linearOffset(double b) { return b < 0 ? 0.0 : b; }

inline int linearBrightness(int x, double b) { return lowByte((double(x) * linearScale(b)) + linearOffset(b)); }
inline int absoluteBrightness(int x, double b) { return clamped(double(x) + b); }
inline int contrast(int x, double k) { return clamped((double(x - 127) * (k + 1.0)) + 127.0); }
inline int contrastLinearBrightness(int x, double k, double b) {
    return clamped(((((double(x - 127) * (k + 1.0)) + 127.0) * linearScale(b)) + linearOffset(b)));
}
inline int contrastAbsoluteBrightness(int x, double k, double b) {
    return clamped(((double(x - 127) * (k + 1.0)) + 127.0) + b);
}
inline int custom(int x, double a, double b) { return clamped((double(x) * a) + b); }

// Applies a per-channel function f(channel value, channel index 0..2) to a color.
template <class F>
uint32_t eachChannel(uint32_t rgb, F f) {
    return vqztest::rgbOf(f(vqztest::redOf(rgb), 0), f(vqztest::greenOf(rgb), 1), f(vqztest::blueOf(rgb), 2));
}

// ---------------------------------------------------------------- saturation and colorness

inline uint32_t saturation(uint32_t rgb, int32_t amount) {
    const int64_t r = vqztest::redOf(rgb), g = vqztest::greenOf(rgb), b = vqztest::blueOf(rgb);
    const int64_t gray = (r + 2 * g + b) / 4;
    const int64_t f = int64_t(amount) + 255;
    auto channel = [&](int64_t x) {
        int64_t v = gray + ((x - gray) * f) / 255;  // C++ division truncates toward zero
        return int(v < 0 ? 0 : v > 255 ? 255 : v);
    };
    return vqztest::rgbOf(channel(r), channel(g), channel(b));
}

inline bool colored(uint32_t rgb, int32_t threshold) {
    const int64_t r = vqztest::redOf(rgb), g = vqztest::greenOf(rgb), b = vqztest::blueOf(rgb);
    const int64_t t = threshold;
    if (r < 30 && g < 30 && b < 30) return false;
    return g - r > t || g - b > t || g - r < -t || g - b < -t;
}

inline double colorness(const vqztest::Snapshot& s, int32_t threshold) {
    if (s.rgb.empty()) return 0.0;
    double count = 0;
    for (uint32_t c : s.rgb) count += colored(c, threshold) ? 1 : 0;
    return count / (double(s.width) * double(s.height));
}

// ---------------------------------------------------------------- picture tests

inline bool black(uint32_t rgb) { return rgb == 0; }
inline bool white(uint32_t rgb) { return rgb == 0xFFFFFF; }
inline bool gray(uint32_t rgb, int32_t tolerance) {
    const int64_t r = vqztest::redOf(rgb), g = vqztest::greenOf(rgb), b = vqztest::blueOf(rgb);
    const int64_t t = tolerance < 0 ? -int64_t(tolerance) : int64_t(tolerance);
    auto size = [](int64_t v) { return v < 0 ? -v : v; };
    return size(r - g) <= t && size(r - b) <= t && size(g - b) <= t;
}

// Whether every pixel of the rectangle's intersection with the picture passes; a
// negative width or height stands for the picture's own.
template <class Pass>
bool everyPixel(const vqztest::Snapshot& s, int32_t left, int32_t top, int32_t width, int32_t height, Pass pass) {
    const int64_t w = width < 0 ? s.width : width;
    const int64_t h = height < 0 ? s.height : height;
    for (int64_t y = top < 0 ? 0 : top; y < s.height && y < int64_t(top) + h; ++y)
        for (int64_t x = left < 0 ? 0 : left; x < s.width && x < int64_t(left) + w; ++x)
            if (!pass(s.at(int(x), int(y)))) return false;
    return true;
}

}  // namespace reference::tone
