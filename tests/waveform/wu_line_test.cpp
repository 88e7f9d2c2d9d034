// The anti-aliased line and its pixel blend, drawn into writers over local buffers
// of each pixel format (no host needed: a writer that holds no picture releases
// nothing).
#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <vector>

#include "picture/pixel_formats.h"
#include "picture/pixel_loop.h"
#include "tests/reference/waveform_reference.h"
#include "waveform/wu_line.h"

namespace {

namespace ref = waveform_reference;

constexpr uint8_t kPad = 0xA5;

// A writer over rows in local memory, padded so that a stride mistake shows.
class LocalPicture {
public:
    LocalPicture(int32_t code, int width, int height) : code_(code) {
        DispatchFormat(code, [&](auto f) { bytes_ = decltype(f)::bytes; });
        writer.width = width;
        writer.height = height;
        writer.pixelType = code;
        writer.bytesPerPixel = bytes_;
        writer.rowBytes = width * bytes_ + 7;
        pixels_.assign(size_t(writer.rowBytes) * size_t(height) + 16, kPad);
        writer.base = pixels_.data();
        writer.row = writer.base;
        for (int y = 0; y < height; ++y) rows_.push_back(pixels_.data() + size_t(y) * size_t(writer.rowBytes));
        if (code == kPixelType32BGRA) writer.rowTable = rows_.data();
    }
    ~LocalPicture() { writer.base = writer.row = nullptr; }

    uint8_t* pixel(int x, int y) { return rows_[size_t(y)] + size_t(x) * size_t(bytes_); }
    void set(int x, int y, uint32_t rgb, uint8_t mask) {
        DispatchFormat(code_, [&](auto f) {
            using F = decltype(f);
            F::store(pixel(x, y), ColorToRGB(rgb));
            if (F::bytes == 4) pixel(x, y)[code_ == kPixelType32ARGB ? 0 : 3] = mask;
        });
    }
    uint32_t rgb(int x, int y) {
        uint32_t c = 0;
        DispatchFormat(code_, [&](auto f) {
            const RGB v = decltype(f)::load(pixel(x, y));
            c = uint32_t(v.r) << 16 | uint32_t(v.g) << 8 | v.b;
        });
        return c;
    }
    // The stored mask byte; -1 for a format without one.
    int mask(int x, int y) {
        if (code_ == kPixelType24RGB) return -1;
        return pixel(x, y)[code_ == kPixelType32ARGB ? 0 : 3];
    }
    bool paddingIntact() const {
        const size_t used = size_t(writer.width) * size_t(bytes_);
        for (size_t i = 0; i < pixels_.size(); ++i) {
            const size_t inRow = i % size_t(writer.rowBytes);
            const bool pad = i >= size_t(writer.rowBytes) * size_t(writer.height) || inRow >= used;
            if (pad && pixels_[i] != kPad) return false;
        }
        return true;
    }
    // A reference image of the current colors.
    ref::Image image() {
        ref::Image im(writer.width, writer.height, 0);
        for (int y = 0; y < writer.height; ++y)
            for (int x = 0; x < writer.width; ++x) im.at(x, y) = rgb(x, y);
        return im;
    }
    void fill(uint32_t rgbColor, uint8_t maskByte) {
        for (int y = 0; y < writer.height; ++y)
            for (int x = 0; x < writer.width; ++x) set(x, y, rgbColor, maskByte);
    }

    PictureWriter writer;

private:
    int32_t code_;
    int bytes_ = 4;
    std::vector<uint8_t> pixels_;
    std::vector<uint8_t*> rows_;
};

void SetOutline(uint32_t rgb) {
    gOutLineColorR = int32_t(rgb >> 16 & 255);
    gOutLineColorG = int32_t(rgb >> 8 & 255);
    gOutLineColorB = int32_t(rgb & 255);
}

void Line(PictureWriter& w, int x0, int y0, int x1, int y1) {
    DrawWuLine(w, x0, y0, x1, y1, kWuBaseWeight, kWuWeightLevels, kWuIntensityBits);
}

class WuLineTest : public ::testing::TestWithParam<int32_t> {
protected:
    void TearDown() override { SetOutline(0); }
    int32_t code() const { return GetParam(); }
    uint8_t writtenMask() const { return code() == kPixelType32ARGB ? 255 : 0; }

