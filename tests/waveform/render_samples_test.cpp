// RenderSamplesVQZ through the host, on each host kind (the result is a new 32-bit
// picture: code 13 on the desktop, code 8 on console and web hosts).
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

constexpr uint32_t kBack = 0x88B5C4, kFore = 0x274C5A, kOutline = 0x203F4E;

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

Snapshot ToSnapshot(const ref::Image& image) {
    Snapshot s;
    s.width = image.width;
    s.height = image.height;
    s.rgb = image.rgb;
    return s;
}

class RenderSamplesTest : public PluginFormatTest {
protected:
    Ref block(const std::vector<uint8_t>& bytes) {
        Ref b = makeBlock(int32_t(bytes.size()));
        if (!bytes.empty()) memcpy(standin::memoryBlockData(b.get()), bytes.data(), bytes.size());
        return b;
    }
    Ref render(void* samples, const ref::Params& p) {
        return callGlobalPicture(kRender, {samples ? Value::block(samples) : Value::nil(), Value::integer(p.sampleCount),
                                           Value::integer(p.smooth), Value::integer(p.width),
                                           Value::integer(p.height), Value::integer(p.outlineWidth),
                                           Value::color(p.backColor), Value::color(p.foreColor),
                                           Value::color(p.outlineColor), Value::integer(p.bits),
                                           Value::boolean(p.autoScale)});
    }
    Ref render(const std::vector<uint8_t>& bytes, const ref::Params& p) { return render(block(bytes).get(), p); }

    // Renders and compares with the reference: the colors, every mask byte written by
    // the writer's rule, and for a wide outline the host lines and the pen.
    void expectReference(const std::vector<uint8_t>& bytes, const ref::Params& p) {
        SCOPED_TRACE(::testing::Message() << "bits " << p.bits << " count " << p.sampleCount << " smooth " << p.smooth
                                          << " " << p.width << "x" << p.height << " outline " << p.outlineWidth
                                          << (p.autoScale ? " autoscale" : "") << " block " << bytes.size());
        const size_t linesBefore = standin::drawnLines().size();
        Ref out = render(bytes, p);
        const ref::Result expected = ref::Render(bytes, p);
        ASSERT_EQ(bool(out), !expected.nil);
        if (!out) return;
        const Snapshot got = snapshot(out.get());
        std::vector<uint8_t> hostPainted(got.rgb.size(), 0);
        if (p.outlineWidth <= 1) {
            EXPECT_TRUE(samePixels(ToSnapshot(expected.image), got));
        } else {
            // The host draws the pen (with its own mask bytes); every pixel it did not
            // paint keeps the bars.
            const Snapshot bars = ToSnapshot(expected.image);
            int changed = 0;
            for (size_t i = 0; i < got.rgb.size(); ++i) {
                hostPainted[i] = got.rgb[i] == (p.outlineColor & 0xFFFFFF);
                changed += got.rgb[i] != bars.rgb[i] && !hostPainted[i];
            }
            EXPECT_EQ(changed, 0);
            const std::vector<standin::LineRecord>& all = standin::drawnLines();
            ASSERT_EQ(all.size() - linesBefore, expected.lines.size());
            for (size_t i = 0; i < expected.lines.size(); ++i) {
                const standin::LineRecord& l = all[linesBefore + i];
                const ref::Line& e = expected.lines[i];
                ASSERT_TRUE(l.x1 == e.x1 && l.y1 == e.y1 && l.x2 == e.x2 && l.y2 == e.y2)
                    << "line " << i << ": " << l.x1 << "," << l.y1 << " to " << l.x2 << "," << l.y2;
                ASSERT_EQ(l.color, p.outlineColor & 0xFFFFFF);
                ASSERT_EQ(l.penWidth, p.outlineWidth);
                ASSERT_EQ(l.penHeight, p.outlineWidth);
            }
        }
        expectWriterMasks(got, hostPainted);
    }
    // Every pixel carries the writer's mask byte (except those the host painted).
    void expectWriterMasks(const Snapshot& got, const std::vector<uint8_t>& skip = {}) {
        const uint8_t written = format().desktop() ? 255 : 0;
        int wrong = 0;
        for (size_t i = 0; i < got.mask.size(); ++i) wrong += got.mask[i] != written && !(i < skip.size() && skip[i]);
        EXPECT_EQ(wrong, 0) << "pixels whose mask byte is not the writer's";
    }
    // Rows of column x painted in `color`.
    static std::vector<int> rowsOf(const Snapshot& s, int x, uint32_t color) {
        std::vector<int> rows;
        for (int y = 0; y < s.height; ++y)
            if (s.at(x, y) == color) rows.push_back(y);
        return rows;
    }
    static std::vector<int> range(int first, int last) {
        std::vector<int> r;
        for (int y = first; y <= last; ++y) r.push_back(y);
        return r;
    }
};

