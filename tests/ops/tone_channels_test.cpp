// Channel replacement: every channel, with channel pictures of every format the host
// can make, against a per-pixel expectation; the worked examples; sizes, nil
// arguments and failures.
#include <algorithm>
#include <cstdint>
#include <random>

#include "tests/reference/tone_reference.h"

namespace {

using namespace vqztest;
namespace ref = reference::tone;

const struct {
    const char* declaration;
    uint32_t taken;  // the bits of 0x00RRGGBB that come from the channel picture
} kMethods[] = {
    {"ReplaceRedChannelVQZ(RedChannel as picture) as picture", 0xFF0000},
    {"ReplaceGreenChannelVQZ(GreenChannel as picture) as picture", 0x00FF00},
    {"ReplaceBlueChannelVQZ(BlueChannel as picture) as picture", 0x0000FF},
};

class ToneChannelsTest : public PluginFormatTest {
protected:
    Ref replaced(int method, void* pic, void* channel) {
        return callPicture(kMethods[method].declaration, pic, {channel ? Value::picture(channel) : Value::nil()});
    }

    // Replaces each channel of `pic` from `channel`, whose colors are `from`.
    void expectReplaced(void* pic, void* channel, const Snapshot& from) {
        const Snapshot src = snapshot(pic);
        for (int i = 0; i < 3; ++i) {
            const uint32_t taken = kMethods[i].taken;
            Ref out = replaced(i, pic, channel);
            const Snapshot expected =
                expectedFrom(src, [&](int x, int y, uint32_t c) { return (c & ~taken) | (from.at(x, y) & taken); });
            EXPECT_TRUE(ref::written(expected, out.get(), format().desktop())) << kMethods[i].declaration;
        }
    }
};

TEST_P(ToneChannelsTest, MatchesPerPixelExpectation) {
    std::mt19937 random(4000 + GetParam().depth + 10 * int(GetParam().kind));
    for (const HostFormat& channelFormat : allFormats()) {
        if (channelFormat.kind != format().kind) continue;  // every desktop depth, or the host's own bitmaps
        for (int round = 0; round < 3; ++round) {
            SCOPED_TRACE(channelFormat.name);
            const int w = 1 + int(random() % 31), h = 1 + int(random() % 15);
            Ref pic = randomPicture(w, h, random());
            // The channel picture may be larger; only its top-left part counts.
            Ref channel = vqztest::makePicture(channelFormat, w + int(random() % 3), h + int(random() % 3));
            fillRandom(channel.get(), random());
            expectReplaced(pic.get(), channel.get(), snapshot(channel.get()));
            expectReplaced(pic.get(), pic.get(), snapshot(pic.get()));  // its own channels give its colors
        }
    }
}

TEST_P(ToneChannelsTest, SizesNilAndFaults) {
    Ref pic = randomPicture(10, 6, 8), narrower = randomPicture(9, 6, 9), lower = randomPicture(10, 5, 10);
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(kMethods[i].declaration);
        EXPECT_FALSE(replaced(i, pic.get(), narrower.get()));
        EXPECT_FALSE(replaced(i, pic.get(), lower.get()));
        EXPECT_FALSE(replaced(i, nullptr, pic.get()));
        EXPECT_TRUE(takeException().className.empty());
        // A nil channel picture raises before anything is locked.
        for (void* receiver : {pic.get(), static_cast<void*>(nullptr)}) {
            EXPECT_FALSE(replaced(i, receiver, nullptr));
            EXPECT_TRUE(exceptionRaised("NilObjectException", "The channel picture is nil."));
        }
    }
    Ref channel = randomPicture(10, 6, 11);
    EXPECT_TRUE(ref::failsUnderEveryFault(format(), [&] { return !replaced(1, pic.get(), channel.get()); }));
}

VQZ_ALL_FORMATS(ToneChannelsTest);

class ToneChannelsExamples : public ToneChannelsTest {};

// (10, 20, 30) gives red 10, green 20 or blue 30; black clears the channel alone.
TEST_P(ToneChannelsExamples, UniformChannelPictures) {
    Ref pic = randomPicture(6, 4, 30), channel = picture(6, 4);
    for (uint32_t color : {rgbOf(10, 20, 30), 0u}) {
        fillColor(channel.get(), color);
        Snapshot from = snapshot(pic.get());
        std::fill(from.rgb.begin(), from.rgb.end(), color);
        expectReplaced(pic.get(), channel.get(), from);
    }
}

VQZ_READER_FORMATS(ToneChannelsExamples);

}  // namespace
