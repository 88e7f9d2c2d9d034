#include <climits>
#include <cstdint>
#include <random>
#include <vector>

#include "tests/support/fixture.h"

namespace {

using namespace vqztest;

const char* const kVertical = "ScrollVerticalVQZ(delta as integer, wrap as boolean, scrollmask as boolean) as boolean";
const char* const kHorizontal =
    "ScrollHorizontalVQZ(delta as integer, wrap as boolean, scrollmask as boolean) as boolean";
const char* const kBoth =
    "ScrollVQZ(deltaX as integer, deltaY as integer, wrap as boolean, scrollmask as boolean) as boolean";

long long Modulo(long long a, long long n) { return ((a % n) + n) % n; }

// The raw pixels of a picture whose rows moved down by `delta` (up when negative), round the edge.
std::vector<uint8_t> RowsRotated(const std::vector<uint8_t>& raw, int width, int height, int bpp, long long delta) {
    std::vector<uint8_t> out(raw.size());
    const size_t row = size_t(width) * size_t(bpp);
    for (int y = 0; y < height; ++y) {
        const size_t to = size_t(Modulo(y + delta, height));
        std::copy_n(raw.begin() + long(size_t(y) * row), row, out.begin() + long(to * row));
    }
    return out;
}

// The raw pixels of a picture whose columns moved right by `delta` (left when negative), round the edge.
std::vector<uint8_t> ColumnsRotated(const std::vector<uint8_t>& raw, int width, int height, int bpp,
                                    long long delta) {
    std::vector<uint8_t> out(raw.size());
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const size_t from = (size_t(y) * size_t(width) + size_t(x)) * size_t(bpp);
            const size_t to = (size_t(y) * size_t(width) + size_t(Modulo(x + delta, width))) * size_t(bpp);
            std::copy_n(raw.begin() + long(from), bpp, out.begin() + long(to));
        }
    return out;
}

Value Int(long long v) { return Value::integer(v); }
Value Bool(bool v) { return Value::boolean(v); }

class ScrollTest : public PluginFormatTest {
protected:
    // Pictures of depth 16 and 8 cannot be changed in place.
    bool inPlace() const { return format().code() != 0; }

    bool vertical(void* pic, long long delta, bool wrap, bool mask = false) {
        return callBool(kVertical, pic, {Int(delta), Bool(wrap), Bool(mask)});
    }
    bool horizontal(void* pic, long long delta, bool wrap, bool mask = false) {
        return callBool(kHorizontal, pic, {Int(delta), Bool(wrap), Bool(mask)});
    }
    bool both(void* pic, long long dx, long long dy, bool wrap, bool mask) {
        return callBool(kBoth, pic, {Int(dx), Int(dy), Bool(wrap), Bool(mask)});
    }
};

TEST_P(ScrollTest, WrapRotatesRowsAndColumns) {
    std::mt19937 random(17 + unsigned(format().depth) + unsigned(format().kind));
    const int sizes[][2] = {{1, 1}, {2, 3}, {7, 5}, {13, 1}, {1, 9}, {6, 6}};
    for (const auto& size : sizes) {
        const int w = size[0], h = size[1];
        const long long deltas[] = {1, -1, 2, -3, h, w, h + 1, -h - 1, w + 1, -w - 1, 2LL * h - 1,
                                    INT32_MIN, INT32_MAX, INT32_MIN + 1, int(random() % 1000) - 500};
        for (long long delta : deltas) {
            SCOPED_TRACE(::testing::Message() << w << "x" << h << " delta " << delta);
            Ref pic = randomPicture(w, h, random());
            const int bpp = standin::bytesPerPixel(pic.get());
            const std::vector<uint8_t> before = rawPixels(pic.get());
            const int cacheClears = standin::clearCacheCount(pic.get());

            EXPECT_EQ(vertical(pic.get(), delta, true), inPlace());
            const std::vector<uint8_t> down = inPlace() ? RowsRotated(before, w, h, bpp, delta) : before;
            EXPECT_EQ(rawPixels(pic.get()), down);
            if (inPlace()) {
                EXPECT_GT(standin::clearCacheCount(pic.get()), cacheClears);
            }

            EXPECT_TRUE(horizontal(pic.get(), delta, true));
            EXPECT_EQ(rawPixels(pic.get()), inPlace() ? ColumnsRotated(down, w, h, bpp, delta) : before);
            EXPECT_TRUE(standin::guardsIntact(pic.get()));
        }
    }
}

