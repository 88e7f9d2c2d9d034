// The color rectangle mask: a black-and-white picture in which the bounding
// rectangle of every colored area (pixels whose red, green and blue are not all
// equal) is black and the rest white.
//
// Rectangles are found in reading order of their first seed cell and grown until no
// seeded cell lies directly beside any side (diagonal neighbours stay apart); the
// cells of a found rectangle stop being seeds. Two facts keep the work linear:
//  - after a rectangle is taken, every cell before its first seed is already clear
//    and clearing never seeds, so the scan resumes where it stopped instead of
//    starting over;
//  - the rectangle that growth reaches does not depend on the order in which the
//    sides are tried, so each side keeps the stretch of its neighbouring line that
//    was already found clear and only tests cells it has not seen; every cell is
//    tested about once per rectangle that ends up covering it.
#include <cstring>

#include "picture/editor.h"
#include "picture/pixel_loop.h"
#include "plugin/errors.h"
#include "plugin/operations.h"

namespace {

// One byte per cell with a clear frame one cell wide around the picture, so that
// every neighbour test can read without a bounds test and no rectangle leaves the
// picture. A cell is a seed (a colored pixel of the tested rectangle not yet in a
// rectangle) and/or covered by a rectangle already found.
enum : uint8_t { kSeed = 1, kCovered = 2 };

struct CellMap {
    uint8_t* cells = nullptr;
    size_t stride = 0;  // W + 2
    size_t rows = 0;    // H + 2

    // Map coordinates: picture pixel (x, y) is cell (x + 1, y + 1).
    uint8_t* at(int32_t mx, int32_t my) const { return cells + static_cast<size_t>(my) * stride + static_cast<size_t>(mx); }
    bool seed(int32_t mx, int32_t my) const { return (*at(mx, my) & kSeed) != 0; }
};

// The index of the first seed at or after `from`, or `end`. Eight cells at a time.
size_t NextSeed(const uint8_t* cells, size_t from, size_t end) {
    constexpr uint64_t kSeedBits = 0x0101010101010101ull * kSeed;
    while (from + 8 <= end) {
        uint64_t word;
        memcpy(&word, cells + from, sizeof word);
        if (word & kSeedBits) break;
        from += 8;
    }
    while (from < end && !(cells[from] & kSeed)) ++from;
    return from;
}

// The stretch lo..hi of a side's neighbouring line known to hold no seed (empty
// when lo > hi).
struct ClearStretch {
    int32_t lo = 1, hi = 0;
};

// Extends the clear stretch of a line to first..last; `seedAt(i)` tests cell i of
// the line. False as soon as a seed is met: the side must move out by one.
template <class SeedAt>
bool LineClear(ClearStretch& clear, int32_t first, int32_t last, SeedAt seedAt) {
    if (clear.lo > clear.hi) clear.lo = first, clear.hi = first - 1;
    while (clear.lo > first) {
        if (seedAt(clear.lo - 1)) return false;
        --clear.lo;
    }
    while (clear.hi < last) {
        if (seedAt(clear.hi + 1)) return false;
        ++clear.hi;
    }
    return true;
}

// Grows the rectangle that starts at the seed (mx, my) and marks it covered.
void TakeRectangle(CellMap& map, int32_t mx, int32_t my) {
    int32_t x1 = mx, x2 = mx, y1 = my, y2 = my;
    ClearStretch above, below, left, right;
    for (bool grew = true; grew;) {
        grew = false;
        if (!LineClear(above, x1, x2, [&](int32_t x) { return map.seed(x, y1 - 1); })) {
            --y1, above = ClearStretch{}, grew = true;
        }
        if (!LineClear(below, x1, x2, [&](int32_t x) { return map.seed(x, y2 + 1); })) {
            ++y2, below = ClearStretch{}, grew = true;
        }
        if (!LineClear(left, y1, y2, [&](int32_t y) { return map.seed(x1 - 1, y); })) {
            --x1, left = ClearStretch{}, grew = true;
        }
        if (!LineClear(right, y1, y2, [&](int32_t y) { return map.seed(x2 + 1, y); })) {
            ++x2, right = ClearStretch{}, grew = true;
        }
    }
    const size_t length = static_cast<size_t>(x2 - x1 + 1);
    for (int32_t y = y1; y <= y2; ++y) memset(map.at(x1, y), kCovered, length);
}

// Marks the colored pixels of `span` as seeds.
void Seed(PictureReader& reader, PixelSpan span, CellMap& map) {
    DispatchFormat(reader.pixelType, [&](auto format) {
        using F = decltype(format);
        const int32_t count = span.x1 - span.x0;
        for (int32_t y = span.y0; y < span.y1; ++y) {
            const uint8_t* source = reader.GetRow(y) + static_cast<ptrdiff_t>(span.x0) * F::bytes;
            uint8_t* cell = map.at(span.x0 + 1, y + 1);
            for (int32_t i = 0; i < count; ++i) {
                const RGB c = F::load(source + static_cast<ptrdiff_t>(i) * F::bytes);
                cell[i] = static_cast<uint8_t>((c.r != c.g) | (c.g != c.b));
            }
        }
    });
}

void FindRectangles(CellMap& map) {
    const size_t end = map.stride * map.rows;
    for (size_t i = NextSeed(map.cells, 0, end); i < end; i = NextSeed(map.cells, i + 1, end))
        TakeRectangle(map, static_cast<int32_t>(i % map.stride), static_cast<int32_t>(i / map.stride));
}

// Black where a rectangle covers the cell, white elsewhere, every pixel of the writer.
void Render(const CellMap& map, PictureWriter& writer, int32_t width, int32_t height) {
    DispatchFormat(writer.pixelType, [&](auto format) {
        using F = decltype(format);
        const RGB black{0, 0, 0}, white{255, 255, 255};
        for (int32_t y = 0; y < height; ++y) {
            uint8_t* target = writer.GetRow(y);
            const uint8_t* cell = map.at(1, y + 1);
            for (int32_t x = 0; x < width; ++x)
                F::store(target + static_cast<ptrdiff_t>(x) * F::bytes, (cell[x] & kCovered) ? black : white);
        }
    });
}

}  // namespace

