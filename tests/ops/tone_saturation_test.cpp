// Saturation and colorness against the plain reference, the worked examples, extreme
// amounts and thresholds, and the failure paths.
#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "tests/reference/tone_reference.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;
namespace ref = reference::tone;

const char* const kSaturation = "ChangeSaturationVQZ(Amount as integer) as picture";
const char* const kColorness = "ColornessVQZ(threshold as integer = 10) as double";

class ToneSaturationTest : public PluginFormatTest {
protected:
    // Makes the nth opening of a picture in this test's host fail: a desktop host
    // refuses to lock the pixels, a console host the description.
    void failOpening(int n) {
        standin::failNth(format().desktop() ? standin::Fault::PixelLock : standin::Fault::DescriptionLock, n);
    }

    Ref saturated(void* pic, int32_t amount) { return callPicture(kSaturation, pic, {Value::integer(amount)}); }
    double colorness(void* pic, int32_t threshold) { return callDouble(kColorness, pic, {Value::integer(threshold)}); }

    // A picture of the given colors, one pixel each, in a row.
    Ref pixels(const std::vector<uint32_t>& colors) {
        Ref pic = picture(int(colors.size()), 1);
        for (size_t x = 0; x < colors.size(); ++x) standin::setRGB(pic.get(), int(x), 0, colors[x]);
        return pic;
    }
};

TEST_P(ToneSaturationTest, SaturationMatchesReference) {
    std::mt19937 random(2000 + GetParam().depth + 10 * int(GetParam().kind));
    const int32_t corners[] = {0, -255, 255, -100, 1, -1, -256, 510, 100000, -100000,
                                8421504, 11184810, 11184811, 20000000, INT32_MAX, INT32_MIN, INT32_MAX - 254};
    std::vector<int32_t> amounts(std::begin(corners), std::end(corners));
    for (int i = 0; i < 8; ++i) amounts.push_back(int32_t(random() % 1401) - 700);
    for (int32_t amount : amounts) {
        SCOPED_TRACE(::testing::Message() << "Amount " << amount);
        Ref pic = randomPicture(1 + int(random() % 29), 1 + int(random() % 13), random());
        Ref out = saturated(pic.get(), amount);
        ASSERT_TRUE(out);
        const Snapshot src = snapshot(pic.get()), got = snapshot(out.get());
        EXPECT_TRUE(samePixels(expectedFrom(src, [&](int, int, uint32_t c) { return ref::saturation(c, amount); }), got));
        const uint8_t written = format().desktop() ? 255 : 0;
        int wrongMasks = 0;
        for (uint8_t m : got.mask) wrongMasks += m != written;
        EXPECT_EQ(wrongMasks, 0);
    }
}

TEST_P(ToneSaturationTest, ColornessMatchesReference) {
    std::mt19937 random(3000 + GetParam().depth + 10 * int(GetParam().kind));
    const int32_t thresholds[] = {10, 0, -1, -2, 1, 40, 254, 255, 256, INT32_MAX, INT32_MIN, -300};
    for (int32_t threshold : thresholds) {
        SCOPED_TRACE(::testing::Message() << "threshold " << threshold);
        // Colors near gray and near black, where the thresholds decide.
        Ref pic = picture(1 + int(random() % 40), 1 + int(random() % 12));
        const int w = standin::pictureWidth(pic.get()), h = standin::pictureHeight(pic.get());
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                const int base = int(random() % 256), spread = 1 + int(random() % 60);
                auto near = [&] { return std::min(255, std::max(0, base + int(random() % (2 * spread + 1)) - spread)); };
                standin::setRGB(pic.get(), x, y, rgbOf(near(), near(), near()));
            }
        }
        EXPECT_DOUBLE_EQ(ref::colorness(snapshot(pic.get()), threshold), colorness(pic.get(), threshold));
    }
}

VQZ_ALL_FORMATS(ToneSaturationTest);

class ToneSaturationExamples : public ToneSaturationTest {};

