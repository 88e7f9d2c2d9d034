// PictureSepiaVQZ through the host: weights and their crossed accessors, offsets,
// Run against a plain per-pixel version in every format, and the references.
#include <cmath>
#include <limits>
#include <random>

#include "tests/reference/lut_reference.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;
using reference::FilterBounds;
using standin::PropValue;

const char* const kClass = "PictureSepiaVQZ";

struct SepiaSettings {
    double red = 0.299, green = 0.587, blue = 0.114;
    int32_t offsetRed = 0, offsetGreen = 0, offsetBlue = 0;
};

// A weight in 1/1024 steps, truncated; weights that do not fit 32 bits are held at
// the limits and NaN counts as 0 (how the filter settles them).
int64_t weightSteps(double w) {
    const double s = w * 1024.0;
    if (std::isnan(s)) return 0;
    if (s >= 2147483647.0) return INT32_MAX;
    if (s <= -2147483648.0) return INT32_MIN;
    return int64_t(s);
}

// Gray from the integer weights with truncating division (exact, in 64 bits), plus
// each offset, held to 0..255.
uint32_t sepiaColor(const SepiaSettings& s, uint32_t c) {
    const int64_t gray = (redOf(c) * weightSteps(s.red) + greenOf(c) * weightSteps(s.green) +
                          blueOf(c) * weightSteps(s.blue)) / 1024;
    auto channel = [&](int32_t offset) { return int(std::min<int64_t>(std::max<int64_t>(gray + offset, 0), 255)); };
    return rgbOf(channel(s.offsetRed), channel(s.offsetGreen), channel(s.offsetBlue));
}

class SepiaTest : public PluginFormatTest {
protected:
    static void set(void* filter, const char* name, PropValue v) {
        EXPECT_TRUE(standin::setProperty(filter, name, v)) << name;
    }
    static void setInt(void* filter, const char* name, int32_t value) {
        PropValue v;
        v.type = PropValue::Integer;
        v.i = value;
        set(filter, name, v);
    }
    static void setDouble(void* filter, const char* name, double value) {
        PropValue v;
        v.type = PropValue::Double;
        v.d = value;
        set(filter, name, v);
    }
    static double getDouble(void* filter, const char* name) {
        PropValue v;
        EXPECT_TRUE(standin::getProperty(filter, name, v)) << name;
        EXPECT_EQ(v.type, PropValue::Double) << name;
        return v.d;
    }
    static void setPicture(void* filter, const char* name, void* pic) {
        PropValue v;
        v.type = PropValue::Handle;
        v.h = pic;
        set(filter, name, v);
    }
    static Ref getPicture(void* filter, const char* name) {
        PropValue v;
        EXPECT_TRUE(standin::getProperty(filter, name, v)) << name;
        return Ref::adopt(v.h);
    }
    static void apply(void* filter, const SepiaSettings& s, FilterBounds b) {
        // The two crossed names: FactorBlue holds the green weight, FactorGreen the blue one.
        setDouble(filter, "FactorRed", s.red);
        setDouble(filter, "FactorBlue", s.green);
        setDouble(filter, "FactorGreen", s.blue);
        setInt(filter, "SepiaRed", s.offsetRed);
        setInt(filter, "SepiaGreen", s.offsetGreen);
        setInt(filter, "SepiaBlue", s.offsetBlue);
        setInt(filter, "MinX", b.minX);
        setInt(filter, "MinY", b.minY);
        setInt(filter, "MaxX", b.maxX);
        setInt(filter, "MaxY", b.maxY);
    }
    bool run(void* filter) { return callBool(kClass, "Run as boolean", filter); }

