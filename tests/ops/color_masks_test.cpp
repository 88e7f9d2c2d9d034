#include <cstdlib>
#include <random>

#include "tests/ops/color_test_support.h"
#include "tests/reference/color_reference.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;
namespace ref = reference::color;

const char* const kMask = "EmbeddedMaskVQZ(swap as boolean) as picture";

class EmbeddedMaskTest : public PluginFormatTest {
protected:
    Ref getMask(void* pic, bool swap) { return callPicture(kMask, pic, {Value::boolean(swap)}); }
    void setMask(void* pic, bool swap, void* mask) {
        callSetter("Picture", kMask, pic, {Value::boolean(swap)}, Value::picture(mask));
    }
    // The byte offset of the mask byte in this format's pixels (-1: none).
    int maskIndex() const { return format().code() == 13 ? 0 : format().code() == 8 ? 3 : -1; }
    void setAllMaskBytes(void* pic, uint8_t value) {
        for (int y = 0; y < standin::pictureHeight(pic); ++y)
            for (int x = 0; x < standin::pictureWidth(pic); ++x) standin::pixelAddress(pic, x, y)[maskIndex()] = value;
    }
};

// ---------------------------------------------------------------- getter

TEST_P(EmbeddedMaskTest, GetterGivesAGrayPictureOfTheSameSize) {
    Ref p = randomPicture(11, 6, 1);
    for (bool swap : {false, true}) {
        Ref out = getMask(p.get(), swap);
        ASSERT_TRUE(out);
        const Snapshot s = snapshot(out.get());
        EXPECT_EQ(s.width, 11);
        EXPECT_EQ(s.height, 6);
        for (uint32_t rgb : s.rgb) ASSERT_TRUE(redOf(rgb) == greenOf(rgb) && greenOf(rgb) == blueOf(rgb));
    }
}

class EmbeddedMaskExactTest : public EmbeddedMaskTest {};

TEST_P(EmbeddedMaskExactTest, GetterReadsEachFormatsMaskByte) {
    Ref p = randomPicture(13, 5, 2);  // random mask bytes too
    for (bool swap : {false, true}) {
        Ref out = getMask(p.get(), swap);
        const Snapshot expected = expectedFrom(snapshot(p.get()), [&](int x, int y, uint32_t) {
            const int a = ref::embeddedMask(format().code(), standin::pixelAddress(p.get(), x, y));
            return ref::gray(swap ? 255 - a : a);
        });
        EXPECT_TRUE(colortest::writtenPicture(expected, out.get(), format().desktop())) << "swap " << swap;
    }
}

TEST_P(EmbeddedMaskExactTest, OpaqueMaskBytesGiveWhiteOrBlack) {
    Ref p = randomPicture(4, 3, 3);
    // 255 in code 13, 127 in code 8 (a 7-bit byte); code 12 has none and reads as opaque.
    if (maskIndex() >= 0) setAllMaskBytes(p.get(), format().code() == 13 ? 255 : 127);
    const Snapshot s = snapshot(p.get());
    Ref white = getMask(p.get(), false), black = getMask(p.get(), true);
    EXPECT_TRUE(colortest::writtenPicture(expectedFrom(s, [](int, int, uint32_t) { return 0xFFFFFFu; }), white.get(),
                                          format().desktop()));
    EXPECT_TRUE(colortest::writtenPicture(expectedFrom(s, [](int, int, uint32_t) { return 0u; }), black.get(),
                                          format().desktop()));
}

// ---------------------------------------------------------------- setter

