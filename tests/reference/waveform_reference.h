// Plain versions of the waveform renderer and its anti-aliased line, written step by
// step, per sample and per pixel, with no shortcuts: the plugin's faster code must
// give the same pixels. Pictures are 0x00RRGGBB per pixel, row-major.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

namespace waveform_reference {

struct Image {
    int width = 0;
    int height = 0;
    std::vector<uint32_t> rgb;
    std::vector<uint8_t> touched;  // 1 where a line drew (at any weight)

    Image() = default;
    Image(int w, int h, uint32_t fill)
        : width(w), height(h), rgb(size_t(w) * size_t(h), fill), touched(size_t(w) * size_t(h), 0) {}
    uint32_t& at(int x, int y) { return rgb[size_t(y) * size_t(width) + size_t(x)]; }
};

struct Color {
    int r, g, b;
};

// Blends `outline` into the pixel; weight 255 keeps the pixel, 0 paints the outline.
inline void DrawPixel(Image& image, long long x, long long y, int weight, Color outline) {
    if (x < 0 || y < 0 || x >= image.width || y >= image.height) return;
    uint32_t& p = image.at(int(x), int(y));
    image.touched[size_t(y) * size_t(image.width) + size_t(x)] = 1;
    const int r = int(p >> 16 & 255), g = int(p >> 8 & 255), b = int(p & 255);
    const int v = 255 - weight;
    const int r2 = (r * weight + outline.r * v) / 255;
    const int g2 = (g * weight + outline.g * v) / 255;
    const int b2 = (b * weight + outline.b * v) / 255;
    p = uint32_t(r2) << 16 | uint32_t(g2) << 8 | uint32_t(b2);
}

// Wu's line walked one step at a time. The accumulator is a 16-bit fraction; lines
// whose differences do not fit in 16 bits use a 32-bit one (the weight is then its
// top 8 bits).
inline void DrawWuLine(Image& image, long long x0, long long y0, long long x1, long long y1, Color outline) {
    if (y0 > y1) {
        std::swap(x0, x1);
        std::swap(y0, y1);
    }
    DrawPixel(image, x0, y0, 0, outline);
    long long dx = x1 - x0, xdir = 1;
    if (dx < 0) {
        xdir = -1;
        dx = -dx;
    }
    const long long dy = y1 - y0;
    if (dy == 0 || dx == 0 || dx == dy) {  // horizontal, vertical or diagonal: no weighting
        for (long long k = 1; k <= std::max(dx, dy); ++k)
            DrawPixel(image, x0 + (dx == 0 ? 0 : k * xdir), y0 + (dy == 0 ? 0 : k), 0, outline);
        return;
    }
    const int bits = std::max(dx, dy) <= 32767 ? 16 : 32;
    const unsigned long long modulus = 1ull << bits;
    unsigned long long accumulator = 0;
    long long x = x0, y = y0;
    if (dy > dx) {
        const unsigned long long adj = ((unsigned long long)dx << bits) / (unsigned long long)dy;
        for (long long i = 0; i < dy - 1; ++i) {
            const unsigned long long before = accumulator;
            accumulator = (accumulator + adj) % modulus;
            if (accumulator <= before) x += xdir;
            y += 1;
            const int w = int(accumulator >> (bits - 8));
            DrawPixel(image, x, y, w, outline);
            DrawPixel(image, x + xdir, y, w ^ 255, outline);
        }
    } else {
        const unsigned long long adj = ((unsigned long long)dy << bits) / (unsigned long long)dx;
        for (long long i = 0; i < dx - 1; ++i) {
            const unsigned long long before = accumulator;
            accumulator = (accumulator + adj) % modulus;
            if (accumulator <= before) y += 1;
            x += xdir;
            const int w = int(accumulator >> (bits - 8));
            DrawPixel(image, x, y, w, outline);
            DrawPixel(image, x, y + 1, w ^ 255, outline);
        }
    }
    DrawPixel(image, x1, y1, 0, outline);
}

struct Params {
    int sampleCount = 0;
    int smooth = 1;
    int width = 0;
    int height = 0;
    int outlineWidth = 0;
    uint32_t backColor = 0x88B5C4;
    uint32_t foreColor = 0x274C5A;
    uint32_t outlineColor = 0x203F4E;
    int bits = 8;
    bool autoScale = false;
};

struct Line {
    int x1, y1, x2, y2;
};

struct Result {
    bool nil = true;
    Image image;              // background, bars and the 1-pixel outline
    std::vector<Line> lines;  // the host lines of a wider outline
};

// A sample of the block, by Bits.
inline long long SampleAt(const std::vector<uint8_t>& block, long long i, int bits) {
    if (bits == 7) return (long long)(int8_t)block[size_t(i)];
    if (bits == 8) return (long long)block[size_t(i)] - 128;
    uint16_t word;
    std::memcpy(&word, &block[size_t(i) * 2], 2);
    if (bits == 15) return (long long)(int16_t)word;
    return (long long)word - 32768;
}

// The row a level reaches: trunc(level + m), with levels beyond 2^30 rows taken as 2^30.
inline long long LevelRow(double level, int m) {
    double v = level + m;
    if (std::isnan(v)) v = m;
    v = std::min(std::max(v, -1073741824.0), 1073741824.0);
    return (long long)std::trunc(v);
}

inline Result Render(const std::vector<uint8_t>& block, const Params& p) {
    Result result;
    if (p.bits != 7 && p.bits != 8 && p.bits != 15 && p.bits != 16) return result;
    const long long bytesPerSample = (p.bits + 7) / 8;
    const long long held = (long long)block.size() / bytesPerSample;
    const long long N = p.sampleCount < 1 ? held : std::min<long long>(p.sampleCount, held);  // never beyond the block
    const long long W = p.width < 1 ? N : p.width;
    const int H = p.height < 1 ? 500 : p.height;
    if (W < 1 || W > 32767 || H > 32767) return result;

    std::vector<double> L(size_t(W), 0.0), U(size_t(W), 0.0);
    double peak = 0.0;
    for (long long x = 0; x < W; ++x) {
        const long long start = (long long)std::trunc(((double)x / (double)W) * (double)N);
        const long long end = (long long)std::trunc(((double)(x + 1) / (double)W) * (double)N);
        long long pos = 0, neg = 0;
        for (long long i = start; i < end; ++i) {
            const long long s = SampleAt(block, i, p.bits);
            if (s > 0) pos += s;
            if (s < 0) neg += s;
        }
        if (end == start) continue;  // a column without samples has no signal
        const double d = (double)(end - start) * 0.5;
        L[size_t(x)] = (double)neg / d;
        U[size_t(x)] = (double)pos / d;
        peak = std::max(peak, std::max(U[size_t(x)], -L[size_t(x)]));
    }
    double M = (p.bits == 7 || p.bits == 8) ? 127.0 : 32767.0;
    if (p.autoScale) M = 2.0 * peak;

    const double alpha = 2.0 / ((double)p.smooth + 1.0);
    if (alpha > 0 && std::isfinite(alpha)) {
        for (std::vector<double>* A : {&L, &U}) {
            double r = (*A)[0];
            for (long long x = 0; x < W; ++x) {
                r = r * (1.0 - alpha) + (*A)[size_t(x)] * alpha;
                (*A)[size_t(x)] = r;
            }
        }
    }
    if (M != 0.0) {
        for (long long x = 0; x < W; ++x) {
            L[size_t(x)] = L[size_t(x)] * (double)H / M;
            U[size_t(x)] = U[size_t(x)] * (double)H / M;
        }
    }

    result.nil = false;
    result.image = Image(int(W), H, p.backColor & 0xFFFFFF);
    const int m = H / 2;
    for (long long x = 0; x < W; ++x) {
        for (double level : {L[size_t(x)], U[size_t(x)]}) {
            const long long e = LevelRow(level, m);
            long long y0 = std::min<long long>(e, m), y1 = std::max<long long>(e, m);
            y0 = std::min<long long>(std::max<long long>(y0, 0), H - 1);
            y1 = std::min<long long>(std::max<long long>(y1, 0), H - 1);
            for (long long y = y0; y <= y1; ++y) result.image.at(int(x), int(y)) = p.foreColor & 0xFFFFFF;
        }
    }
    const Color outline{int(p.outlineColor >> 16 & 255), int(p.outlineColor >> 8 & 255), int(p.outlineColor & 255)};
    const int k = p.outlineWidth / 2;
    long long px = 0, pl = m, pu = m;
    for (long long x = 0; x < W && p.outlineWidth >= 1; ++x) {
        const long long el = LevelRow(L[size_t(x)], m), eu = LevelRow(U[size_t(x)], m);
        if (p.outlineWidth == 1) {
            DrawWuLine(result.image, px, pl, x, el, outline);
            DrawWuLine(result.image, px, pu, x, eu, outline);
        } else {
            result.lines.push_back(Line{int(px - k), int(pl - k), int(x - k), int(el - k)});
            result.lines.push_back(Line{int(px - k), int(pu - k), int(x - k), int(eu - k)});
        }
        px = x, pl = el, pu = eu;
    }
    return result;
}

}  // namespace waveform_reference
