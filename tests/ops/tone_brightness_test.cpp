// Brightness, contrast and custom maps: every method against the plain per-pixel
// reference on random pictures and parameters (corner values included), the worked
// examples, and the failure paths.
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/reference/tone_reference.h"
#include "tests/support/fixture.h"

namespace {

using namespace vqztest;
namespace ref = reference::tone;

struct ToneMethod {
    const char* declaration;
    int parameters;
    // The expected color of one source color under the parameters.
    std::function<uint32_t(uint32_t rgb, const std::vector<double>& p)> expected;
};

const std::vector<ToneMethod>& toneMethods() {
    using P = const std::vector<double>&;
    static const std::vector<ToneMethod> methods = {
        {"ChangeBrightnessLinearVQZ(Brightness as double) as picture", 1,
         [](uint32_t c, P p) { return ref::eachChannel(c, [&](int x, int) { return ref::linearBrightness(x, p[0]); }); }},
        {"ChangeBrightnessLinearVQZ(BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as "
         "picture",
         3, [](uint32_t c, P p) { return ref::eachChannel(c, [&](int x, int i) { return ref::linearBrightness(x, p[i]); }); }},
        {"ChangeBrightnessAbsoluteVQZ(Brightness as double) as picture", 1,
         [](uint32_t c, P p) { return ref::eachChannel(c, [&](int x, int) { return ref::absoluteBrightness(x, p[0]); }); }},
        {"ChangeBrightnessAbsoluteVQZ(BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as "
         "picture",
         3,
         [](uint32_t c, P p) { return ref::eachChannel(c, [&](int x, int i) { return ref::absoluteBrightness(x, p[i]); }); }},
        {"ChangeContrastVQZ(Contrast as double) as picture", 1,
         [](uint32_t c, P p) { return ref::eachChannel(c, [&](int x, int) { return ref::contrast(x, p[0]); }); }},
        {"ChangeContrastVQZ(ContrastRed as double, ContrastGreen as double, ContrastBlue as double) as picture", 3,
         [](uint32_t c, P p) { return ref::eachChannel(c, [&](int x, int i) { return ref::contrast(x, p[i]); }); }},
        {"ChangeContrastBrightnessLinearVQZ(Contrast as double, Brightness as double) as picture", 2,
         [](uint32_t c, P p) {
             return ref::eachChannel(c, [&](int x, int) { return ref::contrastLinearBrightness(x, p[0], p[1]); });
         }},
        {"ChangeContrastBrightnessLinearVQZ(ContrastRed as double, ContrastGreen as double, ContrastBlue as double, "
         "BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture",
         6,
         [](uint32_t c, P p) {
             return ref::eachChannel(c, [&](int x, int i) { return ref::contrastLinearBrightness(x, p[i], p[3 + i]); });
         }},
        {"ChangeContrastBrightnessAbsoluteVQZ(Contrast as double, Brightness as double) as picture", 2,
         [](uint32_t c, P p) {
             return ref::eachChannel(c, [&](int x, int) { return ref::contrastAbsoluteBrightness(x, p[0], p[1]); });
         }},
        {"ChangeContrastBrightnessAbsoluteVQZ(ContrastRed as double, ContrastGreen as double, ContrastBlue as double, "
         "BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture",
         6,
         [](uint32_t c, P p) {
             return ref::eachChannel(c, [&](int x, int i) { return ref::contrastAbsoluteBrightness(x, p[i], p[3 + i]); });
         }},
        {"ChangeCustomVQZ(a as double, b as double) as picture", 2,
         [](uint32_t c, P p) { return ref::eachChannel(c, [&](int x, int) { return ref::custom(x, p[0], p[1]); }); }},
    };
    return methods;
}

std::vector<Value> doubles(const std::vector<double>& p) {
    std::vector<Value> args;
    for (double d : p) args.push_back(Value::real(d));
    return args;
}

class ToneBrightnessTest : public PluginFormatTest {
protected:
    // Makes the nth opening of a picture in this test's host fail: a desktop host
    // refuses to lock the pixels, a console host the description.
    void failOpening(int n) {
        standin::failNth(format().desktop() ? standin::Fault::PixelLock : standin::Fault::DescriptionLock, n);
    }

    // Calls the method and checks every pixel against the reference, and every mask
    // byte against the writing rule.
    void expectMatches(const ToneMethod& m, void* source, const std::vector<double>& p) {
        SCOPED_TRACE(::testing::Message() << m.declaration << " with " << ::testing::PrintToString(p));
        Ref out = callPicture(m.declaration, source, doubles(p));
        ASSERT_TRUE(out);
        const Snapshot src = snapshot(source), got = snapshot(out.get());
        EXPECT_TRUE(samePixels(expectedFrom(src, [&](int, int, uint32_t c) { return m.expected(c, p); }), got));
        expectWriterMasks(got);
    }

    void expectWriterMasks(const Snapshot& got) {
        ASSERT_FALSE(got.mask.empty());  // results are new 32-bit pictures
        const uint8_t written = format().desktop() ? 255 : 0;
        int wrong = 0;
        for (uint8_t m : got.mask) wrong += m != written;
        EXPECT_EQ(wrong, 0);
    }

