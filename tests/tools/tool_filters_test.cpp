// vqz lut and vqz sepia against the two classes driven directly, and the .cube
// reader's resampling and its messages.
#ifdef VQZ_TOOL_PATH

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <random>

#include "tests/support/fixture.h"
#include "tests/tools/tool_runner.h"
#include "tools/cube.h"
#include "tools/errors.h"

namespace {

using namespace vqztest;
using namespace vqztool;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

using Rect = std::array<int, 4>;  // MinX, MinY, MaxX, MaxY; all 0 for the whole picture

// The text of a .cube file with `n` nodes whose node (r, g, b) holds f(r, g, b).
template <class F>
std::string cubeText(int n, F f, const std::string& header = "") {
    std::string text = "# test table\nTITLE \"test\"\n" + header + "LUT_3D_SIZE " + std::to_string(n) + "\n";
    char line[100];
    for (int b = 0; b < n; ++b)
        for (int g = 0; g < n; ++g)
            for (int r = 0; r < n; ++r) {
                std::array<double, 3> v = f(r, g, b);
                std::snprintf(line, sizeof line, "%.17g %.17g %.17g\n", v[0], v[1], v[2]);
                text += line;
            }
    return text;
}

class ToolFilterTest : public PluginFormatTest {
protected:
    ToolRun tool(const TempDir& dir, const std::vector<std::string>& args) {
        return runTool(format(), args, dir.path());
    }

    // PictureLut3DVQZ run directly with `node(r, g, b, channel)` in its table.
    template <class Node>
    Ref directLut(void* source, Node node, Rect rect = {}) {
        Ref lut = makeInstance("PictureLut3DVQZ");
        for (uint32_t r = 0; r < 18; ++r)
            for (uint32_t g = 0; g < 18; ++g)
                for (uint32_t b = 0; b < 18; ++b)
                    for (uint32_t x = 0; x < 3; ++x)
                        callSetter("PictureLut3DVQZ",
                                   "Table(r as UInt32, g as UInt32, b as UInt32, x as UInt32) as double", lut.get(),
                                   {Value::uint32(r), Value::uint32(g), Value::uint32(b), Value::uint32(x)},
                                   Value::real(node(int(r), int(g), int(b), int(x))));
        return runClass(lut.get(), "PictureLut3DVQZ", source, rect);
    }

