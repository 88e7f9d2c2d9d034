// RenderSamplesVQZ through the host, on each host kind (the result is a new 32-bit
// picture: code 13 on the desktop, code 8 on console and web hosts).
#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <random>
#include <vector>

#include "tests/reference/waveform_reference.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;
namespace ref = waveform_reference;

const char* const kRender =
    "RenderSamplesVQZ(Samples as memoryblock, SampleCount as integer, Smooth as integer, Width as integer, Height as "
    "integer, outlinewidth as integer, BackColor as color=&c88B5C4, ForeColor as color=&c274C5A, OutLineColor as "
    "color=&c203F4E, Bits as Integer = 8, AutoScale as boolean = false) as Picture";

constexpr uint32_t kFore = 0x274C5A, kOutline = 0x203F4E;

std::vector<uint8_t> Words(const std::vector<int>& values) {  // 16-bit samples in native order
    std::vector<uint8_t> bytes(values.size() * 2);
    for (size_t i = 0; i < values.size(); ++i) {
        const uint16_t w = uint16_t(values[i]);
        memcpy(&bytes[i * 2], &w, 2);
    }
    return bytes;
}

std::vector<uint8_t> RandomBytes(size_t n, uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<uint8_t> bytes(n);
    for (uint8_t& b : bytes) b = uint8_t(random());
    return bytes;
}

ref::Params Params(int bits, int width, int height, int smooth = 1, int outline = 0, bool autoScale = false) {
    ref::Params p;
    p.bits = bits, p.width = width, p.height = height, p.smooth = smooth, p.outlineWidth = outline;
    p.autoScale = autoScale;
    return p;
}

Snapshot ImageOf(const ref::Image& im) { return Snapshot{im.width, im.height, im.rgb, {}}; }

// Column 2 of 8 holds the loudest positive samples, column 5 the loudest negative ones.
std::vector<uint8_t> Peaks() {
    std::vector<int> samples(80, 100);
    for (int i = 20; i < 30; ++i) samples[size_t(i)] = 3000, samples[size_t(i + 30)] = -3000;
    return Words(samples);
}

class RenderSamplesTest : public PluginFormatTest {
protected:
    Ref block(const std::vector<uint8_t>& bytes) {
        Ref b = makeBlock(int32_t(bytes.size()));
        if (!bytes.empty()) memcpy(standin::memoryBlockData(b.get()), bytes.data(), bytes.size());
        return b;
    }
    Ref render(const std::vector<uint8_t>* bytes, const ref::Params& p) {
        Ref b = bytes ? block(*bytes) : Ref();
        return callGlobalPicture(kRender, {b ? Value::block(b.get()) : Value::nil(), Value::integer(p.sampleCount),
                                           Value::integer(p.smooth), Value::integer(p.width), Value::integer(p.height),
                                           Value::integer(p.outlineWidth), Value::color(p.backColor),
                                           Value::color(p.foreColor), Value::color(p.outlineColor),
                                           Value::integer(p.bits), Value::boolean(p.autoScale)});
    }
    Ref render(const std::vector<uint8_t>& bytes, const ref::Params& p) { return render(&bytes, p); }

    // Renders and compares with the reference: every pixel (those the host painted with
    // a wide pen aside), every mask byte by the writer's rule, the host lines and their
    // pen. Answers the picture (empty when there is none).
    Snapshot expectReference(const std::vector<uint8_t>& bytes, const ref::Params& p) {
        SCOPED_TRACE(::testing::Message() << "bits " << p.bits << " count " << p.sampleCount << " smooth " << p.smooth
                                          << " " << p.width << "x" << p.height << " outline " << p.outlineWidth
                                          << (p.autoScale ? " autoscale" : "") << " block " << bytes.size());
        const size_t linesBefore = standin::drawnLines().size();
        Ref out = render(bytes, p);
        const ref::Result expected = ref::Render(bytes, p);
        EXPECT_EQ(bool(out), !expected.nil);
        if (!out || expected.nil) return {};
        const Snapshot got = snapshot(out.get());
        Snapshot want = ImageOf(expected.image);
        const uint32_t pen = p.outlineWidth > 1 ? p.outlineColor & 0xFFFFFF : 0xFFFFFFFF;
        int wrongMasks = 0;
        for (size_t i = 0; i < got.mask.size() && i < want.rgb.size(); ++i) {
            if (got.rgb[i] == pen)
                want.rgb[i] = pen;  // the host's pen, with its own mask bytes
            else
                wrongMasks += got.mask[i] != (format().desktop() ? 255 : 0);
        }
        EXPECT_TRUE(samePixels(want, got));
        EXPECT_EQ(wrongMasks, 0) << "pixels whose mask byte is not the writer's";
        using Line = std::array<long long, 7>;
        std::vector<Line> drawn, lines;
        for (size_t i = linesBefore; i < standin::drawnLines().size(); ++i) {
            const standin::LineRecord& l = standin::drawnLines()[i];
            drawn.push_back({l.x1, l.y1, l.x2, l.y2, l.color, l.penWidth, l.penHeight});
        }
        for (const ref::Line& l : expected.lines)
            lines.push_back({l.x1, l.y1, l.x2, l.y2, p.outlineColor & 0xFFFFFF, p.outlineWidth, p.outlineWidth});
        EXPECT_EQ(drawn, lines);
        return got;
    }
};

