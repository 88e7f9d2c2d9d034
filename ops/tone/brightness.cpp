// Brightness, contrast and custom linear maps. Every channel goes through an affine
// function of its own 8-bit value, so each call evaluates the function once for each
// of the 256 values of each channel, in double precision exactly as written below,
// and then maps the pixels through the three tables.
#include <cstdint>

#include "picture/pixel_words.h"
#include "picture/editor.h"
#include "picture/pixel_loop.h"
#include "plugin/errors.h"
#include "plugin/operations.h"

namespace {

struct ChannelTables {
    uint8_t red[256];
    uint8_t green[256];
    uint8_t blue[256];
};

// Truncation toward zero to a 32-bit integer. Values beyond the 32-bit range saturate
// at its limits and NaN gives 0, so that no parameter (huge, infinite or NaN) reaches
// an undefined conversion.
int32_t TruncateToInt32(double y) {
    if (!(y == y)) return 0;
    if (y >= 2147483648.0) return INT32_MAX;
    if (y <= -2147483649.0) return INT32_MIN;
    return static_cast<int32_t>(y);
}

uint8_t ClampedChannel(double y) {
    const int32_t v = TruncateToInt32(y);
    return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
}

// Linear brightness alone does not clamp: it keeps the low 8 bits.
uint8_t WrappedChannel(double y) { return static_cast<uint8_t>(static_cast<uint32_t>(TruncateToInt32(y)) & 255u); }

// Linear brightness squeezes 0..255 towards black (b < 0) or towards white (b >= 0,
// and NaN, which is not below 0).
struct LinearScale {
    double scale, offset;
};
LinearScale LinearBrightness(double b) {
    if (b < 0) return LinearScale{(255.0 + b) / 255.0, 0.0};
    return LinearScale{(255.0 - b) / 255.0, b};
}

// Fills one channel's table: table[x] = channel(transfer(x)).
template <class Transfer, class Channel>
void FillTable(uint8_t* table, Transfer transfer, Channel channel) {
    for (int x = 0; x < 256; ++x) table[x] = channel(transfer(x));
}

// ---------------------------------------------------------------- the pixel pass

// Output words for each channel value, the channel already at its place in the word.
struct WordTables {
    uint32_t red[256], green[256], blue[256];
};

template <class Out>
void WidenTables(const ChannelTables& t, WordTables& w) {
    using W = pixel::Word<Out>;
    for (int v = 0; v < 256; ++v) {
        w.red[v] = uint32_t(t.red[v]) << W::redShift();
        w.green[v] = uint32_t(t.green[v]) << W::greenShift();
        w.blue[v] = uint32_t(t.blue[v]) << W::blueShift();
    }
}

// From this many pixels on, a 4-byte reader also gets a table of 65536 words indexed
// by the half of its pixel word that holds two channels, which saves one look-up per
// pixel; building it costs about as much as mapping 30000 pixels.
constexpr int64_t kPairTablePixels = int64_t(1) << 18;

// Where the two channels of a 4-byte pixel word lie that share one 16-bit half.
template <class In>
struct PairHalf {
    using I = pixel::Word<In>;
    static bool low(int shift) { return shift < 16; }
    static int shift() {
        return int(low(I::redShift())) + int(low(I::greenShift())) + int(low(I::blueShift())) >= 2 ? 0 : 16;
    }
    static bool holds(int channelShift) { return low(channelShift) == (shift() == 0); }
    static bool red() { return holds(I::redShift()); }
    static bool green() { return holds(I::greenShift()); }
    static bool blue() { return holds(I::blueShift()); }
};

template <class In>
void FillPairTable(const WordTables& w, uint32_t* pairs) {
    using I = pixel::Word<In>;
    using H = PairHalf<In>;
    for (uint32_t half = 0; half < 65536; ++half) {
        const uint32_t word = half << H::shift();
        pairs[half] = (H::red() ? w.red[I::red(word)] : 0) | (H::green() ? w.green[I::green(word)] : 0) |
                      (H::blue() ? w.blue[I::blue(word)] : 0);
    }
}

// Maps every row of a 4-byte reader into a 4-byte writer, two pixels per step.
template <class In, class Out, class Pixel>
PIXEL_SCALAR_LOOP void MapWordRows(PictureReader& reader, PictureWriter& writer, Pixel pixel) {
    using I = pixel::Word<In>;
    using W = pixel::Word<Out>;
    const int32_t width = reader.width;
    for (int32_t y = 0; y < reader.height; ++y) {
        const uint8_t* source = reader.row;
        uint8_t* target = writer.row;
        int32_t x = 0;
        for (; x + 1 < width; x += 2) {
            const uint32_t a = I::load(source + ptrdiff_t(x) * 4), b = I::load(source + ptrdiff_t(x) * 4 + 4);
            W::store(target + ptrdiff_t(x) * 4, pixel(a));
            W::store(target + ptrdiff_t(x) * 4 + 4, pixel(b));
        }
        if (x < width) W::store(target + ptrdiff_t(x) * 4, pixel(I::load(source + ptrdiff_t(x) * 4)));
        writer.AddPixelRow();
        reader.AddPixelRow();
    }
}

// Any other pair of formats (3-byte pixels on either side), through load and store.
template <class In, class Out>
PIXEL_SCALAR_LOOP void MapPixelRows(PictureReader& reader, PictureWriter& writer, const ChannelTables& t) {
    for (int32_t y = 0; y < reader.height; ++y) {
        const uint8_t* source = reader.row;
        uint8_t* target = writer.row;
        for (int32_t x = 0; x < reader.width; ++x) {
            const RGB c = In::load(source + ptrdiff_t(x) * In::bytes);
            Out::store(target + ptrdiff_t(x) * Out::bytes, RGB{t.red[c.r], t.green[c.g], t.blue[c.b]});
        }
        writer.AddPixelRow();
        reader.AddPixelRow();
    }
}

template <class In, class Out>
void MapRows(PictureReader& reader, PictureWriter& writer, const ChannelTables& t) {
    if constexpr (In::bytes == 4 && Out::bytes == 4) {
        using I = pixel::Word<In>;
        using H = PairHalf<In>;
        WordTables w;
        WidenTables<Out>(t, w);
        const uint32_t fixed = pixel::Word<Out>::fixedBits();
        uint32_t* pairs = nullptr;
        if (int64_t(reader.width) * reader.height >= kPairTablePixels)
            pairs = static_cast<uint32_t*>(AllocateClearMemory(65536 * sizeof(uint32_t)));
        if (pairs) {
            // Without the memory the plain tables below give the same result.
            FillPairTable<In>(w, pairs);
            MapWordRows<In, Out>(reader, writer, [fixed, pairs, &w](uint32_t p) {
                return fixed | pairs[(p >> H::shift()) & 0xFFFFu] | (H::red() ? 0 : w.red[I::red(p)]) |
                       (H::green() ? 0 : w.green[I::green(p)]) | (H::blue() ? 0 : w.blue[I::blue(p)]);
            });
            FreeMemoryNow(pairs);
        } else {
            MapWordRows<In, Out>(reader, writer, [fixed, &w](uint32_t p) {
                return fixed | w.red[I::red(p)] | w.green[I::green(p)] | w.blue[I::blue(p)];
            });
        }
    } else {
        MapPixelRows<In, Out>(reader, writer, t);
    }
}

REALpictureStruct* MapPicture(REALpictureStruct* picture, const ChannelTables& tables) {
    PictureReader reader;
    PictureWriter writer;
    if (!reader.GetPictureReader(picture)) return nullptr;
    if (!writer.NewPictureWriter(reader)) return nullptr;
    DispatchFormats(reader.pixelType, writer.pixelType,
                    [&](auto in, auto out) { MapRows<decltype(in), decltype(out)>(reader, writer, tables); });
    REALpictureStruct* result = writer.RenderPictureWriter();
    reader.clear();
    return result;
}

// Builds the three tables from one transfer function per channel and maps the picture.
template <class Make>
REALpictureStruct* MapEachChannel(REALpictureStruct* picture, Make make) {
    ChannelTables tables;
    make(tables.red, 0);
    make(tables.green, 1);
    make(tables.blue, 2);
    return MapPicture(picture, tables);
}

}  // namespace