REALpictureStruct* ExtractColorRectangleMaskVQZ(REALpictureStruct* picture, int32_t left, int32_t top, int32_t width,
                                                int32_t height) {
    PictureReader reader;
    if (!reader.GetPictureReader(picture)) return nullptr;
    const int32_t W = reader.width, H = reader.height;
    // The map size is formed in 64 bits; a size past what scratch memory takes
    // (2^31 - 1 bytes) fails the allocation and gives nil, as any failed one does.
    // Such a picture could not have a result anyway: a result side is at most 32767.
    CellMap map;
    map.stride = static_cast<size_t>(W) + 2;
    map.rows = static_cast<size_t>(H) + 2;
    map.cells = static_cast<uint8_t*>(AllocateClearMemory((static_cast<long long>(W) + 2) * (static_cast<long long>(H) + 2)));
    if (!map.cells) return nullptr;
    PictureWriter writer;
    if (!writer.NewPictureWriter(W, H)) {
        FreeMemoryNow(map.cells);
        return nullptr;
    }
    const PixelSpan span = ClipRectangle(left, top, width, height, W, H);
    if (!span.empty()) {
        Seed(reader, span, map);
        FindRectangles(map);
    }
    Render(map, writer, W, H);
    FreeMemoryNow(map.cells);
    return writer.RenderPictureWriter();
}

REALpictureStruct* ExtractColorRectangleMaskVQZ2(REALpictureStruct* picture) {
    return ExtractColorRectangleMaskVQZ(picture, 0, 0, -1, -1);
}
