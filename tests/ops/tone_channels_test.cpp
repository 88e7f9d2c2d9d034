// Channel replacement: every channel, with channel pictures of every format the host
// can make, against a per-pixel expectation; sizes, nil arguments and failures.
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "tests/support/fixture.h"

namespace {

using namespace vqztest;

struct ChannelMethod {
    const char* declaration;
    uint32_t taken;  // the bits of 0x00RRGGBB that come from the channel picture
};

const ChannelMethod kChannelMethods[] = {
    {"ReplaceRedChannelVQZ(RedChannel as picture) as picture", 0xFF0000},
    {"ReplaceGreenChannelVQZ(GreenChannel as picture) as picture", 0x00FF00},
    {"ReplaceBlueChannelVQZ(BlueChannel as picture) as picture", 0x0000FF},
};

class ToneChannelsTest : public PluginFormatTest {
protected:
    // Makes the nth opening of a picture in this test's host fail: a desktop host
    // refuses to lock the pixels, a console host the description.
    void failOpening(int n) {
        standin::failNth(format().desktop() ? standin::Fault::PixelLock : standin::Fault::DescriptionLock, n);
    }

    Ref replaced(const ChannelMethod& m, void* pic, void* channel) {
        return callPicture(m.declaration, pic, {channel ? Value::picture(channel) : Value::nil()});
    }

    // The formats a channel picture can have in this test's host: every desktop depth,
    // or the host's own bitmaps.
    std::vector<HostFormat> channelFormats() const {
        if (!format().desktop()) return {format()};
        return {formatNamed("desktop32"), formatNamed("desktop24"), formatNamed("desktop16"), formatNamed("desktop8")};
    }
};

TEST_P(ToneChannelsTest, MatchesPerPixelExpectation) {
    std::mt19937 random(4000 + GetParam().depth + 10 * int(GetParam().kind));
    for (const HostFormat& channelFormat : channelFormats()) {
        for (const ChannelMethod& m : kChannelMethods) {
            SCOPED_TRACE(::testing::Message() << m.declaration << " from " << channelFormat.name);
            const int w = 1 + int(random() % 31), h = 1 + int(random() % 15);
            Ref pic = randomPicture(w, h, random());
            // The channel picture may be larger; only its top-left part counts.
            Ref channel = vqztest::makePicture(channelFormat, w + int(random() % 3), h + int(random() % 3));
            fillRandom(channel.get(), random());
            Ref out = replaced(m, pic.get(), channel.get());
            ASSERT_TRUE(out);
            const Snapshot src = snapshot(pic.get()), from = snapshot(channel.get()), got = snapshot(out.get());
            EXPECT_TRUE(samePixels(
                expectedFrom(src, [&](int x, int y, uint32_t c) { return (c & ~m.taken) | (from.at(x, y) & m.taken); }),
                got));
            const uint8_t written = format().desktop() ? 255 : 0;
            int wrongMasks = 0;
            for (uint8_t mask : got.mask) wrongMasks += mask != written;
            EXPECT_EQ(wrongMasks, 0);
        }
    }
}

TEST_P(ToneChannelsTest, ReceiverAsItsOwnChannelGivesItsColors) {
    Ref pic = randomPicture(13, 8, 21);
    for (const ChannelMethod& m : kChannelMethods) {
        Ref out = replaced(m, pic.get(), pic.get());
        ASSERT_TRUE(out) << m.declaration;
        EXPECT_TRUE(samePixels(snapshot(pic.get()), snapshot(out.get()))) << m.declaration;
    }
}

TEST_P(ToneChannelsTest, ChannelPictureMustCoverTheReceiver) {
    Ref pic = randomPicture(10, 6, 8);
    Ref narrower = randomPicture(9, 6, 9);
    Ref lower = randomPicture(10, 5, 10);
    for (const ChannelMethod& m : kChannelMethods) {
        EXPECT_FALSE(replaced(m, pic.get(), narrower.get())) << m.declaration;
        EXPECT_FALSE(replaced(m, pic.get(), lower.get())) << m.declaration;
        EXPECT_TRUE(takeException().className.empty());
    }
}

TEST_P(ToneChannelsTest, NilChannelRaisesBeforeAnythingIsLocked) {
    Ref pic = randomPicture(4, 4, 2);
    for (const ChannelMethod& m : kChannelMethods) {
        for (void* receiver : {pic.get(), static_cast<void*>(nullptr)}) {
            EXPECT_FALSE(replaced(m, receiver, nullptr));
            const standin::PendingException e = takeException();
            EXPECT_EQ(e.className, "NilObjectException") << m.declaration;
            EXPECT_TRUE(e.hasMessage);
            EXPECT_EQ(e.message, "The channel picture is nil.");
        }
    }
    // A nil receiver with a real channel picture is only nil.
    EXPECT_FALSE(replaced(kChannelMethods[0], nullptr, pic.get()));
    EXPECT_TRUE(takeException().className.empty());
}

// Each failure of a lock or of the result picture gives nil, and nothing stays held.
TEST_P(ToneChannelsTest, FailuresGiveNil) {
    Ref pic = randomPicture(5, 3, 12);
    Ref channel = randomPicture(5, 3, 13);
    for (int n = 1; n <= 3; ++n) {
        failOpening(n);  // the receiver, the channel picture, the result
        EXPECT_FALSE(replaced(kChannelMethods[1], pic.get(), channel.get())) << "opening " << n;
        failOpening(0);
    }
    standin::failNth(standin::Fault::PictureCreation, 1);
    EXPECT_FALSE(replaced(kChannelMethods[2], pic.get(), channel.get()));
    standin::failNth(standin::Fault::PictureCreation, 0);
    EXPECT_TRUE(takeException().className.empty());
}

VQZ_ALL_FORMATS(ToneChannelsTest);

class ToneChannelsExamples : public ToneChannelsTest {};

TEST_P(ToneChannelsExamples, TakesOnlyItsChannel) {
    Ref pic = randomPicture(6, 4, 30);
    Ref channel = picture(6, 4);
    fillColor(channel.get(), rgbOf(10, 20, 30));
    const Snapshot src = snapshot(pic.get());
    const int expected[] = {10, 20, 30};
    for (int i = 0; i < 3; ++i) {
        Ref out = replaced(kChannelMethods[i], pic.get(), channel.get());
        ASSERT_TRUE(out);
        const Snapshot got = snapshot(out.get());
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 6; ++x) {
                const uint32_t c = got.at(x, y), s = src.at(x, y);
                EXPECT_EQ(i == 0 ? redOf(c) : i == 1 ? greenOf(c) : blueOf(c), expected[i]);
                EXPECT_EQ(c & ~kChannelMethods[i].taken, s & ~kChannelMethods[i].taken);
            }
        }
    }
    // An all-black channel picture clears that channel and nothing else.
    Ref black = picture(6, 4);
    fillColor(black.get(), 0);
    Ref out = replaced(kChannelMethods[0], pic.get(), black.get());
    ASSERT_TRUE(out);
    EXPECT_TRUE(samePixels(expectedFrom(src, [](int, int, uint32_t c) { return c & 0x00FFFF; }), snapshot(out.get())));
}

VQZ_READER_FORMATS(ToneChannelsExamples);

}  // namespace
