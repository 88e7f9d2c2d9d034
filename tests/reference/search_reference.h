// Plain versions of the color rectangle mask and of the sub-picture search, written
// the slow and obvious way: the rectangle search starts over from the top after
// every rectangle and grows one pass at a time; the picture search tries every
// position in reading order and compares every pixel.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "tests/support/fixture.h"

namespace reference {

// The black (true) and white (false) pixels of the rectangle mask of `source` for
// the rectangle (left, top, width, height); a negative width or height is the picture's.
inline std::vector<bool> colorRectangleMask(const vqztest::Snapshot& source, int left, int top, int width,
                                            int height) {
    const int W = source.width, H = source.height;
    const long long stride = W + 2;
    std::vector<uint8_t> seed(size_t(stride * (H + 2)), 0), covered(seed.size(), 0);
    auto cell = [&](long long x, long long y) { return size_t((y + 1) * stride + (x + 1)); };

    const long long w = width < 0 ? W : width, h = height < 0 ? H : height;
    const long long x0 = std::max(left, 0), y0 = std::max(top, 0);
    const long long x1 = std::min<long long>(left + w, W), y1 = std::min<long long>(top + h, H);
    for (long long y = y0; y < y1; ++y)
        for (long long x = x0; x < x1; ++x) {
            const uint32_t c = source.at(int(x), int(y));
            const int r = vqztest::redOf(c), g = vqztest::greenOf(c), b = vqztest::blueOf(c);
            seed[cell(x, y)] = (r != g || g != b) ? 1 : 0;
        }

    for (;;) {
        long long sx = -1, sy = -1;
        for (long long y = 0; y < H && sx < 0; ++y)
            for (long long x = 0; x < W; ++x)
                if (seed[cell(x, y)]) {
                    sx = x, sy = y;
                    break;
                }
        if (sx < 0) break;
        long long rx1 = sx, rx2 = sx, ry1 = sy, ry2 = sy;
        auto anySeed = [&](long long xa, long long ya, long long xb, long long yb) {
            for (long long y = ya; y <= yb; ++y)
                for (long long x = xa; x <= xb; ++x)
                    if (seed[cell(x, y)]) return true;
            return false;
        };
        for (bool grew = true; grew;) {  // one pass: above, below, left, right
            grew = false;
            if (anySeed(rx1, ry1 - 1, rx2, ry1 - 1)) --ry1, grew = true;
            if (anySeed(rx1, ry2 + 1, rx2, ry2 + 1)) ++ry2, grew = true;
            if (anySeed(rx1 - 1, ry1, rx1 - 1, ry2)) --rx1, grew = true;
            if (anySeed(rx2 + 1, ry1, rx2 + 1, ry2)) ++rx2, grew = true;
        }
        for (long long y = ry1; y <= ry2; ++y)
            for (long long x = rx1; x <= rx2; ++x) {
                seed[cell(x, y)] = 0;
                covered[cell(x, y)] = 1;
            }
    }
    std::vector<bool> black(size_t(W) * size_t(H));
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) black[size_t(y) * size_t(W) + size_t(x)] = covered[cell(x, y)] != 0;
    return black;
}

struct Found {
    bool found = false;
    int x = 0, y = 0;
};

// The first position in reading order where `pic` lies in `receiver`, comparing colors.
inline Found findPicture(const vqztest::Snapshot& receiver, const vqztest::Snapshot& pic) {
    if (pic.width < 1 || pic.height < 1) return Found{};
    for (int y = 0; y + pic.height <= receiver.height; ++y)
        for (int x = 0; x + pic.width <= receiver.width; ++x) {
            bool same = true;
            for (int j = 0; j < pic.height && same; ++j)
                for (int i = 0; i < pic.width && same; ++i) same = receiver.at(x + i, y + j) == pic.at(i, j);
            if (same) return Found{true, x, y};
        }
    return Found{};
}

}  // namespace reference
