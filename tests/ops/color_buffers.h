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
    PixelBuffer(int code, int width, int height)
        : code_(code),
          width_(width),
          height_(height),
          stride_(width * reference::color::bytesPerPixel(code) + kPadBytes),
          bytes_(size_t(stride_) * size_t(height > 0 ? height : 1), kGuard) {}

    // Random bytes in every pixel, mask bytes included.
    void fillRandom(std::mt19937& random) {
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < pixelBytes(); ++x) row(y)[x] = uint8_t(random());
    }
    // Random colors from a small palette, so that exact matches are common.
    void fillFromPalette(std::mt19937& random, const std::vector<uint32_t>& palette) {
        fillRandom(random);
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x) setColor(x, y, palette[random() % palette.size()]);
    }

    // Opens `editor` on these pixels, at row 0.
    void expose(PictureEditor& editor) {
        rowTable_.clear();
        for (int y = 0; y < height_; ++y) rowTable_.push_back(row(y));
        editor.pixelType = code_;
        editor.width = width_;
        editor.height = height_;
        editor.bytesPerPixel = reference::color::bytesPerPixel(code_);
        editor.rowIndex = 0;
        if (code_ == 8) {
            editor.rowBytes = width_ * 4;
            editor.rowTable = rowTable_.data();
            editor.base = editor.row = height_ > 0 ? rowTable_[0] : bytes_.data();
        } else {
            editor.rowBytes = stride_;
            editor.rowTable = nullptr;
            editor.base = editor.row = bytes_.data();
        }
    }

    int code() const { return code_; }
    int width() const { return width_; }
    int height() const { return height_; }
    uint8_t* pixel(int x, int y) { return row(y) + x * reference::color::bytesPerPixel(code_); }
    uint32_t color(int x, int y) { return reference::color::decode(code_, pixel(x, y)); }
    void setColor(int x, int y, uint32_t rgb) {
        const auto bytes = reference::color::encode(code_, rgb);
        uint8_t* p = pixel(x, y);
        const int mask = code_ == 13 ? 0 : code_ == 8 ? 3 : -1;
        for (int i = 0; i < reference::color::bytesPerPixel(code_); ++i)
            if (i != mask) p[i] = bytes[size_t(i)];
    }
    std::vector<uint8_t> pixelBytesOf(int x, int y) {
        return std::vector<uint8_t>(pixel(x, y), pixel(x, y) + reference::color::bytesPerPixel(code_));
    }

    bool guardsIntact() {
        for (int y = 0; y < height_; ++y)
            for (int i = pixelBytes(); i < stride_; ++i)
                if (row(y)[i] != kGuard) return false;
        return true;
    }

private:
    int pixelBytes() const { return width_ * reference::color::bytesPerPixel(code_); }
    // Code 8 rows are laid out bottom-up in memory, so only the row table finds them.
    uint8_t* row(int y) { return bytes_.data() + size_t(stride_) * size_t(code_ == 8 ? height_ - 1 - y : y); }

    int code_, width_, height_, stride_;
    std::vector<uint8_t> bytes_;
    std::vector<uint8_t*> rowTable_;
};

// Checks that `out` holds, for every pixel of the reader's area, the writer's bytes for
// expected(x, y), and that the rest of `out` equals `before` (a copy taken earlier).
template <class Expected>
::testing::AssertionResult writtenAs(PixelBuffer& out, PixelBuffer& before, int width, int height, Expected expected) {
    int wrong = 0;
    ::testing::Message first;
    for (int y = 0; y < out.height(); ++y) {
        for (int x = 0; x < out.width(); ++x) {
            std::vector<uint8_t> want = before.pixelBytesOf(x, y);
            if (x < width && y < height) {
                const auto bytes = reference::color::encode(out.code(), expected(x, y));
                want.assign(bytes.begin(), bytes.begin() + reference::color::bytesPerPixel(out.code()));
            }
            if (want != out.pixelBytesOf(x, y) && ++wrong <= 4) first << " (" << x << "," << y << ")";
        }
    }
    if (!out.guardsIntact()) return ::testing::AssertionFailure() << "bytes written past a row's pixels";
    if (wrong) return ::testing::AssertionFailure() << wrong << " pixels differ, first at" << first;
    return ::testing::AssertionSuccess();
}

}  // namespace colortest
