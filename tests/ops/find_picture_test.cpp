#include <random>
#include <vector>

#include "tests/reference/search_reference.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;

const char* const kFind = "FindPicture(pic as picture, byref x as integer, byref y as integer) as boolean";

// Colors whose channels are all 0 or 255 survive every depth unchanged.
const uint32_t kPalette[] = {0x000000, 0xFFFFFF, 0xFF0000, 0x00FF00, 0x0000FF, 0xFFFF00, 0x00FFFF, 0xFF00FF};

class FindPictureTest : public PluginFormatTest {
protected:
    // Calls FindPicture with x and y set to junk first, so that a failure must clear them.
    reference::Found find(void* receiver, void* pic) {
        std::vector<Value> args = {Value::picture(pic), Value::integer(-77), Value::integer(-77)};
        if (!pic) args[0] = Value::nil();
        const Value answer = callMethodRef("Picture", kFind, receiver, args);
        EXPECT_EQ(answer.type, TypeName::Boolean);
        reference::Found result{answer.i != 0, int(args[1].i), int(args[2].i)};
        if (!result.found) {
            EXPECT_EQ(result.x, 0);
            EXPECT_EQ(result.y, 0);
        }
        return result;
    }

    void expectFound(void* receiver, void* pic, reference::Found expected) {
        const reference::Found got = find(receiver, pic);
        EXPECT_EQ(got.found, expected.found);
        EXPECT_EQ(got.x, expected.x);
        EXPECT_EQ(got.y, expected.y);
    }

    void expectReference(void* receiver, void* pic) {
        expectFound(receiver, pic, reference::findPicture(snapshot(receiver), snapshot(pic)));
    }

    // The formats of the same host kind that a picture sought may have.
    std::vector<HostFormat> siblingFormats() const {
        std::vector<HostFormat> out;
        for (const HostFormat& f : allFormats())
            if (f.kind == format().kind) out.push_back(f);
        return out;
    }

    Ref paletteBlock(const HostFormat& f, int w, int h, std::mt19937& random, int colors) {
        Ref pic = makePicture(f, w, h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) standin::setRGB(pic.get(), x, y, kPalette[random() % unsigned(colors)]);
        return pic;
    }

    // Copies the w x h block at (x, y) of `from` into a new picture of format f.
    Ref cut(void* from, const HostFormat& f, int x, int y, int w, int h) {
        Ref pic = makePicture(f, w, h);
        for (int j = 0; j < h; ++j)
            for (int i = 0; i < w; ++i) standin::setRGB(pic.get(), i, j, standin::getRGB(from, x + i, y + j));
        return pic;
    }
};

TEST_P(FindPictureTest, MatchesBruteForceOnFewColors) {
    std::mt19937 random(7 + unsigned(format().depth) * 5 + unsigned(format().kind));
    for (int round = 0; round < 24; ++round) {
        // Two or three colors make many partial matches and repeated copies.
        const int colors = 2 + round % 2;
        const int W = 1 + int(random() % 30), H = 1 + int(random() % 24);
        Ref receiver = paletteBlock(format(), W, H, random, colors);
        for (const HostFormat& f : siblingFormats()) {
            const int w = 1 + int(random() % unsigned(std::min(W, 4) + 1)), h = 1 + int(random() % unsigned(std::min(H, 4) + 1));
            SCOPED_TRACE(::testing::Message() << "round " << round << ": " << W << "x" << H << " in " << format().name
                                              << ", " << w << "x" << h << " in " << f.name);
            Ref sought = paletteBlock(f, w, h, random, colors);
            expectReference(receiver.get(), sought.get());
            if (w <= W && h <= H) {
                Ref copy = cut(receiver.get(), f, int(random() % unsigned(W - w + 1)), int(random() % unsigned(H - h + 1)), w, h);
                expectReference(receiver.get(), copy.get());
            }
        }
    }
}

TEST_P(FindPictureTest, FindsCopiesInRandomPictures) {
    std::mt19937 random(99 + unsigned(format().depth));
    for (int round = 0; round < 6; ++round) {
        Ref receiver = randomPicture(60, 45, random());
        const int w = 1 + int(random() % 20), h = 1 + int(random() % 20);
        const int x = int(random() % unsigned(60 - w + 1)), y = int(random() % unsigned(45 - h + 1));
        Ref copy = cut(receiver.get(), format(), x, y, w, h);
        expectReference(receiver.get(), copy.get());
    }
    Ref receiver = randomPicture(30, 20, 5);
    expectFound(receiver.get(), receiver.get(), {true, 0, 0});  // itself
    Ref corner = cut(receiver.get(), format(), 22, 13, 8, 7);
    expectFound(receiver.get(), corner.get(), {true, 22, 13});  // touching the right and bottom edges
}

TEST_P(FindPictureTest, FirstInReadingOrder) {
    const uint32_t gray = rgbOf(50, 50, 50), mark = rgbOf(250, 0, 0);
    Ref receiver = picture(12, 10);
    fillColor(receiver.get(), gray);
    Ref one = picture(1, 1);
    standin::setRGB(one.get(), 0, 0, mark);
    expectFound(receiver.get(), one.get(), {false, 0, 0});  // a color that occurs nowhere
    standin::setRGB(receiver.get(), 9, 8, mark);
    standin::setRGB(receiver.get(), 2, 8, mark);
    standin::setRGB(receiver.get(), 7, 4, mark);
    expectFound(receiver.get(), one.get(), {true, 7, 4});  // the upper row wins
    standin::setRGB(receiver.get(), 7, 4, gray);
    expectFound(receiver.get(), one.get(), {true, 2, 8});  // then the left one
}

