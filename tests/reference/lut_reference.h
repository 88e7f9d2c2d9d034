// The lookup-table filter written straight from its definition: per pixel, the
// cell and fractions of each channel, the six tetrahedra tested in order, the four
// products summed from left to right in doubles, and the block walked with the row
// cursors exactly as Run walks them (wrapping to row 0 after the last row).
#pragma once

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <vector>

#include "tests/support/fixture.h"

namespace reference {

struct LutTable {
    std::vector<double> element = std::vector<double>(18 * 18 * 18 * 3, 0.0);
    double& at(int r, int g, int b, int x) { return element[size_t(((r * 18 + g) * 18 + b) * 3 + x)]; }
    double at(int r, int g, int b, int x) const { return element[size_t(((r * 18 + g) * 18 + b) * 3 + x)]; }
};

inline double lutSum(const LutTable& t, double fr, double fg, double fb, int r0, int g0, int b0, int r1, int g1,
                     int b1, int x) {
    const double C000 = t.at(r0, g0, b0, x), C100 = t.at(r1, g0, b0, x), C010 = t.at(r0, g1, b0, x),
                 C001 = t.at(r0, g0, b1, x), C110 = t.at(r1, g1, b0, x), C101 = t.at(r1, g0, b1, x),
                 C011 = t.at(r0, g1, b1, x), C111 = t.at(r1, g1, b1, x);
    if (fr > fg && fg > fb) return (1 - fr) * C000 + (fr - fg) * C100 + (fg - fb) * C110 + fb * C111;
    if (fr > fg && !(fg > fb) && fr > fb) return (1 - fr) * C000 + (fr - fb) * C100 + (fb - fg) * C101 + fg * C111;
    if (fr > fg && !(fg > fb) && !(fr > fb)) return (1 - fb) * C000 + (fb - fr) * C001 + (fr - fg) * C101 + fg * C111;
    if (!(fr > fg) && fb > fg) return (1 - fb) * C000 + (fb - fg) * C001 + (fg - fr) * C011 + fr * C111;
    if (!(fr > fg) && !(fb > fg) && fb > fr) return (1 - fg) * C000 + (fg - fb) * C010 + (fb - fr) * C011 + fr * C111;
    return (1 - fg) * C000 + (fg - fr) * C010 + (fr - fb) * C110 + fb * C111;
}

// NaN, which the definition leaves open, is taken as 0.
inline int lutByte(double v) {
    if (v < 0) return 0;
    if (v > 255.0) return 255;
    if (v != v) return 0;
    return int(v);
}

inline uint32_t lutColor(const LutTable& t, uint32_t rgb) {
    const int R = vqztest::redOf(rgb), G = vqztest::greenOf(rgb), B = vqztest::blueOf(rgb);
    const int r0 = R / 17, g0 = G / 17, b0 = B / 17;
    const int r1 = std::min(r0 + 1, 15), g1 = std::min(g0 + 1, 15), b1 = std::min(b0 + 1, 15);
    const double fr = (R - 17 * r0) / 17.0, fg = (G - 17 * g0) / 17.0, fb = (B - 17 * b0) / 17.0;
    int out[3];
    for (int x = 0; x < 3; ++x) out[x] = lutByte(lutSum(t, fr, fg, fb, r0, g0, b0, r1, g1, b1, x));
    return vqztest::rgbOf(out[0], out[1], out[2]);
}

// The block of the filter classes: the bounds rule, then yEnd - MinY passes over the
// rows from row 0 (row cursors wrap after the last row), each over xEnd - MinX
// pixels from column 0. A count past the row's end stops at the row's end.
struct FilterBounds {
    int32_t minX = 0, minY = 0, maxX = 0, maxY = 0;
};
inline std::ostream& operator<<(std::ostream& os, FilterBounds b) {
    return os << "bounds " << b.minX << " " << b.minY << " " << b.maxX << " " << b.maxY;
}

// A right or bottom end: the bound when it lies above the minimum and inside, else the edge.
inline long long blockEnd(int32_t min, int32_t max, int size) { return max > min && max < size ? max : size; }

template <class PixelMap>
vqztest::Snapshot filterBlock(const vqztest::Snapshot& source, const vqztest::Snapshot& fresh, FilterBounds b,
                              PixelMap map) {
    const int W = source.width, H = source.height;
    const long long columns = std::min<long long>(blockEnd(b.minX, b.maxX, W) - b.minX, W);
    vqztest::Snapshot out = fresh;
    out.mask.clear();
    int row = 0;
    for (long long pass = 0; pass < blockEnd(b.minY, b.maxY, H) - b.minY; ++pass) {
        for (long long x = 0; x < columns; ++x) out.rgb[size_t(row) * size_t(W) + size_t(x)] = map(source.at(int(x), row));
        row = row + 1 < H ? row + 1 : 0;
    }
    return out;
}

// Which pixels the block covers (for the mask bytes).
inline bool inFilterBlock(int W, int H, FilterBounds b, int x, int y) {
    return x < blockEnd(b.minX, b.maxX, W) - b.minX && y < blockEnd(b.minY, b.maxY, H) - b.minY;
}

// The result's mask bytes: `written` inside the block, the fresh picture's elsewhere.
inline std::vector<uint8_t> filterBlockMask(const vqztest::Snapshot& fresh, FilterBounds b, uint8_t written) {
    std::vector<uint8_t> mask = fresh.mask;
    for (int y = 0; y < fresh.height && !mask.empty(); ++y)
        for (int x = 0; x < fresh.width; ++x)
            if (inFilterBlock(fresh.width, fresh.height, b, x, y)) mask[size_t(y) * size_t(fresh.width) + size_t(x)] = written;
    return mask;
}

}  // namespace reference
