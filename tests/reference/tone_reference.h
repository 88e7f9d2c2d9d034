// Tone adjustments and picture tests written straight from their definitions: one
// pixel at a time, plain double (or wide integer) arithmetic, no tables. Also the two
// checks that the tone tests make through the host.
#pragma once

#include <algorithm>
#include <cstdint>

#include "tests/support/fixture.h"

namespace reference::tone {

using namespace vqztest;

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
inline double contrasted(int x, double k) { return (double(x - 127) * (k + 1.0)) + 127.0; }

inline int linearBrightness(int x, double b) { return lowByte((double(x) * linearScale(b)) + linearOffset(b)); }
inline int absoluteBrightness(int x, double b) { return clamped(double(x) + b); }
inline int contrast(int x, double k) { return clamped(contrasted(x, k)); }
inline int contrastLinearBrightness(int x, double k, double b) {
    return clamped((contrasted(x, k) * linearScale(b)) + linearOffset(b));
}
inline int contrastAbsoluteBrightness(int x, double k, double b) { return clamped(contrasted(x, k) + b); }
inline int custom(int x, double a, double b) { return clamped((double(x) * a) + b); }

// ---------------------------------------------------------------- saturation and colorness

inline uint32_t saturation(uint32_t rgb, int32_t amount) {
    const int64_t r = redOf(rgb), g = greenOf(rgb), b = blueOf(rgb);
    const int64_t gray = (r + 2 * g + b) / 4, f = int64_t(amount) + 255;
    auto channel = [&](int64_t x) {
        const int64_t v = gray + ((x - gray) * f) / 255;  // C++ division truncates toward zero
        return int(v < 0 ? 0 : v > 255 ? 255 : v);
    };
    return rgbOf(channel(r), channel(g), channel(b));
}

inline bool colored(uint32_t rgb, int32_t threshold) {
    const int64_t r = redOf(rgb), g = greenOf(rgb), b = blueOf(rgb), t = threshold;
    if (r < 30 && g < 30 && b < 30) return false;
    return g - r > t || g - b > t || g - r < -t || g - b < -t;
}

inline double colorness(const Snapshot& s, int32_t threshold) {
    double count = 0;
    for (uint32_t c : s.rgb) count += colored(c, threshold) ? 1 : 0;
    return count / (double(s.width) * double(s.height));
}

// ---------------------------------------------------------------- picture tests

inline bool black(uint32_t rgb) { return rgb == 0; }
inline bool white(uint32_t rgb) { return rgb == 0xFFFFFF; }
inline bool gray(uint32_t rgb, int32_t tolerance) {
    const int64_t r = redOf(rgb), g = greenOf(rgb), b = blueOf(rgb);
    const int64_t t = tolerance < 0 ? -int64_t(tolerance) : int64_t(tolerance);
    auto size = [](int64_t v) { return v < 0 ? -v : v; };
    return size(r - g) <= t && size(r - b) <= t && size(g - b) <= t;
}

// Whether every pixel of the rectangle's intersection with the picture passes; a
// negative width or height stands for the picture's own.
template <class Pass>
bool everyPixel(const Snapshot& s, int32_t left, int32_t top, int32_t width, int32_t height, Pass pass) {
    const int64_t w = width < 0 ? s.width : width, h = height < 0 ? s.height : height;
    for (int64_t y = top < 0 ? 0 : top; y < s.height && y < int64_t(top) + h; ++y)
        for (int64_t x = left < 0 ? 0 : left; x < s.width && x < int64_t(left) + w; ++x)
            if (!pass(s.at(int(x), int(y)))) return false;
    return true;
}

// ---------------------------------------------------------------- checks through the host

// Whether `fails` (true when the call gave its failure answer) works without a fault,
// and fails with each picture creation and each opening of a picture on its way made
// to fail in turn (a desktop host refuses to lock the pixels, a console or web host
// the description).
template <class Fails>
::testing::AssertionResult failsUnderEveryFault(const HostFormat& format, Fails fails) {
    using standin::Fault;
    if (fails()) return ::testing::AssertionFailure() << "fails without a fault";
    for (Fault kind : {Fault::PictureCreation, format.desktop() ? Fault::PixelLock : Fault::DescriptionLock})
        for (int n = 1;; ++n) {
            const int before = standin::occurrences(kind);
            standin::failNth(kind, n);
            const bool failed = fails();
            standin::failNth(kind, 0);
            if (standin::occurrences(kind) - before < n) break;  // got through before the nth
            if (!failed) return ::testing::AssertionFailure() << "works with fault " << int(kind) << " number " << n;
        }
    return ::testing::AssertionSuccess();
}

// A picture made by a writer: the expected colors, and the writer's mask byte in every
// pixel (255 on the desktop, 0 on console and web) whatever the source held.
inline ::testing::AssertionResult written(const Snapshot& expected, void* result, bool desktop) {
    if (!result) return ::testing::AssertionFailure() << "no picture";
    const Snapshot got = snapshot(result);
    if (::testing::AssertionResult same = samePixels(expected, got); !same) return same;
    const uint8_t mask = desktop ? 255 : 0;
    const auto wrong = std::count_if(got.mask.begin(), got.mask.end(), [&](uint8_t m) { return m != mask; });
    if (got.mask.empty() || wrong)  // an empty mask: not a 32-bit picture
        return ::testing::AssertionFailure() << wrong << " of " << got.mask.size() << " mask bytes are not " << int(mask);
    return ::testing::AssertionSuccess();
}

}  // namespace reference::tone
