// isBlackVQZ, isWhiteVQZ and isGrayVQZ: random rectangles on pictures that nearly
// pass, against the reference; the worked examples; nil and unopenable pictures.
#include <cstdint>
#include <random>
#include <vector>

#include "tests/reference/tone_reference.h"

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

// Rectangles are {left, top, width, height}.
using Rect = std::vector<int32_t>;

class TonePictureTestsTest : public PluginFormatTest {
protected:
    bool test(const char* declaration, void* pic, const std::vector<int32_t>& args) {
        std::vector<Value> values;
        for (int32_t v : args) values.push_back(Value::integer(v));
        return callBool(declaration, pic, values);
    }

    // A picture of `fill` (with random mask bytes) and the pixels of `patch` in `color`.
    Ref painted(int w, int h, uint32_t fill, const Rect& patch = {0, 0, 0, 0}, uint32_t color = 0) {
        Ref pic = randomPicture(w, h, uint32_t(w * h));
        fillColor(pic.get(), fill);
        for (int y = patch[1]; y < patch[1] + patch[3]; ++y)
            for (int x = patch[0]; x < patch[0] + patch[2]; ++x) standin::setRGB(pic.get(), x, y, color);
        return pic;
    }
};

TEST_P(TonePictureTestsTest, MatchReferenceOnRandomRectangles) {
    std::mt19937 random(5000 + GetParam().depth + 10 * int(GetParam().kind));
    auto coordinate = [&](int size) { return int32_t(random() % uint32_t(2 * size + 6)) - size - 3; };
    const Rect extremes[] = {{INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX}, {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX},
                             {INT32_MIN, 0, -1, -1}, {2, 1, INT32_MAX, INT32_MAX}, {0, 0, INT32_MIN, INT32_MIN}};
    // Pictures that nearly pass: black or white with a few pixels one bit off, or near gray.
    for (int round = 0; round < 18; ++round) {
        const int w = 1 + int(random() % 90), h = 1 + int(random() % 9);  // rows longer than one run of pixels
        Ref pic = painted(w, h, round % 3 == 1 ? 0xFFFFFF : 0);
        for (int spoiled = int(random() % 3); round % 3 < 2 && spoiled > 0; --spoiled) {
            const int x = int(random() % w), y = int(random() % h);
            standin::setRGB(pic.get(), x, y, standin::getRGB(pic.get(), x, y) ^ 1u << (random() % 24));
        }
        for (int y = 0; round % 3 == 2 && y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int v = 10 + int(random() % 230);
                standin::setRGB(pic.get(), x, y, rgbOf(v + int(random() % 5) - 2, v, v + int(random() % 9) - 4));
            }
        const Snapshot s = snapshot(pic.get());
        for (int i = 0; i < 8; ++i) {
            const Rect r = random() % 8 ? Rect{coordinate(w), coordinate(h), coordinate(w), coordinate(h)}
                                        : extremes[random() % 5];
            SCOPED_TRACE(::testing::Message() << w << "x" << h << " picture, rect " << ::testing::PrintToString(r));
            auto expected = [&](auto pass) { return ref::everyPixel(s, r[0], r[1], r[2], r[3], pass); };
            EXPECT_EQ(expected(ref::black), test(kBlackRect, pic.get(), r));
            EXPECT_EQ(expected(ref::white), test(kWhiteRect, pic.get(), r));
            for (int32_t tolerance : {0, 1, -3, 4, 6, 8, -8, 255, INT32_MIN, INT32_MAX})
                EXPECT_EQ(expected([&](uint32_t c) { return ref::gray(c, tolerance); }),
                          test(kGrayRect, pic.get(), {tolerance, r[0], r[1], r[2], r[3]}))
                    << "tolerance " << tolerance;
        }
    }
}

