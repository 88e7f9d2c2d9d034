// PictureLut3DVQZ through the host: the table accessor, Run against the plain
// interpolation in every format, the bounds, and the instance's references.
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <random>

#include "classes/lut3d.h"
#include "tests/reference/lut_reference.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;
using reference::FilterBounds;
using reference::LutTable;
using standin::PropValue;

const char* const kClass = "PictureLut3DVQZ";
const char* const kTable = "Table(r as UInt32, g as UInt32, b as UInt32, x as UInt32) as double";
const char* const kRun = "Run as boolean";

class Lut3DTest : public PluginTest {
protected:
    Ref newFilter() { return makeInstance(kClass); }

    static void setPicture(void* filter, const char* name, void* pic) {
        PropValue v;
        v.type = PropValue::Handle;
        v.h = pic;
        EXPECT_TRUE(standin::setProperty(filter, name, v)) << name;
    }
    static Ref getPicture(void* filter, const char* name) {
        PropValue v;
        EXPECT_TRUE(standin::getProperty(filter, name, v)) << name;
        return Ref::adopt(v.h);
    }
    static void setInt(void* filter, const char* name, int32_t value) {
        PropValue v;
        v.type = PropValue::Integer;
        v.i = value;
        EXPECT_TRUE(standin::setProperty(filter, name, v)) << name;
    }
    static void setBounds(void* filter, FilterBounds b) {
        setInt(filter, "MinX", b.minX);
        setInt(filter, "MinY", b.minY);
        setInt(filter, "MaxX", b.maxX);
        setInt(filter, "MaxY", b.maxY);
    }

    double getTable(void* filter, uint32_t r, uint32_t g, uint32_t b, uint32_t x) {
        return callMethod(kClass, kTable, filter, {Value::uint32(r), Value::uint32(g), Value::uint32(b), Value::uint32(x)}).d;
    }
    void setTable(void* filter, uint32_t r, uint32_t g, uint32_t b, uint32_t x, double value) {
        callSetter(kClass, kTable, filter, {Value::uint32(r), Value::uint32(g), Value::uint32(b), Value::uint32(x)},
                   Value::real(value));
    }
    // Whole tables go straight into the instance data (the accessor is tested on its own).
    static void loadTable(void* filter, const LutTable& t) {
        auto* data = static_cast<Lut3DClassData*>(standin::instanceData(filter));
        ASSERT_NE(data, nullptr);
        memcpy(data->table, t.element.data(), sizeof data->table);
    }

    bool run(void* filter) { return callBool(kClass, kRun, filter); }

    // Runs the filter on `source` and compares the whole result with the reference,
    // mask bytes included: 255 (code 13) or 0 (code 8) where written, else the new
    // picture's.
    void expectRun(void* filter, void* source, const LutTable& table, FilterBounds b) {
        SCOPED_TRACE(::testing::Message() << "bounds MinX " << b.minX << " MinY " << b.minY << " MaxX " << b.maxX
                                          << " MaxY " << b.maxY);
        setBounds(filter, b);
        ASSERT_TRUE(run(filter));
        Ref out = getPicture(filter, "DestinationPicture");
        ASSERT_TRUE(out);
        const Snapshot src = snapshot(source), got = snapshot(out.get());
        const Snapshot fresh = snapshot(makeHostPicture(src.width, src.height).get());
        EXPECT_TRUE(samePixels(
            reference::filterBlock(src, fresh, b, [&](uint32_t c) { return reference::lutColor(table, c); }), got));
        if (got.mask.empty()) return;
        const uint8_t written = hostConfig().kind == AppKind::Desktop ? 255 : 0;
        int wrongMasks = 0;
        for (int y = 0; y < got.height; ++y)
            for (int x = 0; x < got.width; ++x)
                wrongMasks += got.maskAt(x, y) !=
                              (reference::inFilterBlock(got.width, got.height, b, x, y) ? written : fresh.maskAt(x, y));
        EXPECT_EQ(wrongMasks, 0);
        EXPECT_TRUE(standin::guardsIntact(out.get()));
    }
};