// ---------------------------------------------------------------- linear brightness

REALpictureStruct* LinBrightnessPicture3(REALpictureStruct* picture, double red, double green, double blue) {
    const double b[3] = {red, green, blue};
    return MapEachChannel(picture, [&](uint8_t* table, int c) {
        const LinearScale l = LinearBrightness(b[c]);
        FillTable(table, [&](int x) { return (double(x) * l.scale) + l.offset; }, WrappedChannel);
    });
}

REALpictureStruct* LinBrightnessPicture1(REALpictureStruct* picture, double brightness) {
    return LinBrightnessPicture3(picture, brightness, brightness, brightness);
}

// ---------------------------------------------------------------- absolute brightness

REALpictureStruct* AbsBrightnessPicture3(REALpictureStruct* picture, double red, double green, double blue) {
    const double b[3] = {red, green, blue};
    return MapEachChannel(picture, [&](uint8_t* table, int c) {
        FillTable(table, [&](int x) { return double(x) + b[c]; }, ClampedChannel);
    });
}

REALpictureStruct* AbsBrightnessPicture1(REALpictureStruct* picture, double brightness) {
    return AbsBrightnessPicture3(picture, brightness, brightness, brightness);
}

// ---------------------------------------------------------------- contrast
// The pivot is 127; x - 127 is formed in integers before it meets the double gain.