    // Runs and compares with the reference, mask bytes included.
    void expectRun(void* filter, void* source, const SepiaSettings& s, FilterBounds b) {
        SCOPED_TRACE(::testing::Message() << "weights " << s.red << " " << s.green << " " << s.blue << ", offsets "
                                          << s.offsetRed << " " << s.offsetGreen << " " << s.offsetBlue << ", bounds "
                                          << b.minX << " " << b.minY << " " << b.maxX << " " << b.maxY);
        apply(filter, s, b);
        setPicture(filter, "SourcePicture", source);
        ASSERT_TRUE(run(filter));
        Ref out = getPicture(filter, "DestinationPicture");
        ASSERT_TRUE(out);
        const Snapshot src = snapshot(source), got = snapshot(out.get());
        const Snapshot fresh = snapshot(makeHostPicture(src.width, src.height).get());
        EXPECT_TRUE(samePixels(reference::filterBlock(src, fresh, b, [&](uint32_t c) { return sepiaColor(s, c); }), got));
        if (got.mask.empty()) return;
        const uint8_t written = format().desktop() ? 255 : 0;
        int wrongMasks = 0;
        for (int y = 0; y < got.height; ++y)
            for (int x = 0; x < got.width; ++x)
                wrongMasks += got.maskAt(x, y) !=
                              (reference::inFilterBlock(got.width, got.height, b, x, y) ? written : fresh.maskAt(x, y));
        EXPECT_EQ(wrongMasks, 0);
    }
};

TEST_P(SepiaTest, MatchesThePlainToningOnRandomSettings) {
    std::mt19937 random(99 + GetParam().depth + 7 * int(GetParam().kind));
    Ref filter = makeInstance(kClass);
    std::uniform_real_distribution<double> weight(-1.5, 1.5);
    auto offset = [&] { return int32_t(random() % 601) - 300; };
    for (int round = 0; round < 8; ++round) {
        const int w = 1 + int(random() % 31), h = 1 + int(random() % 17);
        Ref source = randomPicture(w, h, random());
        SepiaSettings s{weight(random), weight(random), weight(random), offset(), offset(), offset()};
        auto bound = [&](int size) { return int(random() % (3 * size + 7)) - size - 3; };
        expectRun(filter.get(), source.get(), s, FilterBounds{bound(w), bound(h), bound(w), bound(h)});
        expectRun(filter.get(), source.get(), s, FilterBounds{});
    }
}

// Weights whose products pass 32 bits, and weights that are no number at all: the
// result is the exact gray (or the settled NaN and limit rules), never undefined.
TEST_P(SepiaTest, HugeAndNonFiniteWeights) {
    Ref filter = makeInstance(kClass);
    Ref source = randomPicture(19, 7, 4);
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    const SepiaSettings cases[] = {
        {2700.0, 2700.0, 2700.0, 0, 0, 0},   {3000.0, -2999.0, 1.0, 5, -5, 0},  {1e300, -1e300, 0.5, 0, 0, 0},
        {inf, 0.0, -inf, 0, 0, 0},           {nan, nan, nan, 100, 0, -100},     {-2097152.0, 1.0, 0, 0, 0, 0},
        {0.3, 0.6, 0.1, INT32_MAX, INT32_MIN, INT32_MAX}, {2047.9, 2048.0, -2048.0, INT32_MIN, 0, 0},
    };
    for (const SepiaSettings& s : cases) expectRun(filter.get(), source.get(), s, FilterBounds{});
}

TEST_P(SepiaTest, BoundsAsForTheLookupTable) {
    Ref filter = makeInstance(kClass);
    Ref source = randomPicture(30, 10, 8);
    const SepiaSettings s;
    const FilterBounds cases[] = {{10, 0, 20, 0}, {0, 4, 0, 8},  {0, 0, 30, 10}, {0, 10, 0, 0},
                                  {-5, -25, 0, 0}, {-9, -9, -3, -4}, {30, 0, 0, 0}};
    for (const FilterBounds& b : cases) expectRun(filter.get(), source.get(), s, b);
    // Counts past 32 bits: the whole picture.
    apply(filter.get(), s, FilterBounds{INT32_MIN, INT32_MIN, 0, 0});
    setPicture(filter.get(), "SourcePicture", source.get());
    ASSERT_TRUE(run(filter.get()));
    Ref huge = getPicture(filter.get(), "DestinationPicture");
    expectRun(filter.get(), source.get(), s, FilterBounds{});
    Ref whole = getPicture(filter.get(), "DestinationPicture");
    EXPECT_TRUE(samePixels(snapshot(whole.get()), snapshot(huge.get())));
}

