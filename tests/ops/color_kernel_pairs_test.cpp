// The color kernels on buffers of every pair of reader and writer formats (nine
// pairs, and every mix of source formats for the operations with several sources),
// against the plain references: exact bytes, the writer's mask byte, nothing
// written outside the reader's area or past a row's pixels.
#include <gtest/gtest.h>

#include <algorithm>
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
namespace ref = reference::color;
using Sources = std::vector<PixelBuffer>;
using Readers = std::vector<PictureReader>;

struct Size {
    int width, height;
};
// Small odd sizes, and rows longer than one chunk of the chunked loops.
const std::vector<Size> kSizes = {{1, 1}, {3, 2}, {7, 5}, {37, 4}, {513, 2}, {1100, 3}};

class ColorKernelPairs : public ::testing::TestWithParam<std::tuple<int, int>> {
protected:
    int readerCode() const { return std::get<0>(GetParam()); }
    int writerCode() const { return std::get<1>(GetParam()); }
    std::mt19937 random{uint32_t(readerCode() * 31 + writerCode())};

    // Runs `kernel(readers, writer)` on random sources of `codes` (from `palette` if
    // given) into a random target of the writer's format, `extra` pixels larger each
    // way, and checks the target against expected(sources, x, y).
    template <class Kernel, class Expected>
    void check(std::vector<int> codes, Kernel kernel, Expected expected, const std::vector<Size>& sizes = kSizes,
               int extra = 0, const std::vector<uint32_t>& palette = {}) {
        for (Size size : sizes) {
            SCOPED_TRACE(::testing::Message() << size.width << "x" << size.height);
            Sources sources;
            Readers readers(codes.size());
            for (size_t i = 0; i < codes.size(); ++i) sources.emplace_back(codes[i], size.width, size.height, &random, palette);
            for (size_t i = 0; i < codes.size(); ++i) sources[i].expose(readers[i]);
            PixelBuffer target(writerCode(), size.width + extra, size.height + extra, &random);
            const PixelBuffer before = target;
            PictureWriter writer;
            target.expose(writer);
            kernel(readers, writer);
            EXPECT_TRUE(colortest::writtenAs(target, before, size.width, size.height,
                                             [&](int x, int y) { return expected(sources, x, y); }));
        }
    }
    // The same for kernels whose result depends on one source color only.
    template <class Kernel, class Map>
    void checkMap(Kernel kernel, Map map, const std::vector<Size>& sizes = kSizes, int extra = 0,
                  const std::vector<uint32_t>& palette = {}) {
        check({readerCode()}, [&](Readers& r, PictureWriter& w) { kernel(r[0], w); },
              [&](const Sources& s, int x, int y) { return map(s[0].color(x, y)); }, sizes, extra, palette);
    }
};

// Both ways of tinting (plain doubles, and the table of the integer brightness with
// doubles where rounding decides) against the reference.
TEST_P(ColorKernelPairs, Tint) {
    const std::pair<uint32_t, uint32_t> colors[] = {
        {0x555555, 0xFFFFFF}, {0xFFFFFF, 0xFFFFFF},   {0xFF0000, 0xFF8000},
        {0x000000, 0x123456}, {0x4D9619, 0xFFE0B0},   {0xAB4D1E3F, 0xFF70420A},
        {uint32_t(random()), uint32_t(random())},     {uint32_t(random()), uint32_t(random())}};
    for (auto [grey, sepia] : colors) {
        SCOPED_TRACE(::testing::Message() << std::hex << grey << " " << sepia);
        auto map = [&](uint32_t rgb) { return ref::tint(rgb, grey, sepia); };
        checkMap([&](PictureReader& r, PictureWriter& w) { TintPixels(r, w, grey, sepia); }, map);
        checkMap([&](PictureReader& r, PictureWriter& w) { TintPixelsInDoubles(r, w, grey, sepia); }, map);
        checkMap([&](PictureReader& r, PictureWriter& w) { ASSERT_TRUE(TintPixelsThroughTable(r, w, grey, sepia)); },
                 map);
    }
}

TEST_P(ColorKernelPairs, EmbeddedMaskToGray) {
    for (bool swap : {false, true}) {
        check({readerCode()}, [&](Readers& r, PictureWriter& w) { MaskToGray(r[0], w, swap); },
              [&](const Sources& s, int x, int y) {
                  const int a = ref::embeddedMask(readerCode(), s[0].pixel(x, y));
                  return ref::gray(swap ? 255 - a : a);
              });
    }
}

