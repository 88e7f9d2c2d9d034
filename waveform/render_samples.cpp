// RenderSamplesVQZ: a block of audio samples drawn as a waveform picture. Each
// column condenses its samples into a low level (the negative side) and a high level
// (the positive side) around the middle row; the levels are drawn as a bar on a
// plain background, with an optional outline joining the column ends.
//
// Choices for inputs that have no natural picture:
// - A column without samples (more columns than samples, or a rounding gap) has no
//   signal: both levels are 0 instead of 0 / 0.
// - AutoScale on silence (full scale 0) leaves the levels at 0 instead of 0 / 0.
// - Smooth -1 (an infinite factor) smooths nothing, like every Smooth below -1.
// - A SampleCount beyond the block is cut to the samples the block holds.
// - Column sums are kept in 64 bits: the same as 32-bit sums wherever those do not
//   overflow, and still exact for columns of more than 65536 16-bit samples.
// - The row a level reaches is held to +-2^30 before it becomes an integer, so any
//   level converts safely and outline coordinates never overflow; a level beyond
//   that (only Smooth 0 on very large pictures comes near) ends its line there.
#include <algorithm>
#include <cstring>

#include "picture/editor.h"
#include "picture/pixel_formats.h"
#include "picture/pixel_loop.h"
#include "plugin/errors.h"
#include "plugin/host_api.h"
#include "plugin/operations.h"
#include "waveform/wu_line.h"

namespace {

// ---------------------------------------------------------------- sample formats
struct SignedByteSample {  // Bits 7
    static constexpr int bytes = 1;
    static constexpr double fullScale = 127.0;
    static int32_t load(const uint8_t* p) { return static_cast<int8_t>(*p); }
};
struct OffsetByteSample {  // Bits 8
    static constexpr int bytes = 1;
    static constexpr double fullScale = 127.0;
    static int32_t load(const uint8_t* p) { return int32_t(*p) - 128; }
};
struct SignedWordSample {  // Bits 15, native byte order
    static constexpr int bytes = 2;
    static constexpr double fullScale = 32767.0;
    static int32_t load(const uint8_t* p) {
        int16_t v;
        memcpy(&v, p, sizeof v);
        return v;
    }
};
struct OffsetWordSample {  // Bits 16, native byte order
    static constexpr int bytes = 2;
    static constexpr double fullScale = 32767.0;
    static int32_t load(const uint8_t* p) {
        uint16_t v;
        memcpy(&v, p, sizeof v);
        return int32_t(v) - 32768;
    }
};

// Calls body(Sample{}) for a Bits value; false when Bits names no format.
template <class Body>
bool DispatchSampleFormat(int32_t bits, Body&& body) {
    switch (bits) {
        case 7: body(SignedByteSample{}); return true;
        case 8: body(OffsetByteSample{}); return true;
        case 15: body(SignedWordSample{}); return true;
        case 16: body(OffsetWordSample{}); return true;
        default: return false;
    }
}

int32_t BytesPerSample(int32_t bits) { return (bits + 7) / 8; }

// ---------------------------------------------------------------- column levels
struct SideSums {
    int64_t positive = 0;
    int64_t negative = 0;
};

// Sums the positive and the negative parts of `count` samples. Blocks of 32768
// samples fit 32-bit partial sums (32768 * 32768 = 2^30), which keeps the inner loop
// narrow enough to vectorize.
template <class S>
SideSums SumSides(const uint8_t* samples, int64_t count) {
    SideSums sums;
    while (count > 0) {
        const int32_t block = static_cast<int32_t>(std::min<int64_t>(count, 32768));
        int32_t positive = 0, negative = 0;
        for (int32_t i = 0; i < block; ++i) {
            const int32_t s = S::load(samples + static_cast<ptrdiff_t>(i) * S::bytes);
            positive += s > 0 ? s : 0;
            negative += s < 0 ? s : 0;
        }
        sums.positive += positive;
        sums.negative += negative;
        samples += static_cast<ptrdiff_t>(block) * S::bytes;
        count -= block;
    }
    return sums;
}

// First sample of column x: (x / W) * N in double, divided first, truncated.
int64_t ColumnStart(int64_t x, int64_t columns, int64_t samples) {
    return static_cast<int64_t>((static_cast<double>(x) / static_cast<double>(columns)) * static_cast<double>(samples));
}

// Fills low[x] and high[x] with twice the mean negative and positive part of each
// column's samples; returns the largest magnitude among them.
template <class S>
double ColumnLevels(const uint8_t* samples, int64_t sampleCount, int32_t columns, double* low, double* high) {
    double peak = 0.0;
    for (int32_t x = 0; x < columns; ++x) {
        const int64_t start = ColumnStart(x, columns, sampleCount);
        const int64_t end = ColumnStart(int64_t(x) + 1, columns, sampleCount);
        if (end <= start) {  // no samples: no signal
            low[x] = 0.0;
            high[x] = 0.0;
            continue;
        }
        const SideSums sums = SumSides<S>(samples + start * S::bytes, end - start);
        const double half = static_cast<double>(end - start) * 0.5;
        low[x] = static_cast<double>(sums.negative) / half;
        high[x] = static_cast<double>(sums.positive) / half;
        peak = std::max({peak, high[x], -low[x]});
    }
    return peak;
}

// One exponential moving average over the array, seeded with its first element.
void Smooth(double* levels, int32_t columns, double alpha) {
    double r = levels[0];
    const double keep = 1.0 - alpha;
    for (int32_t x = 0; x < columns; ++x) {
        r = r * keep + levels[x] * alpha;
        levels[x] = r;
    }
}

void Scale(double* levels, int32_t columns, double height, double fullScale) {
    for (int32_t x = 0; x < columns; ++x) levels[x] = levels[x] * height / fullScale;
}

// The row a level reaches from the middle row: trunc(level + middle), held to +-2^30.
int32_t LevelRow(double level, int32_t middle) {
    constexpr double kFar = 1073741824.0;
    const double v = level + middle;
    if (!(v == v)) return middle;  // not a number: no signal
    return static_cast<int32_t>(std::clamp(v, -kFar, kFar));
}

// ---------------------------------------------------------------- drawing
// The two level arrays, cleared scratch memory for one call.
class LevelArrays {
public:
    explicit LevelArrays(int32_t columns) {
        const long long bytes = static_cast<long long>(columns) * 8 + 20;
        low = static_cast<double*>(AllocateClearMemory(bytes));
        if (low) high = static_cast<double*>(AllocateClearMemory(bytes));
    }
    ~LevelArrays() {
        if (high) FreeMemoryNow(high);
        if (low) FreeMemoryNow(low);
    }
    LevelArrays(const LevelArrays&) = delete;
    LevelArrays& operator=(const LevelArrays&) = delete;
    bool ok() const { return low && high; }

