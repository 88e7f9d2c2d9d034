#include <algorithm>
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

class ScrollTest : public PluginFormatTest {
protected:
    // Pictures of depth 16 and 8 cannot be changed in place.
    bool inPlace() const { return format().code() != 0; }

    bool vertical(void* pic, long long delta, bool wrap, bool mask = false) {
        return callBool(kVertical, pic, {Value::integer(delta), Value::boolean(wrap), Value::boolean(mask)});
    }
    bool horizontal(void* pic, long long delta, bool wrap, bool mask = false) {
        return callBool(kHorizontal, pic, {Value::integer(delta), Value::boolean(wrap), Value::boolean(mask)});
    }
    bool both(void* pic, long long dx, long long dy, bool wrap, bool mask = false) {
        return callBool(kBoth, pic, {Value::integer(dx), Value::integer(dy), Value::boolean(wrap), Value::boolean(mask)});
    }
    // `raw`, pixels of `pic`, as a wrapped scroll leaves them if it can change them in
    // place: columns moved right by dx, rows down by dy (left and up when negative).
    std::vector<uint8_t> rotated(void* pic, const std::vector<uint8_t>& raw, long long dx, long long dy) {
        if (!inPlace()) return raw;
        const long long w = standin::pictureWidth(pic), h = standin::pictureHeight(pic), bpp = standin::bytesPerPixel(pic);
        auto at = [&](long long x, long long y) { return long(((y % h + h) % h * w + (x % w + w) % w) * bpp); };
        std::vector<uint8_t> out(raw.size());
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) std::copy_n(raw.begin() + at(x, y), bpp, out.begin() + at(x + dx, y + dy));
        return out;
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
            const std::vector<uint8_t> before = rawPixels(pic.get());
            const int cacheClears = standin::clearCacheCount(pic.get());
            // Asked to move a mask that it does not have, the picture moves alone.
            EXPECT_EQ(vertical(pic.get(), delta, true, true), inPlace());
            EXPECT_EQ(rawPixels(pic.get()), rotated(pic.get(), before, 0, delta));
            if (inPlace()) {
                EXPECT_GT(standin::clearCacheCount(pic.get()), cacheClears);
            }
            EXPECT_TRUE(horizontal(pic.get(), delta, true, true));
            EXPECT_EQ(rawPixels(pic.get()), rotated(pic.get(), before, delta, delta));
            EXPECT_TRUE(standin::guardsIntact(pic.get()));
        }
    }
}

TEST_P(ScrollTest, WrapExamples) {
    if (!inPlace()) GTEST_SKIP() << "not changeable in place";
    const uint32_t a = rgbOf(10, 20, 30), b = rgbOf(40, 50, 60), c = rgbOf(70, 80, 90), d = rgbOf(1, 2, 3);
    Ref column = picture(1, 4), row = picture(3, 1);
    const uint32_t colors[] = {a, b, c, d};
    for (int i = 0; i < 4; ++i) standin::setRGB(column.get(), 0, i, colors[i]);
    for (int i = 0; i < 3; ++i) standin::setRGB(row.get(), i, 0, colors[i]);
    EXPECT_TRUE(vertical(column.get(), 1, true));
    EXPECT_EQ(snapshot(column.get()).rgb, (std::vector<uint32_t>{d, a, b, c}));
    EXPECT_TRUE(vertical(column.get(), -2, true));
    EXPECT_EQ(snapshot(column.get()).rgb, (std::vector<uint32_t>{b, c, d, a}));
    EXPECT_TRUE(horizontal(row.get(), 1, true));
    EXPECT_EQ(snapshot(row.get()).rgb, (std::vector<uint32_t>{c, a, b}));
    // By 3 and back by -3.
    Ref pic = randomPicture(9, 8, 4);
    const std::vector<uint8_t> before = rawPixels(pic.get());
    EXPECT_TRUE(both(pic.get(), 3, 3, true, true) && both(pic.get(), -3, -3, true, true));
    EXPECT_EQ(rawPixels(pic.get()), before);
}

TEST_P(ScrollTest, ZeroDeltaTouchesNothing) {
    Ref pic = randomPicture(5, 4, 8);
    const std::vector<uint8_t> before = rawPixels(pic.get());
    const int cacheClears = standin::clearCacheCount(pic.get());
    for (bool wrap : {false, true})
        EXPECT_TRUE(vertical(pic.get(), 0, wrap) && horizontal(pic.get(), 0, wrap) && both(pic.get(), 0, 0, wrap, true));
    EXPECT_EQ(rawPixels(pic.get()), before);
    EXPECT_EQ(standin::clearCacheCount(pic.get()), cacheClears);
}

TEST_P(ScrollTest, MaskMovesFirstAndByTheSameAmounts) {
    Ref pic = randomPicture(6, 5, 1), mask = randomPicture(6, 5, 2);
    standin::setMask(pic.get(), mask.get());
    const std::vector<uint8_t> picBefore = rawPixels(pic.get()), maskBefore = rawPixels(mask.get());
    EXPECT_EQ(both(pic.get(), 2, -1, true, false), inPlace());  // the mask stays where it is
    EXPECT_EQ(rawPixels(mask.get()), maskBefore);
    EXPECT_EQ(rawPixels(pic.get()), rotated(pic.get(), picBefore, 2, -1));
    // With the mask: a mask that cannot be changed in place fails the vertical part.
    EXPECT_EQ(both(pic.get(), -4, 3, true, true), inPlace());
    EXPECT_EQ(rawPixels(mask.get()), rotated(mask.get(), maskBefore, -4, 3));
    EXPECT_EQ(rawPixels(pic.get()), rotated(pic.get(), picBefore, -2, 2));
    standin::setMask(pic.get(), nullptr);
}

