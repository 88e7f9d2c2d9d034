// Xiaolin Wu's anti-aliased line over a 16-bit error accumulator, and the pixel
// blend it draws with.
//
// The walk is done in 64-bit arithmetic: for end points whose differences fit in 16
// bits it is the 16-bit walk pixel for pixel. Longer lines (only levels far outside
// the picture make them) walk with a 32-bit accumulator instead, whose step never
// truncates to 0, so they still run toward their end point; their weights are its top
// bits the same way. Rows (or columns) outside the writer are not stepped through one
// by one: the state after step k is k * adj, so the walk starts at the first visible
// step and stops after the last, and a line reaching far outside costs no more than
// its visible part.
#include "waveform/wu_line.h"

#include <algorithm>
#include <utility>

#include "picture/pixel_formats.h"
#include "picture/pixel_loop.h"

int32_t gOutLineColorR = 0;
int32_t gOutLineColorG = 0;
int32_t gOutLineColorB = 0;

namespace {

// The share of the pixel that survives is weight / 255; the rest is outline color.
template <class F>
void BlendPixel(uint8_t* p, int64_t weight) {
    // Weights come from the walk as 0 to 255; other scales are held to that range.
    const uint32_t w = static_cast<uint32_t>(std::clamp<int64_t>(weight, 0, 255));
    const uint32_t v = 255 - w;
    const RGB c = F::load(p);
    F::store(p, RGB{static_cast<uint8_t>((c.r * w + static_cast<uint32_t>(gOutLineColorR) * v) / 255),
                    static_cast<uint8_t>((c.g * w + static_cast<uint32_t>(gOutLineColorG) * v) / 255),
                    static_cast<uint8_t>((c.b * w + static_cast<uint32_t>(gOutLineColorB) * v) / 255)});
}

template <class F>
struct Canvas {
    PictureWriter& writer;

    void plot(int64_t x, int64_t y, int64_t weight) const {
        if (x < 0 || y < 0 || x >= writer.width || y >= writer.height) return;
        BlendPixel<F>(writer.GetRow(static_cast<int>(y)) + x * F::bytes, weight);
    }
};

struct WeightScale {
    int64_t base;
    int64_t complementMask;
    int shift;  // accumulator bits below the weight
};

// Steps k = first..last of 1..count whose coordinate start + k * dir lies in 0..size-1.
struct StepRange {
    int64_t first, last;
};
StepRange VisibleSteps(int64_t start, int64_t dir, int64_t count, int64_t size) {
    StepRange r{1, count};
    if (dir > 0) {
        r.first = std::max<int64_t>(r.first, -start);
        r.last = std::min<int64_t>(r.last, size - 1 - start);
    } else {
        r.first = std::max<int64_t>(r.first, start - (size - 1));
        r.last = std::min<int64_t>(r.last, start);
    }
    return r;
}

template <class F>
void WalkLine(const Canvas<F>& canvas, int64_t x0, int64_t y0, int64_t x1, int64_t y1, const WeightScale& scale) {
    if (y0 > y1) {
        std::swap(x0, x1);
        std::swap(y0, y1);
    }
    const int64_t width = canvas.writer.width;
    const int64_t height = canvas.writer.height;
    canvas.plot(x0, y0, scale.base);

    int64_t dx = x1 - x0;
    const int64_t xdir = dx >= 0 ? 1 : -1;
    if (dx < 0) dx = -dx;
    const int64_t dy = y1 - y0;

    // Horizontal, vertical and diagonal lines need no weighting; their last step is the end point.
    if (dy == 0 || dx == 0 || dx == dy) {
        const int64_t count = std::max(dx, dy);
        const int64_t xstep = dx == 0 ? 0 : xdir;
        const int64_t ystep = dy == 0 ? 0 : 1;
        StepRange r{1, count};
        if (xstep != 0) {
            const StepRange c = VisibleSteps(x0, xstep, count, width);
            r = StepRange{std::max(r.first, c.first), std::min(r.last, c.last)};
        }
        if (ystep != 0) {
            const StepRange c = VisibleSteps(y0, ystep, count, height);
            r = StepRange{std::max(r.first, c.first), std::min(r.last, c.last)};
        }
        for (int64_t k = r.first; k <= r.last; ++k) canvas.plot(x0 + k * xstep, y0 + k * ystep, scale.base);
        return;
    }

    // After step k the accumulator is (k * adj) mod 2^bits and the minor coordinate has
    // advanced once per wrap, floor(k * adj / 2^bits) times. adj is below 2^bits.
    const int fractionBits = std::max(dx, dy) <= 32767 ? 16 : 32;
    const uint64_t fractionMask = (uint64_t(1) << fractionBits) - 1;
    const int weightShift = fractionBits - 16 + scale.shift;
    const bool steep = dy > dx;
    const uint64_t adj = (static_cast<uint64_t>(steep ? dx : dy) << fractionBits) / static_cast<uint64_t>(steep ? dy : dx);
    const StepRange r = steep ? VisibleSteps(y0, 1, dy - 1, height) : VisibleSteps(x0, xdir, dx - 1, width);
    for (int64_t k = r.first; k <= r.last; ++k) {
        const uint64_t total = static_cast<uint64_t>(k) * adj;
        const int64_t minor = static_cast<int64_t>(total >> fractionBits);
        const int64_t w = static_cast<int64_t>((total & fractionMask) >> weightShift);
        if (steep) {
            canvas.plot(x0 + xdir * minor, y0 + k, scale.base + w);
            canvas.plot(x0 + xdir * minor + xdir, y0 + k, scale.base + (w ^ scale.complementMask));
        } else {
            canvas.plot(x0 + k * xdir, y0 + minor, scale.base + w);
            canvas.plot(x0 + k * xdir, y0 + minor + 1, scale.base + (w ^ scale.complementMask));
        }
    }
    canvas.plot(x1, y1, scale.base);
}

}  // namespace

void DrawWuLine(PictureWriter& writer, int x0, int y0, int x1, int y1, int baseWeight, int weightLevels,
                unsigned short intensityBits) {
    // The weight is the accumulator's top intensityBits bits (held to 1..16).
    const int bits = std::clamp<int>(intensityBits, 1, 16);
    const WeightScale scale{baseWeight, int64_t(weightLevels) - 1, 16 - bits};
    DispatchFormat(writer.pixelType, [&](auto format) {
        WalkLine(Canvas<decltype(format)>{writer}, x0, y0, x1, y1, scale);
    });
}

void DrawPixel(PictureWriter& writer, int x, int y, int weight) {
    DispatchFormat(writer.pixelType, [&](auto format) { Canvas<decltype(format)>{writer}.plot(x, y, weight); });
}