TEST_P(TonePictureTestsTest, WholePictureNilAndFaults) {
    Ref blackPic = painted(40, 7, 0), whitePic = painted(40, 7, 0xFFFFFF);
    for (void* pic : {blackPic.get(), whitePic.get()}) {  // whatever the mask bytes hold
        EXPECT_EQ(test(kBlack, pic, {}), pic == blackPic.get());
        EXPECT_EQ(test(kWhite, pic, {}), pic == whitePic.get());
        EXPECT_TRUE(test(kGray, pic, {}));
    }
    for (const char* declaration : {kBlack, kWhite, kGray}) EXPECT_FALSE(test(declaration, nullptr, {})) << declaration;
    EXPECT_FALSE(test(kBlackRect, nullptr, {0, 0, 0, 0}));  // no picture fails even an empty rectangle
    EXPECT_TRUE(ref::failsUnderEveryFault(format(), [&] { return !test(kBlack, blackPic.get(), {}); }));
    EXPECT_TRUE(
        ref::failsUnderEveryFault(format(), [&] { return !test(kWhiteRect, whitePic.get(), {0, 0, 0, 0}); }));
}

VQZ_ALL_FORMATS(TonePictureTestsTest);

// The worked examples need formats that hold every channel value exactly.
class TonePictureTestsExamples : public TonePictureTestsTest {};

// A 100 x 100 picture of `fill` with the pixels of `patch` in `color`, and what tests answer.
struct Answer {
    const char* test;
    std::vector<int32_t> args;
    bool answer;
};
const uint32_t kMidGray = rgbOf(128, 128, 128), kDim = rgbOf(5, 5, 5);
const struct { uint32_t fill; Rect patch; uint32_t color; std::vector<Answer> answers; } kExamples[] = {
    {0, {29, 19, 1, 1}, rgbOf(0, 0, 1),  // a pixel just outside the rectangle does not count
     {{kBlack, {}, false}, {kBlackRect, {0, 0, 29, -1}, true}, {kBlackRect, {0, 0, -1, 19}, true}}},
    {0xFFFFFF, {0, 0, 1, 1}, rgbOf(255, 255, 254),
     {{kWhite, {}, false}, {kWhiteRect, {1, 0, -1, -1}, true}, {kWhiteRect, {0, 1, -1, -1}, true}}},
    {kMidGray, {0, 0, 0, 0}, 0, {{kGray, {}, true}}},  // the default tolerance 0
    {kMidGray, {2, 1, 1, 1}, rgbOf(128, 128, 129), {{kGray, {}, false}, {kGray, {1}, true}, {kGray, {-1}, true}}},
    {kMidGray, {2, 1, 1, 1}, rgbOf(100, 105, 110), {{kGray, {10}, true}}},
    {kMidGray, {2, 1, 1, 1}, rgbOf(100, 105, 111),  // red and blue 11 apart
     {{kGray, {10}, false}, {kGray, {INT32_MIN}, true}}},
    {kDim, {0, 0, 0, 0}, 0, {{kBlackRect, {0, 0, 0, 0}, true}, {kWhiteRect, {1000, 1000, 5, 5}, true}}},
    {kDim, {10, 10, 90, 90}, 0,  // (10, 10, -1, -1) tests columns and rows 10..99
     {{kBlackRect, {10, 10, -1, -1}, true}, {kBlackRect, {9, 10, -1, -1}, false}, {kBlackRect, {10, 9, -1, -1}, false}}},
    {kDim, {0, 0, 10, 10}, 0,  // (-10, -10, 20, 20) tests columns and rows 0..9
     {{kBlackRect, {-10, -10, 20, 20}, true}, {kBlackRect, {-10, -10, 21, 20}, false},
      {kBlackRect, {-10, -10, 20, 21}, false}}},
};

TEST_P(TonePictureTestsExamples, WorkedExamples) {
    for (const auto& e : kExamples) {
        Ref pic = painted(100, 100, e.fill, e.patch, e.color);
        for (const Answer& a : e.answers)
            EXPECT_EQ(test(a.test, pic.get(), a.args), a.answer)
                << a.test << " " << ::testing::PrintToString(a.args) << " on " << e.fill << " with " << e.color
                << " in " << ::testing::PrintToString(e.patch);
    }
}

VQZ_READER_FORMATS(TonePictureTestsExamples);

}  // namespace