TEST_P(ScrollTest, WrapExamples) {
    if (!inPlace()) GTEST_SKIP() << "not changeable in place";
    const uint32_t a = rgbOf(10, 20, 30), b = rgbOf(40, 50, 60), c = rgbOf(70, 80, 90), d = rgbOf(1, 2, 3);
    Ref column = picture(1, 4);
    const uint32_t rows[] = {a, b, c, d};
    for (int y = 0; y < 4; ++y) standin::setRGB(column.get(), 0, y, rows[y]);
    auto colors = [](void* pic) { return snapshot(pic).rgb; };
    EXPECT_TRUE(vertical(column.get(), 1, true));
    EXPECT_EQ(colors(column.get()), (std::vector<uint32_t>{d, a, b, c}));
    EXPECT_TRUE(vertical(column.get(), -2, true));
    EXPECT_EQ(colors(column.get()), (std::vector<uint32_t>{b, c, d, a}));

    Ref row = picture(3, 1);
    for (int x = 0; x < 3; ++x) standin::setRGB(row.get(), x, 0, rows[x]);
    EXPECT_TRUE(horizontal(row.get(), 1, true));
    EXPECT_EQ(colors(row.get()), (std::vector<uint32_t>{c, a, b}));

    Ref pic = randomPicture(9, 8, 4);
    const std::vector<uint8_t> before = rawPixels(pic.get());
    EXPECT_TRUE(both(pic.get(), 3, 3, true, false));
    EXPECT_NE(rawPixels(pic.get()), before);
    EXPECT_TRUE(both(pic.get(), -3, -3, true, false));
    EXPECT_EQ(rawPixels(pic.get()), before);
}

TEST_P(ScrollTest, ZeroDeltaTouchesNothing) {
    Ref pic = randomPicture(5, 4, 8);
    const std::vector<uint8_t> before = rawPixels(pic.get());
    const int cacheClears = standin::clearCacheCount(pic.get());
    for (bool wrap : {false, true}) {
        EXPECT_TRUE(vertical(pic.get(), 0, wrap));
        EXPECT_TRUE(horizontal(pic.get(), 0, wrap));
        EXPECT_TRUE(both(pic.get(), 0, 0, wrap, true));
    }
    EXPECT_EQ(rawPixels(pic.get()), before);
    EXPECT_EQ(standin::clearCacheCount(pic.get()), cacheClears);
}

TEST_P(ScrollTest, MaskMovesFirstAndByTheSameAmounts) {
    Ref pic = randomPicture(6, 5, 1);
    Ref mask = randomPicture(6, 5, 2);
    standin::setMask(pic.get(), mask.get());
    const int bpp = standin::bytesPerPixel(pic.get());
    const std::vector<uint8_t> picBefore = rawPixels(pic.get()), maskBefore = rawPixels(mask.get());

    EXPECT_EQ(both(pic.get(), 2, -1, true, false), inPlace());  // the mask stays where it is
    EXPECT_EQ(rawPixels(mask.get()), maskBefore);
    std::vector<uint8_t> picExpected =
        inPlace() ? RowsRotated(ColumnsRotated(picBefore, 6, 5, bpp, 2), 6, 5, bpp, -1) : picBefore;
    EXPECT_EQ(rawPixels(pic.get()), picExpected);

    // With the mask: a mask that cannot be changed in place fails the vertical part.
    EXPECT_EQ(both(pic.get(), -4, 3, true, true), inPlace());
    auto moved = [&](const std::vector<uint8_t>& raw) {
        return inPlace() ? RowsRotated(ColumnsRotated(raw, 6, 5, bpp, -4), 6, 5, bpp, 3) : raw;
    };
    EXPECT_EQ(rawPixels(mask.get()), moved(maskBefore));
    EXPECT_EQ(rawPixels(pic.get()), moved(picExpected));
    standin::setMask(pic.get(), nullptr);
}

TEST_P(ScrollTest, WithoutWrapOnlyGWorldsScroll) {
    Ref pic = randomPicture(8, 6, 11);
    const Snapshot before = snapshot(pic.get());
    // The pixels move; what they uncover is painted white by QuickDraw.
    auto shifted = [&](const Snapshot& s, int dx, int dy) {
        return expectedFrom(s, [&](int x, int y, uint32_t) {
            const int sx = x - dx, sy = y - dy;
            return sx >= 0 && sx < s.width && sy >= 0 && sy < s.height ? s.at(sx, sy) : 0xFFFFFFu;
        });
    };
    const bool gworld = format().desktop();
    EXPECT_EQ(vertical(pic.get(), 2, false), gworld);
    Snapshot expected = gworld ? shifted(before, 0, 2) : before;
    EXPECT_TRUE(samePixels(expected, snapshot(pic.get())));

    EXPECT_TRUE(horizontal(pic.get(), -3, false));
    if (gworld) expected = shifted(expected, -3, 0);
    EXPECT_TRUE(samePixels(expected, snapshot(pic.get())));

    // QuickDraw takes 16-bit distances: 65536 + 1 is 1.
    EXPECT_EQ(vertical(pic.get(), 65537, false), gworld);
    if (gworld) expected = shifted(expected, 0, 1);
    EXPECT_TRUE(samePixels(expected, snapshot(pic.get())));

    EXPECT_EQ(both(pic.get(), 100, -100, false, false), gworld);
    if (gworld) expected = shifted(expected, 100, -100);
    EXPECT_TRUE(samePixels(expected, snapshot(pic.get())));
}

