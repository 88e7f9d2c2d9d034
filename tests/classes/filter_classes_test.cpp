// PictureLut3DVQZ and PictureSepiaVQZ through the host: Run against the plain
// per-pixel versions in every format and over the bounds, their exact examples,
// their accessors, and what they do with their pictures when Run succeeds, fails or
// Close comes.
#include <array>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "classes/lut3d.h"
#include "tests/reference/lut_reference.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;
using reference::FilterBounds;
using reference::LutTable;

const char* const kLut = "PictureLut3DVQZ";
const char* const kSepia = "PictureSepiaVQZ";
const char* const kTable = "Table(r as UInt32, g as UInt32, b as UInt32, x as UInt32) as double";
const double kNaN = std::numeric_limits<double>::quiet_NaN(), kInf = std::numeric_limits<double>::infinity();

// ---------------------------------------------------------------- plain versions

// Values around and beyond the channel range so that both clamps are exercised.
// Most are whole numbers: interpolating between them lands on or next to whole
// numbers, where the last bit of the sum decides the truncated byte.
LutTable randomTable(std::mt19937& random) {
    LutTable t;
    std::uniform_real_distribution<double> value(-30.0, 290.0);
    for (double& e : t.element) e = random() % 4 ? std::floor(value(random)) : value(random);
    return t;
}

template <class Node>  // node(r, g, b, x) -> the node's channel x
LutTable tableOf(Node node) {
    LutTable t;
    for (int i = 0; i < 18 * 18 * 18 * 3; ++i) t.element[size_t(i)] = node(i / 972, i / 54 % 18, i / 3 % 18, i % 3);
    return t;
}

struct SepiaSettings {
    double red = 0.299, green = 0.587, blue = 0.114;
    int32_t offsetRed = 0, offsetGreen = 0, offsetBlue = 0;
};

// A weight in 1/1024 steps, truncated; weights that do not fit 32 bits are held at
// the limits and NaN counts as 0 (how the filter settles them).
int64_t weightSteps(double w) {
    const double s = w * 1024.0;
    return std::isnan(s) ? 0 : s >= 2147483647.0 ? INT32_MAX : s <= -2147483648.0 ? INT32_MIN : int64_t(s);
}

// Gray from the integer weights with truncating division (exact, in 64 bits), plus
// each offset, held to 0..255.
uint32_t sepiaColor(const SepiaSettings& s, uint32_t c) {
    const int64_t gray = (redOf(c) * weightSteps(s.red) + greenOf(c) * weightSteps(s.green) +
                          blueOf(c) * weightSteps(s.blue)) / 1024;
    auto channel = [&](int32_t offset) { return int(std::min<int64_t>(std::max<int64_t>(gray + offset, 0), 255)); };
    return rgbOf(channel(s.offsetRed), channel(s.offsetGreen), channel(s.offsetBlue));
}

// Bounds for a picture of 40 x 12.
constexpr int kBoundsWidth = 40, kBoundsHeight = 12;
const FilterBounds kBoundsCases[] = {
    {10, 0, 20, 0},           // columns 0 to 9 of every row
    {0, 3, 0, 7},             // rows 0 to 3
    {0, 0, 40, 12},           // a right bound at the edge counts as the edge
    {5, 5, 5, 5},             // bounds not above the minimum: the edges
    {0, 12, 0, 0},            // no row
    {40, 0, 0, 0},            // no column
    {0, -3, 0, 0},            // more passes than rows: the rows again
    {0, -29, 0, 4},           // several times over
    {-7, 0, 0, 0},            // more pixels than the row: the row
    {-10, -10, -5, -5},       // negative bounds above their minimums
    {INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN},
};

// ---------------------------------------------------------------- the fixture

class FilterTest : public PluginFormatTest {
protected:
    bool run(const char* cls, void* filter) { return callBool(cls, "Run as boolean", filter); }
    Ref destination(void* filter) { return objectProperty(filter, "DestinationPicture"); }
    void setInts(void* filter, std::initializer_list<std::pair<const char*, int32_t>> values) {
        for (const auto& [name, value] : values) setIntProperty(filter, name, value);
    }
    void setBounds(void* filter, FilterBounds b) {
        setInts(filter, {{"MinX", b.minX}, {"MinY", b.minY}, {"MaxX", b.maxX}, {"MaxY", b.maxY}});
    }
    // Whole tables go straight into the instance data (the accessor has its own test).
    static void loadTable(void* filter, const LutTable& t) {
        memcpy(static_cast<Lut3DClassData*>(standin::instanceData(filter))->table, t.element.data(),
               sizeof(Lut3DClassData::table));
    }
    void applySepia(void* filter, const SepiaSettings& s) {
        setDoubleProperty(filter, "FactorRed", s.red);
        setDoubleProperty(filter, "FactorBlue", s.green);  // the crossed names: FactorBlue is the green weight
        setDoubleProperty(filter, "FactorGreen", s.blue);
        setInts(filter, {{"SepiaRed", s.offsetRed}, {"SepiaGreen", s.offsetGreen}, {"SepiaBlue", s.offsetBlue}});
    }

