// The toning loop, over fixed pixel formats. Weights that fit 16 bits (the usual
// case: a weight below 32) go four pixels at a time through SSE2; the rest, and the
// pixels left over at a row's end, go one at a time with the same integer arithmetic.
#include "classes/sepia_kernel.h"

#include <algorithm>
#include <cstdlib>

#include "picture/pixel_words.h"
#include "classes/byte_shuffle.h"
#include "picture/pixel_loop.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// With weights of at most 2^21 steps, 3 x 255 x 2^21 stays below 2^31, and the gray
// stays within +-2^21; an offset beyond +-2^24 then decides the channel (0 or 255)
// whatever the gray, so holding it there changes nothing and keeps every sum in 32 bits.
constexpr int64_t kNarrowWeightLimit = int64_t(1) << 21;
constexpr int32_t kOffsetLimit = int32_t(1) << 24;

int32_t HeldOffset(int32_t offset) { return std::clamp(offset, -kOffsetLimit, kOffsetLimit); }

template <class Int>
uint8_t ChannelOf(Int gray, Int offset) {
    const Int v = gray + offset;
    return static_cast<uint8_t>(std::min<Int>(std::max<Int>(v, 0), 255));
}

// One pixel, the plain way.
template <class In, class Out, class Int>
inline void TonePixel(const uint8_t* source, uint8_t* target, const Int k[3], const Int o[3]) {
    const RGB c = In::load(source);
    const Int gray = (c.r * k[0] + c.g * k[1] + c.b * k[2]) / 1024;
    Out::store(target, RGB{ChannelOf(gray, o[0]), ChannelOf(gray, o[1]), ChannelOf(gray, o[2])});
}

template <class In, class Out, class Int>
void ToneRowsPlain(PictureReader& reader, PictureWriter& writer, FilterBlock block, const SepiaTone& tone) {
    const Int k[3] = {tone.weight[0], tone.weight[1], tone.weight[2]};
    const Int o[3] = {HeldOffset(tone.offset[0]), HeldOffset(tone.offset[1]), HeldOffset(tone.offset[2])};
    for (int32_t y = 0; y < block.rows; ++y) {
        for (int32_t i = 0; i < block.columns; ++i)
            TonePixel<In, Out, Int>(reader.row + static_cast<ptrdiff_t>(i) * In::bytes,
                                    writer.row + static_cast<ptrdiff_t>(i) * Out::bytes, k, o);
        reader.AddPixelRow();
        writer.AddPixelRow();
    }
}

#if defined(__SSE2__)

// The four-pixel step. Input pixels are 4-byte words whose bytes are weighted by
// the 16-bit lanes of `weights` (0 for the byte that is no channel); the gray of
// each pixel is added to the per-byte `offsets` of the output word, and the packing
// instructions saturate to 0..255, which is exactly the clamp.
struct SepiaLanes {
    __m128i weights;     // eight 16-bit lanes: the input word's four bytes, twice
    __m128i offsets;     // four 32-bit lanes: the output word's four bytes
    __m128i colorBits;   // the output bytes that hold color
    __m128i fixedBits;   // the output's mask byte
};

inline __m128i ToneFour(__m128i pixels, const SepiaLanes& lanes) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_madd_epi16(_mm_unpacklo_epi8(pixels, zero), lanes.weights);
    const __m128i high = _mm_madd_epi16(_mm_unpackhi_epi8(pixels, zero), lanes.weights);
    const __m128 a = _mm_castsi128_ps(low), b = _mm_castsi128_ps(high);
    const __m128i sum = _mm_add_epi32(_mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0))),
                                      _mm_castps_si128(_mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1))));
    // Division by 1024 truncating toward zero: negative sums get 1023 added first.
    const __m128i bias = _mm_srli_epi32(_mm_srai_epi32(sum, 31), 22);
    const __m128i gray = _mm_srai_epi32(_mm_add_epi32(sum, bias), 10);
    const __m128i g01 = _mm_unpacklo_epi32(gray, gray), g23 = _mm_unpackhi_epi32(gray, gray);
    const __m128i p0 = _mm_add_epi32(_mm_unpacklo_epi32(g01, g01), lanes.offsets);
    const __m128i p1 = _mm_add_epi32(_mm_unpackhi_epi32(g01, g01), lanes.offsets);
    const __m128i p2 = _mm_add_epi32(_mm_unpacklo_epi32(g23, g23), lanes.offsets);
    const __m128i p3 = _mm_add_epi32(_mm_unpackhi_epi32(g23, g23), lanes.offsets);
    const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(p0, p1), _mm_packs_epi32(p2, p3));
    return _mm_or_si128(_mm_and_si128(bytes, lanes.colorBits), lanes.fixedBits);
}

// `channelAt(i)` names the channel (0..2, or -1) in byte i of an input word.
template <class Out, class ChannelAt>
SepiaLanes LanesFor(const SepiaTone& tone, ChannelAt channelAt) {
    int16_t w[8];
    int32_t o[4];
    for (int i = 0; i < 4; ++i) {
        const int in = channelAt(i);
        w[i] = w[i + 4] = static_cast<int16_t>(in < 0 ? 0 : tone.weight[in]);
        const int out = pixel::ChannelStoredAt<Out>(i);
        o[i] = out < 0 ? 0 : HeldOffset(tone.offset[out]);
    }
    SepiaLanes lanes;
    lanes.weights = _mm_setr_epi16(w[0], w[1], w[2], w[3], w[4], w[5], w[6], w[7]);
    lanes.offsets = _mm_setr_epi32(o[0], o[1], o[2], o[3]);
    lanes.colorBits = _mm_set1_epi32(static_cast<int32_t>(pixel::ColorBits<Out>()));
    lanes.fixedBits = _mm_set1_epi32(static_cast<int32_t>(pixel::FixedBits<Out>()));
    return lanes;
}

