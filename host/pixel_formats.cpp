// The byte layouts of the pixels the stand-in host stores.
#include <cstring>

#include "host/pictures.h"

namespace standin {

int formatBytes(PixelFormat format) {
    switch (format) {
        case PixelFormat::ARGB32: return 4;
        case PixelFormat::RGB24: return 3;
        case PixelFormat::XRGB555: return 2;
        case PixelFormat::RGB332: return 1;
        case PixelFormat::BGRA32: return 4;
        case PixelFormat::None: return 0;
    }
    return 0;
}

PixelFormat formatOfDepth(int depth) {
    switch (depth) {
        case 32: return PixelFormat::ARGB32;
        case 24: return PixelFormat::RGB24;
        case 16: return PixelFormat::XRGB555;
        case 8: return PixelFormat::RGB332;
        default: return PixelFormat::None;
    }
}

namespace {
uint32_t rgb(uint32_t r, uint32_t g, uint32_t b) { return (r << 16) | (g << 8) | b; }
uint32_t expand5(uint32_t v) { return (v << 3) | (v >> 2); }
}  // namespace

uint32_t loadRGB(const uint8_t* p, PixelFormat format) {
    switch (format) {
        case PixelFormat::ARGB32: return rgb(p[1], p[2], p[3]);
        case PixelFormat::RGB24: return rgb(p[0], p[1], p[2]);
        case PixelFormat::BGRA32: return rgb(p[2], p[1], p[0]);
        case PixelFormat::XRGB555: {
            uint16_t v;
            std::memcpy(&v, p, 2);
            return rgb(expand5((v >> 10) & 31), expand5((v >> 5) & 31), expand5(v & 31));
        }
        case PixelFormat::RGB332: {
            uint32_t v = p[0];
            return rgb((v >> 5) * 255 / 7, ((v >> 2) & 7) * 255 / 7, (v & 3) * 85);
        }
        case PixelFormat::None: return 0;
    }
    return 0;
}

void storeRGB(uint8_t* p, PixelFormat format, uint32_t color) {
    uint8_t r = (color >> 16) & 0xFF, g = (color >> 8) & 0xFF, b = color & 0xFF;
    switch (format) {
        case PixelFormat::ARGB32: p[1] = r; p[2] = g; p[3] = b; break;
        case PixelFormat::RGB24: p[0] = r; p[1] = g; p[2] = b; break;
        case PixelFormat::BGRA32: p[0] = b; p[1] = g; p[2] = r; break;
        case PixelFormat::XRGB555: {
            uint16_t v = static_cast<uint16_t>(((r >> 3) << 10) | ((g >> 3) << 5) | (b >> 3));
            std::memcpy(p, &v, 2);
            break;
        }
        case PixelFormat::RGB332: p[0] = static_cast<uint8_t>(((r >> 5) << 5) | ((g >> 5) << 2) | (b >> 6)); break;
        case PixelFormat::None: break;
    }
}

void paintRGB(uint8_t* p, PixelFormat format, uint32_t color) {
    storeRGB(p, format, color);
    if (format == PixelFormat::ARGB32) p[0] = kNewPictureMaskByte;
    if (format == PixelFormat::BGRA32) p[3] = kNewPictureMaskByte;
}

}  // namespace standin
