// Inversion written straight from its definition: every pixel of the clipped
// rectangle, one at a time; everything else as a new picture has it.
#pragma once

#include <algorithm>
#include <cstdint>

#include "tests/support/fixture.h"

namespace reference {

struct Span {
    long long x0, y0, x1, y1;
    bool contains(int x, int y) const { return x >= x0 && x < x1 && y >= y0 && y < y1; }
};

// The columns and rows the rectangle covers in a W x H picture.
inline Span invertedSpan(int W, int H, int left, int top, int width, int height, bool grayOnly) {
    long long w = width, h = height;
    if (grayOnly) {
        if (w < 0) w = W;
        if (h < 0) h = H;
    } else {
        if (w < 1) w = W;
        if (h < 1) h = H;
    }
    return Span{std::max(left, 0), std::max(top, 0), std::min<long long>(left + w, W), std::min<long long>(top + h, H)};
}

inline vqztest::Snapshot invert(const vqztest::Snapshot& source, const vqztest::Snapshot& fresh, int left, int top,
                                int width, int height, bool grayOnly) {
    const int W = source.width;
    const Span span = invertedSpan(source.width, source.height, left, top, width, height, grayOnly);
    vqztest::Snapshot out = fresh;
    out.mask.clear();
    for (long long y = span.y0; y < span.y1; ++y) {
        for (long long x = span.x0; x < span.x1; ++x) {
            const uint32_t c = source.at(int(x), int(y));
            const int r = vqztest::redOf(c), g = vqztest::greenOf(c), b = vqztest::blueOf(c);
            uint32_t result;
            if (!grayOnly)
                result = vqztest::rgbOf(255 - r, 255 - g, 255 - b);
            else if (r == g && g == b)
                result = vqztest::rgbOf(255 - b, 255 - b, 255 - b);
            else
                result = c;
            out.rgb[size_t(y) * size_t(W) + size_t(x)] = result;
        }
    }
    return out;
}

}  // namespace reference