    // The result of a method on a 256 x 1 gray ramp, as channel value in -> out.
    std::vector<int> rampResult(const std::string& declaration, const std::vector<double>& p) {
        Ref ramp = picture(256, 1);
        for (int x = 0; x < 256; ++x) standin::setRGB(ramp.get(), x, 0, rgbOf(x, x, x));
        Ref out = callPicture(declaration, ramp.get(), doubles(p));
        std::vector<int> values;
        if (!out) return values;
        for (int x = 0; x < 256; ++x) values.push_back(greenOf(standin::getRGB(out.get(), x, 0)));
        return values;
    }
};

const double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

// Parameters that hit the corners of the arithmetic, and plain random ones.
double randomParameter(std::mt19937& random) {
    static const double corners[] = {0,    -0.0, 1,    -1,    -2,     255,   -255,  300,   -300,  10.9,
                                      -0.5, 51,   -51,  1e10,  -1e10,  kInf,  -kInf, kNaN,  127.5, 0.999999};
    switch (random() % 4) {
        case 0: return corners[random() % (sizeof corners / sizeof corners[0])];
        case 1: return std::uniform_real_distribution<double>(-3, 3)(random);
        default: return std::uniform_real_distribution<double>(-400, 400)(random);
    }
}

TEST_P(ToneBrightnessTest, EveryMethodMatchesReference) {
    std::mt19937 random(1000 + GetParam().depth + 10 * int(GetParam().kind));
    for (const ToneMethod& m : toneMethods()) {
        for (int round = 0; round < 6; ++round) {
            Ref pic = randomPicture(1 + int(random() % 37), 1 + int(random() % 19), random());
            std::vector<double> p;
            for (int i = 0; i < m.parameters; ++i) p.push_back(randomParameter(random));
            expectMatches(m, pic.get(), p);
        }
    }
}

TEST_P(ToneBrightnessTest, OneValueFormsEqualRepeatedValues) {
    Ref pic = randomPicture(23, 11, 77);
    auto same = [&](const std::string& one, std::vector<double> p1, const std::string& three, std::vector<double> p3) {
        Ref a = callPicture(one, pic.get(), doubles(p1));
        Ref b = callPicture(three, pic.get(), doubles(p3));
        ASSERT_TRUE(a && b);
        EXPECT_TRUE(samePixels(snapshot(b.get()), snapshot(a.get()))) << one;
    };
    const auto& m = toneMethods();
    same(m[0].declaration, {-37.25}, m[1].declaration, {-37.25, -37.25, -37.25});
    same(m[2].declaration, {12.5}, m[3].declaration, {12.5, 12.5, 12.5});
    same(m[4].declaration, {0.75}, m[5].declaration, {0.75, 0.75, 0.75});
    same(m[6].declaration, {0.5, -20}, m[7].declaration, {0.5, 0.5, 0.5, -20, -20, -20});
    same(m[8].declaration, {-0.5, 33}, m[9].declaration, {-0.5, -0.5, -0.5, 33, 33, 33});
}

TEST_P(ToneBrightnessTest, NeutralParametersCopyTheColors) {
    Ref pic = randomPicture(17, 9, 3);
    const Snapshot src = snapshot(pic.get());
    const std::vector<std::pair<const char*, std::vector<double>>> neutral = {
        {"ChangeContrastVQZ(Contrast as double) as picture", {0}},
        {"ChangeBrightnessLinearVQZ(Brightness as double) as picture", {0}},
        {"ChangeBrightnessAbsoluteVQZ(Brightness as double) as picture", {0}},
        {"ChangeCustomVQZ(a as double, b as double) as picture", {1, 0}},
    };
    for (const auto& [declaration, p] : neutral) {
        Ref out = callPicture(declaration, pic.get(), doubles(p));
        ASSERT_TRUE(out) << declaration;
        EXPECT_TRUE(samePixels(src, snapshot(out.get()))) << declaration;
    }
}

TEST_P(ToneBrightnessTest, SourceIsNeverChanged) {
    Ref pic = randomPicture(9, 7, 5);
    const std::vector<uint8_t> before = rawPixels(pic.get());
    Ref out = callPicture("ChangeContrastVQZ(Contrast as double) as picture", pic.get(), doubles({0.5}));
    EXPECT_TRUE(out);
    EXPECT_EQ(before, rawPixels(pic.get()));
    EXPECT_TRUE(standin::guardsIntact(pic.get()));
    EXPECT_TRUE(standin::guardsIntact(out.get()));
}

TEST_P(ToneBrightnessTest, NilAndFailures) {
    for (const ToneMethod& m : toneMethods()) {
        EXPECT_FALSE(callPicture(m.declaration, nullptr, doubles(std::vector<double>(m.parameters, 1.0))));
    }
    Ref pic = randomPicture(4, 4, 9);
    const char* contrast = "ChangeContrastVQZ(Contrast as double) as picture";
    standin::failNth(standin::Fault::PictureCreation, 1);
    EXPECT_FALSE(callPicture(contrast, pic.get(), doubles({1})));
    failOpening(1);  // the reader
    EXPECT_FALSE(callPicture(contrast, pic.get(), doubles({1})));
    failOpening(2);  // the writer
    EXPECT_FALSE(callPicture(contrast, pic.get(), doubles({1})));
}

TEST_P(ToneBrightnessTest, WriterSizeLimits) {
    const char* custom = "ChangeCustomVQZ(a as double, b as double) as picture";
    Ref widest = picture(32767, 1);
    EXPECT_TRUE(callPicture(custom, widest.get(), doubles({1, 0})));
    Ref tooWide = picture(32768, 1);
    if (tooWide) EXPECT_FALSE(callPicture(custom, tooWide.get(), doubles({1, 0})));
    Ref tooHigh = picture(1, 32768);
    if (tooHigh) EXPECT_FALSE(callPicture(custom, tooHigh.get(), doubles({1, 0})));
}

VQZ_ALL_FORMATS(ToneBrightnessTest);

// The worked examples need formats that hold every channel value exactly.
class ToneBrightnessExamples : public ToneBrightnessTest {};

TEST_P(ToneBrightnessExamples, ContrastExamples) {
    const std::string contrast = "ChangeContrastVQZ(Contrast as double) as picture";
    const std::vector<int> flat = rampResult(contrast, {-1});
    ASSERT_EQ(flat.size(), 256u);
    for (int v : flat) EXPECT_EQ(v, 127);
    const std::vector<int> steep = rampResult(contrast, {1});
    ASSERT_EQ(steep.size(), 256u);
    EXPECT_EQ(steep[0], 0);
    EXPECT_EQ(steep[127], 127);
    EXPECT_EQ(steep[128], 129);
    EXPECT_EQ(steep[255], 255);
    const std::vector<int> inverted = rampResult(contrast, {-2});
    ASSERT_EQ(inverted.size(), 256u);
    EXPECT_EQ(inverted[0], 254);
    EXPECT_EQ(inverted[100], 154);
    EXPECT_EQ(inverted[255], 0);
}

TEST_P(ToneBrightnessExamples, BrightnessExamples) {
    const std::string absolute = "ChangeBrightnessAbsoluteVQZ(Brightness as double) as picture";
    const std::string linear = "ChangeBrightnessLinearVQZ(Brightness as double) as picture";
    const std::string contrastLinear = "ChangeContrastBrightnessLinearVQZ(Contrast as double, Brightness as double) as picture";
    EXPECT_EQ(rampResult(absolute, {10.9}).at(100), 110);  // truncated, not rounded
    EXPECT_EQ(rampResult(absolute, {-0.5}).at(0), 0);
    for (int v : rampResult(linear, {255})) EXPECT_EQ(v, 255);
    for (int v : rampResult(linear, {-255})) EXPECT_EQ(v, 0);
    const std::vector<int> lighter = rampResult(linear, {51});
    EXPECT_EQ(lighter.at(0), 51);
    EXPECT_EQ(lighter.at(255), 255);
    const std::vector<int> darker = rampResult(linear, {-51});
    EXPECT_EQ(darker.at(255), 204);
    EXPECT_EQ(darker.at(0), 0);
    // Linear brightness keeps the low 8 bits where the combined form clamps.
    EXPECT_EQ(rampResult(linear, {300}).at(0), 44);
    EXPECT_EQ(rampResult(contrastLinear, {0, 300}).at(0), 255);
}

// Parameters without a meaningful value still give a defined picture: NaN counts as
// 0 after the arithmetic, values beyond the integer range stop at its ends.
TEST_P(ToneBrightnessExamples, NonFiniteParameters) {
    const std::string absolute = "ChangeBrightnessAbsoluteVQZ(Brightness as double) as picture";
    const std::string linear = "ChangeBrightnessLinearVQZ(Brightness as double) as picture";
    const std::string contrast = "ChangeContrastVQZ(Contrast as double) as picture";
    for (int v : rampResult(absolute, {kNaN})) EXPECT_EQ(v, 0);
    for (int v : rampResult(absolute, {kInf})) EXPECT_EQ(v, 255);
    for (int v : rampResult(absolute, {-kInf})) EXPECT_EQ(v, 0);
    for (int v : rampResult(linear, {kNaN})) EXPECT_EQ(v, 0);
    const std::vector<int> steepest = rampResult(contrast, {kInf});
    ASSERT_EQ(steepest.size(), 256u);
    EXPECT_EQ(steepest[0], 0);
    EXPECT_EQ(steepest[127], 0);  // 0 times infinity is NaN
    EXPECT_EQ(steepest[128], 255);
}

// Big pictures are mapped with an extra table for two channels at once.
TEST_P(ToneBrightnessExamples, LargePictureMatchesReference) {
    Ref pic = randomPicture(521, 509, 99);
    expectMatches(toneMethods()[7], pic.get(), {0.3, -0.6, 1.7, 20.5, -45, 300});
    expectMatches(toneMethods()[1], pic.get(), {-20.5, 45, 300});
}

VQZ_READER_FORMATS(ToneBrightnessExamples);

}  // namespace
