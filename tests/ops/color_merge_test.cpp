#include <random>

#include "tests/ops/color_test_support.h"
#include "tests/reference/color_reference.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;
namespace ref = reference::color;

const char* const kMerge = "MergePictureVQZ(source1 as picture, source2 as picture) as picture";
const char* const kCombine = "CombinePicturesVQZ(red as picture, blue as picture, green as picture) as picture";

class MergeCombineTest : public PluginFormatTest {
protected:
    Ref merge(void* a, void* b) { return callGlobalPicture(kMerge, {Value::picture(a), Value::picture(b)}); }
    // In the declaration's order: red, blue, green.
    Ref combine(void* red, void* blue, void* green) {
        return callGlobalPicture(kCombine, {Value::picture(red), Value::picture(blue), Value::picture(green)});
    }
    Snapshot filled(const Snapshot& like, uint32_t rgb) {
        return expectedFrom(like, [=](int, int, uint32_t) { return rgb; });
    }
    bool written(const Snapshot& expected, const Ref& out) {
        return colortest::writtenPicture(expected, out.get(), format().desktop());
    }
};

TEST_P(MergeCombineTest, MatchesReferenceOnRandomPictures) {
    std::mt19937 random(uint32_t(GetParam().depth + 100 * int(GetParam().kind)));
    for (int round = 0; round < 6; ++round) {
        const int w = 1 + int(random() % 30), h = 1 + int(random() % 8);
        Ref a = randomPicture(w, h, uint32_t(random())), b = randomPicture(w, h, uint32_t(random())),
            c = randomPicture(w, h, uint32_t(random()));
        const Snapshot sa = snapshot(a.get()), sb = snapshot(b.get()), sc = snapshot(c.get());
        Ref merged = merge(a.get(), b.get()), combined = combine(a.get(), b.get(), c.get());
        EXPECT_TRUE(written(expectedFrom(sa, [&](int x, int y, uint32_t rgb) { return ref::merge(rgb, sb.at(x, y)); }),
                            merged));
        // Red from the first picture, green from the third, blue from the second.
        EXPECT_TRUE(written(
            expectedFrom(sa, [&](int x, int y, uint32_t rgb) { return ref::combine(rgb, sc.at(x, y), sb.at(x, y)); }),
            combined));
        EXPECT_TRUE(samePixels(sa, snapshot(a.get())));
        EXPECT_TRUE(samePixels(sb, snapshot(b.get())));
    }
}

TEST_P(MergeCombineTest, MergeWithItselfBlackAndWhite) {
    Ref p = randomPicture(7, 5, 1), black = picture(7, 5), white = picture(7, 5);
    fillColor(black.get(), 0x000000);
    const Snapshot s = snapshot(p.get());
    EXPECT_TRUE(written(s, merge(p.get(), p.get())));
    EXPECT_TRUE(written(s, merge(p.get(), black.get())));
    EXPECT_TRUE(written(s, merge(black.get(), p.get())));
    EXPECT_TRUE(written(filled(s, 0xFFFFFF), merge(white.get(), p.get())));
}

TEST_P(MergeCombineTest, CombineTakesEachChannelFromItsPicture) {
    Ref red = picture(4, 3), blue = picture(4, 3), green = picture(4, 3);
    fillColor(red.get(), 0xFF0000);
    fillColor(blue.get(), 0x0000FF);
    fillColor(green.get(), 0x00FF00);
    const Snapshot s = snapshot(red.get());
    EXPECT_TRUE(written(filled(s, 0xFFFFFF), combine(red.get(), blue.get(), green.get())));
    EXPECT_TRUE(written(filled(s, 0x000000), combine(blue.get(), green.get(), red.get())));
    Ref p = randomPicture(4, 3, 2);
    EXPECT_TRUE(written(snapshot(p.get()), combine(p.get(), p.get(), p.get())));
}

// The worked examples need formats that hold their colors exactly.
class MergeCombineExampleTest : public MergeCombineTest {};

TEST_P(MergeCombineExampleTest, WorkedExamples) {
    Ref a = picture(1, 1), b = picture(1, 1), c = picture(1, 1);
    standin::setRGB(a.get(), 0, 0, rgbOf(200, 10, 50));
    standin::setRGB(b.get(), 0, 0, rgbOf(100, 20, 50));
    Ref merged = merge(a.get(), b.get());
    ASSERT_TRUE(merged);
    EXPECT_EQ(standin::getRGB(merged.get(), 0, 0), rgbOf(200, 20, 50));
    standin::setRGB(a.get(), 0, 0, rgbOf(1, 2, 3));
    standin::setRGB(b.get(), 0, 0, rgbOf(4, 5, 6));
    standin::setRGB(c.get(), 0, 0, rgbOf(7, 8, 9));
    Ref combined = combine(a.get(), b.get(), c.get());
    ASSERT_TRUE(combined);
    EXPECT_EQ(standin::getRGB(combined.get(), 0, 0), rgbOf(1, 8, 6));
}

TEST_P(MergeCombineTest, DifferentSizesGiveNil) {
    Ref a = picture(10, 10), taller = picture(10, 11), wider = picture(11, 10);
    EXPECT_FALSE(merge(a.get(), taller.get()));
    EXPECT_FALSE(merge(wider.get(), a.get()));
    EXPECT_FALSE(combine(a.get(), a.get(), taller.get()));
    EXPECT_FALSE(combine(a.get(), wider.get(), a.get()));
    EXPECT_FALSE(combine(taller.get(), a.get(), a.get()));
}

// A desktop host holds pictures of several depths at once; each source is read in
// its own format.
class MergeMixedDepthsTest : public PluginTest {};

TEST_F(MergeMixedDepthsTest, EachSourceIsReadInItsOwnFormat) {
    const int depths[] = {32, 24, 16, 8};
    for (int da : depths) {
        for (int db : depths) {
            SCOPED_TRACE(::testing::Message() << "depths " << da << " and " << db);
            Ref a = Ref::adopt(standin::newGWorldPicture(9, 4, da)),
                b = Ref::adopt(standin::newGWorldPicture(9, 4, db));
            fillRandom(a.get(), uint32_t(da));
            fillRandom(b.get(), uint32_t(db + 1));
            const Snapshot sa = snapshot(a.get()), sb = snapshot(b.get());
            Ref merged = callGlobalPicture(kMerge, {Value::picture(a.get()), Value::picture(b.get())});
            Ref combined = callGlobalPicture(
                kCombine, {Value::picture(b.get()), Value::picture(a.get()), Value::picture(b.get())});
            EXPECT_TRUE(colortest::writtenPicture(
                expectedFrom(sa, [&](int x, int y, uint32_t rgb) { return ref::merge(rgb, sb.at(x, y)); }),
                merged.get(), true));
            EXPECT_TRUE(colortest::writtenPicture(
                expectedFrom(sa,
                             [&](int x, int y, uint32_t rgb) { return ref::combine(sb.at(x, y), sb.at(x, y), rgb); }),
                combined.get(), true));
        }
    }
}

VQZ_ALL_FORMATS(MergeCombineTest);
VQZ_READER_FORMATS(MergeCombineExampleTest);

}  // namespace