// 3-byte input is first widened, a chunk at a time, to words of red, green, blue
// and an unused byte (with one byte shuffle per four pixels where the processor has
// it and the row leaves room for its 16-byte reads).
constexpr int32_t kChunk = 256;

template <class In>
shuffle::Control WideningShuffle() {
    shuffle::Control c{};
    for (int p = 0; p < 4; ++p)
        for (int q = 0; q < 4; ++q) {
            c.from[4 * p + q] = -1;
            for (int i = 0; i < In::bytes && q < 3; ++i)
                if (pixel::ChannelReadFrom<In>(i) == q) c.from[4 * p + q] = static_cast<int8_t>(In::bytes * p + i);
        }
    return c;
}

template <class In>
void Widen(const uint8_t* source, int32_t count, int32_t shuffled, const shuffle::Control& control, uint8_t* words) {
    shuffle::Run(source, 4 * In::bytes, words, 16, shuffled / 4, control);
    for (int32_t i = shuffled; i < count; ++i) {
        const RGB c = In::load(source + static_cast<ptrdiff_t>(i) * In::bytes);
        words[4 * i] = c.r;
        words[4 * i + 1] = c.g;
        words[4 * i + 2] = c.b;
        words[4 * i + 3] = 0;
    }
}

template <class In, class Out>
void ToneRowsWide(PictureReader& reader, PictureWriter& writer, FilterBlock block, const SepiaTone& tone) {
    const int32_t k[3] = {tone.weight[0], tone.weight[1], tone.weight[2]};
    const int32_t o[3] = {HeldOffset(tone.offset[0]), HeldOffset(tone.offset[1]), HeldOffset(tone.offset[2])};
    const int32_t fours = block.columns & ~3;
    if constexpr (In::bytes == 4) {
        const SepiaLanes lanes = LanesFor<Out>(tone, [](int i) { return pixel::ChannelReadFrom<In>(i); });
        for (int32_t y = 0; y < block.rows; ++y) {
            const uint8_t* source = reader.row;
            uint8_t* target = writer.row;
            for (int32_t i = 0; i < fours; i += 4)
                _mm_storeu_si128(reinterpret_cast<__m128i*>(target + 4 * i),
                                 ToneFour(_mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 4 * i)), lanes));
            for (int32_t i = fours; i < block.columns; ++i)
                TonePixel<In, Out, int32_t>(source + 4 * i, target + 4 * i, k, o);
            reader.AddPixelRow();
            writer.AddPixelRow();
        }
    } else {
        const SepiaLanes lanes = LanesFor<Out>(tone, [](int i) { return i < 3 ? i : -1; });
        const shuffle::Control widening = WideningShuffle<In>();
        const int32_t shuffled = shuffle::Available() ? shuffle::GroupedPixels(fours, reader.width) : 0;
        alignas(16) uint8_t words[4 * kChunk];
        for (int32_t y = 0; y < block.rows; ++y) {
            const uint8_t* source = reader.row;
            uint8_t* target = writer.row;
            for (int32_t start = 0; start < fours; start += kChunk) {
                const int32_t count = std::min(kChunk, fours - start);
                const int32_t chunkShuffled = std::clamp(shuffled - start, 0, count);
                Widen<In>(source + static_cast<ptrdiff_t>(start) * In::bytes, count, chunkShuffled, widening, words);
                for (int32_t i = 0; i < count; i += 4)
                    _mm_storeu_si128(reinterpret_cast<__m128i*>(target + 4 * static_cast<ptrdiff_t>(start + i)),
                                     ToneFour(_mm_load_si128(reinterpret_cast<const __m128i*>(words + 4 * i)), lanes));
            }
            for (int32_t i = fours; i < block.columns; ++i)
                TonePixel<In, Out, int32_t>(source + static_cast<ptrdiff_t>(i) * In::bytes, target + 4 * i, k, o);
            reader.AddPixelRow();
            writer.AddPixelRow();
        }
    }
}

#endif

bool WeightsFit(const SepiaTone& tone, int64_t limit) {
    return std::all_of(tone.weight, tone.weight + 3, [limit](int32_t k) { return std::llabs(k) <= limit; });
}

}  // namespace

void ToneSepiaBlock(PictureReader& reader, PictureWriter& writer, FilterBlock block, const SepiaTone& tone) {
    if (block.rows < 1 || block.columns < 1) return;
    DispatchFormats(reader.pixelType, writer.pixelType, [&](auto in, auto out) {
        using In = decltype(in);
        using Out = decltype(out);
#if defined(__SSE2__)
        if constexpr (Out::bytes == 4) {
            if (WeightsFit(tone, INT16_MAX)) return ToneRowsWide<In, Out>(reader, writer, block, tone);
        }
#endif
        if (WeightsFit(tone, kNarrowWeightLimit))
            ToneRowsPlain<In, Out, int32_t>(reader, writer, block, tone);
        else
            ToneRowsPlain<In, Out, int64_t>(reader, writer, block, tone);
    });
}
