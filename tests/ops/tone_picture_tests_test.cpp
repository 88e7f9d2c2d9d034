// isBlackVQZ, isWhiteVQZ and isGrayVQZ: random rectangles on pictures that nearly
// pass, against the reference; the worked examples; nil and unlockable pictures.
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "tests/reference/tone_reference.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;
namespace ref = reference::tone;

const char* const kBlackRect = "isBlackVQZ(left as integer,top as integer,width as integer,height as integer) as boolean";
const char* const kWhiteRect = "isWhiteVQZ(left as integer,top as integer,width as integer,height as integer) as boolean";
const char* const kGrayRect =
    "isGrayVQZ(tolerance as integer, left as integer,top as integer,width as integer,height as integer) as boolean";
const char* const kBlack = "isBlackVQZ as boolean";
const char* const kWhite = "isWhiteVQZ as boolean";
const char* const kGray = "isGrayVQZ(tolerance as integer = 0) as boolean";

struct Rect {
    int32_t left, top, width, height;
};

std::vector<Value> rectArgs(Rect r) {
    return {Value::integer(r.left), Value::integer(r.top), Value::integer(r.width), Value::integer(r.height)};
}

class TonePictureTestsTest : public PluginFormatTest {
protected:
    // Makes the nth opening of a picture in this test's host fail: a desktop host
    // refuses to lock the pixels, a console host the description.
    void failOpening(int n) {
        standin::failNth(format().desktop() ? standin::Fault::PixelLock : standin::Fault::DescriptionLock, n);
    }

    bool black(void* pic, Rect r) { return callBool(kBlackRect, pic, rectArgs(r)); }
    bool white(void* pic, Rect r) { return callBool(kWhiteRect, pic, rectArgs(r)); }
    bool gray(void* pic, int32_t tolerance, Rect r) {
        std::vector<Value> args = rectArgs(r);
        args.insert(args.begin(), Value::integer(tolerance));
        return callBool(kGrayRect, pic, args);
    }

    // A picture of `base` (random mask bytes) with a few pixels changed by `spoil`.
    template <class Spoil>
    Ref nearlyUniform(int w, int h, uint32_t base, int spoiled, std::mt19937& random, Spoil spoil) {
        Ref pic = randomPicture(w, h, random());
        fillColor(pic.get(), base);
        for (int i = 0; i < spoiled; ++i) standin::setRGB(pic.get(), int(random() % w), int(random() % h), spoil());
        return pic;
    }
};

Rect randomRect(std::mt19937& random, int w, int h) {
    auto coordinate = [&](int size) { return int32_t(random() % (2 * size + 6)) - size - 3; };
    static const Rect extremes[] = {{INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX},
                                    {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX},
                                    {INT32_MIN, 0, -1, -1},
                                    {2, 1, INT32_MAX, INT32_MAX},
                                    {0, 0, INT32_MIN, INT32_MIN}};
    if (random() % 8 == 0) return extremes[random() % 5];
    return Rect{coordinate(w), coordinate(h), coordinate(w), coordinate(h)};
}

TEST_P(TonePictureTestsTest, MatchReferenceOnRandomRectangles) {
    std::mt19937 random(5000 + GetParam().depth + 10 * int(GetParam().kind));
    for (int round = 0; round < 10; ++round) {
        const int w = 1 + int(random() % 90), h = 1 + int(random() % 9);  // rows longer than one run of pixels
        const int spoiled = int(random() % 3);
        Ref blackPic = nearlyUniform(w, h, 0, spoiled, random, [&] { return uint32_t(1) << (random() % 24); });
        Ref whitePic = nearlyUniform(w, h, 0xFFFFFF, spoiled, random, [&] { return 0xFFFFFF ^ (1u << (random() % 24)); });
        Ref grayPic = randomPicture(w, h, random());
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                const int v = 10 + int(random() % 230);
                standin::setRGB(grayPic.get(), x, y, rgbOf(v + int(random() % 5) - 2, v, v + int(random() % 9) - 4));
            }
        }
        const Snapshot b = snapshot(blackPic.get()), wh = snapshot(whitePic.get()), g = snapshot(grayPic.get());
        for (int i = 0; i < 8; ++i) {
            const Rect r = randomRect(random, w, h);
            SCOPED_TRACE(::testing::Message() << w << "x" << h << " rect " << r.left << "," << r.top << " " << r.width
                                              << "x" << r.height);
            EXPECT_EQ(ref::everyPixel(b, r.left, r.top, r.width, r.height, ref::black), black(blackPic.get(), r));
            EXPECT_EQ(ref::everyPixel(wh, r.left, r.top, r.width, r.height, ref::white), white(whitePic.get(), r));
            for (int32_t tolerance : {0, 1, -3, 4, 6, 8, -8, 255, INT32_MIN, INT32_MAX}) {
                EXPECT_EQ(ref::everyPixel(g, r.left, r.top, r.width, r.height,
                                          [&](uint32_t c) { return ref::gray(c, tolerance); }),
                          gray(grayPic.get(), tolerance, r))
                    << "tolerance " << tolerance;
            }
        }
    }
}