TEST_P(RenderSamplesTest, DefaultsComeFromTheBlock) {
    // 1000 bytes of 16-bit samples: 500 samples, 500 columns, 500 rows.
    const std::vector<uint8_t> bytes = RandomBytes(1000, 3);
    ref::Params p;
    p.bits = 16;
    Ref out = render(bytes, p);
    ASSERT_TRUE(out);
    EXPECT_EQ(standin::pictureWidth(out.get()), 500);
    EXPECT_EQ(standin::pictureHeight(out.get()), 500);
    out = Ref();
    expectReference(bytes, p);
    // The declaration's defaults: colors, Bits 8, no AutoScale.
    Ref byDefaults = callGlobalPicture(kRender, {Value::block(block(bytes).get()), Value::integer(0), Value::integer(1),
                                                 Value::integer(0), Value::integer(40), Value::integer(1)});
    ref::Params defaults;
    defaults.height = 40;
    defaults.outlineWidth = 1;
    ASSERT_TRUE(byDefaults);
    EXPECT_TRUE(samePixels(ToSnapshot(ref::Render(bytes, defaults).image), snapshot(byDefaults.get())));
}

TEST_P(RenderSamplesTest, SilenceIsOneRowThroughTheMiddle) {
    for (int outline : {0, 1}) {
        ref::Params p;
        p.bits = 15;
        p.width = 500;
        p.height = 61;
        p.outlineWidth = outline;
        Ref out = render(std::vector<uint8_t>(1000, 0), p);
        ASSERT_TRUE(out);
        const Snapshot s = snapshot(out.get());
        const uint32_t line = outline ? kOutline : kFore;
        int wrong = 0;
        for (int y = 0; y < s.height; ++y)
            for (int x = 0; x < s.width; ++x) wrong += s.at(x, y) != (y == 30 ? line : kBack);
        EXPECT_EQ(wrong, 0) << "outline " << outline;
        expectWriterMasks(s);
    }
}

TEST_P(RenderSamplesTest, OffsetBytes) {
    ref::Params p;
    p.width = 8;
    p.height = 20;
    // Every byte 128 is silence.
    Ref silent = render(std::vector<uint8_t>(64, 128), p);
    ASSERT_TRUE(silent);
    const Snapshot s = snapshot(silent.get());
    for (int x = 0; x < 8; ++x) EXPECT_EQ(rowsOf(s, x, kFore), std::vector<int>{10}) << x;
    // Every byte 255: a high level of 254, scaled to 2H rows, cut at the last row.
    Ref loud = render(std::vector<uint8_t>(64, 255), p);
    ASSERT_TRUE(loud);
    const Snapshot l = snapshot(loud.get());
    for (int x = 0; x < 8; ++x) EXPECT_EQ(rowsOf(l, x, kFore), range(10, 19)) << x;
}