class Lut3DFormatTest : public Lut3DTest, public ::testing::WithParamInterface<HostFormat> {
protected:
    HostConfig initialConfig() const override { return configFor(GetParam()); }
    Ref picture(int w, int h) { return makePicture(GetParam(), w, h); }
    Ref randomPicture(int w, int h, uint32_t seed) {
        Ref p = picture(w, h);
        fillRandom(p.get(), seed);
        return p;
    }
};

LutTable identityTable() {
    LutTable t;
    for (int r = 0; r < 18; ++r)
        for (int g = 0; g < 18; ++g)
            for (int b = 0; b < 18; ++b) {
                t.at(r, g, b, 0) = 17.0 * r;
                t.at(r, g, b, 1) = 17.0 * g;
                t.at(r, g, b, 2) = 17.0 * b;
            }
    return t;
}

// Values around and beyond the channel range so that both clamps are exercised.
// Most are whole numbers: interpolating between them lands on or next to whole
// numbers, where the last bit of the sum decides the truncated byte.
LutTable randomTable(std::mt19937& random) {
    LutTable t;
    std::uniform_real_distribution<double> value(-30.0, 290.0);
    for (double& e : t.element) e = random() % 4 ? std::floor(value(random)) : value(random);
    return t;
}

// ---------------------------------------------------------------- Run in every format

TEST_P(Lut3DFormatTest, MatchesTheInterpolationOnRandomTablesPicturesAndBounds) {
    std::mt19937 random(1234 + GetParam().depth * 3 + int(GetParam().kind));
    Ref filter = newFilter();
    for (int round = 0; round < 10; ++round) {
        const int w = 1 + int(random() % 29), h = 1 + int(random() % 19);
        Ref source = randomPicture(w, h, random());
        const LutTable table = randomTable(random);
        loadTable(filter.get(), table);
        setPicture(filter.get(), "SourcePicture", source.get());
        auto bound = [&](int size) { return int(random() % (3 * size + 7)) - size - 3; };
        for (int k = 0; k < 4; ++k)
            expectRun(filter.get(), source.get(), table, FilterBounds{bound(w), bound(h), bound(w), bound(h)});
        expectRun(filter.get(), source.get(), table, FilterBounds{});
    }
}

TEST_P(Lut3DFormatTest, NewInstanceMapsTheWholePictureToBlack) {
    Ref filter = newFilter();
    Ref source = randomPicture(13, 7, 99);
    setPicture(filter.get(), "SourcePicture", source.get());
    ASSERT_TRUE(run(filter.get()));
    Ref out = getPicture(filter.get(), "DestinationPicture");
    ASSERT_TRUE(out);
    const Snapshot got = snapshot(out.get());
    EXPECT_TRUE(samePixels(expectedFrom(got, [](int, int, uint32_t) { return 0u; }), got));
}

TEST_P(Lut3DFormatTest, ConstantNodesAreClampedPerChannel) {
    Ref filter = newFilter();
    LutTable t;
    for (int r = 0; r < 18; ++r)
        for (int g = 0; g < 18; ++g)
            for (int b = 0; b < 18; ++b) t.at(r, g, b, 0) = 300, t.at(r, g, b, 1) = -5, t.at(r, g, b, 2) = 128;
    loadTable(filter.get(), t);
    Ref source = randomPicture(11, 9, 5);
    setPicture(filter.get(), "SourcePicture", source.get());
    ASSERT_TRUE(run(filter.get()));
    Ref out = getPicture(filter.get(), "DestinationPicture");
    ASSERT_TRUE(out);
    const Snapshot got = snapshot(out.get());
    EXPECT_TRUE(samePixels(expectedFrom(got, [](int, int, uint32_t) { return rgbOf(255, 0, 128); }), got));
}