    // White picture, black outline: a drawn pixel's gray level is its weight.
    int weightAt(LocalPicture& p, int x, int y) {
        const uint32_t c = p.rgb(x, y);
        EXPECT_TRUE((c >> 16 & 255) == (c & 255) && (c >> 8 & 255) == (c & 255)) << x << "," << y;
        return int(c & 255);
    }
    // The drawn weights of a white picture as text rows, "." for untouched pixels.
    std::vector<std::vector<int>> weights(LocalPicture& p) {
        std::vector<std::vector<int>> rows(size_t(p.writer.height), std::vector<int>(size_t(p.writer.width), -1));
        for (int y = 0; y < p.writer.height; ++y)
            for (int x = 0; x < p.writer.width; ++x)
                if (p.mask(x, y) != 7) rows[size_t(y)][size_t(x)] = weightAt(p, x, y);
        return rows;
    }
};

TEST_P(WuLineTest, ExampleLinesDrawTheirPixelsAndWeights) {
    SetOutline(0x000000);
    struct Case {
        int x0, y0, x1, y1;
        std::vector<std::vector<int>> expected;  // by row, -1 untouched
    };
    const int _ = -1;
    const Case cases[] = {
        {3, 1, 3, 1, {{_, _, _, _, _}, {_, _, _, 0, _}, {_, _, _, _, _}}},
        {0, 1, 4, 1, {{_, _, _, _, _}, {0, 0, 0, 0, 0}, {_, _, _, _, _}}},
        {0, 0, 2, 2, {{0, _, _, _, _}, {_, 0, _, _, _}, {_, _, 0, _, _}}},
        // Steep: dx 1, dy 4, adj 16384; inner rows weigh 64/128/192 and their complements.
        {0, 0, 1, 4, {{0, _, _, _, _}, {64, 191, _, _, _}, {128, 127, _, _, _}, {192, 63, _, _, _}, {_, 0, _, _, _}}},
        {1, 4, 0, 0, {{0, _, _, _, _}, {64, 191, _, _, _}, {128, 127, _, _, _}, {192, 63, _, _, _}, {_, 0, _, _, _}}},
        // Flat, walked to the left: dx 4, dy 1, adj 16384.
        {4, 0, 0, 1, {{_, 192, 128, 64, 0}, {0, 63, 127, 191, _}, {_, _, _, _, _}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << "(" << c.x0 << "," << c.y0 << ")-(" << c.x1 << "," << c.y1 << ")");
        LocalPicture p(code(), 5, int(c.expected.size()));
        p.fill(0xFFFFFF, 7);  // mask 7 marks untouched pixels (code 12: all look touched)
        Line(p.writer, c.x0, c.y0, c.x1, c.y1);
        if (code() == kPixelType24RGB) {
            for (int y = 0; y < p.writer.height; ++y)
                for (int x = 0; x < p.writer.width; ++x) {
                    const int e = c.expected[size_t(y)][size_t(x)];
                    EXPECT_EQ(weightAt(p, x, y), e < 0 ? 255 : e) << x << "," << y;
                }
        } else {
            EXPECT_EQ(weights(p), c.expected);
        }
        EXPECT_TRUE(p.paddingIntact());
    }
}

TEST_P(WuLineTest, FlatLineMatchesWeightsOfTheSteepOne) {
    // (0, 0)-(4, 1): the same weights as the steep example, on columns instead of rows.
    SetOutline(0x000000);
    LocalPicture p(code(), 5, 2);
    p.fill(0xFFFFFF, 7);
    Line(p.writer, 0, 0, 4, 1);
    const int expectedTop[] = {0, 64, 128, 192, 255};
    const int expectedBottom[] = {255, 191, 127, 63, 0};
    for (int x = 0; x < 5; ++x) {
        EXPECT_EQ(weightAt(p, x, 0), expectedTop[x]) << x;
        EXPECT_EQ(weightAt(p, x, 1), expectedBottom[x]) << x;
    }
}

TEST_P(WuLineTest, PixelBlendAndMaskByte) {
    LocalPicture p(code(), 3, 1);
    SetOutline(0x000000);
    p.fill(0xFFFFFF, 7);
    DrawPixel(p.writer, 0, 0, 255);
    DrawPixel(p.writer, 1, 0, 0);
    DrawPixel(p.writer, 2, 0, 128);
    EXPECT_EQ(p.rgb(0, 0), 0xFFFFFFu);
    EXPECT_EQ(p.rgb(1, 0), 0x000000u);
    EXPECT_EQ(p.rgb(2, 0), 0x808080u);
    if (code() != kPixelType24RGB) {
        for (int x = 0; x < 3; ++x) EXPECT_EQ(p.mask(x, 0), writtenMask()) << x;
    }

    // Weight 0 gives exactly the outline color; integer blend truncates per channel.
    SetOutline(0x12ABF0);
    p.fill(0x405060, 7);
    DrawPixel(p.writer, 0, 0, 0);
    DrawPixel(p.writer, 1, 0, 100);
    EXPECT_EQ(p.rgb(0, 0), 0x12ABF0u);
    EXPECT_EQ(p.rgb(1, 0), uint32_t((0x40 * 100 + 0x12 * 155) / 255) << 16 |
                               uint32_t((0x50 * 100 + 0xAB * 155) / 255) << 8 | uint32_t((0x60 * 100 + 0xF0 * 155) / 255));
    // Outside the picture nothing is written.
    const uint32_t before = p.rgb(2, 0);
    for (auto [x, y] : {std::pair{-1, 0}, {3, 0}, {0, -1}, {0, 1}, {INT_MIN, INT_MAX}}) DrawPixel(p.writer, x, y, 0);
    EXPECT_EQ(p.rgb(2, 0), before);
    EXPECT_TRUE(p.paddingIntact());
}

// Random lines, partly or wholly outside, against the step-by-step walk.
TEST_P(WuLineTest, MatchesStepByStepWalk) {
    std::mt19937 random(uint32_t(code()) * 977u);
    for (int round = 0; round < 60; ++round) {
        const int w = 1 + int(random() % 40), h = 1 + int(random() % 30);
        LocalPicture p(code(), w, h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) p.set(x, y, random() & 0xFFFFFF, uint8_t(random()));
        ref::Image expected = p.image();
        const std::vector<uint8_t> masksBefore = [&] {
            std::vector<uint8_t> m;
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) m.push_back(uint8_t(p.mask(x, y)));
            return m;
        }();
        const uint32_t outline = random() & 0xFFFFFF;
        SetOutline(outline);
        const ref::Color color{int(outline >> 16), int(outline >> 8 & 255), int(outline & 255)};
        for (int line = 0; line < 6; ++line) {
            auto coord = [&](int size) { return int(random() % uint32_t(3 * size + 20)) - size - 10; };
            const int x0 = coord(w), y0 = coord(h), x1 = coord(w), y1 = coord(h);
            Line(p.writer, x0, y0, x1, y1);
            ref::DrawWuLine(expected, x0, y0, x1, y1, color);
        }
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                ASSERT_EQ(p.rgb(x, y), expected.at(x, y)) << "round " << round << " at " << x << "," << y;
                if (code() == kPixelType24RGB) continue;
                const size_t i = size_t(y) * size_t(w) + size_t(x);
                ASSERT_EQ(p.mask(x, y), expected.touched[i] ? writtenMask() : masksBefore[i]) << x << "," << y;
            }
        ASSERT_TRUE(p.paddingIntact());
    }
}

