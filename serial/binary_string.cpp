// The stored picture format: a 40-byte big-endian header ("PPIC", total length,
// width, height, 32, data offset, 16 reserved bytes) and then the pixels as rows of
// red, green, blue bytes without padding.
#include <cstring>

#if defined(__linux__)
#include <sys/mman.h>
#endif

#include "picture/pixel_words.h"
#include "classes/byte_shuffle.h"
#include "picture/editor.h"
#include "picture/pixel_loop.h"
#include "plugin/errors.h"
#include "plugin/operations.h"
#include "plugin/strings.h"

namespace {

constexpr int32_t kHeaderSize = 40;
constexpr uint8_t kMagic[4] = {'P', 'P', 'I', 'C'};
constexpr int32_t kStoredDepth = 32;
enum : int32_t { kLengthAt = 4, kWidthAt = 8, kHeightAt = 12, kDepthAt = 16, kDataOffsetAt = 20 };

void PutBigEndian(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v >> 24);
    p[1] = static_cast<uint8_t>(v >> 16);
    p[2] = static_cast<uint8_t>(v >> 8);
    p[3] = static_cast<uint8_t>(v);
}

uint32_t GetBigEndian(const uint8_t* p) {
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | uint32_t(p[3]);
}

// Stored pixels are red, green, blue. The shuffles move four pixels at a time
// between that and a format's own layout, as the format's load and store place
// the channels.
template <class In>
shuffle::Control ToStoredShuffle() {
    shuffle::Control c{};
    for (int j = 0; j < 16; ++j) c.from[j] = -1;
    for (int p = 0; p < 4; ++p)
        for (int i = 0; i < In::bytes; ++i) {
            const int channel = pixel::ChannelReadFrom<In>(i);
            if (channel >= 0) c.from[3 * p + channel] = static_cast<int8_t>(In::bytes * p + i);
        }
    return c;
}

template <class Out>
shuffle::Control FromStoredShuffle() {
    shuffle::Control c{};
    for (int j = 0; j < 16; ++j) c.from[j] = -1;
    for (int p = 0; p < 4; ++p)
        for (int q = 0; q < Out::bytes; ++q) {
            const int channel = pixel::ChannelStoredAt<Out>(q);
            if (channel >= 0) c.from[Out::bytes * p + q] = static_cast<int8_t>(3 * p + channel);
        }
    c.fixed = Out::bytes == 4 ? pixel::FixedBits<Out>() : 0;
    return c;
}

// The string's bytes are written once from end to end into fresh memory; asking
// for huge pages where the system offers them on request makes that one page fault
// per 2 MB instead of one per 4 KB. Only whole huge pages inside the buffer are
// advised, and a refusal changes nothing.
void PreferHugePages(void* buffer, int64_t size) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    constexpr uintptr_t kHuge = uintptr_t(2) << 20;
    if (size < int64_t(4 * kHuge)) return;
    const uintptr_t begin = (reinterpret_cast<uintptr_t>(buffer) + kHuge - 1) & ~(kHuge - 1);
    const uintptr_t end = (reinterpret_cast<uintptr_t>(buffer) + static_cast<uintptr_t>(size)) & ~(kHuge - 1);
    if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#endif
}

template <class In>
void StoreRows(PictureReader& reader, uint8_t* out) {
    const int32_t width = reader.width;
    const shuffle::Control control = ToStoredShuffle<In>();
    const int32_t shuffled = shuffle::Available() ? shuffle::GroupedPixels(width, width) : 0;
    for (int32_t y = 0; y < reader.height; ++y) {
        const uint8_t* source = reader.row;
        shuffle::Run(source, 4 * In::bytes, out, 12, shuffled / 4, control);
        for (ptrdiff_t x = shuffled; x < width; ++x) {
            const RGB c = In::load(source + x * In::bytes);
            out[3 * x] = c.r;
            out[3 * x + 1] = c.g;
            out[3 * x + 2] = c.b;
        }
        out += 3 * static_cast<ptrdiff_t>(width);
        reader.AddPixelRow();
    }
}

