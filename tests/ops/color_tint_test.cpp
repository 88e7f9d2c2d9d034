#include <random>

#include "tests/ops/color_test_support.h"
#include "tests/reference/color_reference.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;
namespace ref = reference::color;

const char* const kTint = "TintPictureVQZ(source as picture, GreyBase as color, SepiaBase as color) as picture";

class TintTest : public PluginFormatTest {
protected:
    Ref tint(void* source, uint32_t grey, uint32_t sepia) {
        return callGlobalPicture(kTint, {Value::picture(source), Value::color(grey), Value::color(sepia)});
    }
    // Tints `source` and checks every pixel and mask byte; the source stays as it was.
    void expectTint(void* source, uint32_t grey, uint32_t sepia) {
        SCOPED_TRACE(::testing::Message() << std::hex << "grey " << grey << " sepia " << sepia);
        const std::vector<uint8_t> before = rawPixels(source);
        Ref out = tint(source, grey, sepia);
        const Snapshot expected =
            expectedFrom(snapshot(source), [&](int, int, uint32_t rgb) { return ref::tint(rgb, grey, sepia); });
        EXPECT_TRUE(colortest::writtenPicture(expected, out.get(), format().desktop()));
        EXPECT_EQ(rawPixels(source), before);
    }
    // The result for one pixel of the given color (as this format stores it).
    uint32_t tintOf(uint32_t rgb, uint32_t grey, uint32_t sepia) {
        Ref p = picture(1, 1);
        standin::setRGB(p.get(), 0, 0, rgb);
        Ref out = tint(p.get(), grey, sepia);
        return out ? standin::getRGB(out.get(), 0, 0) : 0xDEADBEEF;
    }
};

TEST_P(TintTest, MatchesReferenceOnRandomPicturesAndColors) {
    std::mt19937 random(uint32_t(GetParam().depth + 100 * int(GetParam().kind)));
    for (int round = 0; round < 8; ++round) {
        Ref p = randomPicture(1 + int(random() % 40), 1 + int(random() % 9), uint32_t(random()));
        // The colors' top bytes are random too: they must play no part.
        expectTint(p.get(), uint32_t(random()), uint32_t(random()));
    }
    Ref p = randomPicture(23, 7, 4);
    for (uint32_t grey : {0x000000u, 0xFFFFFFu, 0x555555u, 0x010203u})
        for (uint32_t sepia : {0x000000u, 0xFFFFFFu, 0x704214u}) expectTint(p.get(), grey, sepia);
}

// The worked examples, in the formats that hold their colors exactly.
class TintExampleTest : public TintTest {};

TEST_P(TintExampleTest, WorkedExamples) {
    EXPECT_EQ(tintOf(rgbOf(30, 60, 90), rgbOf(85, 85, 85), 0xFFFFFF), rgbOf(60, 60, 60));
    EXPECT_EQ(tintOf(rgbOf(100, 100, 100), 0xFFFFFF, 0xFFFFFF), rgbOf(255, 255, 255));
    EXPECT_EQ(tintOf(rgbOf(200, 7, 9), rgbOf(255, 0, 0), rgbOf(255, 128, 0)), rgbOf(200, 100, 0));
}

TEST_P(TintTest, BlackColorsGiveABlackPicture) {
    Ref p = randomPicture(9, 4, 11);
    const Snapshot black = expectedFrom(snapshot(p.get()), [](int, int, uint32_t) { return 0u; });
    Ref blackSepia = tint(p.get(), 0xFFFFFF, 0x000000);
    Ref blackGrey = tint(p.get(), 0x000000, 0x704214);
    EXPECT_TRUE(colortest::writtenPicture(black, blackSepia.get(), format().desktop()));
    EXPECT_TRUE(colortest::writtenPicture(black, blackGrey.get(), format().desktop()));
}

VQZ_ALL_FORMATS(TintTest);
VQZ_READER_FORMATS(TintExampleTest);

}  // namespace