    // Runs the filter on `source` within `b` and compares the whole result with `map`
    // applied to the block, mask bytes included: 255 (desktop) or 0 where written,
    // else the new picture's.
    template <class Map>
    void expectRun(const char* cls, void* filter, void* source, FilterBounds b, Map map) {
        SCOPED_TRACE(::testing::Message() << b);
        setObjectProperty(filter, "SourcePicture", source);
        setBounds(filter, b);
        ASSERT_TRUE(run(cls, filter));
        Ref out = destination(filter);
        ASSERT_TRUE(out);
        const Snapshot src = snapshot(source), got = snapshot(out.get());
        const Snapshot fresh = snapshot(makeHostPicture(src.width, src.height).get());
        EXPECT_TRUE(samePixels(reference::filterBlock(src, fresh, b, map), got));
        EXPECT_EQ(got.mask, reference::filterBlockMask(fresh, b, format().desktop() ? 255 : 0));
        EXPECT_TRUE(standin::guardsIntact(out.get()));
    }
    void expectLut(void* filter, void* source, const LutTable& t, FilterBounds b = {}) {
        expectRun(kLut, filter, source, b, [&](uint32_t c) { return reference::lutColor(t, c); });
    }
    void expectSepia(void* filter, void* source, const SepiaSettings& s, FilterBounds b = {}) {
        applySepia(filter, s);
        expectRun(kSepia, filter, source, b, [&](uint32_t c) { return sepiaColor(s, c); });
    }
    // Counts past 32 bits (which the reference cannot walk) map the whole picture once.
    void expectWholePicture(const char* cls, void* filter, FilterBounds b) {
        SCOPED_TRACE(::testing::Message() << b);
        setBounds(filter, FilterBounds{});
        ASSERT_TRUE(run(cls, filter));
        Ref whole = destination(filter);
        setBounds(filter, b);
        ASSERT_TRUE(run(cls, filter));
        EXPECT_TRUE(samePixels(snapshot(whole.get()), snapshot(destination(filter).get())));
    }
    // Bounds around and beyond a picture of `w` x `h`.
    static FilterBounds randomBounds(std::mt19937& random, int w, int h) {
        auto bound = [&](int size) { return int32_t(random() % uint32_t(3 * size + 7)) - size - 3; };
        const int32_t minX = bound(w), minY = bound(h), maxX = bound(w);
        return FilterBounds{minX, minY, maxX, bound(h)};
    }
};

// ---------------------------------------------------------------- every format

class LutTest : public FilterTest {};

TEST_P(LutTest, MatchesTheInterpolationOnRandomTablesPicturesAndBounds) {
    std::mt19937 random(1234 + GetParam().depth * 3 + int(GetParam().kind));
    void* filter = hold(makeInstance(kLut));
    LutTable table;  // a new instance's nodes are all 0: black wherever Run writes
    for (int round = 0; round < 11; ++round) {
        const int w = 1 + int(random() % 29), h = 1 + int(random() % 19);
        Ref source = randomPicture(w, h, random());
        for (int k = 0; k < 4; ++k) expectLut(filter, source.get(), table, randomBounds(random, w, h));
        expectLut(filter, source.get(), table);
        table = randomTable(random);
        loadTable(filter, table);
    }
}

// Nodes 16 and 17 are never read (an input of 255 sits on node 15), so even NaN
// there changes nothing; among the nodes that are read, NaN gives 0 and the rest
// clamps, never undefined.
TEST_P(LutTest, NonFiniteNodes) {
    std::mt19937 random(77);
    void* filter = hold(makeInstance(kLut));
    Ref source = randomPicture(23, 11, 3);
    for (int x = 0; x < 16; ++x) {
        const uint32_t c = standin::getRGB(source.get(), x, 0);
        standin::setRGB(source.get(), x, 0, c | (x & 1 ? 0xFF0000u : 0) | (x & 2 ? 0xFF00u : 0) | (x & 4 ? 0xFFu : 0));
    }
    standin::setRGB(source.get(), 15, 1, 0xFFFFFF);
    const double special[] = {kNaN, kInf, -1e308, -kInf, 1e300, 255.0, 255.5, -0.5};
    const LutTable clean = randomTable(random);
    LutTable t = tableOf([&](int r, int g, int b, int x) {
        return r > 15 || g > 15 || b > 15 ? special[(r + g + b + x) % 3] : clean.at(r, g, b, x);
    });
    loadTable(filter, t);
    expectLut(filter, source.get(), clean);
    for (size_t i = 0; i < t.element.size(); i += 1 + random() % 5) t.element[i] = special[random() % 8];
    loadTable(filter, t);
    expectLut(filter, source.get(), t);
}