// Lines whose end points lie far outside: the visible part matches the walk that
// steps through every row, and nothing is written outside the picture.
TEST_P(WuLineTest, FarEndPointsDrawOnlyTheVisiblePart) {
    SetOutline(0x102030);
    const ref::Color color{0x10, 0x20, 0x30};
    const int lines[][4] = {
        {3, -100000, 5, 100000}, {0, -40000, 1, 20},    {9, 7, 8, 150000},      {-70000, 3, 60000, 6},
        {-33000, -5, 40, 12},    {2, -32000, 6, 700},   {1, 2, 70000, 40000},   {-50000, 9000, 50000, -9000},
    };
    for (const auto& l : lines) {
        SCOPED_TRACE(::testing::Message() << l[0] << "," << l[1] << " to " << l[2] << "," << l[3]);
        LocalPicture p(code(), 12, 10);
        p.fill(0xF0E0D0, 7);
        ref::Image expected = p.image();
        Line(p.writer, l[0], l[1], l[2], l[3]);
        ref::DrawWuLine(expected, l[0], l[1], l[2], l[3], color);
        for (int y = 0; y < 10; ++y)
            for (int x = 0; x < 12; ++x) ASSERT_EQ(p.rgb(x, y), expected.at(x, y)) << x << "," << y;
        EXPECT_TRUE(p.paddingIntact());
    }
}

TEST_P(WuLineTest, ExtremeCoordinatesAreSafe) {
    SetOutline(0);
    LocalPicture p(code(), 8, 8);
    p.fill(0xFFFFFF, 7);
    const int lines[][4] = {{INT_MIN, INT_MIN, INT_MAX, INT_MAX}, {0, INT_MIN, 1, INT_MAX}, {INT_MAX, 0, INT_MIN, 1},
                            {INT_MIN, 4, INT_MAX, 4},            {4, INT_MAX, 4, INT_MIN}, {INT_MAX, INT_MAX, INT_MAX, INT_MAX}};
    for (const auto& l : lines) Line(p.writer, l[0], l[1], l[2], l[3]);
    // The horizontal and vertical lines through (4, 4) are drawn across the whole picture.
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(p.rgb(i, 4), 0u) << i;
        EXPECT_EQ(p.rgb(4, i), 0u) << i;
    }
    EXPECT_TRUE(p.paddingIntact());
}

INSTANTIATE_TEST_SUITE_P(PixelCodes, WuLineTest,
                         ::testing::Values(kPixelType32ARGB, kPixelType24RGB, kPixelType32BGRA),
                         [](const ::testing::TestParamInfo<int32_t>& info) {
                             return "code" + std::to_string(info.param);
                         });

}  // namespace
