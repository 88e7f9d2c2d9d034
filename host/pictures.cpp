// Host pictures: creation, pixels, masks, description locks and the picture entry points.
#include "host/pictures.h"

#include <cstdlib>
#include <cstring>
#include <unordered_set>

#include "host/entry_points.h"
#include "host/modules.h"
#include "host/quickdraw.h"

namespace standin {
namespace {

constexpr int kMaxSide = 65535;

struct PictureState {
    std::unordered_set<Picture*> live;
    int descriptionLocks = 0;
};
PictureState& state() {
    static PictureState* s = new PictureState;
    return *s;
}

// Row padding of 8 to 20 bytes that varies with the size, so that neither
// width * bytes per pixel nor any fixed multiple of it is the row distance.
int rowPadding(int width, int height, int depth) {
    return 8 + 2 * ((width * 7 + height * 3 + depth) % 7);
}

Picture* adopt(std::unique_ptr<Picture> p) {
    Picture* raw = registerAs(std::move(p));
    state().live.insert(raw);
    return raw;
}

void fillWhiteRow(uint8_t* row, int width, PixelFormat format) {
    int bpp = formatBytes(format);
    for (int x = 0; x < width; ++x) paintRGB(row + size_t(x) * bpp, format, kNewPictureRGB);
}

Picture* makeGWorld(int width, int height, int depth) {
    PixelFormat format = formatOfDepth(depth);
    if (format == PixelFormat::None || width < 1 || height < 1 || width > kMaxSide ||
        height > kMaxSide)
        return nullptr;
    int bpp = formatBytes(format);
    uint64_t rowBytes = uint64_t(width) * bpp + rowPadding(width, height, depth);
    uint64_t total = rowBytes * uint64_t(height) + kGuardBytes;
    if (total > SIZE_MAX / 2 || rowBytes > INT32_MAX) return nullptr;
    auto* storage = static_cast<uint8_t*>(std::malloc(size_t(total)));
    if (!storage) return nullptr;
    std::memset(storage, kRowPadByte, size_t(total));
    fillWhiteRow(storage, width, format);
    for (int y = 1; y < height; ++y)
        std::memcpy(storage + y * rowBytes, storage, size_t(width) * bpp);

    auto p = std::make_unique<Picture>();
    p->pictureKind = PictureKind::GWorld;
    p->format = format;
    p->width = width;
    p->height = height;
    p->depth = depth;
    p->storage = storage;
    p->storageBytes = size_t(total);
    PixMap& pm = p->gworld.pixMap;
    pm.base = storage;
    pm.rowBytes = int32_t(rowBytes);
    pm.depth = int16_t(depth);
    pm.width = width;
    pm.height = height;
    p->gworld.owner = p.get();
    Picture* raw = adopt(std::move(p));
    addGWorld(&raw->gworld);
    return raw;
}

Picture* makeBitmap(int width, int height) {
    if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide) return nullptr;
    auto p = std::make_unique<Picture>();
    p->pictureKind = PictureKind::Bitmap;
    p->format = PixelFormat::BGRA32;
    p->width = width;
    p->height = height;
    p->depth = 32;
    p->record = static_cast<ConsoleBitmapRecord*>(std::calloc(1, sizeof(ConsoleBitmapRecord)));
    if (!p->record) return nullptr;
    size_t rowSize = size_t(width) * 4;
    p->rows.assign(size_t(height), nullptr);
    for (int y = 0; y < height; ++y) {
        auto* row = static_cast<uint8_t*>(std::malloc(rowSize + kRowGuardBytes));
        if (!row) return nullptr;  // ~Picture frees what was made
        std::memset(row + rowSize, kRowPadByte, kRowGuardBytes);
        fillWhiteRow(row, width, PixelFormat::BGRA32);
        p->rows[size_t(y)] = row;
    }
    p->record->format = 0;
    p->record->width = width;
    p->record->height = height;
    p->record->pixelStore = p.get();
    p->record->rowTable = p->rows.data();
    return adopt(std::move(p));
}

Picture* makeVector(int width, int height, uint32_t color) {
    if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide) return nullptr;
    auto p = std::make_unique<Picture>();
    p->pictureKind = PictureKind::Vector;
    p->width = width;
    p->height = height;
    p->vectorRGB = color & 0xFFFFFF;
    return adopt(std::move(p));
}

Picture* makeHostPicture(int width, int height) {
    return config().kind == AppKind::Desktop ? makeGWorld(width, height, 32)
                                             : makeBitmap(width, height);
}