TEST_P(LutTest, BoundsRules) {
    std::mt19937 random(11);
    void* filter = hold(makeInstance(kLut));
    const LutTable t = randomTable(random);
    loadTable(filter, t);
    Ref source = randomPicture(kBoundsWidth, kBoundsHeight, 21);
    for (const FilterBounds& b : kBoundsCases) expectLut(filter, source.get(), t, b);
    expectWholePicture(kLut, filter, FilterBounds{INT32_MIN, INT32_MIN, 0, 0});
    expectWholePicture(kLut, filter, FilterBounds{INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX});
}

VQZ_ALL_FORMATS(LutTest);

class SepiaTest : public FilterTest {};

// Random weights, offsets and bounds, the bounds of the lookup filter; then weights whose products pass 32 bits and weights
// that are no number at all, which give the exact gray (or the settled NaN and limit
// rules), never undefined.
TEST_P(SepiaTest, MatchesThePlainToning) {
    std::mt19937 random(99 + GetParam().depth + 7 * int(GetParam().kind));
    void* filter = hold(makeInstance(kSepia));
    std::uniform_real_distribution<double> weight(-1.5, 1.5);
    auto offset = [&] { return int32_t(random() % 601) - 300; };
    for (int round = 0; round < 8; ++round) {
        const int w = 1 + int(random() % 31), h = 1 + int(random() % 17);
        Ref source = randomPicture(w, h, random());
        const SepiaSettings s{weight(random), weight(random), weight(random), offset(), offset(), offset()};
        expectSepia(filter, source.get(), s, randomBounds(random, w, h));
        expectSepia(filter, source.get(), s);
    }
    Ref wide = randomPicture(kBoundsWidth, kBoundsHeight, 8);
    for (const FilterBounds& b : kBoundsCases) expectSepia(filter, wide.get(), SepiaSettings{}, b);
    expectWholePicture(kSepia, filter, FilterBounds{INT32_MIN, INT32_MIN, 0, 0});
    const SepiaSettings huge[] = {
        {2700.0, 2700.0, 2700.0, 0, 0, 0},   {3000.0, -2999.0, 1.0, 5, -5, 0},  {1e300, -1e300, 0.5, 0, 0, 0},
        {kInf, 0.0, -kInf, 0, 0, 0},         {kNaN, kNaN, kNaN, 100, 0, -100},  {-2097152.0, 1.0, 0, 0, 0, 0},
        {0.3, 0.6, 0.1, INT32_MAX, INT32_MIN, INT32_MAX}, {2047.9, 2048.0, -2048.0, INT32_MIN, 0, 0},
    };
    Ref source = randomPicture(19, 7, 4);
    for (const SepiaSettings& s : huge) expectSepia(filter, source.get(), s);
}

VQZ_ALL_FORMATS(SepiaTest);

// ---------------------------------------------------------------- exact colors

class FilterExampleTest : public FilterTest {
protected:
    // Runs the filter on one row of `colors` and answers the row it makes.
    std::vector<uint32_t> filterRow(const char* cls, void* filter, const std::vector<uint32_t>& colors) {
        Ref source = picture(int(colors.size()), 1);
        for (size_t i = 0; i < colors.size(); ++i) standin::setRGB(source.get(), int(i), 0, colors[i]);
        setObjectProperty(filter, "SourcePicture", source.get());
        EXPECT_TRUE(run(cls, filter));
        Ref out = destination(filter);
        std::vector<uint32_t> result;
        for (size_t i = 0; out && i < colors.size(); ++i) result.push_back(standin::getRGB(out.get(), int(i), 0));
        return result;
    }
};