// The setter changes only mask bytes, and only where the mask has pixels: red of the
// mask (or 255 - red) in code 13, its top seven bits in code 8's 7-bit byte, nothing
// in code 12 (no mask byte) or in a picture that is read through a copy.
TEST_P(EmbeddedMaskTest, SetterWritesTheMaskBytesWhereTheMaskHasPixels) {
    std::mt19937 random(7);
    for (bool swap : {false, true}) {
        for (auto [mw, mh] : {std::pair{9, 6}, std::pair{4, 3}, std::pair{15, 10}}) {
            SCOPED_TRACE(::testing::Message() << "mask " << mw << "x" << mh << " swap " << swap);
            Ref p = randomPicture(9, 6, uint32_t(random())), mask = randomPicture(mw, mh, uint32_t(random()));
            const Snapshot colors = snapshot(p.get()), maskColors = snapshot(mask.get());
            const std::vector<uint8_t> before = rawPixels(p.get()), maskBefore = rawPixels(mask.get());
            const int caches = standin::clearCacheCount(p.get());
            setMask(p.get(), swap, mask.get());
            EXPECT_TRUE(samePixels(colors, snapshot(p.get())));
            EXPECT_EQ(rawPixels(mask.get()), maskBefore);
            EXPECT_TRUE(standin::guardsIntact(p.get()));
            EXPECT_EQ(standin::clearCacheCount(p.get()), caches);  // opened for reading only
            if (maskIndex() < 0) {
                EXPECT_EQ(rawPixels(p.get()), before);
                continue;
            }
            int wrong = 0;
            for (int y = 0; y < 6; ++y) {
                for (int x = 0; x < 9; ++x) {
                    const int bpp = standin::bytesPerPixel(p.get());
                    uint8_t expected = before[size_t((y * 9 + x) * bpp + maskIndex())];
                    if (x < mw && y < mh) {
                        const int v = swap ? 255 - redOf(maskColors.at(x, y)) : redOf(maskColors.at(x, y));
                        expected = uint8_t(format().code() == 13 ? v : v >> 1);
                    }
                    wrong += standin::pixelAddress(p.get(), x, y)[maskIndex()] != expected;
                }
            }
            EXPECT_EQ(wrong, 0);
        }
    }
}

TEST_P(EmbeddedMaskExactTest, GetterReadsBackWhatTheSetterWrote) {
    Ref p = randomPicture(8, 8, 5), mask = randomPicture(8, 8, 6);
    for (bool swap : {false, true}) {
        setMask(p.get(), swap, mask.get());
        Ref back = getMask(p.get(), swap);
        ASSERT_TRUE(back);
        const Snapshot m = snapshot(mask.get()), got = snapshot(back.get());
        for (int y = 0; y < 8; ++y) {
            for (int x = 0; x < 8; ++x) {
                const int red = redOf(m.at(x, y)), gray = redOf(got.at(x, y));
                if (format().code() == 12) {
                    EXPECT_EQ(gray, swap ? 0 : 255);
                } else if (format().code() == 13 || (red & 1) == (red >> 1 & 1)) {
                    EXPECT_EQ(gray, red);  // exact where the byte can hold the value
                } else {
                    EXPECT_EQ(std::abs(gray - red), 1);  // the nearest value a 7-bit byte holds
                }
            }
        }
    }
}

TEST_P(EmbeddedMaskExactTest, ZeroRedGivesOpaqueOrClearMaskBytes) {
    Ref p = randomPicture(5, 4, 8), mask = picture(5, 4);
    fillColor(mask.get(), 0x00FFFF);
    setMask(p.get(), true, mask.get());
    Ref opaque = getMask(p.get(), false);
    setMask(p.get(), false, mask.get());
    Ref clear = getMask(p.get(), false);
    const Snapshot s = snapshot(p.get());
    const uint32_t whenClear = format().code() == 12 ? 0xFFFFFF : 0;
    EXPECT_TRUE(colortest::writtenPicture(expectedFrom(s, [](int, int, uint32_t) { return 0xFFFFFFu; }), opaque.get(),
                                          format().desktop()));
    EXPECT_TRUE(colortest::writtenPicture(expectedFrom(s, [&](int, int, uint32_t) { return whenClear; }), clear.get(),
                                          format().desktop()));
}

TEST_P(EmbeddedMaskExactTest, APictureCanBeItsOwnMask) {
    Ref p = randomPicture(6, 6, 9);
    const Snapshot s = snapshot(p.get());
    setMask(p.get(), false, p.get());
    EXPECT_TRUE(samePixels(s, snapshot(p.get())));
    if (format().code() != 13) return;
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 6; ++x) EXPECT_EQ(standin::pixelAddress(p.get(), x, y)[0], redOf(s.at(x, y)));
}

// ---------------------------------------------------------------- HasMaskVQZ

TEST_P(EmbeddedMaskTest, HasMaskTellsWhetherTheHostKeepsAMaskPicture) {
    Ref p = picture(3, 3), mask = picture(3, 3);
    EXPECT_FALSE(callBool("HasMaskVQZ as boolean", p.get()));
    standin::setMask(p.get(), mask.get());
    const int refs = standin::refCount(mask.get());
    EXPECT_TRUE(callBool("HasMaskVQZ as boolean", p.get()));
    EXPECT_EQ(standin::refCount(mask.get()), refs);
    standin::setMask(p.get(), nullptr);
}

VQZ_ALL_FORMATS(EmbeddedMaskTest);
VQZ_READER_FORMATS(EmbeddedMaskExactTest);

}  // namespace