// The documented examples, each also compared pixel for pixel with the reference.
TEST_P(RenderSamplesTest, Examples) {
    struct Bar {
        int x;  // -1: every column
        uint32_t color;
        int first, last;  // the rows of the column in that color
    };
    struct Example {
        const char* name;
        std::vector<uint8_t> bytes;
        ref::Params p;
        std::vector<Bar> bars;
    };
    const Example examples[] = {
        {"silence", std::vector<uint8_t>(1000, 0), Params(15, 500, 61), {{-1, kFore, 30, 30}}},
        {"silence, outline", std::vector<uint8_t>(1000, 0), Params(15, 500, 61, 1, 1), {{-1, kOutline, 30, 30}}},
        {"offset bytes 128", std::vector<uint8_t>(64, 128), Params(8, 8, 20), {{-1, kFore, 10, 10}}},
        // A high level of 254, scaled to 2H rows, is cut at the last row.
        {"offset bytes 255", std::vector<uint8_t>(64, 255), Params(8, 8, 20), {{-1, kFore, 10, 19}}},
        {"AutoScale reaches the edges", Peaks(), Params(15, 8, 40, 1, 0, true), {{2, kFore, 20, 39}, {5, kFore, 0, 20}}},
        // 22 samples in 22 columns: rounding leaves column 14 empty and gives column 15 two samples.
        {"empty column", std::vector<uint8_t>(22, 127), Params(7, 22, 20),
         {{13, kFore, 10, 19}, {14, kFore, 10, 10}, {15, kFore, 10, 19}}},
        {"AutoScale on silence", Words(std::vector<int>(90, 32768)), Params(16, 9, 13, 1, 1, true), {{-1, kOutline, 6, 6}}},
        {"one row", RandomBytes(100, 2), Params(8, 10, 1), {{-1, kFore, 0, 0}}},
        // 70000 loud samples in one column add up to more than 2^31.
        {"sums beyond 32 bits", Words(std::vector<int>(70000, 32767)), Params(15, 1, 10, 1, 0, true), {{0, kFore, 5, 9}}},
        {"negative sums beyond 32 bits", Words(std::vector<int>(70000, -32768)), Params(15, 1, 10, 1, 0, true),
         {{0, kFore, 0, 5}}},
    };
    for (const Example& e : examples) {
        SCOPED_TRACE(e.name);
        const Snapshot s = expectReference(e.bytes, e.p);
        ASSERT_EQ(s.width, e.p.width);
        for (const Bar& bar : e.bars)
            for (int x = std::max(bar.x, 0); x <= (bar.x < 0 ? s.width - 1 : bar.x); ++x)
                for (int y = 0; y < s.height; ++y)
                    ASSERT_EQ(s.at(x, y) == bar.color, y >= bar.first && y <= bar.last) << "at " << x << "," << y;
    }
}

