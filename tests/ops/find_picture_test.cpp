#include <algorithm>
#include <functional>
#include <random>
#include <tuple>
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
    void expectFound(void* receiver, void* pic, reference::Found expected) {
        std::vector<Value> args = {pic ? Value::picture(pic) : Value::nil(), Value::integer(-77), Value::integer(-77)};
        const Value answer = callMethodRef("Picture", kFind, receiver, args);
        EXPECT_EQ(answer.type, TypeName::Boolean);
        EXPECT_EQ(std::make_tuple(answer.i != 0, args[1].i, args[2].i),
                  std::make_tuple(expected.found, int64_t(expected.x), int64_t(expected.y)));
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
    Ref drawn(const HostFormat& f, int w, int h, const std::function<uint32_t()>& color) {
        Ref pic = makePicture(f, w, h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) standin::setRGB(pic.get(), x, y, color());
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

// Pictures of two or three colors (many partial matches and repeated copies) and
// nearly flat ones (long runs of one color, which make comparing position by
// position expensive); the picture sought is random or cut from the receiver, in
// every format of the host.
TEST_P(FindPictureTest, MatchesBruteForce) {
    std::mt19937 random(7 + unsigned(format().depth) * 5 + unsigned(format().kind));
    auto below = [&](int n) { return int(random() % unsigned(n)); };
    for (int round = 0; round < 32; ++round) {
        const bool flat = round >= 24;
        const int colors = 2 + round % 2;
        auto color = [&] { return flat ? (below(40) ? kPalette[2] : kPalette[below(8)]) : kPalette[below(colors)]; };
        const int W = flat ? 30 + below(30) : 1 + below(30), H = flat ? 20 + below(20) : 1 + below(24);
        Ref receiver = drawn(format(), W, H, color);
        for (const HostFormat& f : siblingFormats()) {
            const int w = flat ? 2 + below(9) : 1 + below(std::min(W, 4) + 1);
            const int h = flat ? 2 + below(9) : 1 + below(std::min(H, 4) + 1);
            SCOPED_TRACE(::testing::Message() << "round " << round << ": " << W << "x" << H << " in " << format().name
                                              << ", " << w << "x" << h << " in " << f.name);
            Ref sought = drawn(f, w, h, color);
            expectReference(receiver.get(), sought.get());
            if (w > W || h > H) continue;
            Ref copy = cut(receiver.get(), f, below(W - w + 1), below(H - h + 1), w, h);
            expectReference(receiver.get(), copy.get());
        }
    }
}

TEST_P(FindPictureTest, FindsCopiesInRandomPictures) {
    std::mt19937 random(99 + unsigned(format().depth));
    for (int round = 0; round < 6; ++round) {
        Ref receiver = randomPicture(60, 45, random());
        const int w = 1 + int(random() % 20), h = 1 + int(random() % 20);
        Ref copy = cut(receiver.get(), format(), int(random() % unsigned(61 - w)), int(random() % unsigned(46 - h)), w, h);
        expectReference(receiver.get(), copy.get());
    }
    Ref receiver = randomPicture(30, 20, 5);
    expectFound(receiver.get(), receiver.get(), {true, 0, 0});  // itself
    Ref corner = cut(receiver.get(), format(), 22, 13, 8, 7);
    expectFound(receiver.get(), corner.get(), {true, 22, 13});  // touching the right and bottom edges
}

TEST_P(FindPictureTest, FirstInReadingOrder) {
    const uint32_t gray = rgbOf(50, 50, 50), mark = rgbOf(250, 0, 0);
    Ref receiver = picture(12, 10), one = picture(1, 1);
    fillColor(receiver.get(), gray);
    standin::setRGB(one.get(), 0, 0, mark);
    expectFound(receiver.get(), one.get(), {false, 0, 0});  // a color that occurs nowhere
    for (auto [x, y] : {std::pair{9, 8}, {2, 8}, {7, 4}}) standin::setRGB(receiver.get(), x, y, mark);
    expectFound(receiver.get(), one.get(), {true, 7, 4});  // the upper row wins
    standin::setRGB(receiver.get(), 7, 4, gray);
    expectFound(receiver.get(), one.get(), {true, 2, 8});  // then the left one
}

TEST_P(FindPictureTest, MaskBytesDoNotCountButChannelsDo) {
    Ref receiver = randomPicture(16, 12, 21);
    Ref copy = randomPicture(6, 5, 0);  // other mask bytes ...
    for (int j = 0; j < 5; ++j)
        for (int i = 0; i < 6; ++i) standin::setRGB(copy.get(), i, j, standin::getRGB(receiver.get(), 5 + i, 4 + j));
    expectFound(receiver.get(), copy.get(), {true, 5, 4});  // ... but the colors of the receiver
    if (format().code() == 0) return;  // quantized depths cannot hold a change of 1
    const uint32_t c = standin::getRGB(copy.get(), 3, 4);
    for (uint32_t channel : {0x010000u, 0x000100u, 0x000001u}) {
        standin::setRGB(copy.get(), 3, 4, c ^ channel);
        expectFound(receiver.get(), copy.get(), {false, 0, 0});
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

TEST_P(FindPictureTest, SizesAndFailures) {
    Ref receiver = randomPicture(8, 6, 2);
    Ref wider = randomPicture(9, 2, 3), taller = randomPicture(2, 7, 4);
    for (void* pic : {wider.get(), taller.get(), static_cast<void*>(nullptr)})
        expectFound(receiver.get(), pic, {false, 0, 0});
    expectFound(nullptr, receiver.get(), {false, 0, 0});
    // Pictures that cannot be read: a desktop reader falls back to a copy when the lock
    // fails, and that fails too. (Every other fault is swept in the reliability tests.)
    Ref piece = cut(receiver.get(), format(), 1, 1, 3, 3);
    expectFound(receiver.get(), piece.get(), {true, 1, 1});
    if (format().code() != 0) {
        for (int which : {1, 2}) {  // the receiver, then the picture sought
            standin::failNth(standin::Fault::DescriptionLock, which);
            if (format().desktop()) standin::failNth(standin::Fault::PictureCreation, 1);
            expectFound(receiver.get(), piece.get(), {false, 0, 0});
            standin::failNth(standin::Fault::PictureCreation, 0);
        }
    }
}

VQZ_ALL_FORMATS(FindPictureTest);

}  // namespace
