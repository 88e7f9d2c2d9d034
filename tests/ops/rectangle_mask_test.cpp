#include <array>
#include <climits>
#include <optional>
#include <random>
#include <string>
#include <utility>
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

using Rows = std::vector<std::string>;

class RectangleMaskTest : public PluginFormatTest {
protected:
    // A picture drawn from rows of text: '#' is a colored pixel, anything else gray, of
    // levels that differ from pixel to pixel (where the depth holds them as gray).
    Ref drawn(const Rows& rows) {
        Ref pic = picture(int(rows[0].size()), int(rows.size()));
        for (int y = 0; y < int(rows.size()); ++y)
            for (int x = 0; x < int(rows[0].size()); ++x) {
                const int level = format().depth == 8 ? (x + y) % 2 * 255 : (x * 20 + y) % 256;
                standin::setRGB(pic.get(), x, y, rows[size_t(y)][size_t(x)] == '#' ? kRed : rgbOf(level, level, level));
            }
        return pic;
    }
    Ref mask(void* pic, int left, int top, int width, int height) {
        return callPicture(kRectangle, pic, {Value::integer(left), Value::integer(top), Value::integer(width),
                                             Value::integer(height)});
    }
    // The result as rows of text: '#' for black, '.' for white, '?' for anything else;
    // of the whole-picture form without a rectangle.
    Rows maskOf(void* pic, std::optional<std::array<int, 4>> r = std::nullopt) {
        Ref out = r ? mask(pic, (*r)[0], (*r)[1], (*r)[2], (*r)[3]) : callPicture(kWhole, pic);
        if (!out) return {};
        const Snapshot s = snapshot(out.get());
        Rows rows(size_t(s.height), std::string(size_t(s.width), '?'));
        for (int y = 0; y < s.height; ++y)
            for (int x = 0; x < s.width; ++x)
                rows[size_t(y)][size_t(x)] = s.at(x, y) == kBlack ? '#' : s.at(x, y) == kWhite ? '.' : '?';
        return rows;
    }
    // Compares one call with the plain version, mask bytes included (every pixel is written).
    void expectReference(void* source, int left, int top, int width, int height) {
        SCOPED_TRACE(::testing::Message() << "rect " << left << "," << top << " " << width << "x" << height);
        Ref out = mask(source, left, top, width, height);
        ASSERT_TRUE(out);
        const Snapshot src = snapshot(source), got = snapshot(out.get());
        const std::vector<bool> black = reference::colorRectangleMask(src, left, top, width, height);
        EXPECT_TRUE(samePixels(expectedFrom(src, [&](int x, int y, uint32_t) {
                                   return black[size_t(y) * size_t(src.width) + size_t(x)] ? kBlack : kWhite;
                               }),
                               got));
        EXPECT_EQ(got.mask, std::vector<uint8_t>(got.mask.size(), format().desktop() ? 255 : 0));
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
    Ref pic = drawn({"..................................",
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
    expectReference(pic.get(), 0, 0, -1, -1);
    expectReference(pic.get(), 3, 2, 20, 9);
}

TEST_P(RectangleMaskTest, Examples) {
    Rows gray(9, std::string(12, '.')), one = gray;
    one[7][5] = '#';
    const std::pair<Rows, Rows> examples[] = {
        {gray, gray},                                                          // all gray: all white
        {one, one},                                                            // one colored pixel
        {{"#...", "#...", "###.", "...."}, {"###.", "###.", "###.", "...."}},  // an L covers its gap
        {{"#..", ".#.", "..."}, {"#..", ".#.", "..."}},                        // diagonal neighbours stay apart
        {{"##.", "...", "..."}, {"##.", "...", "..."}},                        // side neighbours join
        {{"...#", "..##", "...#"}, {"..##", "..##", "..##"}},                  // bounded by the border
    };
    for (const auto& [picture, result] : examples) EXPECT_EQ(maskOf(drawn(picture).get()), result);
}

TEST_P(RectangleMaskTest, TestedRectangleLimitsSeedsAndGrowth) {
    Rows rows(20, std::string(20, '.')), expected = rows;
    const Rows white = rows;
    for (int x = 8; x < 13; ++x) rows[12][size_t(x)] = '#';  // crosses the left edge of 10..14
    rows[3][3] = '#';                                          // outside
    rows[14][14] = '#';                                        // the last row and column inside
    rows[15][15] = '#';                                        // just outside
    Ref pic = drawn(rows);
    for (int x = 10; x < 13; ++x) expected[12][size_t(x)] = '#';
    expected[14][14] = '#';
    EXPECT_EQ(maskOf(pic.get(), {{10, 10, 5, 5}}), expected);
    // Wholly outside, or empty, or a huge one from far left and above: all white.
    for (std::array<int, 4> r : {std::array{20, 0, 5, 5}, {-10, -10, 5, 5}, {0, 0, 0, 20},
                                 {INT_MAX, INT_MAX, INT_MAX, INT_MAX}, {INT_MIN, INT_MIN, INT_MAX, INT_MAX}})
        EXPECT_EQ(maskOf(pic.get(), r), white) << r[0] << "," << r[1] << " " << r[2] << "x" << r[3];
    // A huge rectangle from just left and above is the whole picture.
    EXPECT_EQ(maskOf(pic.get(), {{-5, -5, INT_MAX, INT_MAX}}), maskOf(pic.get()));
}

TEST_P(RectangleMaskTest, SourceStaysAndFailuresGiveNil) {
    Ref pic = randomPicture(7, 6, 12);
    const std::vector<uint8_t> before = rawPixels(pic.get());
    Ref out = callPicture(kWhole, pic.get());
    ASSERT_TRUE(out);
    EXPECT_EQ(rawPixels(pic.get()), before);
    EXPECT_TRUE(standin::guardsIntact(pic.get()));
    EXPECT_FALSE(callPicture(kWhole, nullptr));
    // (Every other fault is swept in the reliability tests.)
    if (format().code() != 0) {
        // The picture cannot be read (a desktop reader falls back to a copy, which fails too).
        standin::failNth(standin::Fault::DescriptionLock, 1);
        if (format().desktop()) standin::failNth(standin::Fault::PictureCreation, 1);
        EXPECT_FALSE(callPicture(kWhole, pic.get()));
        // The result cannot be created.
        standin::failNth(standin::Fault::PictureCreation, 1);
        EXPECT_FALSE(callPicture(kWhole, pic.get()));
    }
}

VQZ_ALL_FORMATS(RectangleMaskTest);

class RectangleMaskSizeTest : public PluginTest {};

TEST_F(RectangleMaskSizeTest, ResultSideLimit) {
    for (const char* name : {"desktop32", "console"}) {
        const HostFormat& f = formatNamed(name);
        load(f.kind);
        Ref widest = makePicture(f, 32767, 1), tooWide = makePicture(f, 32768, 1), tooTall = makePicture(f, 1, 32768);
        standin::setRGB(widest.get(), 32766, 0, rgbOf(9, 8, 7));
        Ref out = callPicture(kWhole, widest.get());
        ASSERT_TRUE(out);
        EXPECT_TRUE(standin::getRGB(out.get(), 32766, 0) == kBlack && standin::getRGB(out.get(), 32765, 0) == kWhite);
        EXPECT_FALSE(callPicture(kWhole, tooWide.get()));
        EXPECT_FALSE(callPicture(kWhole, tooTall.get()));
    }
}

}  // namespace
