// Runs an operation written once over pixel formats: the pair (reader code, writer
// code) is switched on once per call, and the body is instantiated for each of the
// nine pairs so that the inner loops see fixed byte layouts.
#pragma once

#include <algorithm>
#include <cstdint>

#include "picture/editor.h"
#include "picture/pixel_formats.h"

// Calls body(Format{}) for one pixel format code; false for an unknown code.
template <class Body>
bool DispatchFormat(int32_t code, Body&& body) {
    switch (code) {
        case kPixelType32ARGB: body(Code13{}); return true;
        case kPixelType24RGB: body(Code12{}); return true;
        case kPixelType32BGRA: body(Code8{}); return true;
        default: return false;
    }
}

// Calls body(In{}, Out{}) for a reader and a writer format code.
template <class Body>
bool DispatchFormats(int32_t readerCode, int32_t writerCode, Body&& body) {
    return DispatchFormat(readerCode, [&](auto in) {
        DispatchFormat(writerCode, [&](auto out) { body(in, out); });
    });
}

// A clipped rectangle: columns x0..x1-1 of rows y0..y1-1 (empty when x0 >= x1 or y0 >= y1).
struct PixelSpan {
    int32_t x0, y0, x1, y1;
    bool empty() const { return x0 >= x1 || y0 >= y1; }
};

// Intersects the rectangle (left, top, width, height) with a W x H picture. The far
// edges come from the unclipped left and top, in 64 bits so that nothing overflows.
inline PixelSpan ClipSpan(int32_t left, int32_t top, int32_t width, int32_t height, int32_t W, int32_t H) {
    PixelSpan s;
    s.x0 = std::max<int32_t>(left, 0);
    s.y0 = std::max<int32_t>(top, 0);
    s.x1 = static_cast<int32_t>(std::min<int64_t>(int64_t(left) + width, W));
    s.y1 = static_cast<int32_t>(std::min<int64_t>(int64_t(top) + height, H));
    return s;
}

// The rectangle rule of most methods: a negative width or height stands for the picture's.
inline PixelSpan ClipRectangle(int32_t left, int32_t top, int32_t width, int32_t height, int32_t W, int32_t H) {
    return ClipSpan(left, top, width < 0 ? W : width, height < 0 ? H : height, W, H);
}

inline PixelSpan WholePicture(int32_t W, int32_t H) { return PixelSpan{0, 0, W, H}; }

// Maps `count` pixels of one row. The rows belong to different pictures, or are the
// very same row (a picture mapped into itself): either way no pixel is read after
// another position was written, which lets the compiler vectorize the loop.
template <class In, class Out, class Map>
inline void MapRow(const uint8_t* __restrict source, uint8_t* __restrict target, int32_t count, Map& map) {
    for (int32_t i = 0; i < count; ++i) Out::store(target + i * Out::bytes, map(In::load(source + i * In::bytes)));
}

// Maps each pixel of `span` from the reader into the same place of the writer:
// map(RGB) -> RGB, a function object (a plain function pointer would not be
// inlined into the loop). Pixels outside the span are not written. The span must lie inside
// both pictures.
template <class Map>
void MapPixels(PictureReader& reader, PictureWriter& writer, PixelSpan span, Map map) {
    // An empty span writes nothing, and passing over rows changes nothing either.
    if (span.empty()) return;
    DispatchFormats(reader.pixelType, writer.pixelType, [&](auto in, auto out) {
        using In = decltype(in);
        using Out = decltype(out);
        const int32_t count = span.x1 - span.x0;
        for (int32_t y = span.y0; y < span.y1; ++y)
            MapRow<In, Out>(reader.GetRow(y) + static_cast<ptrdiff_t>(span.x0) * In::bytes,
                            writer.GetRow(y) + static_cast<ptrdiff_t>(span.x0) * Out::bytes, count, map);
    });
}

// Visits each pixel of `span` of one picture: visit(RGB). Stops early when visit
// returns false; returns false then.
template <class Visit>
bool VisitPixels(PictureEditor& picture, PixelSpan span, Visit visit) {
    bool complete = true;
    DispatchFormat(picture.pixelType, [&](auto format) {
        using F = decltype(format);
        for (int32_t y = span.y0; y < span.y1 && complete; ++y) {
            const uint8_t* source = picture.GetRow(y) + static_cast<ptrdiff_t>(span.x0) * F::bytes;
            const int32_t count = span.x1 - span.x0;
            for (int32_t i = 0; i < count; ++i) {
                if (!visit(F::load(source + i * F::bytes))) {
                    complete = false;
                    break;
                }
            }
        }
    });
    return complete;
}