TEST_P(ToneSaturationExamples, SaturationExamples) {
    Ref pic = pixels({rgbOf(255, 0, 0), rgbOf(10, 20, 30), rgbOf(200, 100, 50)});
    auto colorsAfter = [&](int32_t amount) {
        Ref out = saturated(pic.get(), amount);
        std::vector<uint32_t> colors;
        if (out)
            for (int x = 0; x < 3; ++x) colors.push_back(standin::getRGB(out.get(), x, 0));
        return colors;
    };
    EXPECT_EQ(colorsAfter(0), (std::vector<uint32_t>{rgbOf(255, 0, 0), rgbOf(10, 20, 30), rgbOf(200, 100, 50)}));
    const std::vector<uint32_t> gray = colorsAfter(-255);
    ASSERT_EQ(gray.size(), 3u);
    EXPECT_EQ(gray[0], rgbOf(63, 63, 63));
    EXPECT_EQ(gray[1], rgbOf(20, 20, 20));
    const std::vector<uint32_t> vivid = colorsAfter(255);
    ASSERT_EQ(vivid.size(), 3u);
    EXPECT_EQ(vivid[0], rgbOf(255, 0, 0));
    EXPECT_EQ(vivid[2], rgbOf(255, 88, 0));
    EXPECT_EQ(colorsAfter(-100).at(2), rgbOf(165, 105, 75));  // truncated toward zero on both sides
}

TEST_P(ToneSaturationExamples, ColornessExamples) {
    Ref black = picture(5, 4);
    fillColor(black.get(), 0);
    EXPECT_EQ(colorness(black.get(), 10), 0.0);
    Ref dark = pixels({rgbOf(29, 0, 29), rgbOf(0, 29, 0), rgbOf(29, 29, 0)});
    EXPECT_EQ(colorness(dark.get(), 10), 0.0);
    Ref red = picture(3, 3);
    fillColor(red.get(), rgbOf(255, 0, 0));
    EXPECT_EQ(colorness(red.get(), 10), 1.0);
    Ref gray = picture(3, 3);
    fillColor(gray.get(), rgbOf(128, 128, 128));
    EXPECT_EQ(colorness(gray.get(), 10), 0.0);
    // The default threshold is 10: differences of exactly 10 do not count, red and
    // blue are not compared with each other, and dark means every channel below 30.
    auto coloredByDefault = [&](uint32_t c) {
        Ref one = pixels({c});
        return callDouble(kColorness, one.get()) == 1.0;
    };
    EXPECT_FALSE(coloredByDefault(rgbOf(40, 50, 40)));
    EXPECT_TRUE(coloredByDefault(rgbOf(40, 51, 40)));
    EXPECT_FALSE(coloredByDefault(rgbOf(100, 110, 120)));
    EXPECT_TRUE(coloredByDefault(rgbOf(30, 0, 0)));
    EXPECT_FALSE(coloredByDefault(rgbOf(29, 0, 0)));
    Ref half = pixels({rgbOf(255, 0, 0), rgbOf(128, 128, 128), rgbOf(0, 200, 0), rgbOf(0, 0, 0)});
    EXPECT_EQ(colorness(half.get(), 10), 0.5);
    // A negative threshold makes every pixel that is not dark colored.
    EXPECT_EQ(colorness(half.get(), -1), 0.75);
    EXPECT_EQ(colorness(half.get(), INT32_MIN), 0.75);
}

TEST_P(ToneSaturationExamples, NilAndFailures) {
    EXPECT_FALSE(saturated(nullptr, 10));
    EXPECT_EQ(colorness(nullptr, 10), 0.0);
    Ref pic = randomPicture(6, 5, 11);
    standin::failNth(standin::Fault::PictureCreation, 1);
    EXPECT_FALSE(saturated(pic.get(), 10));
    failOpening(1);
    EXPECT_FALSE(saturated(pic.get(), 10));
    failOpening(2);
    EXPECT_FALSE(saturated(pic.get(), 10));
    failOpening(1);
    EXPECT_EQ(colorness(pic.get(), -1), 0.0);
    Ref tooWide = picture(32768, 1);
    if (tooWide) EXPECT_FALSE(saturated(tooWide.get(), 0));
    Ref widest = picture(32767, 1);
    EXPECT_TRUE(saturated(widest.get(), 0));
}

VQZ_READER_FORMATS(ToneSaturationExamples);

}  // namespace
