#include <climits>
#include <random>
#include <string>
#include <vector>

#include "tests/reference/search_reference.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;

const char* const kWhole = "ExtractColorRectangleMaskVQZ as picture";
const char* const kRectangle =
    "ExtractColorRectangleMaskVQZ(left as integer,top as integer,width as integer,height as integer) as picture";

// Colors that every depth holds exactly.
const uint32_t kBlack = 0x000000, kWhite = 0xFFFFFF, kRed = 0xFF0000;

// A picture drawn from rows of text: '#' is a colored pixel, anything else gray.
std::vector<std::string> Rows(std::initializer_list<const char*> rows) { return {rows.begin(), rows.end()}; }

class RectangleMaskTest : public PluginFormatTest {
protected:
    Ref drawn(const std::vector<std::string>& rows) {
        const int w = int(rows[0].size()), h = int(rows.size());
        Ref pic = picture(w, h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                standin::setRGB(pic.get(), x, y, rows[size_t(y)][size_t(x)] == '#' ? kRed : kWhite);
        return pic;
    }

    // The result as rows of text: '#' for black, '.' for white, '?' for anything else.
    std::vector<std::string> maskOf(void* pic, int left = 0, int top = 0, int width = -1, int height = -1) {
        Ref out = callPicture(kRectangle, pic, {Value::integer(left), Value::integer(top), Value::integer(width),
                                                Value::integer(height)});
        if (!out) return {};
        const Snapshot s = snapshot(out.get());
        std::vector<std::string> rows(size_t(s.height), std::string(size_t(s.width), '?'));
        for (int y = 0; y < s.height; ++y)
            for (int x = 0; x < s.width; ++x)
                rows[size_t(y)][size_t(x)] = s.at(x, y) == kBlack ? '#' : s.at(x, y) == kWhite ? '.' : '?';
        return rows;
    }

    // Compares one call with the plain version, mask bytes included (every pixel is written).
    void expectReference(void* source, int left, int top, int width, int height) {
        SCOPED_TRACE(::testing::Message() << "rect " << left << "," << top << " " << width << "x" << height);
        Ref out = callPicture(kRectangle, source,
                              {Value::integer(left), Value::integer(top), Value::integer(width), Value::integer(height)});
        ASSERT_TRUE(out);
        const Snapshot src = snapshot(source), got = snapshot(out.get());
        const std::vector<bool> black = reference::colorRectangleMask(src, left, top, width, height);
        const Snapshot expected = expectedFrom(src, [&](int x, int y, uint32_t) {
            return black[size_t(y) * size_t(src.width) + size_t(x)] ? kBlack : kWhite;
        });
        EXPECT_TRUE(samePixels(expected, got));
        const uint8_t writtenMask = format().desktop() ? 255 : 0;
        for (uint8_t m : got.mask) ASSERT_EQ(m, writtenMask);
    }
};

TEST_P(RectangleMaskTest, MatchesPlainSearchOnRandomPictures) {
    std::mt19937 random(31 + unsigned(format().depth) * 3 + unsigned(format().kind));
    for (int round = 0; round < 16; ++round) {
        const int w = 1 + int(random() % 40), h = 1 + int(random() % 30);
        // From a few scattered colored pixels to mostly colored ones.
        const unsigned percentColored = 3 + unsigned(round) * 6;
        Ref pic = picture(w, h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int gray = int(random() % 256);
                const bool colored = random() % 100 < percentColored;
                standin::setRGB(pic.get(), x, y, colored ? uint32_t(random()) & 0xFFFFFF : rgbOf(gray, gray, gray));
            }
        expectReference(pic.get(), 0, 0, -1, -1);
        auto coordinate = [&](int size) { return int(random() % unsigned(2 * size + 6)) - size - 3; };
        for (int i = 0; i < 3; ++i) expectReference(pic.get(), coordinate(w), coordinate(h), coordinate(w), coordinate(h));
    }
}

TEST_P(RectangleMaskTest, ShapesThatGrowFarAndNest) {
    // Nested open frames, a staircase, long thin lines and a comb: each grows its
    // rectangle across many passes or covers rectangles found before it.
    const auto rows = Rows({"..................................",
                            ".#..............................#.",
                            ".#.######################.......#.",
                            ".#.#....................#....#..#.",
                            ".#.#.##############.....#.......#.",
                            ".#.#.#............#.....#..#....#.",
                            ".#.#.#..#.........#.....#.......#.",
                            ".#.#.#............#.....#...#...#.",
                            ".#.#..............#.....#.......#.",
                            ".#.#....................#....#..#.",
                            ".#..............................#.",
                            ".################################.",
                            "..................................",
                            "#.#.#.#.#.#.#.#.#.#.#.#.#.#.#.#.#.",
                            "##################################",
                            "..................................",
                            "#.................................",
                            ".#................................",
                            "..#...............................",
                            "...##.............................",
                            "....#############################."});
    Ref pic = drawn(rows);
    expectReference(pic.get(), 0, 0, -1, -1);
    expectReference(pic.get(), 3, 2, 20, 9);
}

TEST_P(RectangleMaskTest, EdgeCases) {
    // All gray, of any level (that the depth holds as gray): all white.
    Ref gray = picture(12, 9);
    for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 12; ++x) {
            const int level = format().depth == 8 ? (x + y) % 2 * 255 : x * 20 + y;
            standin::setRGB(gray.get(), x, y, rgbOf(level, level, level));
        }
    const std::vector<std::string> white(9, std::string(12, '.'));
    EXPECT_EQ(maskOf(gray.get()), white);
    Ref whole = callPicture(kWhole, gray.get());
    ASSERT_TRUE(whole);
    EXPECT_EQ(snapshot(whole.get()).rgb, std::vector<uint32_t>(12 * 9, kWhite));

