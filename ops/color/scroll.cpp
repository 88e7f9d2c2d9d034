// Scrolling a picture in place. With wrap the rows (or the pixels of each row) are
// rotated by block moves in the picture's own buffer; without wrap QuickDraw's
// ScrollRect moves the pixels of a GWorld picture and paints the uncovered strip.
// The picture's mask, when asked for, is scrolled first by the same amount.
#include <climits>
#include <cstring>

#include "picture/editor.h"
#include "picture/quickdraw.h"
#include "plugin/errors.h"
#include "plugin/host_api.h"
#include "plugin/operations.h"

// The rotation by `delta` modulo `size` (size > 0), as the shortest equivalent shift:
// a result in about -size/2..size/2, so that a huge delta costs no more than a
// small one. `delta % size` cannot overflow for size >= 1, INT_MIN included.
static int32_t ReducedShift(int32_t delta, int32_t size) {
    const int32_t r = delta % size;
    const int32_t half = size / 2;
    int32_t s = r >= half ? r - size : r;
    if (s <= -half) s += size;
    return s;
}

// Rotates rows down by `shift` (up when negative) through the editor's row
// addresses, which serves both layouts: rows at a fixed stride from `base` and
// rows reached through a table. Only the pixels of each row move, never padding.
// Scratch holds the smaller part, |shift| rows. False when it cannot be allocated.
static bool RotateRows(PictureEditor& editor, int32_t shift) {
    const int32_t height = editor.height;
    const size_t rowLength = static_cast<size_t>(editor.width) * static_cast<size_t>(editor.bytesPerPixel);
    const int32_t count = shift > 0 ? shift : -shift;
    uint8_t* saved = static_cast<uint8_t*>(AllocateClearMemory(static_cast<long long>(count) * static_cast<long long>(rowLength)));
    if (!saved) return false;
    auto rowAt = [&](int32_t y) { return editor.GetRow(y); };
    auto savedRow = [&](int32_t i) { return saved + static_cast<size_t>(i) * rowLength; };
    if (shift > 0) {
        // The bottom rows come round to the top; every other row moves down.
        for (int32_t i = 0; i < count; ++i) memcpy(savedRow(i), rowAt(height - count + i), rowLength);
        for (int32_t y = height - 1; y >= count; --y) memcpy(rowAt(y), rowAt(y - count), rowLength);
        for (int32_t i = 0; i < count; ++i) memcpy(rowAt(i), savedRow(i), rowLength);
    } else {
        // The top rows go round to the bottom; every other row moves up.
        for (int32_t i = 0; i < count; ++i) memcpy(savedRow(i), rowAt(i), rowLength);
        for (int32_t y = 0; y < height - count; ++y) memcpy(rowAt(y), rowAt(y + count), rowLength);
        for (int32_t i = 0; i < count; ++i) memcpy(rowAt(height - count + i), savedRow(i), rowLength);
    }
    FreeMemoryNow(saved);
    return true;
}

// Rotates the pixels of every row right by `shift` pixels (left when negative),
// with one scratch buffer of the |shift| pixels that wrap, allocated once.
static bool RotateColumns(PictureEditor& editor, int32_t shift) {
    const size_t pixel = static_cast<size_t>(editor.bytesPerPixel);
    const size_t rowLength = static_cast<size_t>(editor.width) * pixel;
    const size_t wrapped = static_cast<size_t>(shift > 0 ? shift : -shift) * pixel;
    const size_t kept = rowLength - wrapped;
    uint8_t* saved = static_cast<uint8_t*>(AllocateClearMemory(static_cast<long long>(wrapped)));
    if (!saved) return false;
    for (int32_t y = 0; y < editor.height; ++y) {
        uint8_t* row = editor.GetRow(y);
        if (shift > 0) {
            memcpy(saved, row + kept, wrapped);
            memmove(row + wrapped, row, kept);
            memcpy(row, saved, wrapped);
        } else {
            memcpy(saved, row, wrapped);
            memmove(row, row + wrapped, kept);
            memcpy(row + kept, saved, wrapped);
        }
    }
    FreeMemoryNow(saved);
    return true;
}

enum class Axis { Vertical, Horizontal };

