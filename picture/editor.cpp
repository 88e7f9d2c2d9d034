#include "picture/editor.h"

#include "picture/copy.h"
#include "picture/quickdraw.h"
#include "plugin/host_api.h"

uint8_t IsConsole = 0;
uint8_t IsDesktop = 0;

// Marks a description that the host has not filled in.
constexpr int32_t kUnfilledDescription = INT32_MIN;

PictureEditor::~PictureEditor() { clear(); }

void PictureEditor::clear() {
    if (pixMap) {
        UnlockPixels(pixMap);
        pixMap = nullptr;
    }
    if (descriptionLocked) {
        if (picture) REALUnlockPictureDescription(picture);
        descriptionLocked = 0;
    }
    if (clearCacheOnRelease && picture) REALPictureClearCache(picture);
    if (picture) {
        REALUnlockObject(AsObject(picture));
        picture = nullptr;
    }
    rowBytes = width = height = bytesPerPixel = pixelType = rowIndex = 0;
    row = base = nullptr;
    rowTable = nullptr;
    description = REALpictureDescription{};
    clearCacheOnRelease = 0;
}

static void DetectApplicationKind() {
    if (IsConsole || IsDesktop) return;
    bool desktop = REALGetClassRef("Application") != nullptr;
    bool web = REALGetClassRef("WebApplication") != nullptr;
    bool console = REALGetClassRef("ConsoleApplication") != nullptr;
    if (desktop)
        IsDesktop = 1;
    else if (console || web)
        IsConsole = 1;
}

bool PictureEditor::GetPictureEditor(REALpictureStruct* pic, signed char read, signed char write) {
    return Open(pic, read, write, 0);
}

bool PictureEditor::Open(REALpictureStruct* pic, signed char read, signed char write, int copyDepth) {
    clear();
    if (!pic) return false;
    clearCacheOnRelease = write ? 1 : 0;
    DetectApplicationKind();
    if (!IsConsole) {
        description = REALpictureDescription{};
        description.pictureType = kUnfilledDescription;
        REALLockPictureDescription(pic, &description);
        const bool locked = description.pictureType != kUnfilledDescription;
        if (locked && description.pictureType == kPictureTypeGWorld) return OpenGWorld(pic, read, write, copyDepth);
        // Every lock taken here is given back before trying another way.
        if (locked) REALUnlockPictureDescription(pic);
        // A picture without pixels of its own is read through a 32-bit copy. A copy
        // is never copied again: one level is all a sane host needs.
        if (read && !write && copyDepth == 0) {
            if (REALpictureStruct* copy = ClonePicture(pic)) return OpenCopy(copy, read, copyDepth + 1);
        }
    }
    return OpenBitmap(pic);
}

bool PictureEditor::OpenCopy(REALpictureStruct* copy, signed char read, int copyDepth) {
    bool opened = Open(copy, read, 0, copyDepth);
    REALUnlockObject(AsObject(copy));  // the editor holds its own reference
    return opened;
}

bool PictureEditor::OpenGWorld(REALpictureStruct* pic, signed char read, signed char write, int copyDepth) {
    IsDesktop = 1;
    auto giveUp = [&] {
        pixMap = nullptr;
        REALUnlockPictureDescription(pic);
        clear();
        return false;
    };
    auto* world = static_cast<GWorldPtr>(description.pictureData);
    if (!world) return giveUp();
    pixMap = GetGWorldPixMap(world);
    if (!pixMap) return giveUp();
    switch (GetPixDepth(pixMap)) {
        case 32: pixelType = 13; bytesPerPixel = 4; break;
        case 24: pixelType = 12; bytesPerPixel = 3; break;
        default: {
            // Another depth: only the host can read it, by drawing it into a 32-bit copy.
            const int32_t w = description.width, h = description.height;
            giveUp();
            if (write || copyDepth > 0 || w < 1 || h < 1) return false;
            REALpictureStruct* copy = REALNewPicture(w, h, 32);
            if (!copy) return false;
            if (REALgraphicsStruct* graphics = REALGetPictureGraphics(copy)) {
                GraphicsDrawPicture(graphics, copy, pic, 0, 0, w, h, 0, 0, w, h);
                REALUnlockObject(AsObject(graphics));
            }
            return OpenCopy(copy, read, copyDepth + 1);
        }
    }
    if (!LockPixels(pixMap)) return giveUp();
    base = row = static_cast<uint8_t*>(GetPixBaseAddr(pixMap));
    if (!base) {
        UnlockPixels(pixMap);
        return giveUp();
    }
    descriptionLocked = 1;
    REALLockObject(AsObject(pic));
    picture = pic;
    rowBytes = GetPixRowBytes(pixMap);
    width = description.width;
    height = description.height;
    rowIndex = 0;
    // A pixel map whose rows cannot hold its width is not something to write into.
    if (width < 0 || height < 0 || static_cast<int64_t>(rowBytes) < static_cast<int64_t>(width) * bytesPerPixel) {
        clear();
        return false;
    }
    return true;
}

