#include <random>

#include "tests/reference/invert_reference.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;

const char* const kInvertRect = "InvertVQZ(left as integer,top as integer,width as integer,height as integer) as picture";
const char* const kInvertGrayRect =
    "InvertGrayVQZ(left as integer,top as integer,width as integer,height as integer) as picture";

class InvertTest : public PluginFormatTest {
protected:
    // A new picture of the host, as the pixels outside the rectangle must look.
    Snapshot freshPicture(int w, int h) { return snapshot(makeHostPicture(w, h).get()); }

    // Checks one call against the reference, mask bytes included (the writer's rule).
    void expectRectangle(void* source, int left, int top, int width, int height, bool gray) {
        SCOPED_TRACE(::testing::Message() << (gray ? "gray " : "") << "rect " << left << "," << top << " " << width
                                          << "x" << height);
        Ref out = callPicture(gray ? kInvertGrayRect : kInvertRect, source,
                              {Value::integer(left), Value::integer(top), Value::integer(width), Value::integer(height)});
        ASSERT_TRUE(out);
        const Snapshot src = snapshot(source), got = snapshot(out.get());
        const Snapshot fresh = freshPicture(src.width, src.height);
        EXPECT_TRUE(samePixels(reference::invert(src, fresh, left, top, width, height, gray), got));
        if (got.mask.empty()) return;
        // Written pixels carry the writer's mask byte; the others keep the new picture's.
        const uint8_t writtenMask = format().desktop() ? 255 : 0;
        const reference::Span span = reference::invertedSpan(src.width, src.height, left, top, width, height, gray);
        int wrongMasks = 0;
        for (int y = 0; y < got.height; ++y)
            for (int x = 0; x < got.width; ++x)
                wrongMasks += got.maskAt(x, y) != (span.contains(x, y) ? writtenMask : fresh.maskAt(x, y));
        EXPECT_EQ(wrongMasks, 0);
    }
};

TEST_P(InvertTest, MatchesReferenceOnRandomRectangles) {
    std::mt19937 random(GetParam().depth * 7 + int(GetParam().kind));
    for (int round = 0; round < 12; ++round) {
        const int w = 1 + int(random() % 23), h = 1 + int(random() % 17);
        Ref pic = randomPicture(w, h, random());
        auto coordinate = [&](int size) { return int(random() % (2 * size + 6)) - size - 3; };
        for (bool gray : {false, true}) {
            expectRectangle(pic.get(), coordinate(w), coordinate(h), coordinate(w), coordinate(h), gray);
        }
    }
}

TEST_P(InvertTest, RectangleRules) {
    Ref pic = randomPicture(30, 20, 5);
    for (bool gray : {false, true}) {
        expectRectangle(pic.get(), 0, 0, 0, 0, gray);        // whole picture / nothing
        expectRectangle(pic.get(), 10, 0, 0, -1, gray);      // from column 10 to the end / nothing
        expectRectangle(pic.get(), -10, -5, 20, 10, gray);   // clipped at the top-left
        expectRectangle(pic.get(), 25, 15, 100, 100, gray);  // clipped at the bottom-right
        expectRectangle(pic.get(), 40, 0, 5, 5, gray);       // wholly outside
        expectRectangle(pic.get(), INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX, gray);
        expectRectangle(pic.get(), INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX, gray);
    }
}

TEST_P(InvertTest, WholePictureFormsAndExamples) {
    Ref pic = picture(2, 1);
    standin::setRGB(pic.get(), 0, 0, rgbOf(100, 100, 100));
    standin::setRGB(pic.get(), 1, 0, rgbOf(100, 100, 101));
    const Snapshot src = snapshot(pic.get());  // what the format actually holds
    Ref inverted = callPicture("InvertVQZ as picture", pic.get());
    Ref grayInverted = callPicture("InvertGrayVQZ as picture", pic.get());
    ASSERT_TRUE(inverted && grayInverted);
    const Snapshot a = snapshot(inverted.get()), b = snapshot(grayInverted.get());
    auto inv = [](uint32_t c) { return c ^ 0xFFFFFF; };
    EXPECT_EQ(a.at(0, 0), inv(src.at(0, 0)));
    EXPECT_EQ(a.at(1, 0), inv(src.at(1, 0)));
    if (format().code() != 0) {  // exact colors survive only where the format holds them
        EXPECT_EQ(a.at(0, 0), rgbOf(155, 155, 155));
        EXPECT_EQ(a.at(1, 0), rgbOf(155, 155, 154));
        EXPECT_EQ(b.at(0, 0), rgbOf(155, 155, 155));
        EXPECT_EQ(b.at(1, 0), rgbOf(100, 100, 101));
    }
    // Twice gives back the source's colors.
    Ref twice = callPicture("InvertVQZ as picture", inverted.get());
    ASSERT_TRUE(twice);
    EXPECT_TRUE(samePixels(src, snapshot(twice.get())) || format().code() == 0);
}

TEST_P(InvertTest, SourceIsNeverChanged) {
    Ref pic = randomPicture(9, 7, 3);
    const std::vector<uint8_t> before = rawPixels(pic.get());
    Ref out = callPicture("InvertVQZ as picture", pic.get());
    EXPECT_TRUE(out);
    EXPECT_EQ(before, rawPixels(pic.get()));
    EXPECT_TRUE(standin::guardsIntact(pic.get()));
    EXPECT_TRUE(standin::guardsIntact(out.get()));
}

TEST_P(InvertTest, NilAndFailures) {
    EXPECT_FALSE(callPicture("InvertVQZ as picture", nullptr));
    EXPECT_FALSE(callPicture("InvertGrayVQZ as picture", nullptr));
    Ref pic = randomPicture(4, 4, 9);
    standin::failNth(standin::Fault::PictureCreation, 1);
    EXPECT_FALSE(callPicture("InvertVQZ as picture", pic.get()));
}

VQZ_ALL_FORMATS(InvertTest);

}  // namespace