VQZ_ALL_FORMATS(SepiaTest);

// ---------------------------------------------------------------- exact colors

class SepiaColorTest : public SepiaTest {
protected:
    // Tones three pixels with `s` and answers their colors.
    std::vector<uint32_t> tone(const SepiaSettings& s, std::vector<uint32_t> colors) {
        Ref filter = makeInstance(kClass);
        Ref source = picture(int(colors.size()), 1);
        for (size_t i = 0; i < colors.size(); ++i) standin::setRGB(source.get(), int(i), 0, colors[i]);
        apply(filter.get(), s, FilterBounds{});
        setPicture(filter.get(), "SourcePicture", source.get());
        EXPECT_TRUE(run(filter.get()));
        Ref out = getPicture(filter.get(), "DestinationPicture");
        std::vector<uint32_t> result;
        for (size_t i = 0; out && i < colors.size(); ++i) result.push_back(standin::getRGB(out.get(), int(i), 0));
        return result;
    }
};

TEST_P(SepiaColorTest, InitialWeightsAndTheirAccessors) {
    Ref filter = makeInstance(kClass);
    EXPECT_EQ(getDouble(filter.get(), "FactorRed"), 0.299);
    EXPECT_EQ(getDouble(filter.get(), "FactorBlue"), 0.587);   // the green weight
    EXPECT_EQ(getDouble(filter.get(), "FactorGreen"), 0.114);  // the blue weight
    setDouble(filter.get(), "FactorGreen", -0.25);
    EXPECT_EQ(getDouble(filter.get(), "FactorGreen"), -0.25);
    EXPECT_EQ(getDouble(filter.get(), "FactorBlue"), 0.587);

    Ref source = picture(2, 1);
    standin::setRGB(source.get(), 0, 0, 0xFFFFFF);
    standin::setRGB(source.get(), 1, 0, rgbOf(100, 150, 200));
    Ref fresh = makeInstance(kClass);
    setPicture(fresh.get(), "SourcePicture", source.get());
    ASSERT_TRUE(run(fresh.get()));
    Ref out = getPicture(fresh.get(), "DestinationPicture");
    ASSERT_TRUE(out);
    EXPECT_EQ(standin::getRGB(out.get(), 0, 0), rgbOf(254, 254, 254));
    EXPECT_EQ(standin::getRGB(out.get(), 1, 0), rgbOf(140, 140, 140));
}

TEST_P(SepiaColorTest, OffsetsAndCrossedWeights) {
    SepiaSettings offsets;
    offsets.offsetRed = 40, offsets.offsetGreen = 20, offsets.offsetBlue = -20;
    EXPECT_EQ(tone(offsets, {rgbOf(100, 150, 200), 0}), (std::vector<uint32_t>{rgbOf(180, 160, 120), rgbOf(40, 20, 0)}));

    SepiaSettings noGreen;
    noGreen.green = 0;  // set through FactorBlue
    EXPECT_EQ(tone(noGreen, {rgbOf(0, 255, 0), rgbOf(0, 0, 255)}), (std::vector<uint32_t>{0, rgbOf(28, 28, 28)}));

    SepiaSettings tiny{0.0009, 0.0009, 0.0009, 0, 0, 0};
    EXPECT_EQ(tone(tiny, {0xFFFFFF}), (std::vector<uint32_t>{0}));
    SepiaSettings negative{-0.5, 0.587, 0.114, 0, 0, 0};
    EXPECT_EQ(tone(negative, {rgbOf(255, 10, 10)}), (std::vector<uint32_t>{0}));
}

VQZ_READER_FORMATS(SepiaColorTest);