TEST_P(RenderSamplesTest, EverySampleFormatReadsTheSameSignal) {
    std::mt19937 random(11);
    std::vector<int> signal(300);
    for (int& s : signal) s = int(random() % 256) - 128;
    std::vector<uint8_t> signedBytes, offsetBytes, signedWords, offsetWords;
    std::vector<int> words, offsetWordValues;
    for (int s : signal) {
        signedBytes.push_back(uint8_t(int8_t(s)));
        offsetBytes.push_back(uint8_t(s + 128));
        words.push_back(s * 256);
        offsetWordValues.push_back(s * 256 + 32768);
    }
    signedWords = Words(words);
    offsetWords = Words(offsetWordValues);
    ref::Params p;
    p.width = 37;
    p.height = 50;
    p.outlineWidth = 1;
    p.autoScale = true;  // so that both widths give the same levels
    Snapshot pictures[4];
    const std::pair<int, const std::vector<uint8_t>*> formats[] = {
        {7, &signedBytes}, {8, &offsetBytes}, {15, &signedWords}, {16, &offsetWords}};
    for (int i = 0; i < 4; ++i) {
        p.bits = formats[i].first;
        expectReference(*formats[i].second, p);
        Ref out = render(*formats[i].second, p);
        ASSERT_TRUE(out);
        pictures[i] = snapshot(out.get());
    }
    EXPECT_TRUE(samePixels(pictures[0], pictures[1]));
    EXPECT_TRUE(samePixels(pictures[0], pictures[2]));
    EXPECT_TRUE(samePixels(pictures[0], pictures[3]));
    // Without AutoScale the 8-bit full scale is 127 and the 16-bit one 32767.
    p.autoScale = false;
    for (int i = 0; i < 4; ++i) {
        p.bits = formats[i].first;
        expectReference(*formats[i].second, p);
    }
}

TEST_P(RenderSamplesTest, AutoScaleReachesTheEdges) {
    // Column 2 holds the loudest positive samples, column 5 the loudest negative ones.
    std::vector<int> samples(80, 100);
    for (int i = 20; i < 30; ++i) samples[size_t(i)] = 3000;
    for (int i = 50; i < 60; ++i) samples[size_t(i)] = -3000;
    ref::Params p;
    p.bits = 15;
    p.width = 8;
    p.height = 40;
    p.smooth = 1;
    p.autoScale = true;
    Ref out = render(Words(samples), p);
    ASSERT_TRUE(out);
    const Snapshot s = snapshot(out.get());
    EXPECT_EQ(rowsOf(s, 2, kFore), range(20, 39));
    EXPECT_EQ(rowsOf(s, 5, kFore), range(0, 20));
    // Smoothing takes the peak first, so the smoothed columns stay short of the edge.
    p.smooth = 5;
    Ref smoothed = render(Words(samples), p);
    ASSERT_TRUE(smoothed);
    const Snapshot t = snapshot(smoothed.get());
    for (int x = 0; x < 8; ++x) {
        EXPECT_NE(t.at(x, 0), kFore) << x;
        EXPECT_NE(t.at(x, 39), kFore) << x;
    }
}

TEST_P(RenderSamplesTest, SmoothingFactors) {
    const std::vector<uint8_t> bytes = RandomBytes(400, 5);
    ref::Params p;
    p.width = 50;
    p.height = 64;
    p.outlineWidth = 1;
    auto pictureFor = [&](int smooth) {
        p.smooth = smooth;
        Ref out = render(bytes, p);
        return out ? snapshot(out.get()) : Snapshot{};
    };
    const Snapshot none = pictureFor(-5);
    EXPECT_TRUE(samePixels(none, pictureFor(1)));   // factor 1 keeps the levels
    EXPECT_TRUE(samePixels(none, pictureFor(-1)));  // an infinite factor smooths nothing
    EXPECT_FALSE(samePixels(none, pictureFor(3)));
    for (int smooth : {-1, 0, 2, 3, 9, INT_MAX, INT_MIN}) {
        p.smooth = smooth;
        expectReference(bytes, p);
    }
}

