// Saturation change and the colorness measure, both in integer arithmetic.
#include <cstdint>

#include "picture/pixel_words.h"
#include "picture/editor.h"
#include "picture/pixel_loop.h"
#include "plugin/operations.h"

namespace {

// ---------------------------------------------------------------- saturation
//
// A channel x of a pixel whose gray value is g becomes g + ((x - g) * f) / 255,
// truncated toward zero and clamped, with f = Amount + 255. The result depends on
// (g, x) alone, so a call computes all 256 x 256 answers once and maps through them.
//
// f and the product are formed in 64 bits. Wherever a 32-bit product would not
// overflow this is the same result; for amounts beyond that (|Amount| above about
// eleven million) the result is the true value, clamped, rather than a wrapped one.
struct SaturationTable {
    uint8_t byGrayAndValue[256][256];
};

void FillSaturationTable(SaturationTable& t, int32_t amount) {
    const int64_t f = int64_t(amount) + 255;
    for (int gray = 0; gray < 256; ++gray) {
        for (int x = 0; x < 256; ++x) {
            const int64_t v = gray + (int64_t(x - gray) * f) / 255;
            t.byGrayAndValue[gray][x] = static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
        }
    }
}

template <class In, class Out>
PIXEL_SCALAR_LOOP void SaturateRows(PictureReader& reader, PictureWriter& writer, const SaturationTable& t) {
    const int32_t width = reader.width;
    const int32_t height = reader.height;
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* source = reader.row;
        uint8_t* target = writer.row;
        for (int32_t x = 0; x < width; ++x) {
            const RGB c = In::load(source + ptrdiff_t(x) * In::bytes);
            const uint8_t* answers = t.byGrayAndValue[(c.r + 2 * c.g + c.b) >> 2];
            Out::store(target + ptrdiff_t(x) * Out::bytes, RGB{answers[c.r], answers[c.g], answers[c.b]});
        }
        writer.AddPixelRow();
        reader.AddPixelRow();
    }
}

// ---------------------------------------------------------------- colorness
//
// A pixel counts when it is not dark (some channel at 30 or more) and green differs
// from red or from blue by more than the threshold. Differences lie within -255..255,
// so any threshold of 255 or more counts nothing and any negative one counts every
// pixel that is not dark; clamping it to -1..255 keeps the answer and keeps -t in range.
//
// Both conditions split into the pairs (green, red) and (green, blue): a table over
// (green, other) holds bit 0 when the two differ by more than the threshold and bit 1
// when either is 30 or more. A pixel counts exactly when the two entries or'ed give 3.
struct ColorTable {
    uint8_t byGreenAndOther[256][256];
};

void FillColorTable(ColorTable& table, int32_t threshold) {
    const int32_t t = threshold < -1 ? -1 : threshold > 255 ? 255 : threshold;
    for (int32_t green = 0; green < 256; ++green) {
        for (int32_t other = 0; other < 256; ++other) {
            const int32_t difference = green - other;
            const bool apart = difference > t || difference < -t;
            const bool bright = green >= 30 || other >= 30;
            table.byGreenAndOther[green][other] = static_cast<uint8_t>(uint32_t(apart) | uint32_t(bright) << 1);
        }
    }
}

template <class In>
PIXEL_SCALAR_LOOP uint64_t CountColored(PictureReader& reader, const ColorTable& table) {
    uint64_t count = 0;
    for (int32_t y = 0; y < reader.height; ++y) {
        const uint8_t* row = reader.GetRow(y);
        uint32_t inRow = 0;
        for (int32_t x = 0; x < reader.width; ++x) {
            const RGB c = In::load(row + ptrdiff_t(x) * In::bytes);
            const uint8_t* withGreen = table.byGreenAndOther[c.g];
            inRow += uint32_t((withGreen[c.r] | withGreen[c.b]) == 3);
        }
        count += inRow;
    }
    return count;
}

}  // namespace

REALpictureStruct* SaturationPicture(REALpictureStruct* picture, int32_t amount) {
    PictureReader reader;
    PictureWriter writer;
    if (!reader.GetPictureReader(picture)) return nullptr;
    if (!writer.NewPictureWriter(reader)) return nullptr;
    SaturationTable table;
    FillSaturationTable(table, amount);
    DispatchFormats(reader.pixelType, writer.pixelType,
                    [&](auto in, auto out) { SaturateRows<decltype(in), decltype(out)>(reader, writer, table); });
    REALpictureStruct* result = writer.RenderPictureWriter();
    reader.clear();
    return result;
}

// The share of colored pixels among all pixels, dark ones included. A picture without
// pixels has no colored share: 0.0. The pixel count is taken in 64 bits, so a picture
// of more than 2^31 pixels is measured against its true size.
double ColornessVQZ(REALpictureStruct* picture, int32_t threshold) {
    PictureReader reader;
    if (!reader.GetPictureReader(picture)) return 0.0;
    const int64_t pixels = int64_t(reader.width) * int64_t(reader.height);
    if (reader.width <= 0 || reader.height <= 0) return 0.0;
    ColorTable table;
    FillColorTable(table, threshold);
    uint64_t count = 0;
    DispatchFormat(reader.pixelType, [&](auto in) { count = CountColored<decltype(in)>(reader, table); });
    reader.clear();
    return double(count) / double(pixels);
}
