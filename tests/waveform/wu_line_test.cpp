// The anti-aliased line and its pixel blend, drawn by the linked plugin code through a
// writer over a host picture of each pixel code (13, 12 and 8).
#include <array>
#include <climits>
#include <random>
#include <vector>

#include "tests/reference/waveform_reference.h"
#include "tests/support/linked_plugin.h"
#include "waveform/wu_line.h"

namespace {

using namespace vqztest;
namespace ref = waveform_reference;
using Lines = std::vector<std::array<int, 4>>;

void SetOutline(uint32_t rgb) {
    gOutLineColorR = int32_t(rgb >> 16 & 255), gOutLineColorG = int32_t(rgb >> 8 & 255);
    gOutLineColorB = int32_t(rgb & 255);
}

class WuLineTest : public LinkedPluginTest, public ::testing::WithParamInterface<HostFormat> {
protected:
    HostConfig initialConfig() const override { return configFor(GetParam()); }
    void TearDown() override {
        SetOutline(0);
        LinkedPluginTest::TearDown();
    }
    // Draws into the picture's own pixels.
    template <class Draw>
    void drawInto(Ref& pic, Draw draw) {
        PictureWriter w;
        ASSERT_TRUE(w.NewPictureWriter(pic.pic(), standin::pictureWidth(pic.get()), standin::pictureHeight(pic.get())));
        draw(w);
    }
    void drawLines(Ref& pic, const Lines& lines) {
        drawInto(pic, [&](PictureWriter& w) {
            for (const auto& l : lines)
                DrawWuLine(w, l[0], l[1], l[2], l[3], kWuBaseWeight, kWuWeightLevels, kWuIntensityBits);
        });
    }
    // The picture's colors as in `want`, its mask bytes the writer's where `want` was
    // drawn and as `before` elsewhere, and its row padding untouched.
    void expectPicture(Ref& pic, const ref::Image& want, const Snapshot& before) {
        const Snapshot got = snapshot(pic.get());
        EXPECT_TRUE(samePixels(Snapshot{want.width, want.height, want.rgb, {}}, got));
        int wrongMasks = 0;
        for (size_t i = 0; i < got.mask.size(); ++i)
            wrongMasks += got.mask[i] != (want.touched[i] ? (GetParam().desktop() ? 255 : 0) : before.mask[i]);
        EXPECT_EQ(wrongMasks, 0) << "pixels whose mask byte is wrong";
        EXPECT_TRUE(standin::guardsIntact(pic.get()));
    }
    // Draws the lines in `outline` over a picture and compares with the step-by-step walk.
    void expectReferenceLines(Ref& pic, const Lines& lines, uint32_t outline) {
        const Snapshot before = snapshot(pic.get());
        ref::Image want(before.width, before.height, 0);
        want.rgb = before.rgb;
        SetOutline(outline);
        drawLines(pic, lines);
        const ref::Color color{int(outline >> 16), int(outline >> 8 & 255), int(outline & 255)};
        for (const auto& l : lines) ref::DrawWuLine(want, l[0], l[1], l[2], l[3], color);
        expectPicture(pic, want, before);
    }
};

TEST_P(WuLineTest, ExampleLinesDrawTheirPixelsAndWeights) {
    struct Pixel {
        int x, y, weight;
    };
    // Steep: dx 1, dy 4, adj 16384; inner rows weigh 64/128/192 and their complements.
    const std::vector<Pixel> steep = {{0, 0, 0},   {0, 1, 64}, {1, 1, 191}, {0, 2, 128},
                                      {1, 2, 127}, {0, 3, 192}, {1, 3, 63}, {1, 4, 0}};
    const std::pair<std::array<int, 4>, std::vector<Pixel>> examples[] = {
        {{3, 10, 3, 10}, {{3, 10, 0}}},
        {{0, 5, 4, 5}, {{0, 5, 0}, {1, 5, 0}, {2, 5, 0}, {3, 5, 0}, {4, 5, 0}}},
        {{0, 0, 3, 3}, {{0, 0, 0}, {1, 1, 0}, {2, 2, 0}, {3, 3, 0}}},
        {{0, 0, 1, 4}, steep},
        {{1, 4, 0, 0}, steep},
        // Flat, both ways: dx 4, dy 1, adj 16384.
        {{0, 0, 4, 1}, {{0, 0, 0}, {1, 0, 64}, {1, 1, 191}, {2, 0, 128}, {2, 1, 127}, {3, 0, 192}, {3, 1, 63}, {4, 1, 0}}},
        {{4, 0, 0, 1}, {{4, 0, 0}, {3, 0, 64}, {3, 1, 191}, {2, 0, 128}, {2, 1, 127}, {1, 0, 192}, {1, 1, 63}, {0, 1, 0}}},
    };
    SetOutline(0x000000);  // on white, a drawn pixel's gray level is its weight
    for (const auto& [line, drawn] : examples) {
        SCOPED_TRACE(::testing::Message() << line[0] << "," << line[1] << " to " << line[2] << "," << line[3]);
        Ref pic = makePicture(GetParam(), 6, 11);
        fillRandom(pic.get(), 1);  // for random mask bytes ...
        fillColor(pic.get(), 0xFFFFFF);  // ... under white
        const Snapshot before = snapshot(pic.get());
        drawLines(pic, {line});
        ref::Image want(6, 11, 0xFFFFFF);
        for (const Pixel& d : drawn)
            want.at(d.x, d.y) = uint32_t(d.weight) * 0x10101u, want.touched[size_t(d.y * 6 + d.x)] = 1;
        expectPicture(pic, want, before);
    }
}

TEST_P(WuLineTest, PixelBlend) {
    // Weight 255 keeps the pixel, 0 paints the outline color, 128 of black over white is gray 128.
    SetOutline(0x000000);
    Ref pic = makePicture(GetParam(), 4, 1);
    fillRandom(pic.get(), 2);
    fillColor(pic.get(), 0xFFFFFF);
    const Snapshot before = snapshot(pic.get());
    drawInto(pic, [](PictureWriter& w) {
        for (auto [x, weight] : {std::pair{0, 255}, {1, 0}, {2, 128}}) DrawPixel(w, x, 0, weight);
        // Outside the picture nothing is written.
        for (auto [x, y] : {std::pair{-1, 0}, {4, 0}, {0, -1}, {0, 1}, {INT_MIN, INT_MAX}}) DrawPixel(w, x, y, 0);
    });
    ref::Image want(4, 1, 0);
    want.rgb = {0xFFFFFF, 0x000000, 0x808080, 0xFFFFFF};
    want.touched = {1, 1, 1, 0};
    expectPicture(pic, want, before);
}

// Random lines, partly or wholly outside, over random pixels in random outline colors.
TEST_P(WuLineTest, MatchesStepByStepWalk) {
    std::mt19937 random(uint32_t(GetParam().code()) * 977u);
    for (int round = 0; round < 60; ++round) {
        SCOPED_TRACE(round);
        const int w = 1 + int(random() % 40), h = 1 + int(random() % 30);
        Ref pic = makePicture(GetParam(), w, h);
        fillRandom(pic.get(), random());
        auto coord = [&](int size) { return int(random() % uint32_t(3 * size + 20)) - size - 10; };
        Lines lines;
        for (int i = 0; i < 6; ++i) lines.push_back({coord(w), coord(h), coord(w), coord(h)});
        expectReferenceLines(pic, lines, random() & 0xFFFFFF);
    }
}

// End points far outside: the visible part matches the walk that steps through every
// row, and nothing is written outside the picture.
TEST_P(WuLineTest, FarEndPointsDrawOnlyTheVisiblePart) {
    const Lines lines = {{3, -100000, 5, 100000}, {0, -40000, 1, 20},   {9, 7, 8, 150000},
                         {-70000, 3, 60000, 6},   {-33000, -5, 40, 12}, {2, -32000, 6, 700},
                         {1, 2, 70000, 40000},    {-50000, 9000, 50000, -9000}};
    for (const auto& l : lines) {
        SCOPED_TRACE(::testing::Message() << l[0] << "," << l[1] << " to " << l[2] << "," << l[3]);
        Ref pic = makePicture(GetParam(), 12, 10);
        fillRandom(pic.get(), 3);
        expectReferenceLines(pic, {l}, 0x102030);
    }
}

TEST_P(WuLineTest, ExtremeCoordinatesAreSafe) {
    SetOutline(0);
    Ref pic = makePicture(GetParam(), 8, 8);
    drawLines(pic, {{INT_MIN, INT_MIN, INT_MAX, INT_MAX}, {0, INT_MIN, 1, INT_MAX}, {INT_MAX, 0, INT_MIN, 1},
                    {INT_MIN, 4, INT_MAX, 4}, {4, INT_MAX, 4, INT_MIN}, {INT_MAX, INT_MAX, INT_MAX, INT_MAX}});
    // The horizontal and vertical lines through (4, 4) are drawn across the whole picture.
    for (int i = 0; i < 8; ++i)
        EXPECT_TRUE(standin::getRGB(pic.get(), i, 4) == 0 && standin::getRGB(pic.get(), 4, i) == 0) << i;
    EXPECT_TRUE(standin::guardsIntact(pic.get()));
}

VQZ_READER_FORMATS(WuLineTest);

}  // namespace
