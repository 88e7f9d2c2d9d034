// A picture as the tool reads and writes it: 8-bit red, green, blue and alpha.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vqz {

struct Image {
    int width = 0;
    int height = 0;
    bool hasAlpha = false;      // the file carried transparency
    std::vector<uint8_t> rgba;  // row-major, 4 bytes per pixel

    Image() = default;
    Image(int w, int h) : width(w), height(h), rgba(size_t(w) * size_t(h) * 4, 255) {}

    uint8_t* at(int x, int y) { return &rgba[(size_t(y) * size_t(width) + size_t(x)) * 4]; }
    const uint8_t* at(int x, int y) const { return &rgba[(size_t(y) * size_t(width) + size_t(x)) * 4]; }
    uint32_t rgb(int x, int y) const {
        const uint8_t* p = at(x, y);
        return uint32_t(p[0]) << 16 | uint32_t(p[1]) << 8 | p[2];
    }
    uint8_t alpha(int x, int y) const { return at(x, y)[3]; }
    void set(int x, int y, uint32_t rgb, uint8_t a = 255) {
        uint8_t* p = at(x, y);
        p[0] = uint8_t(rgb >> 16);
        p[1] = uint8_t(rgb >> 8);
        p[2] = uint8_t(rgb);
        p[3] = a;
    }
};

// The largest picture the tool accepts (the host makes pictures up to 32767 on a side).
constexpr int kMaxSide = 32767;
constexpr size_t kMaxPixels = size_t(1) << 27;

}  // namespace vqz