// The identity through the accessor: truncation makes some channels one lower, and
// inputs on nodes come out exact. Constant nodes beyond the range clamp per channel.
TEST_P(FilterExampleTest, LookupTable) {
    void* filter = hold(makeInstance(kLut));
    const LutTable identity = tableOf([](int r, int g, int b, int x) { return 17.0 * (x == 0 ? r : x == 1 ? g : b); });
    for (uint32_t i = 0; i < 16 * 16 * 16 * 3; ++i) {
        const uint32_t r = i / 768, g = i / 48 % 16, b = i / 3 % 16, x = i % 3;
        callSetter(kLut, kTable, filter, {Value::uint32(r), Value::uint32(g), Value::uint32(b), Value::uint32(x)},
                   Value::real(identity.at(int(r), int(g), int(b), int(x))));
    }
    EXPECT_EQ(filterRow(kLut, filter, {rgbOf(0, 1, 7), rgbOf(0, 4, 100), rgbOf(255, 17, 34)}),
              (std::vector<uint32_t>{rgbOf(0, 1, 6), rgbOf(0, 4, 99), rgbOf(255, 17, 34)}));
    Ref every = picture(256, 3);
    for (int x = 0; x < 256; ++x) {
        standin::setRGB(every.get(), x, 0, rgbOf(x, x, x));
        standin::setRGB(every.get(), x, 1, rgbOf(x, 255 - x, (x * 7) & 255));
        standin::setRGB(every.get(), x, 2, rgbOf((x * 13) & 255, x, 0));
    }
    expectLut(filter, every.get(), identity);
    loadTable(filter, tableOf([](int, int, int, int x) { return x == 0 ? 300.0 : x == 1 ? -5.0 : 128.0; }));
    EXPECT_EQ(filterRow(kLut, filter, {0, 0xFFFFFF, rgbOf(3, 200, 90)}), std::vector<uint32_t>(3, rgbOf(255, 0, 128)));
}

TEST_P(FilterExampleTest, SepiaWeightsOffsetsAndTheCrossedNames) {
    void* filter = hold(makeInstance(kSepia));
    EXPECT_EQ(doubleProperty(filter, "FactorRed"), 0.299);
    EXPECT_EQ(doubleProperty(filter, "FactorBlue"), 0.587);   // the green weight
    EXPECT_EQ(doubleProperty(filter, "FactorGreen"), 0.114);  // the blue weight
    // A new instance: those weights, no offsets, the whole picture.
    EXPECT_EQ(filterRow(kSepia, filter, {0xFFFFFF, rgbOf(100, 150, 200)}),
              (std::vector<uint32_t>{rgbOf(254, 254, 254), rgbOf(140, 140, 140)}));
    const struct { SepiaSettings s; std::vector<uint32_t> in, out; } cases[] = {
        {{0.299, 0.587, 0.114, 40, 20, -20}, {rgbOf(100, 150, 200), 0}, {rgbOf(180, 160, 120), rgbOf(40, 20, 0)}},
        {{0.299, 0.0, 0.114, 0, 0, 0}, {rgbOf(0, 255, 0), rgbOf(0, 0, 255)}, {0, rgbOf(28, 28, 28)}},
        {{0.0009, 0.0009, 0.0009, 0, 0, 0}, {0xFFFFFF}, {0}},
        {{-0.5, 0.587, 0.114, 0, 0, 0}, {rgbOf(255, 10, 10)}, {0}},
    };
    for (const auto& c : cases) {
        applySepia(filter, c.s);
        EXPECT_EQ(filterRow(kSepia, filter, c.in), c.out) << c.s.red << " " << c.s.green << " " << c.s.blue;
    }
}

VQZ_READER_FORMATS(FilterExampleTest);

// ---------------------------------------------------------------- registration, pictures and accessor

// The lookup filter drops its old result before it starts, so a failing Run leaves
// none; the sepia filter replaces its result only when it has a new one.
struct FilterClass {
    const char* name;
    bool failureKeepsResult;
    uint32_t flags;  // of the class and of each property
    std::vector<std::string> properties, methods;
};
const FilterClass kClasses[] = {
    {kLut, false, 4, {"SourcePicture", "DestinationPicture", "MaxX", "MinX", "MaxY", "MinY"}, {"Close", "Run as boolean", kTable}},
    {kSepia, true, 0,
     {"SourcePicture", "DestinationPicture", "MaxX", "MinX", "MaxY", "MinY", "SepiaRed", "SepiaGreen", "SepiaBlue",
      "FactorRed", "FactorBlue", "FactorGreen"},
     {"Close", "Run as boolean"}},
};

class FilterClassTest : public FilterTest {};

