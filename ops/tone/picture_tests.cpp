// Whether every pixel of a picture, or of a rectangle of it, is black, white or gray.
// A test answers false at the first pixel that fails; the pixels are tested in short
// runs whose failures are gathered without branches, so that passing pictures are
// tested at full speed and a failing one stops within the run where it fails.
#include <cstdint>

#include "picture/pixel_words.h"
#include "picture/editor.h"
#include "picture/pixel_loop.h"
#include "plugin/operations.h"

namespace {

constexpr int32_t kRun = 64;  // pixels tested between two looks at the gathered failures

// failure(Channels) is non-zero for a pixel that fails the test.
template <class F, class Failure>
bool EveryPixelPasses(PictureReader& reader, PixelSpan span, Failure failure) {
    for (int32_t y = span.y0; y < span.y1; ++y) {
        const uint8_t* row = reader.GetRow(y);
        for (int32_t x = span.x0; x < span.x1;) {
            const int32_t end = span.x1 - x > kRun ? x + kRun : span.x1;
            uint32_t failed = 0;
            for (; x < end; ++x) failed |= failure(pixel::LoadChannels<F>(row + ptrdiff_t(x) * F::bytes));
            if (failed) return false;
        }
    }
    return true;
}

// Opens the picture, clips the rectangle (a negative width or height stands for the
// picture's own) and tests it. A picture that cannot be opened fails; an empty
// rectangle passes.
template <class Failure>
signed char TestRectangle(REALpictureStruct* picture, int32_t left, int32_t top, int32_t width, int32_t height,
                          Failure failure) {
    PictureReader reader;
    if (!reader.GetPictureReader(picture)) return 0;
    const PixelSpan span = ClipRectangle(left, top, width, height, reader.width, reader.height);
    if (span.empty()) return 1;
    bool passes = true;
    DispatchFormat(reader.pixelType, [&](auto format) {
        passes = EveryPixelPasses<decltype(format)>(reader, span, failure);
    });
    return passes ? 1 : 0;
}

}  // namespace

signed char isBlack(REALpictureStruct* picture, int32_t left, int32_t top, int32_t width, int32_t height) {
    return TestRectangle(picture, left, top, width, height, [](pixel::Channels c) { return c.r | c.g | c.b; });
}

signed char isBlack2(REALpictureStruct* picture) { return isBlack(picture, 0, 0, -1, -1); }

signed char isWhite(REALpictureStruct* picture, int32_t left, int32_t top, int32_t width, int32_t height) {
    return TestRectangle(picture, left, top, width, height, [](pixel::Channels c) { return (c.r & c.g & c.b) ^ 255u; });
}

signed char isWhite2(REALpictureStruct* picture) { return isWhite(picture, 0, 0, -1, -1); }

// The tolerance counts by its size (-5 is 5). Channels differ by at most 255, so any
// tolerance from 255 up accepts every pixel; it is capped there, which also keeps the
// size of the most negative integer from overflowing.
signed char isGray(REALpictureStruct* picture, int32_t tolerance, int32_t left, int32_t top, int32_t width,
                   int32_t height) {
    const int64_t size = tolerance < 0 ? -int64_t(tolerance) : int64_t(tolerance);
    const uint32_t t = static_cast<uint32_t>(size > 255 ? 255 : size);
    if (t == 0) {
        return TestRectangle(picture, left, top, width, height,
                             [](pixel::Channels c) { return uint32_t(c.r != c.g) | uint32_t(c.g != c.b); });
    }
    return TestRectangle(picture, left, top, width, height, [t](pixel::Channels c) {
        const uint32_t high = c.r > c.g ? (c.r > c.b ? c.r : c.b) : (c.g > c.b ? c.g : c.b);
        const uint32_t low = c.r < c.g ? (c.r < c.b ? c.r : c.b) : (c.g < c.b ? c.g : c.b);
        return uint32_t(high - low > t);
    });
}

signed char isGray2(REALpictureStruct* picture, int32_t tolerance) { return isGray(picture, tolerance, 0, 0, -1, -1); }