REALpictureStruct* ContrastPicture3(REALpictureStruct* picture, double red, double green, double blue) {
    const double k[3] = {red, green, blue};
    return MapEachChannel(picture, [&](uint8_t* table, int c) {
        const double gain = k[c] + 1.0;
        FillTable(table, [&](int x) { return (double(x - 127) * gain) + 127.0; }, ClampedChannel);
    });
}

REALpictureStruct* ContrastPicture1(REALpictureStruct* picture, double contrast) {
    return ContrastPicture3(picture, contrast, contrast, contrast);
}

REALpictureStruct* ContrastLinBrightnessPicture3(REALpictureStruct* picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue) {
    const double k[3] = {contrastRed, contrastGreen, contrastBlue};
    const double b[3] = {brightnessRed, brightnessGreen, brightnessBlue};
    return MapEachChannel(picture, [&](uint8_t* table, int c) {
        const double gain = k[c] + 1.0;
        const LinearScale l = LinearBrightness(b[c]);
        FillTable(table, [&](int x) { return ((((double(x - 127) * gain) + 127.0) * l.scale) + l.offset); },
                  ClampedChannel);
    });
}

REALpictureStruct* ContrastLinBrightnessPicture1(REALpictureStruct* picture, double contrast, double brightness) {
    return ContrastLinBrightnessPicture3(picture, contrast, contrast, contrast, brightness, brightness, brightness);
}

REALpictureStruct* ContrastAbsBrightnessPicture3(REALpictureStruct* picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue) {
    const double k[3] = {contrastRed, contrastGreen, contrastBlue};
    const double b[3] = {brightnessRed, brightnessGreen, brightnessBlue};
    return MapEachChannel(picture, [&](uint8_t* table, int c) {
        const double gain = k[c] + 1.0;
        FillTable(table, [&](int x) { return ((double(x - 127) * gain) + 127.0) + b[c]; }, ClampedChannel);
    });
}

REALpictureStruct* ContrastAbsBrightnessPicture1(REALpictureStruct* picture, double contrast, double brightness) {
    return ContrastAbsBrightnessPicture3(picture, contrast, contrast, contrast, brightness, brightness, brightness);
}

// ---------------------------------------------------------------- custom map

REALpictureStruct* TransformPicture(REALpictureStruct* picture, double a, double b) {
    return MapEachChannel(picture, [&](uint8_t* table, int) {
        FillTable(table, [&](int x) { return (double(x) * a) + b; }, ClampedChannel);
    });
}