// Here the first code is the picture's and the second the mask's; the mask is
// smaller, equal or larger than the picture. Only the mask bytes change: to the value
// itself where the byte can hold it, else to the nearest a 7-bit byte holds.
TEST_P(ColorKernelPairs, GrayToEmbeddedMask) {
    const int pictureCode = readerCode();
    for (bool swap : {false, true}) {
        for (Size maskSize : {Size{4, 3}, Size{9, 6}, Size{12, 8}}) {
            SCOPED_TRACE(::testing::Message() << "mask " << maskSize.width << "x" << maskSize.height << " swap " << swap);
            PixelBuffer picture(pictureCode, 9, 6, &random), mask(writerCode(), maskSize.width, maskSize.height, &random);
            const PixelBuffer before = picture;
            PictureEditor pictureEditor, maskEditor;
            picture.expose(pictureEditor);
            mask.expose(maskEditor);
            GrayToMask(pictureEditor, maskEditor, swap);
            EXPECT_TRUE(picture.guardsIntact());
            for (int y = 0; y < 6; ++y) {
                for (int x = 0; x < 9; ++x) {
                    std::vector<uint8_t> want = before.pixelBytes(x, y);
                    if (x < maskSize.width && y < maskSize.height && pictureCode != 12) {
                        const int red = ref::redOf(mask.color(x, y)), v = swap ? 255 - red : red;
                        want[pictureCode == 13 ? 0 : 3] = uint8_t(pictureCode == 13 ? v : v >> 1);
                        EXPECT_LE(std::abs(ref::embeddedMask(pictureCode, want.data()) - v), pictureCode == 8 ? 1 : 0);
                    }
                    ASSERT_EQ(want, picture.pixelBytes(x, y)) << "pixel " << x << "," << y;
                }
            }
        }
    }
}

// Source 1 and the writer take the pair's codes, source 2 every code.
TEST_P(ColorKernelPairs, Merge) {
    for (int second : kPixelCodes) {
        check({readerCode(), second}, [](Readers& r, PictureWriter& w) { MergePixels(r[0], r[1], w); },
              [](const Sources& s, int x, int y) { return ref::merge(s[0].color(x, y), s[1].color(x, y)); });
    }
}

// The red source and the writer take the pair's codes, green and blue every code.
TEST_P(ColorKernelPairs, Combine) {
    for (int green : kPixelCodes) {
        for (int blue : kPixelCodes) {
            check({readerCode(), green, blue}, [](Readers& r, PictureWriter& w) { CombinePixels(r[0], r[1], r[2], w); },
                  [](const Sources& s, int x, int y) {
                      return ref::combine(s[0].color(x, y), s[1].color(x, y), s[2].color(x, y));
                  },
                  {Size{13, 3}});
        }
    }
}

// The writer is larger than the reader, as a destination picture may be; big
// pictures also get a table indexed by two channels at once.
TEST_P(ColorKernelPairs, LookupTables) {
    uint8_t tables[3][256];
    for (auto& table : tables)
        for (uint8_t& entry : table) entry = uint8_t(random());
    auto kernel = [&](PictureReader& r, PictureWriter& w) { MapThroughTables(r, w, tables[0], tables[1], tables[2]); };
    auto map = [&](uint32_t rgb) { return ref::transform(rgb, tables[0], tables[1], tables[2]); };
    checkMap(kernel, map, kSizes, 3);
    checkMap(kernel, map, {Size{520, 512}}, 1);
}

TEST_P(ColorKernelPairs, ReplaceAndExtract) {
    const std::vector<uint32_t> palette = {0x0A141E, 0x0A141F, 0x0B141E, 0x0A151E, 0xFFFFFF};
    const uint32_t search = 0x0A141E, with = 0x123456, background = 0xFEDCBA;
    checkMap([&](PictureReader& r, PictureWriter& w) { ReplaceMatchingPixels(r, w, ColorToRGB(search), ColorToRGB(with)); },
             [&](uint32_t rgb) { return ref::replace(rgb, search, with); }, kSizes, 0, palette);
    checkMap(
        [&](PictureReader& r, PictureWriter& w) {
            ExtractMatchingPixels(r, w, ColorToRGB(search), ColorToRGB(with), ColorToRGB(background));
        },
        [&](uint32_t rgb) { return ref::extract(rgb, search, with, background); }, kSizes, 0, palette);
}

// Counting reads one picture; each pair runs it on its reader format.
TEST_P(ColorKernelPairs, CountingReadsEveryPixelOnce) {
    const std::vector<uint32_t> palette = {0x0A141E, 0x0A141F, 0x1E140A, 0x000000};
    for (Size size : kSizes) {
        PixelBuffer source(readerCode(), size.width, size.height, &random, palette);
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
        EXPECT_TRUE(std::equal(expected.red.begin(), expected.red.end(), counted.red));
        EXPECT_TRUE(std::equal(expected.green.begin(), expected.green.end(), counted.green));
        EXPECT_TRUE(std::equal(expected.blue.begin(), expected.blue.end(), counted.blue));
    }
}

// The table way on every color there is, for colors where the brightness often lands
// exactly on a channel boundary (equal weights, white) and for ordinary ones.
TEST(ColorKernelTint, TableMatchesReferenceOnEveryColor) {
    PixelBuffer source(13, 4096, 4096, nullptr), target(13, 4096, 4096, nullptr);
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

INSTANTIATE_TEST_SUITE_P(NinePairs, ColorKernelPairs,
                         ::testing::Combine(::testing::ValuesIn(kPixelCodes), ::testing::ValuesIn(kPixelCodes)),
                         [](const ::testing::TestParamInfo<std::tuple<int, int>>& info) {
                             return "code" + std::to_string(std::get<0>(info.param)) + "_to_code" +
                                    std::to_string(std::get<1>(info.param));
                         });

}  // namespace