TEST_P(RenderSamplesTest, ColumnsWithoutSamples) {
    // 22 samples in 22 columns: rounding leaves column 14 empty and gives column 15 two samples.
    ref::Params p;
    p.bits = 7;
    p.width = 22;
    p.height = 20;
    Ref out = render(std::vector<uint8_t>(22, 127), p);
    ASSERT_TRUE(out);
    const Snapshot s = snapshot(out.get());
    EXPECT_EQ(rowsOf(s, 14, kFore), std::vector<int>{10});
    EXPECT_EQ(rowsOf(s, 15, kFore), range(10, 19));
    EXPECT_EQ(rowsOf(s, 13, kFore), range(10, 19));
    // More columns than samples, with smoothing and outlines over the gaps.
    const std::vector<uint8_t> bytes = RandomBytes(10, 9);
    for (int smooth : {1, 0, 4}) {
        for (bool autoScale : {false, true}) {
            p.bits = 8;
            p.width = 33;
            p.smooth = smooth;
            p.autoScale = autoScale;
            p.outlineWidth = 1;
            expectReference(bytes, p);
        }
    }
    // An empty block gives columns of silence, or no picture when the width comes from it.
    p.width = 6;
    p.autoScale = true;
    expectReference({}, p);
    p.width = 0;
    EXPECT_FALSE(render(std::vector<uint8_t>{}, p));
}

TEST_P(RenderSamplesTest, AutoScaleOnSilenceDrawsTheMiddleRow) {
    ref::Params p;
    p.bits = 16;
    p.width = 9;
    p.height = 13;
    p.autoScale = true;
    p.outlineWidth = 1;
    std::vector<int> silence(90, 32768);
    Ref out = render(Words(silence), p);
    ASSERT_TRUE(out);
    const Snapshot s = snapshot(out.get());
    for (int x = 0; x < 9; ++x) EXPECT_EQ(rowsOf(s, x, kOutline), std::vector<int>{6}) << x;
}

TEST_P(RenderSamplesTest, HeightOfOneRow) {
    ref::Params p;
    p.width = 10;
    p.height = 1;
    Ref out = render(RandomBytes(100, 2), p);
    ASSERT_TRUE(out);
    const Snapshot s = snapshot(out.get());
    for (int x = 0; x < 10; ++x) EXPECT_EQ(s.at(x, 0), kFore) << x;
}

TEST_P(RenderSamplesTest, SampleCountBeyondTheBlockReadsTheBlock) {
    const std::vector<uint8_t> bytes = RandomBytes(301, 4);
    ref::Params p;
    p.bits = 16;
    p.height = 30;
    p.outlineWidth = 1;
    p.sampleCount = 150;
    Ref held = render(bytes, p);
    p.sampleCount = INT_MAX;
    Ref beyond = render(bytes, p);
    ASSERT_TRUE(held && beyond);
    EXPECT_EQ(standin::pictureWidth(beyond.get()), 150);
    EXPECT_TRUE(samePixels(snapshot(held.get()), snapshot(beyond.get())));
    p.sampleCount = 40;  // fewer than the block holds: only those are read
    expectReference(bytes, p);
}

TEST_P(RenderSamplesTest, ColumnSumsBeyond32Bits) {
    // 70000 loud samples in one column add up to more than 2^31.
    std::vector<int> loud(70000, 32767);
    ref::Params p;
    p.bits = 15;
    p.width = 1;
    p.height = 10;
    p.autoScale = true;
    Ref out = render(Words(loud), p);
    ASSERT_TRUE(out);
    EXPECT_EQ(rowsOf(snapshot(out.get()), 0, kFore), range(5, 9));
    for (int& s : loud) s = -32768;
    out = render(Words(loud), p);
    ASSERT_TRUE(out);
    EXPECT_EQ(rowsOf(snapshot(out.get()), 0, kFore), range(0, 5));
}

