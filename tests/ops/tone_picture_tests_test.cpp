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
    for (int round = 0; round < 10; ++round) {
        const int w = 1 + int(random() % 90), h = 1 + int(random() % 9);  // rows longer than one run of pixels
        Ref blackPic = painted(w, h, 0), whitePic = painted(w, h, 0xFFFFFF), grayPic = painted(w, h, 0);
        for (int spoiled = int(random() % 3); spoiled > 0; --spoiled) {
            const uint32_t bit = 1u << (random() % 24);
            standin::setRGB(blackPic.get(), int(random() % w), int(random() % h), bit);
            standin::setRGB(whitePic.get(), int(random() % w), int(random() % h), 0xFFFFFF ^ bit);
        }
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int v = 10 + int(random() % 230), r = v + int(random() % 5) - 2, b = v + int(random() % 9) - 4;
                standin::setRGB(grayPic.get(), x, y, rgbOf(r, v, b));
            }
        const Snapshot blacks = snapshot(blackPic.get()), whites = snapshot(whitePic.get()), grays = snapshot(grayPic.get());
        for (int i = 0; i < 8; ++i) {
            const Rect r = random() % 8 ? Rect{coordinate(w), coordinate(h), coordinate(w), coordinate(h)}
                                        : extremes[random() % 5];
            SCOPED_TRACE(::testing::Message() << w << "x" << h << " picture, rect " << ::testing::PrintToString(r));
            auto expected = [&](const Snapshot& s, auto pass) { return ref::everyPixel(s, r[0], r[1], r[2], r[3], pass); };
            EXPECT_EQ(expected(blacks, ref::black), test(kBlackRect, blackPic.get(), r));
            EXPECT_EQ(expected(whites, ref::white), test(kWhiteRect, whitePic.get(), r));
            for (int32_t tolerance : {0, 1, -3, 4, 6, 8, -8, 255, INT32_MIN, INT32_MAX})
                EXPECT_EQ(expected(grays, [&](uint32_t c) { return ref::gray(c, tolerance); }),
                          test(kGrayRect, grayPic.get(), {tolerance, r[0], r[1], r[2], r[3]}))
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
    EXPECT_TRUE(ref::failsUnderEveryFault(format(), [&] { return !test(kWhiteRect, whitePic.get(), {0, 0, 0, 0}); }));
}

VQZ_ALL_FORMATS(TonePictureTestsTest);

// The worked examples need formats that hold every channel value exactly.
class TonePictureTestsExamples : public TonePictureTestsTest {};

// A 100 x 100 picture of `fill` with the pixels of `patch` in `color`, and what a test answers.
const struct { uint32_t fill; Rect patch; uint32_t color; const char* test; std::vector<int32_t> args; bool answer; }
    kExamples[] = {
    {0, {29, 19, 1, 1}, rgbOf(0, 0, 1), kBlack, {}, false},
    {0, {29, 19, 1, 1}, rgbOf(0, 0, 1), kBlackRect, {0, 0, 29, -1}, true},  // the pixel just outside
    {0, {29, 19, 1, 1}, rgbOf(0, 0, 1), kBlackRect, {0, 0, -1, 19}, true},
    {0xFFFFFF, {0, 0, 1, 1}, rgbOf(255, 255, 254), kWhite, {}, false},
    {0xFFFFFF, {0, 0, 1, 1}, rgbOf(255, 255, 254), kWhiteRect, {1, 0, -1, -1}, true},
    {0xFFFFFF, {0, 0, 1, 1}, rgbOf(255, 255, 254), kWhiteRect, {0, 1, -1, -1}, true},
    {rgbOf(128, 128, 128), {0, 0, 0, 0}, 0, kGray, {}, true},  // the default tolerance 0
    {rgbOf(128, 128, 128), {2, 1, 1, 1}, rgbOf(128, 128, 129), kGray, {}, false},
    {rgbOf(128, 128, 128), {2, 1, 1, 1}, rgbOf(128, 128, 129), kGray, {1}, true},
    {rgbOf(128, 128, 128), {2, 1, 1, 1}, rgbOf(128, 128, 129), kGray, {-1}, true},
    {rgbOf(128, 128, 128), {2, 1, 1, 1}, rgbOf(100, 105, 110), kGray, {10}, true},
    {rgbOf(128, 128, 128), {2, 1, 1, 1}, rgbOf(100, 105, 111), kGray, {10}, false},  // red, blue 11 apart
    {rgbOf(128, 128, 128), {2, 1, 1, 1}, rgbOf(100, 105, 111), kGray, {INT32_MIN}, true},
    {rgbOf(5, 5, 5), {0, 0, 0, 0}, 0, kBlackRect, {0, 0, 0, 0}, true},
    {rgbOf(5, 5, 5), {0, 0, 0, 0}, 0, kWhiteRect, {1000, 1000, 5, 5}, true},
    {rgbOf(5, 5, 5), {10, 10, 90, 90}, 0, kBlackRect, {10, 10, -1, -1}, true},  // columns, rows 10..99
    {rgbOf(5, 5, 5), {10, 10, 90, 90}, 0, kBlackRect, {9, 10, -1, -1}, false},
    {rgbOf(5, 5, 5), {10, 10, 90, 90}, 0, kBlackRect, {10, 9, -1, -1}, false},
    {rgbOf(5, 5, 5), {0, 0, 10, 10}, 0, kBlackRect, {-10, -10, 20, 20}, true},  // columns, rows 0..9
    {rgbOf(5, 5, 5), {0, 0, 10, 10}, 0, kBlackRect, {-10, -10, 21, 20}, false},
    {rgbOf(5, 5, 5), {0, 0, 10, 10}, 0, kBlackRect, {-10, -10, 20, 21}, false},
};

TEST_P(TonePictureTestsExamples, WorkedExamples) {
    for (const auto& e : kExamples) {
        Ref pic = painted(100, 100, e.fill, e.patch, e.color);
        EXPECT_EQ(test(e.test, pic.get(), e.args), e.answer) << e.test << " " << ::testing::PrintToString(e.args)
                                                             << " on " << e.fill << " with " << e.color << " in "
                                                             << ::testing::PrintToString(e.patch);
    }
}

VQZ_READER_FORMATS(TonePictureTestsExamples);

}  // namespace
