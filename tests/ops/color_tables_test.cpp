// Color counting, histograms and lookup tables through the stand-in host.
#include <algorithm>
#include <array>
#include <cstring>
#include <random>

#include "tests/ops/color_test_support.h"
#include "tests/reference/color_reference.h"

namespace {

using namespace vqztest;
using namespace colortest;
namespace ref = reference::color;
using Counts = std::array<uint32_t, 256>;

Counts countsIn(void* block) {
    Counts c;
    std::memcpy(c.data(), standin::memoryBlockData(block), sizeof c);
    return c;
}
Counts sum(const Counts& a, const Counts& b) {
    Counts c;
    for (size_t i = 0; i < c.size(); ++i) c[i] = a[i] + b[i];  // wraps like the blocks' entries
    return c;
}
Value blockOrNil(void* b) { return b ? Value::block(b) : Value::nil(); }

class ColorTablesTest : public PluginFormatTest {
protected:
    // CountColorsVQZ with the three variables (nil or blocks) written back; returns the count.
    int64_t countColors(void* pic, std::vector<Value>& blocks) {
        std::vector<Value> args = {blocks[0], blocks[1], blocks[2], Value::integer(12345)};
        callMethodRef("Picture", kCountColors, pic, args);
        blocks.assign(args.begin(), args.begin() + 3);
        return int32_t(uint32_t(args[3].i));
    }
    Ref table(const uint8_t* entries, int size = 256) {
        Ref b = makeBlock(size);
        std::memcpy(standin::memoryBlockData(b.get()), entries, size_t(std::min(size, 256)));
        return b;
    }
    // TransformColorsVQZ in the declaration's order: red, blue, green tables.
    Ref transform(void* pic, void* red, void* blue, void* green, void* dest = nullptr) {
        return callPicture(kTransform, pic,
                           {blockOrNil(red), blockOrNil(blue), blockOrNil(green), dest ? Value::picture(dest) : Value::nil()});
    }
    ::testing::AssertionResult written(const Snapshot& expected, const Ref& out) {
        return writtenPicture(expected, out.get(), format().desktop());
    }
    uint8_t identity[256], random[3][256];
    void SetUp() override {
        PluginFormatTest::SetUp();
        std::mt19937 r(3);
        for (int i = 0; i < 256; ++i) {
            identity[i] = uint8_t(i);
            for (auto& t : random) t[i] = uint8_t(r());
        }
    }
};

TEST_P(ColorTablesTest, CountColorCountsExactMatchesOnly) {
    std::mt19937 r(5);
    Ref p = randomPicture(17, 9, 6);
    const uint32_t first = standin::getRGB(p.get(), 0, 0);
    for (int i = 0; i < 40; ++i) standin::setRGB(p.get(), int(r() % 17), int(r() % 9), first);
    const Snapshot s = snapshot(p.get());
    for (uint32_t color : {s.at(0, 0), s.at(5, 5), s.at(0, 0) ^ 1, s.at(0, 0) ^ 0x10000, 0x123456u}) {
        const int32_t expected = int32_t(ref::countColor(s, color));
        EXPECT_EQ(callInt(kCountColor, p.get(), {Value::color(color)}), expected);
        EXPECT_EQ(callInt(kCountColor, p.get(), {Value::color(color | 0xAB000000)}), expected) << "top byte set";
    }
}

// New blocks for nil variables, then the same counts added again on a second call;
// in the formats that hold the color exactly.
class ColorTablesExactTest : public ColorTablesTest {};

TEST_P(ColorTablesExactTest, CountColorsCreatesBlocksAndAccumulates) {
    Ref p = picture(3, 2);
    fillColor(p.get(), rgbOf(10, 20, 30));
    std::vector<Value> blocks = {Value::nil(), Value::nil(), Value::nil()};
    for (uint32_t round = 1; round <= 2; ++round) {
        ASSERT_EQ(countColors(p.get(), blocks), 6);
        for (int b = 0; b < 3; ++b) {
            ASSERT_EQ(standin::memoryBlockSize(blocks[size_t(b)].ref.get()), 1024);
            Counts expected{};
            expected[size_t(b == 0 ? 10 : b == 1 ? 20 : 30)] = 6 * round;  // red, green, blue
            EXPECT_EQ(countsIn(blocks[size_t(b)].ref.get()), expected) << "block " << b << " round " << round;
        }
    }
}

// Given blocks (one longer than needed, entries near the top that wrap) are kept and
// added to; one block given twice gets both channels' counts.
TEST_P(ColorTablesTest, CountColorsAddsToWhatTheBlocksHold) {
    Ref p = randomPicture(37, 11, 7);
    const ref::Histograms h = ref::histograms(snapshot(p.get()));
    std::mt19937 r(8);
    Ref blocks[3] = {makeBlock(1024), makeBlock(1030), makeBlock(1024)};
    Counts initial[3];
    for (int b = 0; b < 3; ++b) {
        for (int i = 0; i < 256; ++i) initial[b][size_t(i)] = i % 5 == 0 ? 0xFFFFFFFFu - uint32_t(i) : uint32_t(r());
        std::memcpy(standin::memoryBlockData(blocks[b].get()), initial[b].data(), 1024);
    }
    std::vector<Value> values = {Value::block(blocks[0].get()), Value::block(blocks[1].get()),
                                 Value::block(blocks[2].get())};
    EXPECT_EQ(countColors(p.get(), values), 37 * 11);
    EXPECT_EQ(values[1].ref.get(), blocks[1].get()) << "a given block is kept";
    EXPECT_EQ(countsIn(blocks[0].get()), sum(initial[0], h.red));
    EXPECT_EQ(countsIn(blocks[1].get()), sum(initial[1], h.green));
    EXPECT_EQ(countsIn(blocks[2].get()), sum(initial[2], h.blue));

    Ref shared = makeBlock(1024);
    values = {Value::block(shared.get()), Value::nil(), Value::block(shared.get())};
    EXPECT_EQ(countColors(p.get(), values), 37 * 11);
    EXPECT_EQ(countsIn(shared.get()), sum(h.red, h.blue));
}

// A histogram block needs 1024 bytes: a shorter one gives -1 and no block changes.
// A block that cannot be created also gives -1; the blocks that were made stay in the
// caller's variables.
TEST_P(ColorTablesTest, CountColorsFailures) {
    Ref p = randomPicture(5, 5, 10);
    for (int shortOne = 0; shortOne < 3; ++shortOne) {
        Ref blocks[3] = {makeBlock(1024), makeBlock(1024), makeBlock(1024)};
        blocks[shortOne] = makeBlock(shortOne == 1 ? 0 : 1023);
        std::vector<Value> values = {Value::block(blocks[0].get()), Value::block(blocks[1].get()),
                                     Value::block(blocks[2].get())};
        EXPECT_EQ(countColors(p.get(), values), -1);
        for (const Ref& b : blocks) {
            const uint8_t* d = standin::memoryBlockData(b.get());
            EXPECT_TRUE(std::all_of(d, d + standin::memoryBlockSize(b.get()), [](uint8_t v) { return v == 0; }));
        }
    }
    std::vector<Value> blocks = {Value::nil(), Value::nil(), Value::nil()};
    standin::failNth(standin::Fault::MemoryBlockCreation, 2);
    EXPECT_EQ(countColors(p.get(), blocks), -1);
    EXPECT_EQ(standin::memoryBlockSize(blocks[0].ref.get()), 1024);
    EXPECT_TRUE(blocks[1].isNil());
    EXPECT_EQ(standin::memoryBlockSize(blocks[2].ref.get()), 1024);
}

// Random tables, identity tables and an all-zero red table; the source stays as it was.
TEST_P(ColorTablesTest, TransformMatchesReference) {
    Ref p = randomPicture(29, 7, 12);
    const std::vector<uint8_t> before = rawPixels(p.get());
    const Snapshot s = snapshot(p.get());
    uint8_t zeros[256] = {};
    Ref red = table(random[0]), blue = table(random[1]), green = table(random[2]), id = table(identity),
        zero = table(zeros);
    EXPECT_TRUE(written(expectedFrom(s, [&](int, int, uint32_t rgb) {
                            return ref::transform(rgb, random[0], random[2], random[1]);
                        }),
                        transform(p.get(), red.get(), blue.get(), green.get())));
    EXPECT_TRUE(written(s, transform(p.get(), id.get(), id.get(), id.get())));
    EXPECT_TRUE(written(expectedFrom(s, [](int, int, uint32_t rgb) { return rgb & 0x00FFFF; }),
                        transform(p.get(), zero.get(), id.get(), id.get())));
    EXPECT_EQ(rawPixels(p.get()), before);
}

// Nil arguments raise, in the order the arguments are checked; a table shorter than
// 256 bytes gives nil without an exception.
TEST_P(ColorTablesTest, TransformFailures) {
    Ref p = randomPicture(3, 3, 14), t = table(identity), shortTable = table(identity, 255), empty = makeBlock(0);
    const struct {
        void *pic, *red, *blue, *green;
        const char* message;
    } cases[] = {
        {nullptr, nullptr, nullptr, nullptr, "picture is nil"},
        {p.get(), nullptr, t.get(), nullptr, "red memoryblock is nil"},
        {p.get(), t.get(), nullptr, nullptr, "green memoryblock is nil"},
        {p.get(), t.get(), t.get(), nullptr, "green memoryblock is nil"},
        {p.get(), t.get(), nullptr, t.get(), "blue memoryblock is nil"},
    };
    for (const auto& c : cases) {
        EXPECT_FALSE(transform(c.pic, c.red, c.blue, c.green));
        EXPECT_TRUE(exceptionRaised("NilObjectException", c.message));
    }
    for (void* bad : {shortTable.get(), empty.get()}) {
        EXPECT_FALSE(transform(p.get(), bad, t.get(), t.get()));
        EXPECT_FALSE(transform(p.get(), t.get(), bad, t.get()));
        EXPECT_FALSE(transform(p.get(), t.get(), t.get(), bad));
    }
    EXPECT_TRUE(takeException().className.empty());
}

// Destinations as the host makes new pictures: one of the source's size or larger is
// written (only over the source's area) and returned; a narrower one is left alone
// and a new picture returned; the source itself is written in place.
TEST_P(ColorTablesTest, TransformIntoADestination) {
    Ref p = randomPicture(6, 5, 15), red = table(random[0]), id = table(identity);
    const Snapshot s = snapshot(p.get());
    auto mapped = [&](uint32_t rgb) { return ref::transform(rgb, random[0], identity, identity); };
    const Snapshot expected = expectedFrom(s, [&](int, int, uint32_t rgb) { return mapped(rgb); });
    auto into = [&](void* dest) { return transform(p.get(), red.get(), id.get(), id.get(), dest); };
    for (auto [w, h] : {std::pair{6, 5}, std::pair{8, 7}}) {
        Ref dest = makeHostPicture(w, h);
        fillRandom(dest.get(), uint32_t(w));
        const Snapshot before = snapshot(dest.get());
        EXPECT_EQ(into(dest.get()).get(), dest.get());
        EXPECT_TRUE(samePixels(expectedFrom(before, [&](int x, int y, uint32_t rgb) {
                                   return x < 6 && y < 5 ? mapped(s.at(x, y)) : rgb;
                               }),
                               snapshot(dest.get())));
    }
    Ref narrower = makeHostPicture(5, 5);
    fillRandom(narrower.get(), 17);
    const std::vector<uint8_t> narrowerBefore = rawPixels(narrower.get());
    Ref out = into(narrower.get());
    EXPECT_NE(out.get(), narrower.get());
    EXPECT_EQ(rawPixels(narrower.get()), narrowerBefore);
    EXPECT_TRUE(written(expected, out));
    out = into(p.get());
    if (format().code() != 0) {
        EXPECT_EQ(out.get(), p.get());
    }
    EXPECT_TRUE(samePixels(expected, snapshot(out.get())));
}

VQZ_ALL_FORMATS(ColorTablesTest);
VQZ_READER_FORMATS(ColorTablesExactTest);

}  // namespace
