// Saturation and colorness against the plain reference, the worked examples, extreme
// amounts and thresholds, and the failure paths.
#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "tests/reference/tone_reference.h"

namespace {

using namespace vqztest;
namespace ref = reference::tone;

const char* const kSaturation = "ChangeSaturationVQZ(Amount as integer) as picture";
const char* const kColorness = "ColornessVQZ(threshold as integer = 10) as double";

class ToneSaturationTest : public PluginFormatTest {
protected:
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
    std::vector<int32_t> amounts = {0, -255, 255, -100, 1, -1, -256, 510, 100000, -100000, 8421504, 11184810,
                                    11184811, 20000000, INT32_MAX, INT32_MIN, INT32_MAX - 254};
    for (int i = 0; i < 8; ++i) amounts.push_back(int32_t(random() % 1401) - 700);
    for (int32_t amount : amounts) {
        Ref pic = randomPicture(1 + int(random() % 29), 1 + int(random() % 13), random());
        Ref out = saturated(pic.get(), amount);
        const Snapshot expected =
            expectedFrom(snapshot(pic.get()), [&](int, int, uint32_t c) { return ref::saturation(c, amount); });
        EXPECT_TRUE(ref::written(expected, out.get(), format().desktop())) << "Amount " << amount;
    }
}

TEST_P(ToneSaturationTest, ColornessMatchesReference) {
    std::mt19937 random(3000 + GetParam().depth + 10 * int(GetParam().kind));
    for (int32_t threshold : {10, 0, -1, -2, 1, 40, 254, 255, 256, INT32_MAX, INT32_MIN, -300}) {
        // Colors near gray and near black, where the thresholds decide.
        const int w = 1 + int(random() % 40), h = 1 + int(random() % 12);
        Ref pic = picture(w, h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int base = int(random() % 256), spread = 1 + int(random() % 60);
                auto near = [&] { return std::clamp(base + int(random() % (2 * spread + 1)) - spread, 0, 255); };
                standin::setRGB(pic.get(), x, y, rgbOf(near(), near(), near()));
            }
        EXPECT_DOUBLE_EQ(ref::colorness(snapshot(pic.get()), threshold), colorness(pic.get(), threshold))
            << "threshold " << threshold;
    }
}

TEST_P(ToneSaturationTest, NilFaultsAndSizeLimits) {
    EXPECT_FALSE(saturated(nullptr, 10));
    EXPECT_EQ(colorness(nullptr, 10), 0.0);
    Ref pic = pixels({rgbOf(255, 0, 0), rgbOf(9, 9, 9)});
    EXPECT_TRUE(ref::failsUnderEveryFault(format(), [&] { return !saturated(pic.get(), 10); }));
    EXPECT_TRUE(ref::failsUnderEveryFault(format(), [&] { return colorness(pic.get(), -1) == 0.0; }));
    Ref widest = picture(32767, 1), tooWide = picture(32768, 1);
    EXPECT_TRUE(saturated(widest.get(), 0));
    if (tooWide) { EXPECT_FALSE(saturated(tooWide.get(), 0)); }
}

VQZ_ALL_FORMATS(ToneSaturationTest);

class ToneSaturationExamples : public ToneSaturationTest {};

TEST_P(ToneSaturationExamples, SaturationOfOnePixel) {
    const uint32_t red = rgbOf(255, 0, 0), dark = rgbOf(10, 20, 30), orange = rgbOf(200, 100, 50);
    const struct { int32_t amount; uint32_t from, to; } cases[] = {
        {0, red, red}, {0, dark, dark}, {0, orange, orange}, {-255, red, rgbOf(63, 63, 63)},
        {-255, dark, rgbOf(20, 20, 20)}, {255, red, red}, {255, orange, rgbOf(255, 88, 0)},
        {-100, orange, rgbOf(165, 105, 75)}};  // truncated toward zero on both sides of gray
    for (const auto& c : cases) {
        Ref pic = pixels({c.from});
        Ref out = saturated(pic.get(), c.amount);
        ASSERT_TRUE(out);
        EXPECT_EQ(standin::getRGB(out.get(), 0, 0), c.to) << "Amount " << c.amount << " on " << c.from;
    }
}

TEST_P(ToneSaturationExamples, ColornessOfFewPixels) {
    const uint32_t red = rgbOf(255, 0, 0), gray = rgbOf(128, 128, 128), green = rgbOf(0, 200, 0);
    // Threshold 10 is the default, left out of the call.
    const struct { std::vector<uint32_t> colors; int32_t threshold; double colorness; } cases[] = {
        {{0, 0, 0, 0}, 10, 0.0}, {{red, red, red}, 10, 1.0}, {{gray, gray}, 10, 0.0},
        {{rgbOf(29, 0, 29), rgbOf(0, 29, 0), rgbOf(29, 29, 0)}, 10, 0.0},  // dark: every channel below 30
        {{rgbOf(40, 50, 40)}, 10, 0.0}, {{rgbOf(40, 51, 40)}, 10, 1.0},  // differences of 10 do not count
        {{rgbOf(100, 110, 120)}, 10, 0.0},  // red and blue are not compared with each other
        {{rgbOf(30, 0, 0)}, 10, 1.0}, {{rgbOf(29, 0, 0)}, 10, 0.0},
        {{red, gray, green, 0}, 10, 0.5},
        {{red, gray, green, 0}, -1, 0.75}, {{red, gray, green, 0}, INT32_MIN, 0.75}};  // every pixel not dark
    for (const auto& c : cases) {
        Ref pic = pixels(c.colors);
        const double got = c.threshold == 10 ? callDouble(kColorness, pic.get()) : colorness(pic.get(), c.threshold);
        EXPECT_EQ(got, c.colorness) << ::testing::PrintToString(c.colors) << " threshold " << c.threshold;
    }
}

VQZ_READER_FORMATS(ToneSaturationExamples);

}  // namespace