    double* low = nullptr;
    double* high = nullptr;
};

// Background and bars in one pass. Every column's bar runs through the middle row, so
// the low and the high bar together cover the rows from the smaller to the larger of
// (low end, high end, middle), held to the picture. The picture is filled in strips of
// columns, row after row, so that each row is written in one contiguous run.
template <class F>
void DrawBars(PictureWriter& writer, const LevelArrays& levels, int32_t middle, uint32_t backColor,
              uint32_t foreColor) {
    constexpr int32_t kStrip = 1024;
    int32_t top[kStrip], bottom[kStrip];
    uint8_t back[4] = {}, fore[4] = {};
    F::store(back, ColorToRGB(backColor));
    F::store(fore, ColorToRGB(foreColor));
    uint32_t backWord, foreWord;
    memcpy(&backWord, back, 4);
    memcpy(&foreWord, fore, 4);

    const int32_t width = writer.width, lastRow = writer.height - 1;
    for (int32_t x0 = 0; x0 < width; x0 += kStrip) {
        const int32_t n = std::min(kStrip, width - x0);
        for (int32_t i = 0; i < n; ++i) {
            const int32_t low = LevelRow(levels.low[x0 + i], middle);
            const int32_t high = LevelRow(levels.high[x0 + i], middle);
            top[i] = std::clamp(std::min({low, high, middle}), 0, lastRow);
            bottom[i] = std::clamp(std::max({low, high, middle}), 0, lastRow);
        }
        for (int32_t y = 0; y <= lastRow; ++y) {
            uint8_t* row = writer.GetRow(y) + static_cast<ptrdiff_t>(x0) * F::bytes;
            if constexpr (F::bytes == 4) {
                for (int32_t i = 0; i < n; ++i) {
                    const uint32_t word = (y >= top[i] && y <= bottom[i]) ? foreWord : backWord;
                    memcpy(row + static_cast<ptrdiff_t>(i) * 4, &word, 4);
                }
            } else {
                for (int32_t i = 0; i < n; ++i)
                    memcpy(row + static_cast<ptrdiff_t>(i) * F::bytes, (y >= top[i] && y <= bottom[i]) ? fore : back,
                           F::bytes);
            }
        }
    }
}

// Walks the outline: from the middle of column 0, one line per column to the next
// column's low end and one to its high end. line(px, py, x, y) draws one segment.
template <class Line>
void WalkOutline(const LevelArrays& levels, int32_t columns, int32_t middle, Line line) {
    int32_t px = 0, pl = middle, pu = middle;
    for (int32_t x = 0; x < columns; ++x) {
        const int32_t el = LevelRow(levels.low[x], middle);
        const int32_t eu = LevelRow(levels.high[x], middle);
        line(px, pl, x, el);
        line(px, pu, x, eu);
        px = x;
        pl = el;
        pu = eu;
    }
}

// The outline of a wider pen, drawn by the host on the rendered picture. Each end
// point moves up and left by half the pen, which centers the pen on the path.
void DrawThickOutline(REALpictureStruct* picture, const LevelArrays& levels, int32_t columns, int32_t middle,
                      int32_t outlineWidth, uint32_t outlineColor) {
    REALgraphicsStruct* graphics = REALGetPictureGraphics(picture);
    if (!graphics) return;
    SetGraphicsForeColor(graphics, outlineColor);
    SetGraphicsPenHeight(graphics, outlineWidth);
    SetGraphicsPenWidth(graphics, outlineWidth);
    const int32_t k = outlineWidth / 2;
    WalkOutline(levels, columns, middle, [&](int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
        GraphicsDrawLine(graphics, x1 - k, y1 - k, x2 - k, y2 - k);
    });
    REALUnlockObject(AsObject(graphics));
}

}  // namespace