// The wrap path. A picture without rows (or columns) has nothing to rotate and is
// left as it is; that counts as done.
static bool ScrollWrapped(REALpictureStruct* picture, int32_t delta, Axis axis) {
    PictureEditor editor;
    if (!editor.GetPictureEditor(picture)) return false;
    const int32_t size = axis == Axis::Vertical ? editor.height : editor.width;
    if (size <= 0 || editor.width <= 0 || editor.height <= 0) return true;
    const int32_t shift = ReducedShift(delta, size);
    if (shift == 0) return true;
    return axis == Axis::Vertical ? RotateRows(editor, shift) : RotateColumns(editor, shift);
}

// QuickDraw coordinates are 16 bits wide: larger values wrap as they would when
// passed to ScrollRect.
static int16_t QuickDrawCoordinate(int32_t value) {
    return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint32_t>(value) & 0xFFFFu));
}

// The path without wrap: only a GWorld picture can be scrolled, by ScrollRect in
// its own port. The current port is saved and given back. False when the picture
// is not a GWorld (or its description cannot be had).
static bool ScrollInPort(REALpictureStruct* picture, int32_t dh, int32_t dv) {
    if (!picture) return false;
    REALpictureDescription description = {};
    // A host that does not fill the description has not locked it either.
    description.pictureType = INT32_MIN;
    REALLockPictureDescription(picture, &description);
    if (description.pictureType == INT32_MIN) return false;
    const bool gworld = description.pictureType == kPictureTypeGWorld && description.pictureData;
    if (gworld) {
        GWorldPtr savedPort = nullptr;
        GDHandle savedDevice = nullptr;
        GetGWorld(&savedPort, &savedDevice);
        SetGWorld(static_cast<GWorldPtr>(description.pictureData), nullptr);
        RgnHandle uncovered = NewRgn();
        Rect bounds;
        SetRect(&bounds, 0, 0, QuickDrawCoordinate(description.width), QuickDrawCoordinate(description.height));
        ScrollRect(&bounds, QuickDrawCoordinate(dh), QuickDrawCoordinate(dv), uncovered);
        DisposeRgn(uncovered);
        SetGWorld(savedPort, savedDevice);
    }
    REALUnlockPictureDescription(picture);
    return gworld;
}

// Scrolls the picture's mask, if it has one, by the same method; true when there
// is no mask or when the mask was scrolled.
template <class Scroll>
static bool ScrollMask(REALpictureStruct* picture, Scroll scroll) {
    REALpictureStruct* mask = REALGetPictureMask(picture, 0);
    if (!mask) return true;
    const bool scrolled = scroll(mask) != 0;
    REALUnlockObject(AsObject(mask));
    return scrolled;
}

signed char ScrollVerticalVQZ(REALpictureStruct* picture, int32_t delta, signed char wrap, signed char scrollmask) {
    if (scrollmask && picture) {
        if (!ScrollMask(picture, [&](REALpictureStruct* mask) { return ScrollVerticalVQZ(mask, delta, wrap, 0); }))
            return 0;
    }
    if (delta == 0) return 1;
    return (wrap ? ScrollWrapped(picture, delta, Axis::Vertical) : ScrollInPort(picture, 0, delta)) ? 1 : 0;
}

// Reports nothing: whatever could not be scrolled is left as it is, and the
// answer is true.
signed char ScrollHorizontalVQZ(REALpictureStruct* picture, int32_t delta, signed char wrap, signed char scrollmask) {
    if (scrollmask && picture)
        ScrollMask(picture, [&](REALpictureStruct* mask) { return ScrollHorizontalVQZ(mask, delta, wrap, 0); });
    if (delta == 0) return 1;
    if (wrap)
        ScrollWrapped(picture, delta, Axis::Horizontal);
    else
        ScrollInPort(picture, delta, 0);
    return 1;
}

signed char ScrollVQZ(REALpictureStruct* picture, int32_t deltaX, int32_t deltaY, signed char wrap,
                      signed char scrollmask) {
    ScrollHorizontalVQZ(picture, deltaX, wrap, scrollmask);
    return ScrollVerticalVQZ(picture, deltaY, wrap, scrollmask);
}