    // One colored pixel at (5, 7).
    standin::setRGB(gray.get(), 5, 7, kRed);
    std::vector<std::string> one = white;
    one[7][5] = '#';
    EXPECT_EQ(maskOf(gray.get()), one);

    // An L covers its gap; diagonal neighbours stay apart, side neighbours join.
    EXPECT_EQ(maskOf(drawn(Rows({"#...", "#...", "###.", "...."})).get()), Rows({"###.", "###.", "###.", "...."}));
    EXPECT_EQ(maskOf(drawn(Rows({"#..", ".#.", "..."})).get()), Rows({"#..", ".#.", "..."}));
    EXPECT_EQ(maskOf(drawn(Rows({"##.", "...", "..."})).get()), Rows({"##.", "...", "..."}));
    // An area along the border is bounded by it.
    EXPECT_EQ(maskOf(drawn(Rows({"...#", "..##", "...#"})).get()), Rows({"..##", "..##", "..##"}));
}

TEST_P(RectangleMaskTest, TestedRectangleLimitsSeedsAndGrowth) {
    std::vector<std::string> rows(20, std::string(20, '.'));
    for (int x = 8; x < 13; ++x) rows[12][size_t(x)] = '#';  // crosses the left edge of 10..14
    rows[3][3] = '#';                                          // outside
    rows[14][14] = '#';                                        // the last row and column inside
    rows[15][15] = '#';                                        // just outside
    Ref pic = drawn(rows);
    std::vector<std::string> expected(20, std::string(20, '.'));
    for (int x = 10; x < 13; ++x) expected[12][size_t(x)] = '#';
    expected[14][14] = '#';
    EXPECT_EQ(maskOf(pic.get(), 10, 10, 5, 5), expected);
    // Wholly outside, or empty: all white.
    const std::vector<std::string> white(20, std::string(20, '.'));
    EXPECT_EQ(maskOf(pic.get(), 20, 0, 5, 5), white);
    EXPECT_EQ(maskOf(pic.get(), -10, -10, 5, 5), white);
    EXPECT_EQ(maskOf(pic.get(), 0, 0, 0, 20), white);
    EXPECT_EQ(maskOf(pic.get(), INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX), white);
    // A huge rectangle from far left is the whole picture.
    EXPECT_EQ(maskOf(pic.get(), INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX), white);
    EXPECT_EQ(maskOf(pic.get(), -5, -5, INT32_MAX, INT32_MAX), maskOf(pic.get()));
}

TEST_P(RectangleMaskTest, SourceStaysAndFailuresGiveNil) {
    Ref pic = randomPicture(7, 6, 12);
    const std::vector<uint8_t> before = rawPixels(pic.get());
    Ref out = callPicture(kWhole, pic.get());
    EXPECT_TRUE(out);
    EXPECT_EQ(rawPixels(pic.get()), before);
    EXPECT_TRUE(standin::guardsIntact(pic.get()));

    EXPECT_FALSE(callPicture(kWhole, nullptr));
    if (format().code() != 0) {
        // The picture cannot be read (a desktop reader falls back to a copy, which fails too).
        standin::failNth(standin::Fault::DescriptionLock, 1);
        if (format().desktop()) standin::failNth(standin::Fault::PictureCreation, 1);
        EXPECT_FALSE(callPicture(kWhole, pic.get()));
        standin::failNth(standin::Fault::PictureCreation, 0);
        // The result cannot be created.
        standin::failNth(standin::Fault::PictureCreation, 1);
        EXPECT_FALSE(callPicture(kWhole, pic.get()));
    }
    // Each lock, pixel lock and picture creation of a call failed in turn: the
    // answer is then nil or still the right picture.
    const Snapshot right = snapshot(out.get());
    for (standin::Fault kind :
         {standin::Fault::DescriptionLock, standin::Fault::PixelLock, standin::Fault::PictureCreation}) {
        const int first = standin::occurrences(kind);
        EXPECT_TRUE(callPicture(kWhole, pic.get()));
        const int count = standin::occurrences(kind) - first;
        for (int n = 1; n <= count; ++n) {
            SCOPED_TRACE(::testing::Message() << "fault kind " << int(kind) << " at " << n);
            standin::failNth(kind, n);
            Ref result = callPicture(kWhole, pic.get());
            if (result) {
                EXPECT_TRUE(samePixels(right, snapshot(result.get())));
            }
            standin::failNth(kind, 0);
        }
    }
}

VQZ_ALL_FORMATS(RectangleMaskTest);

class RectangleMaskSizeTest : public PluginTest {};

TEST_F(RectangleMaskSizeTest, ResultSideLimit) {
    for (AppKind kind : {AppKind::Desktop, AppKind::Console}) {
        load(kind);
        const HostFormat& f = formatNamed(kind == AppKind::Desktop ? "desktop32" : "console");
        Ref widest = makePicture(f, 32767, 1);
        standin::setRGB(widest.get(), 32766, 0, rgbOf(9, 8, 7));
        Ref out = callPicture(kWhole, widest.get());
        ASSERT_TRUE(out);
        EXPECT_EQ(standin::getRGB(out.get(), 32766, 0), kBlack);
        EXPECT_EQ(standin::getRGB(out.get(), 32765, 0), kWhite);
        out = Ref();
        Ref tooWide = makePicture(f, 32768, 1);
        EXPECT_FALSE(callPicture(kWhole, tooWide.get()));
        Ref tooTall = makePicture(f, 1, 32768);
        EXPECT_FALSE(callPicture(kWhole, tooTall.get()));
    }
}

}  // namespace
