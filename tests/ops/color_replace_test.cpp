#include <random>

#include "tests/ops/color_test_support.h"
#include "tests/reference/color_reference.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;
namespace ref = reference::color;

const char* const kReplace = "ReplaceColorVQZ(SearchColor as color, ReplaceWithColor as color) as picture";
const char* const kExtract =
    "ExtractColorVQZ(SearchColor as color, ReplaceWithColor as color, BackGroundColor as color) as picture";

class ReplaceExtractTest : public PluginFormatTest {
protected:
    Ref replace(void* p, uint32_t search, uint32_t with) {
        return callPicture(kReplace, p, {Value::color(search), Value::color(with)});
    }
    Ref extract(void* p, uint32_t search, uint32_t with, uint32_t background) {
        return callPicture(kExtract, p, {Value::color(search), Value::color(with), Value::color(background)});
    }
    bool written(const Snapshot& expected, const Ref& out) {
        return colortest::writtenPicture(expected, out.get(), format().desktop());
    }
    // A random picture in which a quarter of the pixels share one color (returned).
    Ref pictureWithRepeats(int w, int h, uint32_t seed, uint32_t* repeated) {
        Ref p = randomPicture(w, h, seed);
        std::mt19937 r(seed);
        *repeated = standin::getRGB(p.get(), 0, 0);
        for (int i = 0; i < w * h / 4; ++i)
            standin::setRGB(p.get(), int(r() % uint32_t(w)), int(r() % uint32_t(h)), *repeated);
        return p;
    }
};

TEST_P(ReplaceExtractTest, MatchesReferenceOnRandomPictures) {
    std::mt19937 random(uint32_t(GetParam().depth + 100 * int(GetParam().kind)));
    for (int round = 0; round < 6; ++round) {
        uint32_t color;
        Ref p = pictureWithRepeats(1 + int(random() % 30), 1 + int(random() % 8), uint32_t(random()), &color);
        const Snapshot s = snapshot(p.get());
        const std::vector<uint8_t> before = rawPixels(p.get());
        // Top bytes set on every color: they must play no part.
        const uint32_t search = color | 0x7F000000, with = uint32_t(random()), background = uint32_t(random());
        EXPECT_TRUE(written(expectedFrom(s, [&](int, int, uint32_t rgb) { return ref::replace(rgb, search, with); }),
                            replace(p.get(), search, with)));
        EXPECT_TRUE(written(
            expectedFrom(s, [&](int, int, uint32_t rgb) { return ref::extract(rgb, search, with, background); }),
            extract(p.get(), search, with, background)));
        EXPECT_EQ(rawPixels(p.get()), before);
    }
}

TEST_P(ReplaceExtractTest, AbsentOrUnchangedColorGivesACopyOrTheBackground) {
    uint32_t color;
    Ref p = pictureWithRepeats(9, 6, 3, &color);
    const Snapshot s = snapshot(p.get());
    uint32_t absent = s.at(0, 0) ^ 0x000001;
    while (ref::countColor(s, absent) != 0) absent += 0x010000;
    EXPECT_TRUE(written(s, replace(p.get(), absent, 0x123456)));
    EXPECT_TRUE(written(s, replace(p.get(), color, color)));
    EXPECT_TRUE(
        written(expectedFrom(s, [](int, int, uint32_t) { return 0xABCDEFu; }), extract(p.get(), absent, 0, 0xABCDEF)));
}

// Exact colors need formats that hold them; the mask byte plays no part in a match.
class ReplaceExtractExactTest : public ReplaceExtractTest {};

TEST_P(ReplaceExtractExactTest, MatchesIgnoreTheMaskByteAndTheColorsTopByte) {
    Ref p = picture(3, 1);
    standin::setRGB(p.get(), 0, 0, rgbOf(10, 20, 30));
    standin::setRGB(p.get(), 1, 0, rgbOf(10, 20, 30));
    standin::setRGB(p.get(), 2, 0, rgbOf(10, 20, 31));
    if (format().code() == 13) standin::pixelAddress(p.get(), 1, 0)[0] = 0x3C;
    if (format().code() == 8) standin::pixelAddress(p.get(), 1, 0)[3] = 0x3C;
    Ref out = extract(p.get(), 0xFF0A141E, 0x010101, 0x020202);
    ASSERT_TRUE(out);
    EXPECT_EQ(standin::getRGB(out.get(), 0, 0), 0x010101u);
    EXPECT_EQ(standin::getRGB(out.get(), 1, 0), 0x010101u);
    EXPECT_EQ(standin::getRGB(out.get(), 2, 0), 0x020202u);
    out = replace(p.get(), 0x0A141F, 0x00FF00);
    ASSERT_TRUE(out);
    EXPECT_EQ(standin::getRGB(out.get(), 0, 0), rgbOf(10, 20, 30));
    EXPECT_EQ(standin::getRGB(out.get(), 2, 0), 0x00FF00u);
}

VQZ_ALL_FORMATS(ReplaceExtractTest);
VQZ_READER_FORMATS(ReplaceExtractExactTest);

}  // namespace
