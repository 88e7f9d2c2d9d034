// Host pictures: GWorlds (desktop), bitmaps (console and web) and vector pictures,
// and the pixel formats the host stores.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/objects.h"

namespace standin {

// How a picture stores one pixel.
enum class PixelFormat {
    ARGB32,   // code 13: mask, red, green, blue
    RGB24,    // code 12: red, green, blue
    XRGB555,  // 16 bits in host order: x, 5 red, 5 green, 5 blue
    RGB332,   // 8 bits: 3 red, 3 green, 2 blue
    BGRA32,   // code 8: blue, green, red, mask
    None,     // vector pictures
};
int formatBytes(PixelFormat format);
PixelFormat formatOfDepth(int depth);  // GWorld depths 32, 24, 16, 8; None otherwise
uint32_t loadRGB(const uint8_t* pixel, PixelFormat format);
// Stores a color as the host paints it: 32-bit pixels get kNewPictureMaskByte.
void paintRGB(uint8_t* pixel, PixelFormat format, uint32_t rgb);
// Stores the color bytes only (a 32-bit pixel keeps its mask byte).
void storeRGB(uint8_t* pixel, PixelFormat format, uint32_t rgb);

struct Picture;

// What a PixMapHandle leads to (through GWorld::master).
struct PixMap {
    uint8_t* base = nullptr;
    int32_t rowBytes = 0;
    int16_t depth = 0;
    int32_t width = 0;
    int32_t height = 0;
    int locks = 0;
};

// A GWorldPtr points to one of these; its pixel map handle is &master.
struct GWorld {
    PixMap pixMap;
    PixMap* master = &pixMap;
    Picture* owner = nullptr;  // null for the screen port
    GWorldPtr port() { return reinterpret_cast<GWorldPtr>(this); }
    PixMapHandle pixMapHandle() { return reinterpret_cast<PixMapHandle>(&master); }
};

struct Picture : Object {
    static constexpr ObjectKind kKind = ObjectKind::Picture;
    Picture() : Object(kKind) { handle = this; }
    ~Picture() override;

    PictureKind pictureKind = PictureKind::Vector;
    PixelFormat format = PixelFormat::None;
    int width = 0;
    int height = 0;
    int depth = 0;
    // GWorld pictures
    GWorld gworld;
    uint8_t* storage = nullptr;  // rows, padding and guards
    size_t storageBytes = 0;
    // Bitmap pictures
    ConsoleBitmapRecord* record = nullptr;
    std::vector<uint8_t*> rows;  // what record->rowTable points to
    // Vector pictures
    uint32_t vectorRGB = 0;

    Ref mask;
    int clearCacheCount = 0;
    int descriptionLocks = 0;

    uint8_t* pixel(int x, int y);  // null outside the picture or for vectors
    uint32_t rgbAt(int x, int y);  // vectors: their color
    void paint(int x, int y, uint32_t rgb);  // ignored outside the picture or for vectors
    int rowBytes() const;  // pixel rows of GWorlds; bitmaps: width * 4; vectors: 0

    std::string describe() const override;
    void dispose() override;
    bool getProp(const std::string& name, PropValue& out) override;
    void freePixels();
};

constexpr size_t kGuardBytes = 32;     // after the last GWorld row
constexpr size_t kRowGuardBytes = 16;  // after each bitmap row

}  // namespace standin