bool PictureEditor::OpenBitmap(REALpictureStruct* pic) {
    if (IsDesktop) return false;
    if (!REALLockPictureDescriptionX(pic, &description, kPictureTypeBitmap)) {
        description = REALpictureDescription{};
        return false;
    }
    IsConsole = 1;
    auto* record = static_cast<ConsoleBitmapRecord*>(description.pictureData);
    bool usable = description.pictureType == kPictureTypeBitmap && record && record->format == 0 &&
                  record->pixelStore && record->rowTable;
    // The rows hold the record's width; the description must not promise more.
    if (usable)
        usable = description.width >= 0 && description.height >= 0 && description.width <= record->width &&
                 description.height <= record->height && description.width <= 0x1FFFFFFF;
    if (!usable) {
        REALUnlockPictureDescription(pic);
        description = REALpictureDescription{};
        return false;
    }
    REALLockObject(AsObject(pic));
    picture = pic;
    descriptionLocked = 1;
    pixelType = 8;
    rowIndex = 0;
    width = description.width;
    height = description.height;
    rowBytes = width * 4;
    bytesPerPixel = 4;
    rowTable = record->rowTable;
    base = row = height > 0 ? rowTable[0] : nullptr;
    return true;
}

void PictureEditor::AddPixelRow() {
    ++rowIndex;
    if (rowIndex < height) {
        row = pixelType == 8 ? rowTable[rowIndex] : base + static_cast<ptrdiff_t>(rowIndex) * rowBytes;
    } else {
        // Past the last row the cursor starts again at the first.
        rowIndex = 0;
        row = base;
    }
}

uint8_t* PictureEditor::GetRow(int y) {
    rowIndex = y;
    // Rows outside the picture (negative ones included) answer the first row.
    if (y < 0 || y >= height) return base;
    return pixelType == 8 ? rowTable[y] : base + static_cast<ptrdiff_t>(y) * rowBytes;
}

REALpictureStruct* PictureEditor::RenderPictureWriter() {
    REALpictureStruct* result = nullptr;
    if (picture) {
        REALLockObject(AsObject(picture));
        REALPictureClearCache(picture);
        result = picture;
    }
    clear();
    return result;
}

bool PictureWriter::NewPictureWriter(int w, int h) {
    clear();
    if (w < 1 || h < 1 || w > kMaxWriterSize || h > kMaxWriterSize) return false;
    REALpictureStruct* created = REALNewPicture(w, h, 32);
    if (!created) return false;
    bool opened = GetPictureEditor(created, 0, 1);
    REALUnlockObject(AsObject(created));
    // Operations write w x h pixels: a host that made a smaller picture is refused.
    if (opened && (width < w || height < h)) {
        clear();
        opened = false;
    }
    return opened;
}

bool PictureWriter::NewPictureWriter(REALpictureStruct* pic, int w, int h) {
    if (pic && GetPictureWidth(pic) >= w && GetPictureHeight(pic) >= h && GetPictureEditor(pic, 0, 1)) {
        if (width >= w && height >= h) return true;
        clear();
    }
    return NewPictureWriter(w, h);
}