int32_t descriptionType(const Picture* p) {
    switch (p->pictureKind) {
        case PictureKind::GWorld: return kPictureTypeGWorld;
        case PictureKind::Bitmap: return kPictureTypeBitmap;
        case PictureKind::Vector: return 1;
    }
    return 0;
}

void fillDescription(Picture* p, REALpictureDescription* d) {
    if (!d) return;
    d->pictureType = descriptionType(p);
    switch (p->pictureKind) {
        case PictureKind::GWorld: d->pictureData = p->gworld.port(); break;
        case PictureKind::Bitmap: d->pictureData = p->record; break;
        case PictureKind::Vector: d->pictureData = nullptr; break;
    }
    d->width = p->width;
    d->height = p->height;
}

void holdDescription(Picture* p) {
    ++p->descriptionLocks;
    ++state().descriptionLocks;
}

bool olderThan2012() { return !config().hasVersion || config().version < 2012.0; }

Picture* pic(void* handle, const char* who) { return lookupAs<Picture>(handle, who); }

}  // namespace

// ---------------------------------------------------------------- Picture

Picture::~Picture() { freePixels(); }

void Picture::freePixels() {
    std::free(storage);
    storage = nullptr;
    for (uint8_t* row : rows) std::free(row);
    rows.clear();
    std::free(record);
    record = nullptr;
}

uint8_t* Picture::pixel(int x, int y) {
    if (x < 0 || y < 0 || x >= width || y >= height) return nullptr;
    if (pictureKind == PictureKind::GWorld && storage)
        return storage + size_t(y) * size_t(gworld.pixMap.rowBytes) + size_t(x) * formatBytes(format);
    if (pictureKind == PictureKind::Bitmap && !rows.empty()) return rows[size_t(y)] + size_t(x) * 4;
    return nullptr;
}

uint32_t Picture::rgbAt(int x, int y) {
    if (pictureKind == PictureKind::Vector) return vectorRGB;
    const uint8_t* p = pixel(x, y);
    return p ? loadRGB(p, format) : 0;
}

void Picture::paint(int x, int y, uint32_t color) {
    if (uint8_t* p = pixel(x, y)) paintRGB(p, format, color);
}

int Picture::rowBytes() const {
    if (pictureKind == PictureKind::GWorld) return gworld.pixMap.rowBytes;
    if (pictureKind == PictureKind::Bitmap) return width * 4;
    return 0;
}

std::string Picture::describe() const {
    std::string kind = pictureKind == PictureKind::GWorld   ? "GWorld depth " + std::to_string(depth)
                       : pictureKind == PictureKind::Bitmap ? std::string("bitmap")
                                                            : std::string("vector");
    std::string text = kind + " " + std::to_string(width) + "x" + std::to_string(height);
    if (descriptionLocks) text += ", " + std::to_string(descriptionLocks) + " description lock(s)";
    if (gworld.pixMap.locks) text += ", " + std::to_string(gworld.pixMap.locks) + " pixel lock(s)";
    return text;
}

void Picture::dispose() {
    if (descriptionLocks > 0) {
        recordError("Picture #" + std::to_string(serial) + " destroyed with " +
                    std::to_string(descriptionLocks) + " description lock(s) held");
        state().descriptionLocks -= descriptionLocks;
        descriptionLocks = 0;
    }
    state().live.erase(this);
    if (pictureKind == PictureKind::GWorld) removeGWorld(&gworld);
    mask = Ref();
    freePixels();
}

bool Picture::getProp(const std::string& name, PropValue& out) {
    if (sameName(name, "Width") || sameName(name, "Height")) {
        out.type = PropValue::Integer;
        out.i = sameName(name, "Width") ? width : height;
        return true;
    }
    return false;
}

// ---------------------------------------------------------------- module hooks

void resetPictures() {
    state().live.clear();
    state().descriptionLocks = 0;
}

void ledgerPictures(Ledger& ledger) {
    ledger.descriptionLocks = state().descriptionLocks;
}

// ---------------------------------------------------------------- test API

void* newGWorldPicture(int width, int height, int depth) { return makeGWorld(width, height, depth); }
void* newBitmapPicture(int width, int height) { return makeBitmap(width, height); }
void* newVectorPicture(int width, int height, uint32_t rgb) { return makeVector(width, height, rgb); }
void* newHostPicture(int width, int height) { return makeHostPicture(width, height); }

