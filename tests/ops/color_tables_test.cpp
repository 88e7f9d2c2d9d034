#include <cstring>
#include <random>

#include "tests/ops/color_test_support.h"
#include "tests/reference/color_reference.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;
namespace ref = reference::color;

const char* const kCountColor = "CountColorVQZ(col as color) as integer";
const char* const kCountColors =
    "CountColorsVQZ(byref red as memoryblock, byref blue as memoryblock, byref green as memoryblock, byref count as integer)";
const char* const kTransform =
    "TransformColorsVQZ(red as memoryblock, blue as memoryblock, green as memoryblock, dest as picture = nil) as picture";

uint32_t entry(void* block, int i) {
    uint32_t v;
    std::memcpy(&v, standin::memoryBlockData(block) + 4 * i, 4);
    return v;
}

class ColorTablesTest : public PluginFormatTest {
protected:
    // CountColorsVQZ with the three variables (nil or blocks); returns the count.
    int64_t countColors(void* pic, std::vector<Value>& blocks) {
        std::vector<Value> args = {std::move(blocks[0]), std::move(blocks[1]), std::move(blocks[2]),
                                   Value::integer(12345)};
        callMethodRef("Picture", kCountColors, pic, args);
        for (size_t i = 0; i < 3; ++i) blocks[i] = std::move(args[i]);
        return int32_t(uint32_t(args[3].i));
    }
    std::vector<Value> nilBlocks() { return {Value::nil(), Value::nil(), Value::nil()}; }