TEST_P(RenderSamplesTest, DefaultsComeFromTheBlock) {
    // 1000 bytes of 16-bit samples: 500 samples, 500 columns, 500 rows.
    const std::vector<uint8_t> bytes = RandomBytes(1000, 3);
    const Snapshot s = expectReference(bytes, Params(16, 0, 0));
    EXPECT_TRUE(s.width == 500 && s.height == 500) << s.width << "x" << s.height;
    // The declaration's defaults: colors, Bits 8, no AutoScale.
    Ref byDefaults = callGlobalPicture(kRender, {Value::block(block(bytes).get()), Value::integer(0), Value::integer(1),
                                                 Value::integer(0), Value::integer(40), Value::integer(1)});
    ASSERT_TRUE(byDefaults);
    EXPECT_TRUE(samePixels(ImageOf(ref::Render(bytes, Params(8, 0, 40, 1, 1)).image), snapshot(byDefaults.get())));
}

TEST_P(RenderSamplesTest, EverySampleFormatReadsTheSameSignal) {
    std::mt19937 random(11);
    std::vector<int> signal(300);
    for (int& s : signal) s = int(random() % 256) - 128;
    Snapshot first;
    for (int bits : {7, 8, 15, 16}) {
        std::vector<int> v;
        for (int s : signal) v.push_back(bits == 7 ? s : bits == 8 ? s + 128 : bits == 15 ? s * 256 : s * 256 + 32768);
        const std::vector<uint8_t> bytes = bits < 15 ? std::vector<uint8_t>(v.begin(), v.end()) : Words(v);
        expectReference(bytes, Params(bits, 37, 50, 1, 1));  // full scale 127 or 32767
        const Snapshot s = expectReference(bytes, Params(bits, 37, 50, 1, 1, true));  // AutoScale: the same levels
        if (bits == 7) first = s;
        EXPECT_TRUE(samePixels(first, s)) << bits;
    }
}

TEST_P(RenderSamplesTest, SmoothingFactors) {
    const std::vector<uint8_t> bytes = RandomBytes(400, 5);
    auto pictureFor = [&](int smooth) { return expectReference(bytes, Params(8, 50, 64, smooth, 1)); };
    const Snapshot none = pictureFor(-5);
    EXPECT_TRUE(samePixels(none, pictureFor(1)));   // factor 1 keeps the levels
    EXPECT_TRUE(samePixels(none, pictureFor(-1)));  // an infinite factor smooths nothing
    EXPECT_FALSE(samePixels(none, pictureFor(3)));
    for (int smooth : {0, 2, 9, INT_MAX, INT_MIN}) pictureFor(smooth);
    // The peak is taken before smoothing, so smoothed columns stay short of the edges.
    const Snapshot t = expectReference(Peaks(), Params(15, 8, 40, 5, 0, true));
    for (int x = 0; x < 8; ++x) EXPECT_TRUE(t.at(x, 0) != kFore && t.at(x, 39) != kFore) << x;
}

TEST_P(RenderSamplesTest, ShortBlocks) {
    // More columns than samples, with smoothing (factor 2 too), AutoScale and outlines over the gaps.
    expectReference(RandomBytes(10, 9), Params(8, 33, 20, 0, 1, true));
    expectReference(RandomBytes(10, 9), Params(8, 33, 20, 4, 1, false));
    // An empty block gives columns of silence, or no picture when the width comes from it.
    expectReference({}, Params(8, 6, 20, 4, 1, true));
    EXPECT_FALSE(render(std::vector<uint8_t>{}, Params(8, 0, 20)));
    // A SampleCount beyond the block reads the block; one below it reads that many samples.
    const std::vector<uint8_t> words = RandomBytes(301, 4);
    ref::Params p = Params(16, 0, 30, 1, 1);
    p.sampleCount = 150;
    const Snapshot held = expectReference(words, p);
    p.sampleCount = INT_MAX;
    EXPECT_TRUE(samePixels(held, expectReference(words, p)));
    p.sampleCount = 40;
    expectReference(words, p);
}

TEST_P(RenderSamplesTest, WideOutlineIsDrawnByTheHost) {
    const std::vector<uint8_t> bytes = RandomBytes(200, 8);
    ref::Params p = Params(8, 40, 30);
    p.outlineColor = 0xFF102030;  // the top byte is not part of the color
    for (int width : {2, 3, 6}) {
        p.outlineWidth = width;
        expectReference(bytes, p);
    }
    // Without a Graphics the picture keeps its bars and gets no outline.
    p.outlineWidth = 4;
    standin::failNth(standin::Fault::GraphicsCreation, 1);
    const size_t linesBefore = standin::drawnLines().size();
    Ref out = render(bytes, p);
    ASSERT_TRUE(out);
    EXPECT_EQ(standin::drawnLines().size(), linesBefore);
    p.outlineWidth = 0;
    EXPECT_TRUE(samePixels(ImageOf(ref::Render(bytes, p).image), snapshot(out.get())));
}