TEST_P(ScrollTest, WithoutWrapOnlyGWorldsScroll) {
    Ref pic = randomPicture(8, 6, 11);
    Snapshot expected = snapshot(pic.get());
    const bool gworld = format().desktop();
    // QuickDraw takes 16-bit distances: 65536 + 1 is 1.
    const int steps[][3] = {{0, 2, 0}, {-3, 0, 1}, {0, 65537, 0}, {100, -100, 2}};  // dx, dy, method
    for (const auto& step : steps) {
        SCOPED_TRACE(::testing::Message() << step[0] << "," << step[1]);
        const int dx = int16_t(step[0]), dy = int16_t(step[1]);
        const bool answer = step[2] == 0 ? vertical(pic.get(), step[1], false)
                            : step[2] == 1 ? horizontal(pic.get(), step[0], false)
                                           : both(pic.get(), step[0], step[1], false);
        EXPECT_EQ(answer, gworld || step[2] == 1);
        // The pixels move; what they uncover is painted white by QuickDraw.
        if (gworld)
            expected = expectedFrom(expected, [&, s = expected](int x, int y, uint32_t) {
                const int sx = x - dx, sy = y - dy;
                return sx >= 0 && sx < s.width && sy >= 0 && sy < s.height ? s.at(sx, sy) : 0xFFFFFFu;
            });
        EXPECT_TRUE(samePixels(expected, snapshot(pic.get())));
    }
}

TEST_P(ScrollTest, FailuresAndTheirAnswers) {
    for (bool wrap : {false, true})
        EXPECT_TRUE(!vertical(nullptr, 1, wrap, true) && horizontal(nullptr, 1, wrap, true) &&
                    !both(nullptr, 1, 1, wrap, true));
    Ref pic = randomPicture(5, 4, 3);
    const std::vector<uint8_t> before = rawPixels(pic.get());
    standin::failNth(standin::Fault::DescriptionLock, 1);
    EXPECT_FALSE(vertical(pic.get(), 1, true));
    standin::failNth(standin::Fault::DescriptionLock, 1);
    EXPECT_TRUE(horizontal(pic.get(), 1, true));
    EXPECT_EQ(rawPixels(pic.get()), before);
    if (!inPlace()) return;
    // Only the vertical part decides ScrollVQZ's answer.
    standin::failNth(standin::Fault::DescriptionLock, 1);  // the horizontal part fails
    EXPECT_TRUE(both(pic.get(), 1, 1, true));
    EXPECT_EQ(rawPixels(pic.get()), rotated(pic.get(), before, 0, 1));
    standin::failNth(standin::Fault::DescriptionLock, 2);  // the vertical part fails
    EXPECT_FALSE(both(pic.get(), 1, 1, true));
    EXPECT_EQ(rawPixels(pic.get()), rotated(pic.get(), before, 1, 1));
    standin::failNth(standin::Fault::PixelLock, 1);
    EXPECT_EQ(vertical(pic.get(), 1, true), !format().desktop());
}

VQZ_ALL_FORMATS(ScrollTest);

// Cases of a desktop host.
class ScrollDesktopTest : public ScrollTest {};

TEST_P(ScrollDesktopTest, MaskThatCannotBeChangedInPlace) {
    Ref pic = randomPicture(4, 3, 5), mask = makePicture(formatNamed("desktop8"), 4, 3);
    fillRandom(mask.get(), 6);
    standin::setMask(pic.get(), mask.get());
    const std::vector<uint8_t> picBefore = rawPixels(pic.get()), maskBefore = rawPixels(mask.get());
    EXPECT_FALSE(vertical(pic.get(), 1, true, true));  // stops before touching the picture
    EXPECT_EQ(rawPixels(pic.get()), picBefore);
    EXPECT_TRUE(horizontal(pic.get(), 1, true, true));  // scrolls the picture and leaves the mask
    EXPECT_EQ(rawPixels(pic.get()), rotated(pic.get(), picBefore, 1, 0));
    EXPECT_EQ(rawPixels(mask.get()), maskBefore);
    standin::setMask(pic.get(), nullptr);
}

TEST_P(ScrollDesktopTest, WithoutQuickDrawNothingMoves) {
    HostConfig config = configFor(format());
    config.frameworkMissing = true;
    load(config);
    Ref pic = randomPicture(4, 3, 7);
    const std::vector<uint8_t> before = rawPixels(pic.get());
    EXPECT_TRUE(vertical(pic.get(), 1, false) && horizontal(pic.get(), 1, false));
    EXPECT_FALSE(vertical(pic.get(), 1, true));
    EXPECT_EQ(rawPixels(pic.get()), before);
}

INSTANTIATE_TEST_SUITE_P(Desktop, ScrollDesktopTest, ::testing::Values(formatNamed("desktop32")), FormatName());

}  // namespace