    Ref table(const uint8_t* entries, int size = 256) {
        Ref b = makeBlock(size);
        std::memcpy(standin::memoryBlockData(b.get()), entries, size_t(size < 256 ? size : 256));
        return b;
    }
    // TransformColorsVQZ in the declaration's order: red, blue, green tables.
    Ref transform(void* pic, void* red, void* blue, void* green, void* dest = nullptr) {
        auto block = [](void* b) { return b ? Value::block(b) : Value::nil(); };
        return callPicture(kTransform, pic,
                           {block(red), block(blue), block(green), dest ? Value::picture(dest) : Value::nil()});
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

// ---------------------------------------------------------------- CountColorVQZ

TEST_P(ColorTablesTest, CountColorCountsExactMatchesOnly) {
    std::mt19937 r(5);
    Ref p = randomPicture(17, 9, 6);
    const Snapshot s0 = snapshot(p.get());
    for (int i = 0; i < 40; ++i) standin::setRGB(p.get(), int(r() % 17), int(r() % 9), s0.at(0, 0));
    const Snapshot s = snapshot(p.get());
    for (uint32_t color : {s.at(0, 0), s.at(5, 5), s.at(0, 0) ^ 1, s.at(0, 0) ^ 0x10000, 0x123456u}) {
        const int32_t expected = int32_t(ref::countColor(s, color));
        EXPECT_EQ(callInt(kCountColor, p.get(), {Value::color(color)}), expected);
        EXPECT_EQ(callInt(kCountColor, p.get(), {Value::color(color | 0xAB000000)}), expected) << "top byte set";
    }
}

// ---------------------------------------------------------------- CountColorsVQZ

class ColorTablesExampleTest : public ColorTablesTest {};

TEST_P(ColorTablesExampleTest, CountColorsCreatesBlocksAndAccumulates) {
    Ref p = picture(3, 2);
    fillColor(p.get(), rgbOf(10, 20, 30));
    std::vector<Value> blocks = nilBlocks();
    EXPECT_EQ(countColors(p.get(), blocks), 6);
    for (const Value& b : blocks) ASSERT_EQ(standin::memoryBlockSize(b.ref.get()), 1024);
    for (int round = 1; round <= 2; ++round) {
        for (int i = 0; i < 256; ++i) {
            ASSERT_EQ(entry(blocks[0].ref.get(), i), i == 10 ? 6u * round : 0u) << "first block (red) entry " << i;
            ASSERT_EQ(entry(blocks[1].ref.get(), i), i == 20 ? 6u * round : 0u) << "second block (green) entry " << i;
            ASSERT_EQ(entry(blocks[2].ref.get(), i), i == 30 ? 6u * round : 0u) << "third block (blue) entry " << i;
        }
        if (round == 1) {
            EXPECT_EQ(countColors(p.get(), blocks), 6);
        }
    }
}

TEST_P(ColorTablesTest, CountColorsAddsToWhatTheBlocksHold) {
    Ref p = randomPicture(37, 11, 7);
    const ref::Histograms h = ref::histograms(snapshot(p.get()));
    std::mt19937 r(8);
    Ref blocks[3] = {makeBlock(1024), makeBlock(1030), makeBlock(1024)};
    uint32_t initial[3][256];
    for (int b = 0; b < 3; ++b) {
        for (int i = 0; i < 256; ++i)
            initial[b][i] = i % 5 == 0 ? 0xFFFFFFFFu - uint32_t(i) : uint32_t(r());  // some wrap
        std::memcpy(standin::memoryBlockData(blocks[b].get()), initial[b], 1024);
    }
    std::vector<Value> values = {Value::block(blocks[0].get()), Value::block(blocks[1].get()),
                                 Value::block(blocks[2].get())};
    EXPECT_EQ(countColors(p.get(), values), 37 * 11);
    EXPECT_EQ(values[1].ref.get(), blocks[1].get()) << "a given block is kept";
    for (int i = 0; i < 256; ++i) {
        ASSERT_EQ(entry(blocks[0].get(), i), initial[0][i] + h.red[size_t(i)]);
        ASSERT_EQ(entry(blocks[1].get(), i), initial[1][i] + h.green[size_t(i)]);
        ASSERT_EQ(entry(blocks[2].get(), i), initial[2][i] + h.blue[size_t(i)]);
    }
}

TEST_P(ColorTablesTest, CountColorsIntoOneBlockTwice) {
    Ref p = randomPicture(8, 8, 9);
    const ref::Histograms h = ref::histograms(snapshot(p.get()));
    Ref shared = makeBlock(1024);
    std::vector<Value> values = {Value::block(shared.get()), Value::nil(), Value::block(shared.get())};
    EXPECT_EQ(countColors(p.get(), values), 64);
    for (int i = 0; i < 256; ++i) ASSERT_EQ(entry(shared.get(), i), h.red[size_t(i)] + h.blue[size_t(i)]);
}

// A histogram block needs 1024 bytes: a shorter one gives -1 and no block changes.
TEST_P(ColorTablesTest, CountColorsRefusesShortBlocks) {
    Ref p = randomPicture(5, 5, 10);
    for (int shortOne = 0; shortOne < 3; ++shortOne) {
        Ref blocks[3] = {makeBlock(1024), makeBlock(1024), makeBlock(1024)};
        blocks[shortOne] = makeBlock(shortOne == 1 ? 0 : 1023);
        std::vector<Value> values = {Value::block(blocks[0].get()), Value::block(blocks[1].get()),
                                     Value::block(blocks[2].get())};
        EXPECT_EQ(countColors(p.get(), values), -1);
        for (const Ref& b : blocks)
            for (int i = 0; i < standin::memoryBlockSize(b.get()); ++i)
                ASSERT_EQ(standin::memoryBlockData(b.get())[i], 0);
    }
}

TEST_P(ColorTablesTest, CountColorsWhenABlockCannotBeCreated) {
    Ref p = randomPicture(5, 5, 11);
    std::vector<Value> blocks = nilBlocks();
    standin::failNth(standin::Fault::MemoryBlockCreation, 2);
    EXPECT_EQ(countColors(p.get(), blocks), -1);
    // The blocks that were made stay in the caller's variables.
    EXPECT_EQ(standin::memoryBlockSize(blocks[0].ref.get()), 1024);
    EXPECT_TRUE(blocks[1].isNil());
    EXPECT_EQ(standin::memoryBlockSize(blocks[2].ref.get()), 1024);
}

// ---------------------------------------------------------------- TransformColorsVQZ

TEST_P(ColorTablesTest, TransformMatchesReference) {
    Ref p = randomPicture(29, 7, 12);
    const std::vector<uint8_t> before = rawPixels(p.get());
    Ref red = table(random[0]), blue = table(random[1]), green = table(random[2]);
    const Snapshot expected = expectedFrom(snapshot(p.get()), [&](int, int, uint32_t rgb) {
        return ref::transform(rgb, random[0], random[2], random[1]);
    });
    EXPECT_TRUE(colortest::writtenPicture(expected, transform(p.get(), red.get(), blue.get(), green.get()).get(),
                                          format().desktop()));
    EXPECT_EQ(rawPixels(p.get()), before);
}

TEST_P(ColorTablesTest, TransformIdentityAndZeroRed) {
    Ref p = randomPicture(6, 4, 13);
    uint8_t zeros[256] = {};
    Ref id = table(identity), zero = table(zeros);
    const Snapshot s = snapshot(p.get());
    EXPECT_TRUE(
        colortest::writtenPicture(s, transform(p.get(), id.get(), id.get(), id.get()).get(), format().desktop()));
    EXPECT_TRUE(colortest::writtenPicture(expectedFrom(s, [](int, int, uint32_t rgb) { return rgb & 0x00FFFF; }),
                                          transform(p.get(), zero.get(), id.get(), id.get()).get(),
                                          format().desktop()));
}

TEST_P(ColorTablesTest, TransformRaisesForNilArgumentsInOrder) {
    Ref p = picture(2, 2), t = table(identity);
    struct Case {
        void *pic, *red, *blue, *green;
        const char* message;
    } cases[] = {
        {nullptr, nullptr, nullptr, nullptr, "picture is nil"},
        {p.get(), nullptr, t.get(), nullptr, "red memoryblock is nil"},
        {p.get(), t.get(), nullptr, nullptr, "green memoryblock is nil"},
        {p.get(), t.get(), t.get(), nullptr, "green memoryblock is nil"},
        {p.get(), t.get(), nullptr, t.get(), "blue memoryblock is nil"},
    };
    for (const Case& c : cases) {
        EXPECT_FALSE(transform(c.pic, c.red, c.blue, c.green));
        const standin::PendingException e = takeException();
        EXPECT_EQ(e.className, "NilObjectException");
        EXPECT_TRUE(e.hasMessage);
        EXPECT_EQ(e.message, c.message);
    }
}

// A lookup table needs 256 bytes: a shorter one gives nil, without an exception.
TEST_P(ColorTablesTest, TransformRefusesShortTables) {
    Ref p = randomPicture(3, 3, 14), id = table(identity), shortTable = table(identity, 255), empty = makeBlock(0);
    for (void* bad : {shortTable.get(), empty.get()}) {
        EXPECT_FALSE(transform(p.get(), bad, id.get(), id.get()));
        EXPECT_FALSE(transform(p.get(), id.get(), bad, id.get()));
        EXPECT_FALSE(transform(p.get(), id.get(), id.get(), bad));
    }
    EXPECT_TRUE(takeException().className.empty());
}

TEST_P(ColorTablesTest, TransformIntoADestination) {
    Ref p = randomPicture(6, 5, 15), red = table(random[0]), id = table(identity);
    const Snapshot s = snapshot(p.get());
    auto mapped = [&](uint32_t rgb) { return ref::transform(rgb, random[0], identity, identity); };

    // Destinations as the host makes new pictures (a 16- or 8-bit one is never written).
    Ref same = makeHostPicture(6, 5);
    Ref out = transform(p.get(), red.get(), id.get(), id.get(), same.get());
    EXPECT_EQ(out.get(), same.get()) << "a destination of the source's size is written and returned";
    EXPECT_TRUE(samePixels(expectedFrom(s, [&](int, int, uint32_t rgb) { return mapped(rgb); }), snapshot(same.get())));

    Ref larger = makeHostPicture(8, 7);
    fillRandom(larger.get(), 16);
    const Snapshot largerBefore = snapshot(larger.get());
    out = transform(p.get(), red.get(), id.get(), id.get(), larger.get());
    EXPECT_EQ(out.get(), larger.get());
    EXPECT_TRUE(
        samePixels(expectedFrom(largerBefore,
                                [&](int x, int y, uint32_t rgb) { return x < 6 && y < 5 ? mapped(s.at(x, y)) : rgb; }),
                   snapshot(larger.get())));

    Ref narrower = makeHostPicture(5, 5);
    fillRandom(narrower.get(), 17);
    const std::vector<uint8_t> narrowerBefore = rawPixels(narrower.get());
    out = transform(p.get(), red.get(), id.get(), id.get(), narrower.get());
    ASSERT_TRUE(out);
    EXPECT_NE(out.get(), narrower.get());
    EXPECT_EQ(rawPixels(narrower.get()), narrowerBefore);
    EXPECT_TRUE(colortest::writtenPicture(expectedFrom(s, [&](int, int, uint32_t rgb) { return mapped(rgb); }),
                                          out.get(), format().desktop()));

    out = transform(p.get(), red.get(), id.get(), id.get(), p.get());  // in place
    if (format().code() != 0) {
        EXPECT_EQ(out.get(), p.get());
    }
    EXPECT_TRUE(samePixels(expectedFrom(s, [&](int, int, uint32_t rgb) { return mapped(rgb); }), snapshot(out.get())));
}

// On a desktop host a destination may be a 24-bit picture: the writer then has no
// mask byte (pairs 13 to 12 and 12 to 12); a 16-bit one cannot be written in place.
class TransformDepthsTest : public PluginTest {};

TEST_F(TransformDepthsTest, DestinationOfEachDepth) {
    uint8_t entries[256];
    for (int i = 0; i < 256; ++i) entries[i] = uint8_t(i * 7 + 3);
    Ref t = makeBlock(256);
    std::memcpy(standin::memoryBlockData(t.get()), entries, 256);
    for (int sourceDepth : {32, 24, 16, 8}) {
        for (int destDepth : {32, 24, 16}) {
            SCOPED_TRACE(::testing::Message() << "source depth " << sourceDepth << ", destination depth " << destDepth);
            Ref p = Ref::adopt(standin::newGWorldPicture(7, 3, sourceDepth)),
                dest = Ref::adopt(standin::newGWorldPicture(7, 4, destDepth));
            fillRandom(p.get(), uint32_t(sourceDepth));
            const Snapshot s = snapshot(p.get()), destBefore = snapshot(dest.get());
            Ref out = callPicture(
                kTransform, p.get(),
                {Value::block(t.get()), Value::block(t.get()), Value::block(t.get()), Value::picture(dest.get())});
            ASSERT_TRUE(out);
            EXPECT_EQ(out.get() == dest.get(), destDepth != 16);
            const Snapshot got = snapshot(out.get());
            for (int y = 0; y < got.height; ++y)
                for (int x = 0; x < 7; ++x)
                    ASSERT_EQ(got.at(x, y),
                              y < 3 ? ref::transform(s.at(x, y), entries, entries, entries) : destBefore.at(x, y));
            EXPECT_TRUE(standin::guardsIntact(out.get()));
        }
    }
}

VQZ_ALL_FORMATS(ColorTablesTest);
VQZ_READER_FORMATS(ColorTablesExampleTest);

}  // namespace
