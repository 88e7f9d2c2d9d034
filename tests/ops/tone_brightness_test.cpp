// Brightness, contrast and custom maps: every form against the plain per-pixel
// reference on random pictures and parameters (corner values included), the worked
// examples on a gray ramp, and the failure paths.
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "tests/reference/tone_reference.h"

namespace {

using namespace vqztest;
namespace ref = reference::tone;

const char* const kLinear = "ChangeBrightnessLinearVQZ(Brightness as double) as picture";
const char* const kAbsolute = "ChangeBrightnessAbsoluteVQZ(Brightness as double) as picture";
const char* const kContrast = "ChangeContrastVQZ(Contrast as double) as picture";
const char* const kContrastLinear =
    "ChangeContrastBrightnessLinearVQZ(Contrast as double, Brightness as double) as picture";
const char* const kCustom = "ChangeCustomVQZ(a as double, b as double) as picture";

// A map with one set of parameters for all channels and, except the custom map, a form
// with a value per channel: red, green, blue of the first parameter, then of the second.
// Each channel has 1 or 2 parameters (contrast then brightness, or a then b).
struct ToneMap {
    const char *shared, *perChannel;
    int parameters;
    int (*transfer)(int x, double first, double second);
};

const ToneMap kMaps[] = {
    {kLinear, "ChangeBrightnessLinearVQZ(BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) "
              "as picture", 1, [](int x, double b, double) { return ref::linearBrightness(x, b); }},
    {kAbsolute, "ChangeBrightnessAbsoluteVQZ(BrightnessRed as double, BrightnessGreen as double, "
                "BrightnessBlue as double) as picture",
     1, [](int x, double b, double) { return ref::absoluteBrightness(x, b); }},
    {kContrast, "ChangeContrastVQZ(ContrastRed as double, ContrastGreen as double, ContrastBlue as double) as picture",
     1, [](int x, double k, double) { return ref::contrast(x, k); }},
    {kContrastLinear, "ChangeContrastBrightnessLinearVQZ(ContrastRed as double, ContrastGreen as double, "
     "ContrastBlue as double, BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture",
     2, ref::contrastLinearBrightness},
    {"ChangeContrastBrightnessAbsoluteVQZ(Contrast as double, Brightness as double) as picture",
     "ChangeContrastBrightnessAbsoluteVQZ(ContrastRed as double, ContrastGreen as double, ContrastBlue as double, "
     "BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture",
     2, ref::contrastAbsoluteBrightness},
    {kCustom, nullptr, 2, ref::custom},
};

std::vector<Value> doubles(const std::vector<double>& p) {
    std::vector<Value> args;
    for (double d : p) args.push_back(Value::real(d));
    return args;
}

class ToneBrightnessTest : public PluginFormatTest {
protected:
    // Calls one form of the map with `p` and checks the result against the reference,
    // that the source is left as it was, and that a nil receiver gives nil.
    void expectMatches(const ToneMap& m, const char* declaration, void* source, const std::vector<double>& p) {
        SCOPED_TRACE(::testing::Message() << declaration << " with " << ::testing::PrintToString(p));
        EXPECT_FALSE(callPicture(declaration, nullptr, doubles(p)));
        const std::vector<uint8_t> before = rawPixels(source);
        Ref out = callPicture(declaration, source, doubles(p));
        ASSERT_TRUE(out);
        const bool each = p.size() > 2;
        auto channel = [&](int x, size_t i) {
            return m.transfer(x, p[each ? i : 0], m.parameters == 2 ? p[each ? 3 + i : 1] : 0.0);
        };
        const Snapshot expected = expectedFrom(snapshot(source), [&](int, int, uint32_t c) {
            return rgbOf(channel(redOf(c), 0), channel(greenOf(c), 1), channel(blueOf(c), 2));
        });
        EXPECT_TRUE(ref::written(expected, out.get(), format().desktop()));
        EXPECT_EQ(before, rawPixels(source));
        EXPECT_TRUE(standin::guardsIntact(out.get()));
    }
};

const double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

// Parameters that hit the corners of the arithmetic, and plain random ones.
double randomParameter(std::mt19937& random) {
    static const double corners[] = {0,    -0.0, 1,    -1,    -2,     255,   -255,  300,   -300,  10.9,
                                      -0.5, 51,   -51,  1e10,  -1e10,  kInf,  -kInf, kNaN,  127.5, 0.999999};
    const uint32_t kind = random() % 4;
    if (kind == 0) return corners[random() % (sizeof corners / sizeof corners[0])];
    return std::uniform_real_distribution<double>(kind == 1 ? -3 : -400, kind == 1 ? 3 : 400)(random);
}

// Every other round gives all three channels the same values, where the per-channel form
// must give the shared form's picture.
TEST_P(ToneBrightnessTest, EveryFormMatchesReference) {
    std::mt19937 random(1000 + GetParam().depth + 10 * int(GetParam().kind));
    for (const ToneMap& m : kMaps) {
        for (int round = 0; round < 8; ++round) {
            Ref pic = randomPicture(1 + int(random() % 37), 1 + int(random() % 19), random());
            std::vector<double> p(size_t(3 * m.parameters));
            for (size_t i = 0; i < p.size(); ++i) p[i] = round % 2 && i % 3 ? p[i - 1] : randomParameter(random);
            std::vector<double> shared = {p[0]};
            if (m.parameters == 2) shared.push_back(p[3]);
            expectMatches(m, m.shared, pic.get(), shared);
            if (m.perChannel) expectMatches(m, m.perChannel, pic.get(), p);
        }
    }
}

TEST_P(ToneBrightnessTest, FaultsAndSizeLimits) {
    Ref pic = randomPicture(4, 4, 9);
    EXPECT_TRUE(
        ref::failsUnderEveryFault(format(), [&] { return !callPicture(kContrast, pic.get(), doubles({1})); }));
    Ref widest = picture(32767, 1), tooWide = picture(32768, 1), tooHigh = picture(1, 32768);
    EXPECT_TRUE(callPicture(kCustom, widest.get(), doubles({1, 0})));
    if (tooWide) { EXPECT_FALSE(callPicture(kCustom, tooWide.get(), doubles({1, 0}))); }
    if (tooHigh) { EXPECT_FALSE(callPicture(kCustom, tooHigh.get(), doubles({1, 0}))); }
}

VQZ_ALL_FORMATS(ToneBrightnessTest);

// The worked examples need formats that hold every channel value exactly.
class ToneBrightnessExamples : public ToneBrightnessTest {};

// (input, output) pairs on a gray ramp; kEvery stands for every input, kSame for the input.
constexpr int kEvery = -1, kSame = -1;
const struct {
    const char* declaration;
    std::vector<double> p;
    std::vector<std::pair<int, int>> points;
} kRampExamples[] = {
    // Neutral parameters copy the colors.
    {kContrast, {0}, {{kEvery, kSame}}}, {kLinear, {0}, {{kEvery, kSame}}},
    {kAbsolute, {0}, {{kEvery, kSame}}}, {kCustom, {1, 0}, {{kEvery, kSame}}},
    {kContrast, {-1}, {{kEvery, 127}}},
    {kContrast, {1}, {{0, 0}, {127, 127}, {128, 129}, {255, 255}}},
    {kContrast, {-2}, {{0, 254}, {100, 154}, {255, 0}}},
    {kAbsolute, {10.9}, {{100, 110}}},  // truncated, not rounded
    {kAbsolute, {-0.5}, {{0, 0}}},
    {kLinear, {255}, {{kEvery, 255}}}, {kLinear, {-255}, {{kEvery, 0}}},
    {kLinear, {51}, {{0, 51}, {255, 255}}}, {kLinear, {-51}, {{255, 204}, {0, 0}}},
    {kLinear, {300}, {{0, 44}}},  // linear brightness alone keeps the low 8 bits instead of clamping
    {kContrastLinear, {0, 300}, {{0, 255}}},
    // NaN counts as 0 after the arithmetic, values beyond the integer range stop at its ends.
    {kAbsolute, {kNaN}, {{kEvery, 0}}}, {kLinear, {kNaN}, {{kEvery, 0}}},
    {kAbsolute, {kInf}, {{kEvery, 255}}}, {kAbsolute, {-kInf}, {{kEvery, 0}}},
    {kContrast, {kInf}, {{0, 0}, {127, 0}, {128, 255}}},  // 0 times infinity is NaN
};

TEST_P(ToneBrightnessExamples, GrayRamp) {
    Ref ramp = picture(256, 1);
    for (int x = 0; x < 256; ++x) standin::setRGB(ramp.get(), x, 0, rgbOf(x, x, x));
    for (const auto& e : kRampExamples) {
        SCOPED_TRACE(::testing::Message() << e.declaration << " with " << ::testing::PrintToString(e.p));
        Ref out = callPicture(e.declaration, ramp.get(), doubles(e.p));
        ASSERT_TRUE(out);
        for (const auto& [in, want] : e.points)
            for (int x = in == kEvery ? 0 : in; x <= (in == kEvery ? 255 : in); ++x) {
                const int v = want == kSame ? x : want;
                EXPECT_EQ(standin::getRGB(out.get(), x, 0), rgbOf(v, v, v)) << "from " << x;
            }
    }
}

// Big pictures are mapped with an extra table for two channels at once.
TEST_P(ToneBrightnessExamples, LargePictureMatchesReference) {
    Ref pic = randomPicture(521, 509, 99);
    expectMatches(kMaps[3], kMaps[3].perChannel, pic.get(), {0.3, -0.6, 1.7, 20.5, -45, 300});
    expectMatches(kMaps[0], kMaps[0].perChannel, pic.get(), {-20.5, 45, 300});
}

VQZ_READER_FORMATS(ToneBrightnessExamples);

}  // namespace