    Ref runClass(void* instance, const char* className, void* source, Rect rect) {
        const char* names[4] = {"MinX", "MinY", "MaxX", "MaxY"};
        for (size_t i = 0; i < 4; ++i) setIntProperty(instance, names[i], rect[i]);
        setObjectProperty(instance, "SourcePicture", source);
        return callBool(className, "Run as boolean", instance) ? objectProperty(instance, "DestinationPicture") : Ref();
    }
};

TEST_P(ToolFilterTest, LutGivesTheClassWithTheTableOfTheFile) {
    TempDir dir;
    vqz::Image image = randomImage(21, 14, 31);
    vqz::writeImage(dir / "in.ppm", image);
    Ref source = hostPicture(format(), image);
    // 16 nodes over the default domain fall exactly on the class's nodes 0 to 15: exactly the same pictures.
    std::mt19937 rng(7);
    std::vector<double> values(16 * 16 * 16 * 3);
    for (double& v : values) v = double(rng() % 1200) / 1000.0 - 0.1;  // also outside 0..1
    auto at = [&](int r, int g, int b, int c) { return values[size_t(((r * 16 + g) * 16 + b) * 3 + c)]; };
    dir.write("t.cube", cubeText(16, [&](int r, int g, int b) {
                  return std::array<double, 3>{{at(r, g, b, 0), at(r, g, b, 1), at(r, g, b, 2)}};
              }));
    for (Rect rect : {Rect{}, Rect{3, 2, 11, 9}}) {
        std::vector<std::string> args = {"lut", "in.ppm", "t.cube", "out.png"};
        if (rect[2]) args.insert(args.end(), {"--rect", "3,2,11,9"});
        SCOPED_TRACE(::testing::PrintToString(args));
        ToolRun run = tool(dir, args);
        Ref expected = directLut(
            source.get(),
            [&](int r, int g, int b, int c) {
                return at(std::min(r, 15), std::min(g, 15), std::min(b, 15), c) * 255.0;
            },
            rect);
        expectOutput(run, expected, dir / "out.png");
    }
    // Identity tables of any size and domain are resampled onto the class's lattice.
    Ref identity = directLut(source.get(), [](int r, int g, int b, int c) {
        int level[3] = {r, g, b};
        return double(std::min(17 * level[c], 255));
    });
    struct Variant {
        int n;
        double lo, hi;
    };
    for (Variant v : {Variant{2, 0, 1}, Variant{33, 0, 1}, Variant{65, 0, 1}, Variant{5, 0, 2}, Variant{9, -0.5, 1}}) {
        SCOPED_TRACE("size " + std::to_string(v.n) + ", domain " + std::to_string(v.lo) + " to " +
                     std::to_string(v.hi));
        // Node k stands for the input lo + k / (n - 1) * (hi - lo), and holds that input.
        auto input = [&](int k) { return v.lo + double(k) / (v.n - 1) * (v.hi - v.lo); };
        char header[120];
        std::snprintf(header, sizeof header, "DOMAIN_MIN %g %g %g\nDOMAIN_MAX %g %g %g\n", v.lo, v.lo, v.lo, v.hi, v.hi,
                      v.hi);
        dir.write("id.cube", cubeText(
                                 v.n,
                                 [&](int r, int g, int b) {
                                     return std::array<double, 3>{{input(r), input(g), input(b)}};
                                 },
                                 header));
        expectOutput(tool(dir, {"lut", "in.ppm", "id.cube", "out.png"}), identity, dir / "out.png", 1);
    }
}

TEST(CubeReader, CurvesMapEachChannelAndLinearTablesInterpolateExactly) {
    double in[3] = {0.25, 0.25, 1.0}, out[3];
    vqz::parseCube("c.cube", "LUT_1D_SIZE 2\n0 1 0.5\n1 0 0.5\n").lookup(in, out);
    EXPECT_DOUBLE_EQ(out[0], 0.25);
    EXPECT_DOUBLE_EQ(out[1], 0.75);
    EXPECT_DOUBLE_EQ(out[2], 0.5);
    // Tetrahedral interpolation reproduces a table that is linear in the input between the nodes.
    auto f = [](double r, double g, double b) {
        return std::array<double, 3>{{0.2 * r + 0.5 * g, g - 0.3 * b, 0.1 + b}};
    };
    vqz::CubeTable t =
        vqz::parseCube("c.cube", cubeText(3, [&](int r, int g, int b) { return f(r / 2.0, g / 2.0, b / 2.0); }));
    std::mt19937 rng(3);
    for (int i = 0; i < 200; ++i) {
        for (double& v : in) v = rng() / 4294967296.0;
        t.lookup(in, out);
        std::array<double, 3> want = f(in[0], in[1], in[2]);
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(out[c], want[size_t(c)], 1e-12);
    }
}

TEST(CubeReader, MalformedFilesNameTheLine) {
    const std::pair<const char*, const char*> bad[] = {
        {"LUT_3D_SIZE 2\n0 0 0\n0 0 x\n", "c.cube:3: 'x' is not a number"},
        {"LUT_3D_SIZE 2\n0 0 0\n0 0\n", "c.cube:3: expected three numbers"},
        {"# comment\nLUT_3D_SIZE 66\n", "c.cube:2: LUT_3D_SIZE 66 is outside 2 to 65"},
        {"LUT_3D_SIZE 1\n", "c.cube:1: LUT_3D_SIZE 1 is outside 2 to 65"},
        {"0 0 0\n", "c.cube:1: a table line before LUT_3D_SIZE"},
        {"LUT_3D_SIZE 2\nLUT_3D_SIZE 2\n", "c.cube:2: a second size line"},
        {"LUT_3D_SIZE 2\n0 0 0\n0 0 0\n", "c.cube:3: the file ends after 2 table lines; size 2 needs 8"},
        {"LUT_1D_SIZE 2\n0 0 0\n1 1 1\n1 1 1\n", "c.cube:4: more table lines than the size announces"},
        {"DOMAIN_MIN 0 0 1\nLUT_1D_SIZE 2\n0 0 0\n1 1 1\n", "c.cube:1: the domain's minimum must be below"},
        {"TITLE \"nothing\"\n", "c.cube: not a .cube file"},
    };
    for (const auto& [text, message] : bad)
        EXPECT_THAT([&] { vqz::parseCube("c.cube", text); },
                    ThrowsMessage<vqz::ToolError>(AllOf(StartsWith(message), Not(HasSubstr("\n")))))
            << text;
}

TEST_P(ToolFilterTest, SepiaMatchesTheClass) {
    TempDir dir;
    vqz::Image image = randomImage(21, 14, 33);
    image.set(0, 0, 0x00FF00);
    image.set(1, 0, 0x0000FF);
    vqz::writeImage(dir / "in.ppm", image);
    Ref source = hostPicture(format(), image);
    struct Variant {
        std::vector<std::string> options;
        double weights[3];  // red, green, blue; negative: the class's own
        int offsets[3];
        Rect rect;
    };
    const Variant variants[] = {
        {{}, {-1, -1, -1}, {0, 0, 0}, {}},
        {{"--offsets", "40,20,-20"}, {-1, -1, -1}, {40, 20, -20}, {}},
        {{"--weights", "0.2,0.7,0.1"}, {0.2, 0.7, 0.1}, {0, 0, 0}, {}},
        {{"--weights", "0,0,1", "--offsets", "-5,0,300", "--rect", "2,1,12,10"},
         {0, 0, 1},
         {-5, 0, 300},
         {2, 1, 12, 10}},
    };
    for (const Variant& v : variants) {
        std::vector<std::string> args = {"sepia", "in.ppm", "out.png"};
        args.insert(args.end(), v.options.begin(), v.options.end());
        SCOPED_TRACE(::testing::PrintToString(args));
        ToolRun run = tool(dir, args);

        Ref sepia = makeInstance("PictureSepiaVQZ");
        // The class keeps the green weight in FactorBlue and the blue one in FactorGreen.
        const char* factors[3] = {"FactorRed as Double", "FactorBlue as Double", "FactorGreen as Double"};
        const char* offsets[3] = {"SepiaRed", "SepiaGreen", "SepiaBlue"};
        for (int c = 0; c < 3; ++c) {
            if (v.weights[0] >= 0)
                callSetter("PictureSepiaVQZ", factors[c], sepia.get(), {}, Value::real(v.weights[c]));
            setIntProperty(sepia.get(), offsets[c], v.offsets[c]);
        }
        Ref expected = runClass(sepia.get(), "PictureSepiaVQZ", source.get(), v.rect);
        expectOutput(run, expected, dir / "out.png");
        // The green pixel's gray is weighed by the green weight: 255 * trunc(0.7 * 1024) / 1024.
        if (expected && v.weights[1] == 0.7) {
            EXPECT_EQ(blueOf(snapshot(expected.get()).at(0, 0)), 255 * 716 / 1024);
        }
    }
}

VQZ_READER_FORMATS(ToolFilterTest);

}  // namespace

#endif  // VQZ_TOOL_PATH
