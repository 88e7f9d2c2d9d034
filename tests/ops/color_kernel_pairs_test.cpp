// The color kernels on buffers of every pair of reader and writer formats (nine
// pairs, and every mix of source formats for the operations with several sources),
// against the plain references: exact bytes, the writer's mask byte, nothing
// written outside the reader's area or past a row's pixels.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <tuple>
#include <vector>

#include "ops/color/color_kernels.h"
#include "tests/ops/color_buffers.h"
#include "tests/reference/color_reference.h"

namespace {

using colortest::kPixelCodes;
using colortest::PixelBuffer;
using colortest::writtenAs;
namespace ref = reference::color;

struct Size {
    int width, height;
};
// Small odd sizes, and rows longer than one chunk of the chunked loops.
const Size kSizes[] = {{1, 1}, {3, 2}, {7, 5}, {37, 4}, {513, 2}, {1100, 3}};

class ColorKernelPairs : public ::testing::TestWithParam<std::tuple<int, int>> {
protected:
    int readerCode() const { return std::get<0>(GetParam()); }
    int writerCode() const { return std::get<1>(GetParam()); }
    std::mt19937 random{uint32_t(readerCode() * 31 + writerCode())};

    PixelBuffer randomBuffer(int code, Size size) {
        PixelBuffer b(code, size.width, size.height);
        b.fillRandom(random);
        return b;
    }
    // Runs `kernel(reader, writer)` from a random source into a random target that is
    // `extra` pixels larger each way, and checks the target against `expected(rgb)`.
    template <class Kernel, class Expected>
    void checkMap(Kernel kernel, Expected expected, int extra = 0,
                  std::vector<Size> sizes = {std::begin(kSizes), std::end(kSizes)}) {
        for (Size size : sizes) {
            SCOPED_TRACE(::testing::Message() << size.width << "x" << size.height);
            PixelBuffer source = randomBuffer(readerCode(), size);
            PixelBuffer target = randomBuffer(writerCode(), Size{size.width + extra, size.height + extra});
            PixelBuffer before = target;
            PictureReader reader;
            PictureWriter writer;
            source.expose(reader);
            target.expose(writer);
            kernel(reader, writer);
            EXPECT_TRUE(writtenAs(target, before, size.width, size.height,
                                  [&](int x, int y) { return expected(source.color(x, y)); }));
        }
    }
};

// Both ways of tinting (plain doubles, and the table of the integer brightness with
// doubles where rounding decides) against the reference.
TEST_P(ColorKernelPairs, Tint) {
    const std::vector<std::pair<uint32_t, uint32_t>> colors = {{0x555555, 0xFFFFFF},
                                                               {0xFFFFFF, 0xFFFFFF},
                                                               {0xFF0000, 0xFF8000},
                                                               {0x000000, 0x123456},
                                                               {0x4D9619, 0xFFE0B0},
                                                               {0xAB4D1E3F, 0xFF70420A},
                                                               {uint32_t(random()), uint32_t(random())},
                                                               {uint32_t(random()), uint32_t(random())}};
    for (auto [grey, sepia] : colors) {
        SCOPED_TRACE(::testing::Message() << std::hex << grey << " " << sepia);
        auto expected = [&](uint32_t rgb) { return ref::tint(rgb, grey, sepia); };
        checkMap([&](PictureReader& r, PictureWriter& w) { TintPixels(r, w, grey, sepia); }, expected);
        checkMap([&](PictureReader& r, PictureWriter& w) { TintPixelsInDoubles(r, w, grey, sepia); }, expected);
        checkMap([&](PictureReader& r, PictureWriter& w) { ASSERT_TRUE(TintPixelsThroughTable(r, w, grey, sepia)); },
                 expected);
    }
}

TEST_P(ColorKernelPairs, EmbeddedMaskToGray) {
    for (bool swap : {false, true}) {
        for (Size size : kSizes) {
            PixelBuffer source = randomBuffer(readerCode(), size);
            PixelBuffer target = randomBuffer(writerCode(), size);
            PixelBuffer before = target;
            PictureReader reader;
            PictureWriter writer;
            source.expose(reader);
            target.expose(writer);
            MaskToGray(reader, writer, swap);
            EXPECT_TRUE(writtenAs(target, before, size.width, size.height,
                                  [&](int x, int y) {
                                      const int a = ref::embeddedMask(readerCode(), source.pixel(x, y));
                                      return ref::gray(swap ? 255 - a : a);
                                  }))
                << "swap " << swap;
        }
    }
}

// Here the first code is the picture's and the second the mask's; the mask is
// smaller, equal or larger than the picture.
TEST_P(ColorKernelPairs, GrayToEmbeddedMask) {
    const int pictureCode = readerCode(), maskCode = writerCode();
    for (bool swap : {false, true}) {
        for (Size maskSize : {Size{4, 3}, Size{9, 6}, Size{12, 8}}) {
            SCOPED_TRACE(::testing::Message()
                         << "mask " << maskSize.width << "x" << maskSize.height << " swap " << swap);
            PixelBuffer picture = randomBuffer(pictureCode, Size{9, 6});
            PixelBuffer mask = randomBuffer(maskCode, maskSize);
            PixelBuffer before = picture;
            PictureEditor pictureEditor, maskEditor;
            picture.expose(pictureEditor);
            mask.expose(maskEditor);
            GrayToMask(pictureEditor, maskEditor, swap);
            EXPECT_TRUE(picture.guardsIntact());
            for (int y = 0; y < 6; ++y) {
                for (int x = 0; x < 9; ++x) {
                    std::vector<uint8_t> want = before.pixelBytesOf(x, y);
                    if (x < maskSize.width && y < maskSize.height && pictureCode != 12) {
                        const int red = ref::redOf(mask.color(x, y));
                        const int v = swap ? 255 - red : red;
                        // The stored value reads back as itself where the byte can hold
                        // it; a 7-bit byte keeps the top seven bits.
                        if (pictureCode == 13) want[0] = uint8_t(v);
                        if (pictureCode == 8) want[3] = uint8_t(v >> 1);
                        const int back = ref::embeddedMask(pictureCode, want.data());
                        EXPECT_LE(std::abs(back - v), pictureCode == 8 ? 1 : 0);
                    }
                    ASSERT_EQ(want, picture.pixelBytesOf(x, y)) << "pixel " << x << "," << y;
                }
            }
        }
    }
}

// The first code is source 1's and the second the writer's; source 2 takes each code.
TEST_P(ColorKernelPairs, Merge) {
    for (int secondCode : kPixelCodes) {
        SCOPED_TRACE(::testing::Message() << "second source code " << secondCode);
        for (Size size : kSizes) {
            PixelBuffer a = randomBuffer(readerCode(), size), b = randomBuffer(secondCode, size);
            PixelBuffer target = randomBuffer(writerCode(), size);
            PixelBuffer before = target;
            PictureReader ra, rb;
            PictureWriter writer;
            a.expose(ra);
            b.expose(rb);
            target.expose(writer);
            MergePixels(ra, rb, writer);
            EXPECT_TRUE(writtenAs(target, before, size.width, size.height,
                                  [&](int x, int y) { return ref::merge(a.color(x, y), b.color(x, y)); }));
        }
    }
}

// The first code is the red source's and the second the writer's; the green and
// blue sources take every code.
TEST_P(ColorKernelPairs, Combine) {
    const Size size{13, 3};
    for (int greenCode : kPixelCodes) {
        for (int blueCode : kPixelCodes) {
            PixelBuffer red = randomBuffer(readerCode(), size), green = randomBuffer(greenCode, size),
                        blue = randomBuffer(blueCode, size), target = randomBuffer(writerCode(), size);
            PixelBuffer before = target;
            PictureReader rr, rg, rb;
            PictureWriter writer;
            red.expose(rr);
            green.expose(rg);
            blue.expose(rb);
            target.expose(writer);
            CombinePixels(rr, rg, rb, writer);
            EXPECT_TRUE(writtenAs(
                target, before, size.width, size.height,
                [&](int x, int y) { return ref::combine(red.color(x, y), green.color(x, y), blue.color(x, y)); }))
                << "green code " << greenCode << ", blue code " << blueCode;
        }
    }
}

// The writer is larger than the reader, as a destination picture may be.
TEST_P(ColorKernelPairs, LookupTables) {
    uint8_t tables[3][256];
    for (auto& table : tables)
        for (uint8_t& entry : table) entry = uint8_t(random());
    auto kernel = [&](PictureReader& r, PictureWriter& w) { MapThroughTables(r, w, tables[0], tables[1], tables[2]); };
    auto expected = [&](uint32_t rgb) { return ref::transform(rgb, tables[0], tables[1], tables[2]); };
    checkMap(kernel, expected, 3);
    // Big pictures also get a table indexed by two channels at once.
    checkMap(kernel, expected, 1, {Size{520, 512}});
}

TEST_P(ColorKernelPairs, ReplaceAndExtract) {
    const std::vector<uint32_t> palette = {0x0A141E, 0x0A141F, 0x0B141E, 0x0A151E, 0xFFFFFF};
    const uint32_t search = 0x0A141E, with = 0x123456, background = 0xFEDCBA;
    for (bool extract : {false, true}) {
        for (Size size : kSizes) {
            PixelBuffer source(readerCode(), size.width, size.height);
            source.fillFromPalette(random, palette);
            PixelBuffer target = randomBuffer(writerCode(), size);
            PixelBuffer before = target;
            PictureReader reader;
            PictureWriter writer;
            source.expose(reader);
            target.expose(writer);
            if (extract)
                ExtractMatchingPixels(reader, writer, ColorToRGB(search), ColorToRGB(with), ColorToRGB(background));
            else
                ReplaceMatchingPixels(reader, writer, ColorToRGB(search), ColorToRGB(with));
            EXPECT_TRUE(writtenAs(target, before, size.width, size.height, [&](int x, int y) {
                const uint32_t rgb = source.color(x, y);
                return extract ? ref::extract(rgb, search, with, background) : ref::replace(rgb, search, with);
            })) << (extract ? "extract" : "replace");
        }
    }
}

// Counting reads one picture: one case per reader format.
class ColorKernelReaders : public ::testing::TestWithParam<int> {};

TEST_P(ColorKernelReaders, CountingReadsEveryPixelOnce) {
    std::mt19937 random{uint32_t(GetParam())};
    const std::vector<uint32_t> palette = {0x0A141E, 0x0A141F, 0x1E140A, 0x000000};
    for (Size size : kSizes) {
        PixelBuffer source(GetParam(), size.width, size.height);
        source.fillFromPalette(random, palette);
        vqztest::Snapshot s;
        s.width = size.width;
        s.height = size.height;
        for (int y = 0; y < size.height; ++y)
            for (int x = 0; x < size.width; ++x) s.rgb.push_back(source.color(x, y));
        PictureReader reader;
        source.expose(reader);
        EXPECT_EQ(CountMatchingPixels(reader, ColorToRGB(0x0A141E)), ref::countColor(s, 0x0A141E));
        source.expose(reader);
        ChannelHistograms counted;
        CountChannelValues(reader, counted);
        const ref::Histograms expected = ref::histograms(s);
        for (int i = 0; i < 256; ++i) {
            ASSERT_EQ(counted.red[i], expected.red[size_t(i)]) << "red " << i;
            ASSERT_EQ(counted.green[i], expected.green[size_t(i)]) << "green " << i;
            ASSERT_EQ(counted.blue[i], expected.blue[size_t(i)]) << "blue " << i;
        }
    }
}

// The table way on every color there is, for colors where the brightness often lands
// exactly on a channel boundary (equal weights, white) and for ordinary ones.
TEST(ColorKernelTint, TableMatchesReferenceOnEveryColor) {
    PixelBuffer source(13, 4096, 4096), target(13, 4096, 4096);
    for (int y = 0; y < 4096; ++y)
        for (int x = 0; x < 4096; ++x) source.setColor(x, y, uint32_t(y) << 12 | uint32_t(x));
    for (auto [grey, sepia] :
         {std::pair{0x555555u, 0xFFFFFFu}, std::pair{0xFFFFFFu, 0x8040C0u}, std::pair{0x4D9619u, 0xFFE0B0u}}) {
        PictureReader reader;
        PictureWriter writer;
        source.expose(reader);
        target.expose(writer);
        ASSERT_TRUE(TintPixelsThroughTable(reader, writer, grey, sepia));
        int wrong = 0;
        for (int y = 0; y < 4096; ++y)
            for (int x = 0; x < 4096; ++x)
                wrong += target.color(x, y) != ref::tint(uint32_t(y) << 12 | uint32_t(x), grey, sepia);
        EXPECT_EQ(wrong, 0) << std::hex << grey << " " << sepia;
    }
}

INSTANTIATE_TEST_SUITE_P(ReaderCodes, ColorKernelReaders, ::testing::ValuesIn(kPixelCodes),
                         [](const ::testing::TestParamInfo<int>& info) { return "code" + std::to_string(info.param); });

std::string PairName(const ::testing::TestParamInfo<std::tuple<int, int>>& info) {
    return "code" + std::to_string(std::get<0>(info.param)) + "_to_code" + std::to_string(std::get<1>(info.param));
}

INSTANTIATE_TEST_SUITE_P(NinePairs, ColorKernelPairs,
                         ::testing::Combine(::testing::ValuesIn(kPixelCodes), ::testing::ValuesIn(kPixelCodes)),
                         PairName);

}  // namespace
