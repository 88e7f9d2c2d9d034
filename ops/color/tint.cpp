// Tint: each pixel reduced to a brightness with one color's channels as weights,
// then colored with another color's channels as factors, in double precision:
//   L = B*wB + (R*wR + G*wG),  channel = min(255, trunc(L * t)),
// with w and t the colors' channels divided by 255.0.
//
// Big pictures take a shortcut with the same results. Up to rounding errors below
// 1e-12, L is N/255 for the integer N = R*gR + G*gG + B*gB (g: the GreyBase channels)
// and L*t is N*s/65025 (s: the SepiaBase channel). Where N*s is not a multiple of
// 65025 that value lies at least 1/65025 from every integer, so its truncation is
// floor(N*s/65025) whatever the rounding. So one table indexed by N gives each
// pixel's result; only the N for which some channel's N*s is an exact multiple
// (the double rounding decides there) are marked, and those pixels are computed in
// doubles as above.
#include <cstddef>

#include "ops/color/color_kernels.h"
#include "ops/color/color_rows.h"
#include "plugin/errors.h"
#include "plugin/operations.h"

namespace {

struct TintFactors {
    double wR, wG, wB;  // gray weights
    double tR, tG, tB;  // tint factors
};

TintFactors MakeTintFactors(uint32_t greyBase, uint32_t sepiaBase) {
    const RGB grey = ColorToRGB(greyBase);
    const RGB sepia = ColorToRGB(sepiaBase);
    return TintFactors{grey.r / 255.0,  grey.g / 255.0,  grey.b / 255.0,
                       sepia.r / 255.0, sepia.g / 255.0, sepia.b / 255.0};
}

// Every factor is at most 1, so a channel is at most 765 before the clamp: the
// conversion to an integer never overflows.
uint8_t TintChannel(double L, double t) {
    const int32_t v = static_cast<int32_t>(L * t);
    return static_cast<uint8_t>(v < 255 ? v : 255);
}

RGB TintColor(RGB c, const TintFactors& f) {
    const double L = c.b * f.wB + (c.r * f.wR + c.g * f.wG);
    return RGB{TintChannel(L, f.tR), TintChannel(L, f.tG), TintChannel(L, f.tB)};
}

// ---------------------------------------------------------------- in doubles

void TintChunk(ChannelChunk& c, int32_t count, const TintFactors& f) {
    for (int32_t i = 0; i < count; ++i) {
        const double L = c.b[i] * f.wB + (c.r[i] * f.wR + c.g[i] * f.wG);
        c.r[i] = TintChannel(L, f.tR);
        c.g[i] = TintChannel(L, f.tG);
        c.b[i] = TintChannel(L, f.tB);
    }
}

}  // namespace

void TintPixelsInDoubles(PictureReader& reader, PictureWriter& writer, uint32_t greyBase, uint32_t sepiaBase) {
    const TintFactors factors = MakeTintFactors(greyBase, sepiaBase);
    ChannelChunk chunk;
    WalkRows(reader, writer, [&](const uint8_t* source, uint8_t* target) {
        for (int32_t x = 0; x < reader.width; x += kChunkPixels) {
            const int32_t count = ChunkLength(reader.width, x);
            SplitChannels(reader.pixelType, source + static_cast<ptrdiff_t>(x) * reader.bytesPerPixel, count, chunk);
            TintChunk(chunk, count, factors);
            JoinChannels(writer.pixelType, target + static_cast<ptrdiff_t>(x) * writer.bytesPerPixel, count, chunk);
        }
    });
}

// ---------------------------------------------------------------- through a table of N

