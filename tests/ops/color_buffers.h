// Pixel buffers that a test owns, in any of the three pixel formats, exposed through
// a PictureEditor the way an open picture is: padded rows for codes 13 and 12, rows
// behind a row table (in reverse memory order) for code 8, and a guard pattern after
// every row's pixels. No host is involved, so a kernel can be run on every pair of
// reader and writer formats, including pairs that no single host produces.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "picture/editor.h"
#include "tests/reference/color_reference.h"

namespace colortest {

constexpr int kPixelCodes[] = {13, 12, 8};
constexpr uint8_t kGuard = 0x5A;
constexpr int kPadBytes = 7;

class PixelBuffer {
public:
    // Random bytes in every pixel, mask bytes included (else guard bytes); then, given a
    // palette, random colors from it, so that exact matches are common.
    PixelBuffer(int code, int width, int height, std::mt19937* random, const std::vector<uint32_t>& palette = {})
        : code_(code), width_(width), height_(height), bpp_(reference::color::bytesPerPixel(code)),
          stride_(width * bpp_ + kPadBytes), bytes_(size_t(stride_) * size_t(height), kGuard) {
        for (int y = 0; y < height && random; ++y)
            for (int x = 0; x < width * bpp_; ++x) row(y)[x] = uint8_t((*random)());
        for (int y = 0; y < height && !palette.empty(); ++y)
            for (int x = 0; x < width; ++x) setColor(x, y, palette[(*random)() % palette.size()]);
    }

    // Opens `editor` on these pixels, at row 0.
    void expose(PictureEditor& editor) {
        rowTable_.clear();
        for (int y = 0; y < height_; ++y) rowTable_.push_back(row(y));
        editor.pixelType = code_;
        editor.width = width_;
        editor.height = height_;
        editor.bytesPerPixel = bpp_;
        editor.rowIndex = 0;
        editor.rowBytes = code_ == 8 ? width_ * 4 : stride_;
        editor.rowTable = code_ == 8 ? rowTable_.data() : nullptr;
        editor.base = editor.row = row(0);
    }

    int code() const { return code_; }
    int width() const { return width_; }
    int height() const { return height_; }
    const uint8_t* pixel(int x, int y) const { return row(y) + x * bpp_; }
    std::vector<uint8_t> pixelBytes(int x, int y) const { return {pixel(x, y), pixel(x, y) + bpp_}; }
    uint32_t color(int x, int y) const { return reference::color::decode(code_, pixel(x, y)); }
    // Sets the color bytes, leaving the mask byte.
    void setColor(int x, int y, uint32_t rgb) {
        const auto bytes = reference::color::encode(code_, rgb);
        uint8_t* p = const_cast<uint8_t*>(pixel(x, y));
        for (int i = 0; i < bpp_; ++i)
            if (i != (code_ == 13 ? 0 : code_ == 8 ? 3 : -1)) p[i] = bytes[size_t(i)];
    }
    bool guardsIntact() const {
        for (int y = 0; y < height_; ++y)
            for (int i = width_ * bpp_; i < stride_; ++i)
                if (row(y)[i] != kGuard) return false;
        return true;
    }

private:
    // Code 8 rows are laid out bottom-up in memory, so only the row table finds them.
    const uint8_t* row(int y) const {
        return bytes_.data() + size_t(stride_) * size_t(code_ == 8 ? height_ - 1 - y : y);
    }
    uint8_t* row(int y) { return const_cast<uint8_t*>(static_cast<const PixelBuffer*>(this)->row(y)); }

    int code_, width_, height_, bpp_, stride_;
    std::vector<uint8_t> bytes_;
    std::vector<uint8_t*> rowTable_;
};

// Checks that `out` holds, for every pixel of the reader's area, the writer's bytes for
// expected(x, y), and that the rest of `out` equals `before` (a copy taken earlier).
template <class Expected>
::testing::AssertionResult writtenAs(const PixelBuffer& out, const PixelBuffer& before, int width, int height,
                                     Expected expected) {
    if (!out.guardsIntact()) return ::testing::AssertionFailure() << "bytes written past a row's pixels";
    int wrong = 0;
    ::testing::Message first;
    for (int y = 0; y < out.height(); ++y) {
        for (int x = 0; x < out.width(); ++x) {
            std::vector<uint8_t> want = before.pixelBytes(x, y);
            if (x < width && y < height) {
                const auto bytes = reference::color::encode(out.code(), expected(x, y));
                want.assign(bytes.begin(), bytes.begin() + long(want.size()));
            }
            if (want != out.pixelBytes(x, y) && ++wrong <= 4) first << " (" << x << "," << y << ")";
        }
    }
    if (wrong) return ::testing::AssertionFailure() << wrong << " pixels differ, first at" << first;
    return ::testing::AssertionSuccess();
}

}  // namespace colortest