// ---------------------------------------------------------------- lifecycle

class SepiaLifecycleTest : public SepiaTest {};

TEST_P(SepiaLifecycleTest, SecondRunKeepsOnlyTheNewestAndFailureKeepsTheOld) {
    Ref filter = makeInstance(kClass);
    {
        Ref source = picture(6, 3);
        setPicture(filter.get(), "SourcePicture", source.get());
    }
    ASSERT_TRUE(run(filter.get()));
    Ref first = getPicture(filter.get(), "DestinationPicture");
    ASSERT_TRUE(run(filter.get()));
    EXPECT_EQ(standin::refCount(first.get()), 1);
    Ref second = getPicture(filter.get(), "DestinationPicture");
    EXPECT_NE(first.get(), second.get());

    standin::failNth(standin::Fault::PictureCreation, 1);
    EXPECT_FALSE(run(filter.get()));
    EXPECT_EQ(getPicture(filter.get(), "DestinationPicture").get(), second.get());
    // The source cannot be opened.
    standin::failNth(format().desktop() ? standin::Fault::PixelLock : standin::Fault::DescriptionLock, 1);
    EXPECT_FALSE(run(filter.get()));
    EXPECT_EQ(getPicture(filter.get(), "DestinationPicture").get(), second.get());
    setPicture(filter.get(), "SourcePicture", nullptr);
    EXPECT_FALSE(run(filter.get()));
    EXPECT_EQ(getPicture(filter.get(), "DestinationPicture").get(), second.get());
}

TEST_P(SepiaLifecycleTest, CloseTwiceThenRunFails) {
    Ref filter = makeInstance(kClass);
    {
        Ref source = picture(4, 4);
        setPicture(filter.get(), "SourcePicture", source.get());
    }
    ASSERT_TRUE(run(filter.get()));
    callMethod(kClass, "Close", filter.get());
    EXPECT_EQ(standin::ledger().liveObjects, 1);
    callMethod(kClass, "Close", filter.get());
    EXPECT_FALSE(run(filter.get()));
    EXPECT_FALSE(getPicture(filter.get(), "DestinationPicture"));
}

TEST_P(SepiaLifecycleTest, WriterSizeLimit) {
    Ref filter = makeInstance(kClass);
    {
        Ref widest = picture(32767, 1);
        setPicture(filter.get(), "SourcePicture", widest.get());
    }
    EXPECT_TRUE(run(filter.get()));
    Ref kept = getPicture(filter.get(), "DestinationPicture");
    Ref tooWide = picture(1, 32768);
    setPicture(filter.get(), "SourcePicture", tooWide.get());
    EXPECT_FALSE(run(filter.get()));
    EXPECT_EQ(getPicture(filter.get(), "DestinationPicture").get(), kept.get());
}

INSTANTIATE_TEST_SUITE_P(HostKinds, SepiaLifecycleTest,
                         ::testing::Values(formatNamed("desktop32"), formatNamed("console")), FormatName());

TEST_P(SepiaLifecycleTest, RegisteredLayout) {
    REALclassDefinition* d = standin::findClass(kClass);
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->dataSize % 16, 0u);
    EXPECT_EQ(d->mFlags, 0u);
    ASSERT_EQ(d->propertyCount, 12u);
    ASSERT_EQ(d->methodCount, 2u);
    const char* names[] = {"SourcePicture", "DestinationPicture", "MaxX", "MinX", "MaxY", "MinY",
                           "SepiaRed", "SepiaGreen", "SepiaBlue", "FactorRed", "FactorBlue", "FactorGreen"};
    for (int i = 0; i < 12; ++i) {
        EXPECT_STREQ(d->properties[i].name, names[i]);
        EXPECT_EQ(d->properties[i].flags, 0u);
    }
    EXPECT_STREQ(d->methods[0].declaration, "Close");
    EXPECT_STREQ(d->methods[1].declaration, "Run as boolean");
}

}  // namespace
