// The toning loop, over fixed pixel formats.
#include "classes/sepia_kernel.h"

#include <algorithm>
#include <cstdlib>

#include "picture/pixel_loop.h"

namespace {

// With weights of at most 2^21 steps, 3 x 255 x 2^21 stays below 2^31, and the gray
// stays within +-2^21; an offset beyond +-2^24 then decides the channel (0 or 255)
// whatever the gray, so holding it there changes nothing and keeps every sum in 32 bits.
constexpr int64_t kNarrowWeightLimit = int64_t(1) << 21;
constexpr int32_t kOffsetLimit = int32_t(1) << 24;

template <class Int>
uint8_t ChannelOf(Int gray, Int offset) {
    const Int v = gray + offset;
    return static_cast<uint8_t>(std::min<Int>(std::max<Int>(v, 0), 255));
}

template <class In, class Out, class Int>
void ToneRows(PictureReader& reader, PictureWriter& writer, FilterBlock block, const SepiaTone& tone) {
    const Int kR = tone.weight[0], kG = tone.weight[1], kB = tone.weight[2];
    const Int oR = std::clamp(tone.offset[0], -kOffsetLimit, kOffsetLimit);
    const Int oG = std::clamp(tone.offset[1], -kOffsetLimit, kOffsetLimit);
    const Int oB = std::clamp(tone.offset[2], -kOffsetLimit, kOffsetLimit);
    for (int32_t y = 0; y < block.rows; ++y) {
        const uint8_t* source = reader.row;
        uint8_t* target = writer.row;
        for (int32_t i = 0; i < block.columns; ++i) {
            const RGB c = In::load(source + static_cast<ptrdiff_t>(i) * In::bytes);
            const Int gray = (c.r * kR + c.g * kG + c.b * kB) / 1024;
            Out::store(target + static_cast<ptrdiff_t>(i) * Out::bytes,
                       RGB{ChannelOf(gray, oR), ChannelOf(gray, oG), ChannelOf(gray, oB)});
        }
        reader.AddPixelRow();
        writer.AddPixelRow();
    }
}

}  // namespace

void ToneSepiaBlock(PictureReader& reader, PictureWriter& writer, FilterBlock block, const SepiaTone& tone) {
    const bool narrow = std::all_of(tone.weight, tone.weight + 3, [](int32_t k) {
        return std::llabs(static_cast<long long>(k)) <= kNarrowWeightLimit;
    });
    DispatchFormats(reader.pixelType, writer.pixelType, [&](auto in, auto out) {
        using In = decltype(in);
        using Out = decltype(out);
        if (narrow)
            ToneRows<In, Out, int32_t>(reader, writer, block, tone);
        else
            ToneRows<In, Out, int64_t>(reader, writer, block, tone);
    });
}