// Run takes a new result and drops the old; a failure (the writer's picture, a source
// that cannot be opened, sources too large for the writer, no source) keeps or drops
// the result as the class does; Close, twice, releases both pictures.
TEST_P(FilterClassTest, RegistrationPicturesFailuresAndClose) {
    const standin::Fault unopenable = format().desktop() ? standin::Fault::PixelLock : standin::Fault::DescriptionLock;
    for (const FilterClass& c : kClasses) {
        SCOPED_TRACE(c.name);
        const REALclassDefinition* d = standin::findClass(c.name);
        ASSERT_NE(d, nullptr);
        EXPECT_EQ(d->dataSize % 16, 0u);
        EXPECT_EQ(d->mFlags, c.flags);
        std::vector<std::string> properties, methods;
        for (uint32_t i = 0; i < d->propertyCount; ++i) {
            properties.push_back(d->properties[i].name);
            EXPECT_EQ(d->properties[i].flags, c.flags) << d->properties[i].name;
        }
        for (uint32_t i = 0; i < d->methodCount; ++i) methods.push_back(d->methods[i].declaration);
        EXPECT_EQ(properties, c.properties);
        EXPECT_EQ(methods, c.methods);

        Ref filter = makeInstance(c.name);
        Ref widest = picture(32767, 1);
        setObjectProperty(filter.get(), "SourcePicture", widest.get());
        EXPECT_EQ(standin::refCount(widest.get()), 2);  // the property took its own reference
        ASSERT_TRUE(run(c.name, filter.get()));
        Ref first = destination(filter.get());
        EXPECT_EQ(standin::refCount(first.get()), 2);
        for (int failure = 0; failure < 5; ++failure) {
            SCOPED_TRACE(::testing::Message() << "failure " << failure);
            setObjectProperty(filter.get(), "SourcePicture", widest.get());
            ASSERT_TRUE(run(c.name, filter.get()));
            Ref before = destination(filter.get());
            ASSERT_TRUE(before);
            EXPECT_EQ(standin::refCount(first.get()), 1);  // only this test holds the first result
            if (failure < 2) standin::failNth(failure == 0 ? standin::Fault::PictureCreation : unopenable, 1);
            const Ref source = failure == 2 ? picture(32768, 1) : failure == 3 ? picture(1, 32768) : Ref();
            if (failure >= 2) setObjectProperty(filter.get(), "SourcePicture", source.get());
            EXPECT_FALSE(run(c.name, filter.get()));
            EXPECT_EQ(destination(filter.get()).get(), c.failureKeepsResult ? before.get() : nullptr);
        }
        setObjectProperty(filter.get(), "SourcePicture", widest.get());
        ASSERT_TRUE(run(c.name, filter.get()));
        Ref last = destination(filter.get());
        callMethod(c.name, "Close", filter.get());
        EXPECT_EQ(standin::refCount(widest.get()), 1);
        EXPECT_EQ(standin::refCount(last.get()), 1);
        callMethod(c.name, "Close", filter.get());
        EXPECT_FALSE(run(c.name, filter.get()));
        EXPECT_FALSE(destination(filter.get()));
    }
}

// Indices are unsigned and checked: outside 18 x 18 x 18 x 3 a read answers 0 and a
// write changes nothing.
TEST_P(FilterClassTest, TableAccessorRange) {
    void* filter = hold(makeInstance(kLut));
    using Node = std::array<uint32_t, 4>;
    auto at = [](Node i) { return std::vector<Value>{Value::uint32(i[0]), Value::uint32(i[1]), Value::uint32(i[2]), Value::uint32(i[3])}; };
    auto get = [&](Node i) { return callMethod(kLut, kTable, filter, at(i)).d; };
    auto set = [&](Node i, double v) { callSetter(kLut, kTable, filter, at(i), Value::real(v)); };
    EXPECT_EQ(get({3, 4, 5, 1}), 0.0);
    set({17, 17, 17, 2}, -12.25);
    EXPECT_EQ(get({17, 17, 17, 2}), -12.25);
    set({0, 15, 1, 0}, 1e300);
    EXPECT_EQ(get({0, 15, 1, 0}), 1e300);
    const double* table = static_cast<Lut3DClassData*>(standin::instanceData(filter))->table;
    const std::vector<double> before(table, table + kLutElements);
    for (const Node& i : {Node{18, 0, 0, 0}, Node{0, 18, 0, 0}, Node{0, 0, 18, 0}, Node{0, 0, 0, 3}, Node{0xFFFFFFFF, 0, 0, 0},
                          Node{0, 0, 0, 0xFFFFFFFF}, Node{0x80000000, 1, 1, 1}}) {
        set(i, 42.0);
        EXPECT_EQ(get(i), 0.0);
    }
    EXPECT_EQ(std::vector<double>(table, table + kLutElements), before);
}

INSTANTIATE_TEST_SUITE_P(HostKinds, FilterClassTest, ::testing::Values(formatNamed("desktop32"), formatNamed("console")),
                         FormatName());

}  // namespace