TEST_P(ScrollTest, FailuresAndTheirAnswers) {
    EXPECT_FALSE(vertical(nullptr, 1, true, true));
    EXPECT_FALSE(vertical(nullptr, 1, false, true));
    EXPECT_TRUE(horizontal(nullptr, 1, true, true));
    EXPECT_TRUE(horizontal(nullptr, 1, false, true));
    EXPECT_FALSE(both(nullptr, 1, 1, true, true));

    Ref pic = randomPicture(5, 4, 3);
    const int bpp = standin::bytesPerPixel(pic.get());
    const std::vector<uint8_t> before = rawPixels(pic.get());
    standin::failNth(standin::Fault::DescriptionLock, 1);
    EXPECT_FALSE(vertical(pic.get(), 1, true));
    standin::failNth(standin::Fault::DescriptionLock, 1);
    EXPECT_TRUE(horizontal(pic.get(), 1, true));
    EXPECT_EQ(rawPixels(pic.get()), before);
    if (!inPlace()) return;

    // Only the vertical part decides ScrollVQZ's answer.
    standin::failNth(standin::Fault::DescriptionLock, 1);  // the horizontal part fails
    EXPECT_TRUE(both(pic.get(), 1, 1, true, false));
    const std::vector<uint8_t> down = RowsRotated(before, 5, 4, bpp, 1);
    EXPECT_EQ(rawPixels(pic.get()), down);
    standin::failNth(standin::Fault::DescriptionLock, 2);  // the vertical part fails
    EXPECT_FALSE(both(pic.get(), 1, 1, true, false));
    EXPECT_EQ(rawPixels(pic.get()), ColumnsRotated(down, 5, 4, bpp, 1));
    standin::failNth(standin::Fault::PixelLock, 1);
    EXPECT_EQ(vertical(pic.get(), 1, true), !format().desktop());
}

VQZ_ALL_FORMATS(ScrollTest);

// Cases that need a desktop host.
class ScrollDesktopTest : public PluginTest {};

TEST_F(ScrollDesktopTest, MaskThatCannotBeChangedInPlace) {
    Ref pic = makePicture(formatNamed("desktop32"), 4, 3);
    Ref mask = makePicture(formatNamed("desktop8"), 4, 3);
    fillRandom(pic.get(), 5);
    fillRandom(mask.get(), 6);
    standin::setMask(pic.get(), mask.get());
    const std::vector<uint8_t> picBefore = rawPixels(pic.get()), maskBefore = rawPixels(mask.get());
    // The vertical scroll stops before touching the picture.
    EXPECT_FALSE(callBool(kVertical, pic.get(), {Int(1), Bool(true), Bool(true)}));
    EXPECT_EQ(rawPixels(pic.get()), picBefore);
    // The horizontal one scrolls the picture and leaves the mask.
    EXPECT_TRUE(callBool(kHorizontal, pic.get(), {Int(1), Bool(true), Bool(true)}));
    EXPECT_EQ(rawPixels(pic.get()), ColumnsRotated(picBefore, 4, 3, 4, 1));
    EXPECT_EQ(rawPixels(mask.get()), maskBefore);
    standin::setMask(pic.get(), nullptr);
}

TEST_F(ScrollDesktopTest, WithoutQuickDrawNothingMoves) {
    HostConfig config = configFor(AppKind::Desktop);
    config.frameworkMissing = true;
    load(config);
    Ref pic = makePicture(formatNamed("desktop32"), 4, 3);
    fillRandom(pic.get(), 7);
    const std::vector<uint8_t> before = rawPixels(pic.get());
    EXPECT_TRUE(callBool(kVertical, pic.get(), {Int(1), Bool(false), Bool(false)}));
    EXPECT_TRUE(callBool(kHorizontal, pic.get(), {Int(1), Bool(false), Bool(false)}));
    EXPECT_FALSE(callBool(kVertical, pic.get(), {Int(1), Bool(true), Bool(false)}));
    EXPECT_EQ(rawPixels(pic.get()), before);
}

}  // namespace