// Nodes 16 and 17 are never read, so even NaN or infinity there changes nothing;
// inputs of 255 sit exactly on node 15.
TEST_P(Lut3DFormatTest, NodesAboveFifteenAreNeverRead) {
    std::mt19937 random(77);
    Ref filter = newFilter();
    Ref source = randomPicture(16, 8, 3);
    for (int x = 0; x < 16; ++x) {
        const uint32_t c = standin::getRGB(source.get(), x, 0);
        standin::setRGB(source.get(), x, 0, c | (x & 1 ? 0xFF0000u : 0) | (x & 2 ? 0xFF00u : 0) | (x & 4 ? 0xFFu : 0));
    }
    standin::setRGB(source.get(), 15, 1, 0xFFFFFF);
    LutTable t = randomTable(random);
    LutTable poisoned = t;
    const double poison[] = {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), -1e308};
    for (int r = 0; r < 18; ++r)
        for (int g = 0; g < 18; ++g)
            for (int b = 0; b < 18; ++b)
                if (r > 15 || g > 15 || b > 15)
                    for (int x = 0; x < 3; ++x) poisoned.at(r, g, b, x) = poison[(r + g + b + x) % 3];
    setPicture(filter.get(), "SourcePicture", source.get());
    loadTable(filter.get(), t);
    expectRun(filter.get(), source.get(), t, FilterBounds{});
    loadTable(filter.get(), poisoned);
    expectRun(filter.get(), source.get(), t, FilterBounds{});
}

// Table content that no interpolation can turn into a channel: NaN gives 0,
// infinities clamp, and nothing is undefined.
TEST_P(Lut3DFormatTest, NonFiniteNodesGiveDefinedBytes) {
    std::mt19937 random(5);
    Ref filter = newFilter();
    LutTable t = randomTable(random);
    const double special[] = {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity(), 1e300, -1e300, 255.0, 255.5, -0.5};
    for (size_t i = 0; i < t.element.size(); i += 1 + random() % 5) t.element[i] = special[random() % 8];
    loadTable(filter.get(), t);
    Ref source = randomPicture(23, 11, 8);
    setPicture(filter.get(), "SourcePicture", source.get());
    expectRun(filter.get(), source.get(), t, FilterBounds{});
}

TEST_P(Lut3DFormatTest, BoundsRules) {
    std::mt19937 random(11);
    Ref filter = newFilter();
    const LutTable t = randomTable(random);
    loadTable(filter.get(), t);
    Ref source = randomPicture(40, 12, 21);
    setPicture(filter.get(), "SourcePicture", source.get());
    const int W = 40, H = 12;
    const FilterBounds cases[] = {
        {10, 0, 20, 0},                    // columns 0 to 9 of every row
        {0, 3, 0, 7},                      // rows 0 to 3
        {0, 0, W, H},                      // a right bound at the edge counts as the edge
        {5, 5, 5, 5},                      // bounds not above the minimum: the edges
        {0, H, 0, 0},                      // no row
        {W, 0, 0, 0},                      // no column
        {0, -3, 0, 0},                     // more passes than rows: the rows again
        {0, -2 * H - 5, 0, 4},             // several times over
        {-7, 0, 0, 0},                     // more pixels than the row: the row
        {-10, -10, -5, -5},                // negative bounds above their minimums
        {INT32_MIN, INT32_MIN, 0, 0},      // counts past 32 bits
        {INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN},
        {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX},
    };
    for (const FilterBounds& b : cases) {
        // The reference walks every pass; keep the huge ones for the check below.
        if (b.minY < -1000 || b.minX < -1000) continue;
        expectRun(filter.get(), source.get(), t, b);
    }
    // Counts beyond 32 bits map the whole picture (and end).
    for (const FilterBounds& b : cases) {
        if (b.minY >= -1000 && b.minX >= -1000) continue;
        expectRun(filter.get(), source.get(), t, FilterBounds{0, 0, 0, 0});
        Ref whole = getPicture(filter.get(), "DestinationPicture");
        setBounds(filter.get(), b);
        ASSERT_TRUE(run(filter.get()));
        Ref out = getPicture(filter.get(), "DestinationPicture");
        EXPECT_TRUE(samePixels(snapshot(whole.get()), snapshot(out.get())));
    }
}

VQZ_ALL_FORMATS(Lut3DFormatTest);

// ---------------------------------------------------------------- exact colors