REALpictureStruct* RenderSamples(REALmemoryBlockStruct* samples, int32_t sampleCount, int32_t smooth, int32_t width,
                                 int32_t height, int32_t outlineWidth, uint32_t backColor, uint32_t foreColor,
                                 uint32_t outlineColor, int32_t bits, signed char autoScale) {
    if (!samples) {
        RaiseException("NilObjectException", "memoryblock is nil", kEncodingASCII);
        return nullptr;
    }
    const RGB outline = ColorToRGB(outlineColor);
    gOutLineColorR = outline.r;
    gOutLineColorG = outline.g;
    gOutLineColorB = outline.b;
    if (bits != 7 && bits != 8 && bits != 15 && bits != 16) return nullptr;

    const int64_t available = std::max<int32_t>(REALMemoryBlockGetSize(samples), 0) / BytesPerSample(bits);
    const int64_t n = sampleCount < 1 ? available : std::min<int64_t>(sampleCount, available);
    const int64_t columns = width < 1 ? n : width;
    const int32_t rows = height < 1 ? 500 : height;
    // A writer of this size cannot exist; nothing below would change that answer.
    if (columns < 1 || columns > kMaxWriterSize || rows > kMaxWriterSize) return nullptr;
    const int32_t W = static_cast<int32_t>(columns);

    const uint8_t* data = static_cast<const uint8_t*>(REALMemoryBlockGetPtr(samples));
    if (!data) return nullptr;
    LevelArrays levels(W);
    if (!levels.ok()) return nullptr;

    double fullScale = 0.0, peak = 0.0;
    DispatchSampleFormat(bits, [&](auto format) {
        using S = decltype(format);
        peak = ColumnLevels<S>(data, n, W, levels.low, levels.high);
        fullScale = S::fullScale;
    });
    if (autoScale) fullScale = 2.0 * peak;

    const double alpha = 2.0 / (static_cast<double>(smooth) + 1.0);
    if (alpha > 0.0 && alpha <= 2.0) {  // 2 at most (Smooth 0); Smooth -1 gives infinity
        Smooth(levels.low, W, alpha);
        Smooth(levels.high, W, alpha);
    }
    if (fullScale > 0.0) {  // else every level is 0 already
        Scale(levels.low, W, rows, fullScale);
        Scale(levels.high, W, rows, fullScale);
    }

    PictureWriter writer;
    if (!writer.NewPictureWriter(W, rows)) return nullptr;
    const int32_t middle = rows / 2;
    DispatchFormat(writer.pixelType, [&](auto format) {
        DrawBars<decltype(format)>(writer, levels, middle, backColor, foreColor);
    });
    if (outlineWidth == 1) {
        WalkOutline(levels, W, middle, [&](int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
            DrawWuLine(writer, x1, y1, x2, y2, kWuBaseWeight, kWuWeightLevels, kWuIntensityBits);
        });
    }
    REALpictureStruct* picture = writer.RenderPictureWriter();
    if (picture && outlineWidth > 1) DrawThickOutline(picture, levels, W, middle, outlineWidth, outlineColor);
    return picture;
}
