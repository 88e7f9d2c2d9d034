// Tint, merge, combine, replace and extract through the stand-in host: against the
// plain references on random pictures in every format, and the worked examples;
// lookup tables into destinations of every desktop depth.
#include <cstring>
#include <functional>
#include <optional>
#include <random>

#include "tests/ops/color_test_support.h"
#include "tests/reference/color_reference.h"

namespace {

using namespace vqztest;
using namespace colortest;
namespace ref = reference::color;

class ColorOperationsTest : public PluginFormatTest {
protected:
    Ref tint(void* p, uint32_t grey, uint32_t sepia) {
        return callGlobalPicture(kTint, {Value::picture(p), Value::color(grey), Value::color(sepia)});
    }
    Ref merge(void* a, void* b) { return callGlobalPicture(kMerge, {Value::picture(a), Value::picture(b)}); }
    // In the declaration's order: red, blue, green.
    Ref combine(void* red, void* blue, void* green) {
        return callGlobalPicture(kCombine, {Value::picture(red), Value::picture(blue), Value::picture(green)});
    }
    Ref replace(void* p, uint32_t search, uint32_t with) {
        return callPicture(kReplace, p, {Value::color(search), Value::color(with)});
    }
    Ref extract(void* p, uint32_t search, uint32_t with, uint32_t background) {
        return callPicture(kExtract, p, {Value::color(search), Value::color(with), Value::color(background)});
    }
    ::testing::AssertionResult written(const Snapshot& expected, const Ref& out) {
        return writtenPicture(expected, out.get(), format().desktop());
    }
};

TEST_P(ColorOperationsTest, MatchReferencesOnRandomPictures) {
    std::mt19937 random(uint32_t(GetParam().depth + 100 * int(GetParam().kind)));
    for (int round = 0; round < 8; ++round) {
        const int w = 1 + int(random() % 40), h = 1 + int(random() % 9);
        Ref a = randomPicture(w, h, uint32_t(random())), b = randomPicture(w, h, uint32_t(random())),
            c = randomPicture(w, h, uint32_t(random()));
        // A quarter of a's pixels share one color, so that searches find matches.
        const uint32_t repeated = standin::getRGB(a.get(), 0, 0);
        for (int i = 0; i < w * h / 4; ++i)
            standin::setRGB(a.get(), int(random() % uint32_t(w)), int(random() % uint32_t(h)), repeated);
        const Snapshot sa = snapshot(a.get()), sb = snapshot(b.get()), sc = snapshot(c.get());
        const std::vector<uint8_t> rawA = rawPixels(a.get()), rawB = rawPixels(b.get()), rawC = rawPixels(c.get());
        // Top bytes set on every color: they must play no part.
        const uint32_t grey = uint32_t(random()), sepia = uint32_t(random()), with = uint32_t(random()),
                       background = uint32_t(random()), search = repeated | 0x7F000000;
        auto expected = [&](auto colorOf) { return expectedFrom(sa, colorOf); };
        EXPECT_TRUE(written(expected([&](int, int, uint32_t rgb) { return ref::tint(rgb, grey, sepia); }),
                            tint(a.get(), grey, sepia)));
        EXPECT_TRUE(written(expected([&](int x, int y, uint32_t rgb) { return ref::merge(rgb, sb.at(x, y)); }),
                            merge(a.get(), b.get())));
        // Red from the first picture, green from the third, blue from the second.
        EXPECT_TRUE(written(
            expected([&](int x, int y, uint32_t rgb) { return ref::combine(rgb, sc.at(x, y), sb.at(x, y)); }),
            combine(a.get(), b.get(), c.get())));
        EXPECT_TRUE(written(expected([&](int, int, uint32_t rgb) { return ref::replace(rgb, search, with); }),
                            replace(a.get(), search, with)));
        EXPECT_TRUE(
            written(expected([&](int, int, uint32_t rgb) { return ref::extract(rgb, search, with, background); }),
                    extract(a.get(), search, with, background)));
        EXPECT_TRUE(rawPixels(a.get()) == rawA && rawPixels(b.get()) == rawB && rawPixels(c.get()) == rawC)
            << "a source changed";
    }
    // Black weights or a black tint give a black picture.
    Ref p = randomPicture(23, 7, 4);
    const Snapshot s = snapshot(p.get());
    for (uint32_t grey : {0x000000u, 0xFFFFFFu, 0x555555u, 0x010203u}) {
        for (uint32_t sepia : {0x000000u, 0xFFFFFFu, 0x704214u}) {
            const Snapshot expected = grey == 0 || sepia == 0 ? filled(s, 0) : expectedFrom(s, [&](int, int, uint32_t rgb) {
                return ref::tint(rgb, grey, sepia);
            });
            EXPECT_TRUE(written(expected, tint(p.get(), grey, sepia))) << std::hex << grey << " " << sepia;
        }
    }
}

// Whole-picture examples that hold in every format; nil where the sizes differ.
TEST_P(ColorOperationsTest, WholePictureExamples) {
    Ref p = randomPicture(9, 6, 1), black = picture(9, 6), white = picture(9, 6), red = picture(9, 6),
        green = picture(9, 6), blue = picture(9, 6), taller = picture(9, 7), wider = picture(10, 6);
    fillColor(black.get(), 0x000000);
    fillColor(red.get(), 0xFF0000);
    fillColor(green.get(), 0x00FF00);
    fillColor(blue.get(), 0x0000FF);
    const Snapshot s = snapshot(p.get());
    const uint32_t present = s.at(0, 0);
    uint32_t absent = present ^ 1;
    while (ref::countColor(s, absent) != 0) absent += 0x010000;
    void *P = p.get(), *K = black.get(), *W = white.get();
    const struct {
        const char* what;
        Ref out;
        std::optional<Snapshot> expected;  // none: nil
    } cases[] = {
        {"merge with itself", merge(P, P), s},
        {"merge with black", merge(P, K), s},
        {"merge black with", merge(K, P), s},
        {"merge with white", merge(W, P), filled(s, 0xFFFFFF)},
        {"combine primaries", combine(red.get(), blue.get(), green.get()), filled(s, 0xFFFFFF)},
        {"combine crossed", combine(blue.get(), green.get(), red.get()), filled(s, 0)},
        {"combine with itself", combine(P, P, P), s},
        {"replace absent", replace(P, absent, 0x123456), s},
        {"replace unchanged", replace(P, present, present), s},
        {"extract absent", extract(P, absent, 0, 0xABCDEF), filled(s, 0xABCDEF)},
        {"merge taller", merge(P, taller.get()), std::nullopt},
        {"merge wider", merge(wider.get(), P), std::nullopt},
        {"combine taller green", combine(P, P, taller.get()), std::nullopt},
        {"combine wider blue", combine(P, wider.get(), P), std::nullopt},
        {"combine taller red", combine(taller.get(), P, P), std::nullopt},
    };
    for (const auto& c : cases) {
        if (c.expected) {
            EXPECT_TRUE(written(*c.expected, c.out)) << c.what;
        } else {
            EXPECT_FALSE(c.out) << c.what;
        }
    }
}

// One-pixel examples, in the formats that hold their colors exactly. Every source
// pixel gets a mask byte of 0x3C, which no match may depend on.
class ColorOperationsExactTest : public ColorOperationsTest {};

TEST_P(ColorOperationsExactTest, WorkedExamples) {
    Ref a = picture(1, 1), b = picture(1, 1), c = picture(1, 1);
    const struct {
        uint32_t a, b, c;
        std::function<Ref()> call;
        uint32_t expected;
    } cases[] = {
        {rgbOf(30, 60, 90), 0, 0, [&] { return tint(a.get(), rgbOf(85, 85, 85), 0xFFFFFF); }, rgbOf(60, 60, 60)},
        {rgbOf(100, 100, 100), 0, 0, [&] { return tint(a.get(), 0xFFFFFF, 0xFFFFFF); }, 0xFFFFFF},
        {rgbOf(200, 7, 9), 0, 0, [&] { return tint(a.get(), rgbOf(255, 0, 0), rgbOf(255, 128, 0)); },
         rgbOf(200, 100, 0)},
        {rgbOf(200, 10, 50), rgbOf(100, 20, 50), 0, [&] { return merge(a.get(), b.get()); }, rgbOf(200, 20, 50)},
        {rgbOf(1, 2, 3), rgbOf(4, 5, 6), rgbOf(7, 8, 9), [&] { return combine(a.get(), b.get(), c.get()); },
         rgbOf(1, 8, 6)},
        {rgbOf(10, 20, 30), 0, 0, [&] { return extract(a.get(), 0xFF0A141E, 0x010101, 0x020202); }, 0x010101},
        {rgbOf(10, 20, 31), 0, 0, [&] { return extract(a.get(), 0xFF0A141E, 0x010101, 0x020202); }, 0x020202},
        {rgbOf(10, 20, 30), 0, 0, [&] { return replace(a.get(), 0x0A141F, 0x00FF00); }, rgbOf(10, 20, 30)},
        {rgbOf(10, 20, 31), 0, 0, [&] { return replace(a.get(), 0x0A141F, 0x00FF00); }, 0x00FF00},
    };
    const int maskByte = format().code() == 13 ? 0 : format().code() == 8 ? 3 : -1;
    for (const auto& e : cases) {
        for (auto [pic, color] : {std::pair{a.get(), e.a}, std::pair{b.get(), e.b}, std::pair{c.get(), e.c}}) {
            standin::setRGB(pic, 0, 0, color);
            if (maskByte >= 0) standin::pixelAddress(pic, 0, 0)[maskByte] = 0x3C;
        }
        Ref out = e.call();
        ASSERT_TRUE(out) << std::hex << e.a;
        EXPECT_EQ(standin::getRGB(out.get(), 0, 0), e.expected) << std::hex << e.a;
    }
}

// A desktop host holds pictures of several depths at once: each source is read in its
// own format; a 24-bit destination gets a writer without a mask byte, and a 16-bit
// one cannot be written in place.
class MixedDepthsTest : public PluginTest {};

TEST_F(MixedDepthsTest, EachPictureIsReadAndWrittenInItsOwnFormat) {
    uint8_t entries[256];
    for (int i = 0; i < 256; ++i) entries[i] = uint8_t(i * 7 + 3);
    Ref t = makeBlock(256);
    std::memcpy(standin::memoryBlockData(t.get()), entries, 256);
    const Value table = Value::block(t.get());
    for (int da : {32, 24, 16, 8}) {
        for (int db : {32, 24, 16, 8}) {
            SCOPED_TRACE(::testing::Message() << "depths " << da << " and " << db);
            Ref a = Ref::adopt(standin::newGWorldPicture(9, 4, da)), b = Ref::adopt(standin::newGWorldPicture(9, 4, db)),
                dest = Ref::adopt(standin::newGWorldPicture(9, 5, db));
            fillRandom(a.get(), uint32_t(da));
            fillRandom(b.get(), uint32_t(db + 1));
            fillRandom(dest.get(), uint32_t(db + 2));
            const Snapshot sa = snapshot(a.get()), sb = snapshot(b.get()), destBefore = snapshot(dest.get());
            const Value A = Value::picture(a.get()), B = Value::picture(b.get());
            EXPECT_TRUE(writtenPicture(
                expectedFrom(sa, [&](int x, int y, uint32_t rgb) { return ref::merge(rgb, sb.at(x, y)); }),
                callGlobalPicture(kMerge, {A, B}).get(), true));
            EXPECT_TRUE(writtenPicture(
                expectedFrom(sa, [&](int x, int y, uint32_t rgb) { return ref::combine(sb.at(x, y), sb.at(x, y), rgb); }),
                callGlobalPicture(kCombine, {B, A, B}).get(), true));
            if (db == 8) continue;
            Ref out = callPicture(kTransform, a.get(), {table, table, table, Value::picture(dest.get())});
            ASSERT_TRUE(out);
            EXPECT_EQ(out.get() == dest.get(), db != 16);
            const Snapshot got = snapshot(out.get());
            EXPECT_TRUE(samePixels(expectedFrom(got, [&](int x, int y, uint32_t) {
                                       return y < 4 ? ref::transform(sa.at(x, y), entries, entries, entries)
                                                    : destBefore.at(x, y);
                                   }),
                                   got));
            EXPECT_TRUE(standin::guardsIntact(out.get()));
        }
    }
}

VQZ_ALL_FORMATS(ColorOperationsTest);
VQZ_READER_FORMATS(ColorOperationsExactTest);

}  // namespace
