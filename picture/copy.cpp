#include "picture/copy.h"

#include <cstring>

#include "plugin/host_api.h"

REALpictureStruct* ClonePicture(REALpictureStruct* source) {
    if (!source) return nullptr;
    const int32_t width = GetPictureWidth(source), height = GetPictureHeight(source);
    if (width < 1 || height < 1) return nullptr;
    REALpictureStruct* copy = REALNewPicture(width, height, 32);
    if (!copy) return nullptr;
    // Without a Graphics the copy is handed back undrawn.
    if (REALgraphicsStruct* graphics = REALGetPictureGraphics(copy)) {
        GraphicsDrawPicture(graphics, copy, source, 0, 0, width, height, 0, 0, width, height);
        REALUnlockObject(AsObject(graphics));
    }
    return copy;
}

bool GraphicsDrawPicture(REALgraphicsStruct* graphics, REALpictureStruct* destination, REALpictureStruct* source,
                         int x, int y, int w, int h, int sx, int sy, int sw, int sh) {
    if (graphics && source) {
        using DrawPicture = void (*)(REALgraphicsStruct*, REALpictureStruct*, int32_t, int32_t, int32_t, int32_t,
                                     int32_t, int32_t, int32_t, int32_t);
        auto draw = reinterpret_cast<DrawPicture>(REALLoadObjectMethod(
            AsObject(graphics),
            "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
            "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)"));
        if (draw) {
            draw(graphics, source, x, y, w, h, sx, sy, sw, sh);
            return true;
        }
        // Older hosts also export a drawing entry point of their own, but its calling
        // convention is not known here, so the bitmap copy below is used on every host.
    }
    return OwnCopy(destination, source, x, y, w, h, sx, sy, sw, sh);
}

// Copies the rows of one console bitmap into another of the same size.
bool OwnCopy(REALpictureStruct* destination, REALpictureStruct* source, int x, int y, int w, int h, int sx, int sy,
             int sw, int sh) {
    if (!source || !destination || sw != w || sh != h || x != 0 || y != 0 || sx != 0 || sy != 0) return false;
    REALpictureDescription from = {}, to = {};
    if (!REALLockPictureDescriptionX(source, &from, kPictureTypeBitmap)) return false;
    bool copied = false;
    if (REALLockPictureDescriptionX(destination, &to, kPictureTypeBitmap)) {
        auto* a = static_cast<ConsoleBitmapRecord*>(from.pictureData);
        auto* b = static_cast<ConsoleBitmapRecord*>(to.pictureData);
        if (from.pictureType == kPictureTypeBitmap && to.pictureType == kPictureTypeBitmap && a && b &&
            a->width == b->width && a->height == b->height && a->format == 0 && b->format == 0 && a->rowTable &&
            b->rowTable && a->width >= 0 && a->width <= 0x1FFFFFFF) {
            copied = true;
            const size_t rowSize = static_cast<size_t>(a->width) * 4;
            for (int32_t row = 0; row < a->height; ++row) memcpy(b->rowTable[row], a->rowTable[row], rowSize);
        }
        REALUnlockPictureDescription(destination);
    }
    REALUnlockPictureDescription(source);
    REALPictureClearCache(destination);
    return copied;
}