namespace {

// Table entries: the writer's finished pixel word for 4-byte writers, with a marker
// word that such a writer never writes (its mask byte differs from the writing rule);
// red, green and blue in the low three bytes and a marker bit for 3-byte writers.
template <class Out>
struct TintEntry {
    static uint32_t make(uint32_t r, uint32_t g, uint32_t b) {
        if constexpr (Out::bytes == 4)
            return pixel::Word<Out>::pack(r, g, b);
        else
            return r | g << 8 | b << 16;
    }
    static uint32_t marker() {
        if constexpr (Out::bytes == 4)
            return ~pixel::Word<Out>::colorBits() & ~pixel::Word<Out>::fixedBits();
        else
            return 1u << 31;
    }
    static void store(uint8_t* p, uint32_t entry) {
        if constexpr (Out::bytes == 4)
            pixel::Word<Out>::store(p, entry);
        else
            Out::store(p, RGB{static_cast<uint8_t>(entry), static_cast<uint8_t>(entry >> 8),
                              static_cast<uint8_t>(entry >> 16)});
    }
    static void store(uint8_t* p, RGB c) { store(p, make(c.r, c.g, c.b)); }
};

constexpr uint32_t kSquare255 = 255 * 255;

// floor(N*s/65025) for one channel, clamped to 255; `exact` is set where N*s is a
// nonzero multiple of 65025 that is not past the clamp.
uint32_t TableChannel(uint32_t n, uint32_t s, bool& exact) {
    const uint32_t q = n * s;  // at most 195075 * 255, well inside 32 bits
    const uint32_t k = q / kSquare255;
    if (q != 0 && k * kSquare255 == q && k <= 255) exact = true;
    return k < 255 ? k : 255;
}

template <class Out>
void FillTintTable(uint32_t* table, uint32_t largestN, RGB sepia) {
    for (uint32_t n = 0; n <= largestN; ++n) {
        bool exact = false;
        const uint32_t r = TableChannel(n, sepia.r, exact);
        const uint32_t g = TableChannel(n, sepia.g, exact);
        const uint32_t b = TableChannel(n, sepia.b, exact);
        table[n] = exact ? TintEntry<Out>::marker() : TintEntry<Out>::make(r, g, b);
    }
}

// N comes from three small tables of each channel's part: loads are cheaper here
// than three multiplications.
template <class In, class Out>
void TintThroughTable(PictureReader& reader, PictureWriter& writer, const TintFactors& factors, RGB grey,
                      const uint32_t* table) {
    uint32_t partR[256], partG[256], partB[256];
    for (uint32_t v = 0; v < 256; ++v) {
        partR[v] = v * grey.r;
        partG[v] = v * grey.g;
        partB[v] = v * grey.b;
    }
    const uint32_t marker = TintEntry<Out>::marker();
    const int32_t width = reader.width;
    WalkRows(reader, writer, [&](const uint8_t* source, uint8_t* target) {
        for (int32_t x = 0; x < width; ++x) {
            const RGB c = In::load(source + static_cast<ptrdiff_t>(x) * In::bytes);
            const uint32_t entry = table[partR[c.r] + partG[c.g] + partB[c.b]];
            uint8_t* p = target + static_cast<ptrdiff_t>(x) * Out::bytes;
            if (__builtin_expect(entry == marker, 0))
                TintEntry<Out>::store(p, TintColor(c, factors));
            else
                TintEntry<Out>::store(p, entry);
        }
    });
}

}  // namespace

static uint32_t LargestN(RGB grey) { return 255u * (uint32_t(grey.r) + grey.g + grey.b); }

bool TintPixelsThroughTable(PictureReader& reader, PictureWriter& writer, uint32_t greyBase, uint32_t sepiaBase) {
    const RGB grey = ColorToRGB(greyBase), sepia = ColorToRGB(sepiaBase);
    const uint32_t largestN = LargestN(grey);
    auto* table = static_cast<uint32_t*>(AllocateClearMemory((static_cast<long long>(largestN) + 1) * 4));
    if (!table) return false;
    const TintFactors factors = MakeTintFactors(greyBase, sepiaBase);
    DispatchFormats(reader.pixelType, writer.pixelType, [&](auto in, auto out) {
        FillTintTable<decltype(out)>(table, largestN, sepia);
        TintThroughTable<decltype(in), decltype(out)>(reader, writer, factors, grey, table);
    });
    FreeMemoryNow(table);
    return true;
}

// The table pays for itself when there are more pixels than entries; without the
// memory for it the doubles give the same result.
void TintPixels(PictureReader& reader, PictureWriter& writer, uint32_t greyBase, uint32_t sepiaBase) {
    const int64_t pixels = static_cast<int64_t>(reader.width) * reader.height;
    if (pixels > static_cast<int64_t>(LargestN(ColorToRGB(greyBase))) &&
        TintPixelsThroughTable(reader, writer, greyBase, sepiaBase))
        return;
    TintPixelsInDoubles(reader, writer, greyBase, sepiaBase);
}

REALpictureStruct* TintPicture(REALpictureStruct* source, uint32_t greyBase, uint32_t sepiaBase) {
    PictureReader reader;
    PictureWriter writer;
    if (!reader.GetPictureReader(source)) return nullptr;
    if (!writer.NewPictureWriter(reader)) return nullptr;
    TintPixels(reader, writer, greyBase, sepiaBase);
    return writer.RenderPictureWriter();
}