class Lut3DColorTest : public Lut3DFormatTest {};

// Truncation makes some channels of the identity one lower.
TEST_P(Lut3DColorTest, IdentityTableThroughTheAccessor) {
    Ref filter = newFilter();
    const LutTable identity = identityTable();
    for (uint32_t r = 0; r < 16; ++r)
        for (uint32_t g = 0; g < 16; ++g)
            for (uint32_t b = 0; b < 16; ++b)
                for (uint32_t x = 0; x < 3; ++x) setTable(filter.get(), r, g, b, x, identity.at(r, g, b, x));
    Ref source = picture(3, 1);
    standin::setRGB(source.get(), 0, 0, rgbOf(0, 1, 7));
    standin::setRGB(source.get(), 1, 0, rgbOf(0, 4, 100));
    standin::setRGB(source.get(), 2, 0, rgbOf(255, 17, 34));
    setPicture(filter.get(), "SourcePicture", source.get());
    ASSERT_TRUE(run(filter.get()));
    Ref out = getPicture(filter.get(), "DestinationPicture");
    ASSERT_TRUE(out);
    EXPECT_EQ(standin::getRGB(out.get(), 0, 0), rgbOf(0, 1, 6));
    EXPECT_EQ(standin::getRGB(out.get(), 1, 0), rgbOf(0, 4, 99));
    EXPECT_EQ(standin::getRGB(out.get(), 2, 0), rgbOf(255, 17, 34));  // on nodes: exact

    Ref every = picture(256, 3);
    for (int x = 0; x < 256; ++x) {
        standin::setRGB(every.get(), x, 0, rgbOf(x, x, x));
        standin::setRGB(every.get(), x, 1, rgbOf(x, 255 - x, (x * 7) & 255));
        standin::setRGB(every.get(), x, 2, rgbOf((x * 13) & 255, x, 0));
    }
    setPicture(filter.get(), "SourcePicture", every.get());
    expectRun(filter.get(), every.get(), identity, FilterBounds{});
}

VQZ_READER_FORMATS(Lut3DColorTest);

// ---------------------------------------------------------------- accessor and lifecycle

TEST_F(Lut3DTest, TableAccessorRange) {
    Ref filter = newFilter();
    EXPECT_EQ(getTable(filter.get(), 3, 4, 5, 1), 0.0);
    setTable(filter.get(), 17, 17, 17, 2, -12.25);
    EXPECT_EQ(getTable(filter.get(), 17, 17, 17, 2), -12.25);
    setTable(filter.get(), 0, 15, 1, 0, 1e300);
    EXPECT_EQ(getTable(filter.get(), 0, 15, 1, 0), 1e300);

    const LutTable before = [&] {
        LutTable t;
        memcpy(t.element.data(), static_cast<Lut3DClassData*>(standin::instanceData(filter.get()))->table,
               sizeof(double) * t.element.size());
        return t;
    }();
    const uint32_t outside[][4] = {{18, 0, 0, 0}, {0, 18, 0, 0}, {0, 0, 18, 0}, {0, 0, 0, 3},
                                   {0xFFFFFFFF, 0, 0, 0}, {0, 0, 0, 0xFFFFFFFF}, {0x80000000, 1, 1, 1}};
    for (const auto& i : outside) {
        setTable(filter.get(), i[0], i[1], i[2], i[3], 42.0);
        EXPECT_EQ(getTable(filter.get(), i[0], i[1], i[2], i[3]), 0.0);
    }
    EXPECT_EQ(memcmp(before.element.data(), static_cast<Lut3DClassData*>(standin::instanceData(filter.get()))->table,
                     sizeof(double) * before.element.size()),
              0);
}

