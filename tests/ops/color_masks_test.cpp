// The embedded mask getter and setter, and HasMaskVQZ, through the stand-in host.
#include <cstdlib>
#include <random>

#include "tests/ops/color_test_support.h"
#include "tests/reference/color_reference.h"

namespace {

using namespace vqztest;
using namespace colortest;
namespace ref = reference::color;

class EmbeddedMaskTest : public PluginFormatTest {
protected:
    Ref getMask(void* pic, bool swap) { return callPicture(kMask, pic, {Value::boolean(swap)}); }
    void setMask(void* pic, bool swap, void* mask) {
        callSetter("Picture", kMask, pic, {Value::boolean(swap)}, Value::picture(mask));
    }
    // The byte offset of the mask byte in this format's pixels (-1: none).
    int maskIndex() const { return format().code() == 13 ? 0 : format().code() == 8 ? 3 : -1; }
};

// Random mask bytes, then opaque ones (255 in code 13, 127 in code 8's 7-bit byte;
// code 12 has none and reads as opaque). Pictures read through a copy give a gray
// picture of the same size.
TEST_P(EmbeddedMaskTest, GetterGivesTheMaskBytesAsGray) {
    Ref p = randomPicture(13, 5, 2);
    for (bool opaque : {false, true}) {
        for (int y = 0; opaque && maskIndex() >= 0 && y < 5; ++y)
            for (int x = 0; x < 13; ++x) standin::pixelAddress(p.get(), x, y)[maskIndex()] = maskIndex() ? 127 : 255;
        const Snapshot s = snapshot(p.get());
        for (bool swap : {false, true}) {
            SCOPED_TRACE(::testing::Message() << "opaque " << opaque << " swap " << swap);
            Ref out = getMask(p.get(), swap);
            if (format().code() == 0) {
                ASSERT_TRUE(out);
                const Snapshot g = snapshot(out.get());
                EXPECT_TRUE(g.width == 13 && g.height == 5);
                for (uint32_t rgb : g.rgb) ASSERT_TRUE(redOf(rgb) == greenOf(rgb) && greenOf(rgb) == blueOf(rgb));
                continue;
            }
            const Snapshot expected = opaque ? filled(s, swap ? 0 : 0xFFFFFF) : expectedFrom(s, [&](int x, int y, uint32_t) {
                const int a = ref::embeddedMask(format().code(), standin::pixelAddress(p.get(), x, y));
                return ref::gray(swap ? 255 - a : a);
            });
            EXPECT_TRUE(writtenPicture(expected, out.get(), format().desktop()));
        }
    }
}

// The setter changes only mask bytes, and only where the mask has pixels: red of the
// mask (or 255 - red) in code 13, its top seven bits in code 8's 7-bit byte, nothing
// in code 12 (no mask byte) or in a picture that is read through a copy. Masks are
// random of three sizes, red 0 everywhere, or the picture itself.
TEST_P(EmbeddedMaskTest, SetterWritesTheMaskBytesWhereTheMaskHasPixels) {
    std::mt19937 random(7);
    enum Kind { Random, ZeroRed, Itself };
    for (bool swap : {false, true}) {
        for (auto [mw, mh, kind] : {std::tuple{9, 6, Random}, std::tuple{4, 3, Random}, std::tuple{15, 10, Random},
                                    std::tuple{9, 6, ZeroRed}, std::tuple{9, 6, Itself}}) {
            SCOPED_TRACE(::testing::Message() << "mask " << mw << "x" << mh << " kind " << kind << " swap " << swap);
            Ref p = randomPicture(9, 6, uint32_t(random())), other = randomPicture(mw, mh, uint32_t(random()));
            if (kind == ZeroRed) fillColor(other.get(), 0x00FFFF);
            void* mask = kind == Itself ? p.get() : other.get();
            const Snapshot colors = snapshot(p.get()), maskColors = snapshot(mask);
            const std::vector<uint8_t> before = rawPixels(p.get()), maskBefore = rawPixels(other.get());
            const int caches = standin::clearCacheCount(p.get());
            setMask(p.get(), swap, mask);
            EXPECT_TRUE(samePixels(colors, snapshot(p.get())));
            EXPECT_EQ(rawPixels(other.get()), maskBefore);
            EXPECT_TRUE(standin::guardsIntact(p.get()));
            EXPECT_EQ(standin::clearCacheCount(p.get()), caches);  // opened for reading only
            if (maskIndex() < 0) {
                EXPECT_EQ(rawPixels(p.get()), before);
                continue;
            }
            int wrong = 0;
            for (int y = 0; y < 6; ++y) {
                for (int x = 0; x < 9; ++x) {
                    uint8_t expected = before[size_t((y * 9 + x) * 4 + maskIndex())];
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

// Reading back with the same swap gives the mask's red as gray: exactly where the
// byte can hold it, else the nearest value a 7-bit byte holds; code 12 stays opaque.
class EmbeddedMaskExactTest : public EmbeddedMaskTest {};

TEST_P(EmbeddedMaskExactTest, GetterReadsBackWhatTheSetterWrote) {
    Ref p = randomPicture(8, 8, 5), mask = randomPicture(8, 8, 6);
    const Snapshot m = snapshot(mask.get());
    for (bool swap : {false, true}) {
        setMask(p.get(), swap, mask.get());
        Ref back = getMask(p.get(), swap);
        ASSERT_TRUE(back);
        const Snapshot got = snapshot(back.get());
        for (int y = 0; y < 8; ++y) {
            for (int x = 0; x < 8; ++x) {
                const int red = redOf(m.at(x, y)), gray = redOf(got.at(x, y));
                if (format().code() == 12)
                    EXPECT_EQ(gray, swap ? 0 : 255);
                else
                    EXPECT_EQ(std::abs(gray - red), format().code() == 13 || (red & 1) == (red >> 1 & 1) ? 0 : 1);
            }
        }
    }
}

TEST_P(EmbeddedMaskTest, HasMaskTellsWhetherTheHostKeepsAMaskPicture) {
    Ref p = picture(3, 3), mask = picture(3, 3);
    EXPECT_FALSE(callBool(kHasMask, p.get()));
    standin::setMask(p.get(), mask.get());
    const int refs = standin::refCount(mask.get());
    EXPECT_TRUE(callBool(kHasMask, p.get()));
    EXPECT_EQ(standin::refCount(mask.get()), refs);
    standin::setMask(p.get(), nullptr);
}

VQZ_ALL_FORMATS(EmbeddedMaskTest);
VQZ_READER_FORMATS(EmbeddedMaskExactTest);

}  // namespace