TEST_P(TonePictureTestsTest, WholePictureForms) {
    std::mt19937 random(17);
    Ref blackPic = nearlyUniform(40, 7, 0, 0, random, [] { return 0u; });
    EXPECT_TRUE(callBool(kBlack, blackPic.get()));  // whatever the mask bytes hold
    EXPECT_FALSE(callBool(kWhite, blackPic.get()));
    EXPECT_TRUE(callBool(kGray, blackPic.get()));
    Ref whitePic = nearlyUniform(40, 7, 0xFFFFFF, 0, random, [] { return 0u; });
    EXPECT_TRUE(callBool(kWhite, whitePic.get()));
    EXPECT_FALSE(callBool(kBlack, whitePic.get()));
    EXPECT_TRUE(callBool(kGray, whitePic.get()));
    EXPECT_FALSE(callBool(kBlack, nullptr));
    EXPECT_FALSE(callBool(kWhite, nullptr));
    EXPECT_FALSE(callBool(kGray, nullptr));
    EXPECT_FALSE(black(nullptr, Rect{0, 0, 0, 0}));  // no picture fails even an empty rectangle
    failOpening(1);
    EXPECT_FALSE(callBool(kBlack, blackPic.get()));
    failOpening(1);
    EXPECT_FALSE(white(whitePic.get(), Rect{0, 0, 0, 0}));
}

VQZ_ALL_FORMATS(TonePictureTestsTest);

class TonePictureTestsExamples : public TonePictureTestsTest {};

TEST_P(TonePictureTestsExamples, OnePixelDecides) {
    Ref pic = picture(30, 20);
    fillColor(pic.get(), 0);
    standin::setRGB(pic.get(), 29, 19, rgbOf(0, 0, 1));
    EXPECT_FALSE(callBool(kBlack, pic.get()));
    EXPECT_TRUE(black(pic.get(), Rect{0, 0, 29, -1}));  // the pixel just outside does not count
    EXPECT_TRUE(black(pic.get(), Rect{0, 0, -1, 19}));
    fillColor(pic.get(), 0xFFFFFF);
    standin::setRGB(pic.get(), 0, 0, rgbOf(255, 255, 254));
    EXPECT_FALSE(callBool(kWhite, pic.get()));
    EXPECT_TRUE(white(pic.get(), Rect{1, 0, -1, -1}));
    EXPECT_TRUE(white(pic.get(), Rect{0, 1, -1, -1}));
}

TEST_P(TonePictureTestsExamples, GrayTolerances) {
    Ref pic = picture(3, 2);
    fillColor(pic.get(), rgbOf(128, 128, 128));
    EXPECT_TRUE(callBool(kGray, pic.get()));  // the default tolerance 0
    standin::setRGB(pic.get(), 2, 1, rgbOf(128, 128, 129));
    EXPECT_FALSE(callBool(kGray, pic.get()));
    EXPECT_TRUE(callBool(kGray, pic.get(), {Value::integer(1)}));
    EXPECT_TRUE(callBool(kGray, pic.get(), {Value::integer(-1)}));
    standin::setRGB(pic.get(), 2, 1, rgbOf(100, 105, 110));
    EXPECT_TRUE(callBool(kGray, pic.get(), {Value::integer(10)}));
    standin::setRGB(pic.get(), 2, 1, rgbOf(100, 105, 111));  // red and blue differ by 11
    EXPECT_FALSE(callBool(kGray, pic.get(), {Value::integer(10)}));
    EXPECT_TRUE(callBool(kGray, pic.get(), {Value::integer(INT32_MIN)}));
}

TEST_P(TonePictureTestsExamples, RectangleClipping) {
    Ref pic = picture(100, 100);
    fillColor(pic.get(), rgbOf(5, 5, 5));
    EXPECT_TRUE(black(pic.get(), Rect{0, 0, 0, 0}));
    EXPECT_TRUE(white(pic.get(), Rect{1000, 1000, 5, 5}));
    // Black only in columns and rows 10..99: the rectangle from (10, 10) to the edges.
    for (int y = 10; y < 100; ++y)
        for (int x = 10; x < 100; ++x) standin::setRGB(pic.get(), x, y, 0);
    EXPECT_TRUE(black(pic.get(), Rect{10, 10, -1, -1}));
    EXPECT_FALSE(black(pic.get(), Rect{9, 10, -1, -1}));
    EXPECT_FALSE(black(pic.get(), Rect{10, 9, -1, -1}));
    // (-10, -10, 20, 20) tests columns and rows 0..9 only.
    fillColor(pic.get(), rgbOf(5, 5, 5));
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 10; ++x) standin::setRGB(pic.get(), x, y, 0);
    EXPECT_TRUE(black(pic.get(), Rect{-10, -10, 20, 20}));
    EXPECT_FALSE(black(pic.get(), Rect{-10, -10, 21, 20}));
    EXPECT_FALSE(black(pic.get(), Rect{-10, -10, 20, 21}));
}

VQZ_READER_FORMATS(TonePictureTestsExamples);

}  // namespace