TEST_F(Lut3DTest, RunReplacesTheDestinationAndReleasesTheOldOne) {
    Ref filter = newFilter();
    Ref source = makePicture(formatNamed("desktop32"), 6, 4);
    setPicture(filter.get(), "SourcePicture", source.get());
    EXPECT_EQ(standin::refCount(source.get()), 2);  // the property took its own reference
    ASSERT_TRUE(run(filter.get()));
    Ref first = getPicture(filter.get(), "DestinationPicture");
    ASSERT_TRUE(first);
    EXPECT_EQ(standin::refCount(first.get()), 2);
    ASSERT_TRUE(run(filter.get()));
    EXPECT_EQ(standin::refCount(first.get()), 1);  // only this test holds the first result
    Ref second = getPicture(filter.get(), "DestinationPicture");
    EXPECT_NE(second.get(), first.get());
    EXPECT_EQ(standin::refCount(second.get()), 2);
}

TEST_F(Lut3DTest, CloseReleasesBothPicturesAndRunThenFails) {
    Ref filter = newFilter();
    {
        Ref source = makePicture(formatNamed("desktop32"), 5, 5);
        setPicture(filter.get(), "SourcePicture", source.get());
    }
    ASSERT_TRUE(run(filter.get()));
    callMethod(kClass, "Close", filter.get());
    EXPECT_EQ(standin::ledger().liveObjects, 1);  // the filter alone
    callMethod(kClass, "Close", filter.get());
    EXPECT_FALSE(run(filter.get()));
    EXPECT_FALSE(getPicture(filter.get(), "DestinationPicture"));
}

TEST_F(Lut3DTest, FailingRunLeavesNoDestination) {
    Ref filter = newFilter();
    Ref source = makePicture(formatNamed("desktop32"), 5, 5);
    setPicture(filter.get(), "SourcePicture", source.get());
    ASSERT_TRUE(run(filter.get()));

    standin::failNth(standin::Fault::PictureCreation, 1);  // the writer's picture
    EXPECT_FALSE(run(filter.get()));
    EXPECT_FALSE(getPicture(filter.get(), "DestinationPicture"));

    ASSERT_TRUE(run(filter.get()));
    standin::failNth(standin::Fault::PixelLock, 1);  // the source cannot be opened
    EXPECT_FALSE(run(filter.get()));
    EXPECT_FALSE(getPicture(filter.get(), "DestinationPicture"));

    ASSERT_TRUE(run(filter.get()));
    setPicture(filter.get(), "SourcePicture", nullptr);
    EXPECT_FALSE(run(filter.get()));
    EXPECT_FALSE(getPicture(filter.get(), "DestinationPicture"));
}

TEST_F(Lut3DTest, WriterSizeLimit) {
    Ref filter = newFilter();
    {
        Ref widest = makePicture(formatNamed("desktop32"), 32767, 1);
        setPicture(filter.get(), "SourcePicture", widest.get());
    }
    EXPECT_TRUE(run(filter.get()));
    Ref tooWide = makePicture(formatNamed("desktop32"), 32768, 1);
    ASSERT_TRUE(tooWide);
    setPicture(filter.get(), "SourcePicture", tooWide.get());
    EXPECT_FALSE(run(filter.get()));
    EXPECT_FALSE(getPicture(filter.get(), "DestinationPicture"));
}

TEST_F(Lut3DTest, RegisteredLayout) {
    REALclassDefinition* d = standin::findClass(kClass);
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->dataSize, (sizeof(Lut3DClassData) + 15) / 16 * 16);
    EXPECT_EQ(d->mFlags, 4u);
    ASSERT_EQ(d->propertyCount, 6u);
    const char* names[] = {"SourcePicture", "DestinationPicture", "MaxX", "MinX", "MaxY", "MinY"};
    const size_t offsets[] = {offsetof(Lut3DClassData, SourcePicture), offsetof(Lut3DClassData, DestinationPicture),
                              offsetof(Lut3DClassData, MaxX),          offsetof(Lut3DClassData, MinX),
                              offsetof(Lut3DClassData, MaxY),          offsetof(Lut3DClassData, MinY)};
    for (int i = 0; i < 6; ++i) {
        EXPECT_STREQ(d->properties[i].name, names[i]);
        EXPECT_EQ(size_t(d->properties[i].param), offsets[i]);
        EXPECT_EQ(d->properties[i].flags, 4u);  // console-safe on this host
    }
}

}  // namespace
