#include "picture/channel_tables.h"

#include "picture/pixel_loop.h"
#include "picture/pixel_words.h"
#include "plugin/errors.h"

namespace {

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

}  // namespace

void MapThroughTables(PictureReader& reader, PictureWriter& writer, const ChannelTables& tables) {
    DispatchFormats(reader.pixelType, writer.pixelType,
                    [&](auto in, auto out) { MapRows<decltype(in), decltype(out)>(reader, writer, tables); });
}