TEST_P(RenderSamplesTest, MatchesReferenceOnRandomInput) {
    std::mt19937 random(uint32_t(int(format().kind) * 101 + 7));
    const int bitsChoices[] = {7, 8, 15, 16}, smoothChoices[] = {-3, -1, 0, 1, 2, 3, 8};
    for (int round = 0; round < 40; ++round) {
        ref::Params p;
        p.bits = bitsChoices[random() % 4];
        const size_t bytes = random() % 5 == 0 ? random() % 8 : random() % 3000;
        std::vector<uint8_t> data = RandomBytes(bytes, random());
        if (random() % 3 == 0)  // quieter signals, so that outlines stay inside
            for (uint8_t& b : data) b = uint8_t(p.bits == 8 || p.bits == 16 ? 128 + (b % 16) - 8 : (b % 16) - 8);
        p.sampleCount = random() % 3 == 0 ? 0 : int(random() % 1500);
        p.smooth = smoothChoices[random() % 7];
        p.width = random() % 4 == 0 ? 0 : 1 + int(random() % 70);
        p.height = random() % 10 == 0 ? 0 : 1 + int(random() % 60);
        p.outlineWidth = int(random() % 4);
        p.backColor = random() & 0xFFFFFF, p.foreColor = random() & 0xFFFFFF, p.outlineColor = random();
        p.autoScale = random() % 2;
        // Factor 2 lets the levels grow with every column; keep the lines the step-by-step reference walks short.
        if (p.smooth == 0 && p.outlineWidth == 1) p.width = 1 + p.width % 70, p.height = 1 + p.height % 60;
        expectReference(data, p);
    }
}

TEST_P(RenderSamplesTest, FailuresGiveNil) {
    const std::vector<uint8_t> bytes = RandomBytes(64, 6);
    // A nil block raises, whatever the other arguments.
    for (int bits : {8, 12}) {
        EXPECT_FALSE(render(nullptr, Params(bits, 10, 10)));
        EXPECT_TRUE(exceptionRaised("NilObjectException", "memoryblock is nil"));
    }
    // Bits other than 7, 8, 15 and 16; sizes no writer can have (the largest ones still render).
    for (int bits : {0, 1, 6, 9, 12, 14, 17, 32, -8, INT_MIN}) EXPECT_FALSE(render(bytes, Params(bits, 10, 10))) << bits;
    for (auto [w, h] : {std::pair{32768, 1}, {1, 32768}, {INT_MAX, 5}, {5, INT_MAX}})
        EXPECT_FALSE(render(bytes, Params(8, w, h))) << w << "x" << h;
    EXPECT_FALSE(render(std::vector<uint8_t>(32768, 1), Params(8, 0, 3)));  // width from the block
    EXPECT_EQ(expectReference(bytes, Params(8, 1, 32767)).height, 32767);
    EXPECT_EQ(expectReference(bytes, Params(8, 32767, 1)).width, 32767);
    // The host failing to make the picture, to lock its description or its pixels.
    const ref::Params p = Params(8, 16, 16, 1, 3);
    using standin::Fault;
    for (Fault fault : {Fault::PictureCreation, Fault::DescriptionLock, Fault::PixelLock}) {
        if (fault == Fault::PixelLock && !format().desktop()) continue;
        standin::failNth(fault, 1);
        EXPECT_FALSE(render(bytes, p)) << int(fault);
    }
    expectReference(bytes, p);  // the faults were one-off: the next call renders
    EXPECT_EQ(takeException().className, "");
    // A block without data.
    HostConfig config = configFor(format());
    config.hidden.insert("memoryBlockGetPtr");
    load(config);
    EXPECT_FALSE(render(bytes, p));
}

INSTANTIATE_TEST_SUITE_P(HostKinds, RenderSamplesTest,
                         ::testing::Values(formatNamed("desktop32"), formatNamed("console"), formatNamed("web")),
                         FormatName());

}  // namespace