template <class Out>
void LoadRows(const uint8_t* in, PictureWriter& writer) {
    const int32_t width = writer.width;
    const shuffle::Control control = FromStoredShuffle<Out>();
    const int32_t shuffled = shuffle::Available() ? shuffle::GroupedPixels(width, width) : 0;
    for (int32_t y = 0; y < writer.height; ++y) {
        uint8_t* target = writer.row;
        shuffle::Run(in, 12, target, 4 * Out::bytes, shuffled / 4, control);
        for (ptrdiff_t x = shuffled; x < width; ++x) Out::store(target + x * Out::bytes, RGB{in[3 * x], in[3 * x + 1], in[3 * x + 2]});
        in += 3 * static_cast<ptrdiff_t>(width);
        writer.AddPixelRow();
    }
}

}  // namespace

REALstringStruct* PicturetoBinaryString(REALpictureStruct* picture) {
    PictureReader reader;
    if (!reader.GetPictureReader(picture)) return nullptr;
    // The length field is a signed 32-bit number; a picture whose string would not
    // fit it has no stored form.
    const int64_t total = kHeaderSize + 3 * int64_t(reader.width) * int64_t(reader.height);
    if (total > INT32_MAX) return nullptr;
    auto* buffer = static_cast<uint8_t*>(AllocateClearMemory(total));
    if (!buffer) return nullptr;
    PreferHugePages(buffer, total);

    memcpy(buffer, kMagic, sizeof kMagic);
    PutBigEndian(buffer + kLengthAt, static_cast<uint32_t>(total));
    PutBigEndian(buffer + kWidthAt, static_cast<uint32_t>(reader.width));
    PutBigEndian(buffer + kHeightAt, static_cast<uint32_t>(reader.height));
    PutBigEndian(buffer + kDepthAt, kStoredDepth);
    PutBigEndian(buffer + kDataOffsetAt, kHeaderSize);  // the reserved bytes stay zero
    DispatchFormat(reader.pixelType, [&](auto in) { StoreRows<decltype(in)>(reader, buffer + kHeaderSize); });

    REALstringStruct* result = REALBuildUnicodeString(buffer, total, kEncodingAsStored);
    FreeMemoryNow(buffer);
    return result;
}

REALpictureStruct* BinaryStringtoPicture(REALstringStruct* data) {
    rbData bytes(data);  // a nil string exposes nothing: length 0
    const int64_t length = bytes.data ? bytes.size : 0;
    if (length < 8 || memcmp(bytes.data, kMagic, sizeof kMagic) != 0) return nullptr;
    if (GetBigEndian(bytes.data + kLengthAt) != static_cast<uint64_t>(length)) return nullptr;

    // Nothing is read past the string's end: a header cut short, or a data offset
    // and size that reach beyond the string, give nil like any other invalid string.
    if (length < kDataOffsetAt + 4) return nullptr;
    const int32_t width = static_cast<int32_t>(GetBigEndian(bytes.data + kWidthAt));
    const int32_t height = static_cast<int32_t>(GetBigEndian(bytes.data + kHeightAt));
    const uint32_t dataOffset = GetBigEndian(bytes.data + kDataOffsetAt);
    if (width < 1 || height < 1 || width > kMaxWriterSize || height > kMaxWriterSize) return nullptr;
    if (uint64_t(dataOffset) + 3 * uint64_t(width) * uint64_t(height) > uint64_t(length)) return nullptr;

    PictureWriter writer;
    if (!writer.NewPictureWriter(width, height)) return nullptr;
    DispatchFormat(writer.pixelType, [&](auto out) { LoadRows<decltype(out)>(bytes.data + dataOffset, writer); });
    return writer.RenderPictureWriter();
}