TEST_P(FindPictureTest, MaskBytesDoNotCountButChannelsDo) {
    Ref receiver = randomPicture(16, 12, 21);
    Ref copy = cut(receiver.get(), format(), 5, 4, 6, 5);
    fillRandom(copy.get(), 0);  // new mask bytes (and colors) ...
    for (int j = 0; j < 5; ++j)
        for (int i = 0; i < 6; ++i) standin::setRGB(copy.get(), i, j, standin::getRGB(receiver.get(), 5 + i, 4 + j));
    expectFound(receiver.get(), copy.get(), {true, 5, 4});  // ... but the colors of the receiver
    if (format().code() == 0) return;  // quantized depths cannot hold a change of 1
    const uint32_t c = standin::getRGB(copy.get(), 3, 4);
    for (uint32_t channel : {0x010000u, 0x000100u, 0x000001u}) {
        standin::setRGB(copy.get(), 3, 4, c ^ channel);
        expectReference(receiver.get(), copy.get());
    }
}

TEST_P(FindPictureTest, PartialMatchDoesNotHideLaterCopies) {
    // The sought picture is a block of one color whose last pixel differs; the
    // receiver is full of near copies, with true copies placed one at a time.
    const uint32_t ground = kPalette[3], odd = kPalette[5];
    const int W = 40, H = 30, w = 6, h = 5;
    const int places[][2] = {{0, 0}, {1, 0}, {5, 0}, {W - w, 0}, {0, 1}, {17, 20}, {W - w, H - h}};
    for (const HostFormat& f : siblingFormats()) {
        Ref sought = makePicture(f, w, h);
        fillColor(sought.get(), ground);
        standin::setRGB(sought.get(), w - 1, h - 1, odd);
        for (const auto& place : places) {
            SCOPED_TRACE(::testing::Message() << f.name << " at " << place[0] << "," << place[1]);
            Ref receiver = picture(W, H);
            fillColor(receiver.get(), ground);
            expectFound(receiver.get(), sought.get(), {false, 0, 0});
            standin::setRGB(receiver.get(), place[0] + w - 1, place[1] + h - 1, odd);
            expectFound(receiver.get(), sought.get(), {true, place[0], place[1]});
        }
    }
}

TEST_P(FindPictureTest, MatchesBruteForceOnNearlyFlatPictures) {
    // Long runs of one color make comparing position by position expensive.
    std::mt19937 random(3 + unsigned(format().depth) * 11 + unsigned(format().kind));
    auto nearlyFlat = [&](const HostFormat& f, int w, int h) {
        Ref pic = makePicture(f, w, h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) standin::setRGB(pic.get(), x, y, random() % 40 ? kPalette[2] : kPalette[random() % 8]);
        return pic;
    };
    for (int round = 0; round < 8; ++round) {
        const int W = 30 + int(random() % 30), H = 20 + int(random() % 20);
        Ref receiver = nearlyFlat(format(), W, H);
        for (const HostFormat& f : siblingFormats()) {
            const int w = 2 + int(random() % 9), h = 2 + int(random() % 9);
            SCOPED_TRACE(::testing::Message() << "round " << round << ", " << w << "x" << h << " in " << f.name);
            Ref sought = nearlyFlat(f, w, h);
            expectReference(receiver.get(), sought.get());
            Ref copy = cut(receiver.get(), f, int(random() % unsigned(W - w + 1)), int(random() % unsigned(H - h + 1)), w, h);
            expectReference(receiver.get(), copy.get());
        }
    }
}

TEST_P(FindPictureTest, SizesAndFailures) {
    Ref receiver = randomPicture(8, 6, 2);
    Ref wider = randomPicture(9, 2, 3), taller = randomPicture(2, 7, 4);
    expectFound(receiver.get(), wider.get(), {false, 0, 0});
    expectFound(receiver.get(), taller.get(), {false, 0, 0});
    expectFound(receiver.get(), nullptr, {false, 0, 0});
    expectFound(nullptr, receiver.get(), {false, 0, 0});
    Ref piece = cut(receiver.get(), format(), 1, 1, 3, 3);
    const reference::Found right = reference::findPicture(snapshot(receiver.get()), snapshot(piece.get()));
    ASSERT_TRUE(right.found);
    if (format().code() != 0) {
        // A desktop reader falls back to a copy when the lock fails: that fails too.
        for (int which : {1, 2}) {  // the receiver, then the picture sought
            standin::failNth(standin::Fault::DescriptionLock, which);
            if (format().desktop()) standin::failNth(standin::Fault::PictureCreation, 1);
            expectFound(receiver.get(), piece.get(), {false, 0, 0});
            standin::failNth(standin::Fault::PictureCreation, 0);
        }
    }
    // Each lock, pixel lock and picture creation failed in turn: the answer is then
    // false (with 0, 0) or still the right one.
    for (standin::Fault kind :
         {standin::Fault::DescriptionLock, standin::Fault::PixelLock, standin::Fault::PictureCreation}) {
        const int first = standin::occurrences(kind);
        expectFound(receiver.get(), piece.get(), right);
        const int count = standin::occurrences(kind) - first;
        for (int n = 1; n <= count; ++n) {
            SCOPED_TRACE(::testing::Message() << "fault kind " << int(kind) << " at " << n);
            standin::failNth(kind, n);
            const reference::Found got = find(receiver.get(), piece.get());
            if (got.found) {
                EXPECT_TRUE(got.x == right.x && got.y == right.y);
            }
            standin::failNth(kind, 0);
        }
    }
}

VQZ_ALL_FORMATS(FindPictureTest);

}  // namespace