TEST_P(RenderSamplesTest, WideOutlineIsDrawnByTheHost) {
    const std::vector<uint8_t> bytes = RandomBytes(200, 8);
    ref::Params p;
    p.width = 40;
    p.height = 30;
    for (int width : {2, 3, 6}) {
        p.outlineWidth = width;
        p.outlineColor = 0xFF102030;  // the top byte is not part of the color
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
    EXPECT_TRUE(samePixels(ToSnapshot(ref::Render(bytes, p).image), snapshot(out.get())));
}

TEST_P(RenderSamplesTest, MatchesReferenceOnRandomInput) {
    std::mt19937 random(uint32_t(int(format().kind) * 101 + 7));
    const int bitsChoices[] = {7, 8, 15, 16};
    const int smoothChoices[] = {-3, -1, 0, 1, 2, 3, 8};
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
        p.backColor = random() & 0xFFFFFF;
        p.foreColor = random() & 0xFFFFFF;
        p.outlineColor = random();
        p.autoScale = random() % 2;
        if (p.smooth == 0 && p.outlineWidth == 1) {
            // Factor 2 lets the levels grow with every column; keep the lines the
            // step-by-step reference walks short.
            p.width = 1 + p.width % 70;
            p.height = 1 + p.height % 60;
        }
        expectReference(data, p);
    }
}

TEST_P(RenderSamplesTest, RefusedInput) {
    const std::vector<uint8_t> bytes = RandomBytes(100, 1);
    ref::Params p;
    p.width = 10;
    p.height = 10;
    // A nil block raises, whatever the other arguments.
    for (int bits : {8, 12}) {
        p.bits = bits;
        EXPECT_FALSE(render(nullptr, p));
        const standin::PendingException e = takeException();
        EXPECT_EQ(e.className, "NilObjectException");
        EXPECT_TRUE(e.hasMessage);
        EXPECT_EQ(e.message, "memoryblock is nil");
    }
    // Bits other than 7, 8, 15 and 16.
    for (int bits : {0, 1, 6, 9, 12, 14, 17, 32, -8, INT_MIN}) {
        p.bits = bits;
        EXPECT_FALSE(render(bytes, p)) << bits;
    }
    EXPECT_EQ(takeException().className, "");
}

TEST_P(RenderSamplesTest, WriterSizeLimits) {
    const std::vector<uint8_t> bytes = RandomBytes(64, 6);
    ref::Params p;
    p.width = 32767;
    p.height = 1;
    Ref wide = render(bytes, p);
    ASSERT_TRUE(wide);
    EXPECT_EQ(standin::pictureWidth(wide.get()), 32767);
    wide = Ref();
    p.width = 1;
    p.height = 32767;
    expectReference(bytes, p);
    for (auto [w, h] : {std::pair{32768, 1}, {1, 32768}, {INT_MAX, 5}, {5, INT_MAX}}) {
        p.width = w;
        p.height = h;
        EXPECT_FALSE(render(bytes, p)) << w << "x" << h;
    }
    // Width from a block of more samples than a picture can be wide.
    p.width = 0;
    p.height = 3;
    EXPECT_FALSE(render(std::vector<uint8_t>(32768, 1), p));
}

TEST_P(RenderSamplesTest, HostFailures) {
    const std::vector<uint8_t> bytes = RandomBytes(64, 7);
    ref::Params p;
    p.width = 16;
    p.height = 16;
    p.outlineWidth = 3;
    standin::failNth(standin::Fault::PictureCreation, 1);
    EXPECT_FALSE(render(bytes, p));
    standin::failNth(standin::Fault::DescriptionLock, 1);
    EXPECT_FALSE(render(bytes, p));
    if (format().desktop()) {
        standin::failNth(standin::Fault::PixelLock, 1);
        EXPECT_FALSE(render(bytes, p));
    }
    // The faults were one-off: the next call renders.
    expectReference(bytes, p);
}

TEST_P(RenderSamplesTest, BlockWithoutData) {
    HostConfig config = configFor(format());
    config.hidden.insert("memoryBlockGetPtr");
    load(config);
    ref::Params p;
    p.width = 4;
    p.height = 4;
    EXPECT_FALSE(render(RandomBytes(16, 1), p));
}

std::vector<HostFormat> WriterHosts() {
    return {formatNamed("desktop32"), formatNamed("console"), formatNamed("web")};
}

INSTANTIATE_TEST_SUITE_P(HostKinds, RenderSamplesTest, ::testing::ValuesIn(WriterHosts()), FormatName());

}  // namespace