PictureKind pictureKind(void* picture) {
    Picture* p = pic(picture, "pictureKind");
    return p ? p->pictureKind : PictureKind::Vector;
}
int pictureDepth(void* picture) {
    Picture* p = pic(picture, "pictureDepth");
    return p && p->pictureKind != PictureKind::Vector ? p->depth : 0;
}
int pictureWidth(void* picture) {
    Picture* p = pic(picture, "pictureWidth");
    return p ? p->width : 0;
}
int pictureHeight(void* picture) {
    Picture* p = pic(picture, "pictureHeight");
    return p ? p->height : 0;
}
int clearCacheCount(void* picture) {
    Picture* p = pic(picture, "clearCacheCount");
    return p ? p->clearCacheCount : 0;
}

uint32_t getRGB(void* picture, int x, int y) {
    Picture* p = pic(picture, "getRGB");
    return p ? p->rgbAt(x, y) : 0;
}
void setRGB(void* picture, int x, int y, uint32_t rgb) {
    Picture* p = pic(picture, "setRGB");
    if (!p) return;
    if (uint8_t* px = p->pixel(x, y)) storeRGB(px, p->format, rgb);
}
uint8_t* pixelAddress(void* picture, int x, int y) {
    Picture* p = pic(picture, "pixelAddress");
    return p ? p->pixel(x, y) : nullptr;
}
int bytesPerPixel(void* picture) {
    Picture* p = pic(picture, "bytesPerPixel");
    return p ? formatBytes(p->format) : 0;
}

bool guardsIntact(void* picture) {
    Picture* p = pic(picture, "guardsIntact");
    if (!p) return false;
    auto allPad = [](const uint8_t* from, size_t n) {
        for (size_t i = 0; i < n; ++i)
            if (from[i] != kRowPadByte) return false;
        return true;
    };
    size_t used = size_t(p->width) * formatBytes(p->format);
    if (p->pictureKind == PictureKind::GWorld) {
        size_t rowBytes = size_t(p->gworld.pixMap.rowBytes);
        for (int y = 0; y < p->height; ++y)
            if (!allPad(p->storage + y * rowBytes + used, rowBytes - used)) return false;
        return allPad(p->storage + p->height * rowBytes, kGuardBytes);
    }
    if (p->pictureKind == PictureKind::Bitmap) {
        for (uint8_t* row : p->rows)
            if (!allPad(row + used, kRowGuardBytes)) return false;
    }
    return true;
}

void setMask(void* picture, void* mask) {
    Picture* p = pic(picture, "setMask");
    if (!p) return;
    if (mask && !pic(mask, "setMask")) return;
    p->mask = Ref::share(mask);
}

// ---------------------------------------------------------------- entry points

namespace entry {

REALpictureStruct* newPicture(int32_t width, int32_t height, int32_t depth) {
    if (faultHits(Fault::PictureCreation)) return nullptr;
    Picture* p = nullptr;
    if (config().kind == AppKind::Desktop)
        p = makeGWorld(width, height, depth);
    else if (depth == 32 || depth == 24 || depth == 16 || depth == 8)
        p = makeBitmap(width, height);
    return p ? static_cast<REALpictureStruct*>(p->handle) : nullptr;
}

REALpictureStruct* REALGetPictureMask(REALpictureStruct* picture, uint8_t flag) {
    Picture* p = pic(picture, "REALGetPictureMask");
    if (!p || !p->mask) return nullptr;
    retain(p->mask.get());
    return p->mask.pic();
}

void REALPictureClearCache(REALpictureStruct* picture) {
    if (Picture* p = pic(picture, "REALPictureClearCache")) ++p->clearCacheCount;
}

void lockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description) {
    Picture* p = pic(picture, "lockPictureDescription");
    if (faultHits(Fault::DescriptionLock) || !p) return;
    fillDescription(p, description);
    holdDescription(p);
}

uint8_t REALLockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description,
                                   int32_t type) {
    Picture* p = pic(picture, "REALLockPictureDescription");
    bool fault = faultHits(Fault::DescriptionLock);
    if (!p) return 0;
    if (!fault && descriptionType(p) == type) {
        fillDescription(p, description);
        holdDescription(p);
        return 1;
    }
    // Hosts before 2012.0 left the description locked after a failed lock.
    if (olderThan2012()) {
        fillDescription(p, description);
        holdDescription(p);
    }
    return 0;
}

void unlockPictureDescription(REALpictureStruct* picture) {
    Picture* p = pic(picture, "unlockPictureDescription");
    if (!p) return;
    if (p->descriptionLocks == 0) {
        recordError("unlockPictureDescription: Picture #" + std::to_string(p->serial) +
                    " is not locked");
        return;
    }
    --p->descriptionLocks;
    --state().descriptionLocks;
}

}  // namespace entry
}  // namespace standin
