// Image files in and out: PNG of every color type and depth, JPEG, PPM and PGM;
// an alpha channel becomes the picture's mask picture and comes back out.
#ifdef VQZ_TOOL_PATH

#include <png.h>

#include <cstdlib>
#include <cstring>

#include "tests/support/fixture.h"
#include "tests/tools/tool_runner.h"

namespace {

using namespace vqztest;
using vqztool::runTool;
using vqztool::TempDir;

constexpr int kW = 11, kH = 7;

// Writes a PNG through libpng's simplified API; `format` is a PNG_FORMAT_* value.
void writePng(const std::string& path, uint32_t format, const void* pixels, const void* colormap = nullptr,
              int colormapEntries = 0) {
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    image.width = kW;
    image.height = kH;
    image.format = format;
    image.colormap_entries = png_uint_32(colormapEntries);
    ASSERT_TRUE(png_image_write_to_file(&image, path.c_str(), 0, pixels, 0, colormap)) << image.message;
}

// The expected 8-bit RGBA of pixel i for the test pattern.
void pattern(int i, uint8_t rgba[4]) {
    rgba[0] = uint8_t(i * 37);
    rgba[1] = uint8_t(255 - i * 11);
    rgba[2] = uint8_t(i * 5 + 3);
    rgba[3] = uint8_t(i * 23 + 40);
}

class ToolImageTest : public PluginTest {
protected:
    // Runs `vqz apply IN out.png` (no calls) and returns the picture written.
    vqz::Image convert(const TempDir& dir, const std::string& in, std::vector<std::string> extra = {}) {
        extra.insert(extra.end(), {"apply", in, "out.png"});
        vqztool::ToolRun run = runTool(extra, dir.path());
        EXPECT_EQ(run.status, 0) << vqztool::describe(run);
        return vqztool::readPicture(dir / "out.png");
    }
};

TEST_F(ToolImageTest, ReadsPngOfEveryKind) {
    TempDir dir;
    std::vector<uint8_t> rgba, rgb, gray, ga, index;
    std::vector<uint16_t> rgb16;
    for (int i = 0; i < kW * kH; ++i) {
        uint8_t p[4];
        pattern(i, p);
        rgba.insert(rgba.end(), p, p + 4);
        rgb.insert(rgb.end(), p, p + 3);
        gray.push_back(p[0]);
        ga.insert(ga.end(), {p[0], p[3]});
        for (int c = 0; c < 3; ++c) rgb16.push_back(uint16_t(p[c] * 257));
        index.push_back(uint8_t(i % 4));
    }
    const uint8_t palette[4 * 4] = {10, 20, 30, 255, 200, 100, 50, 0, 0, 0, 0, 128, 255, 255, 255, 255};
    writePng(dir / "rgba.png", PNG_FORMAT_RGBA, rgba.data());
    writePng(dir / "rgb.png", PNG_FORMAT_RGB, rgb.data());
    writePng(dir / "gray.png", PNG_FORMAT_GRAY, gray.data());
    writePng(dir / "ga.png", PNG_FORMAT_GA, ga.data());
    writePng(dir / "rgb16.png", PNG_FORMAT_LINEAR_RGB, rgb16.data());
    writePng(dir / "palette.png", PNG_FORMAT_RGBA_COLORMAP, index.data(), palette, 4);

    struct Kind {
        const char* file;
        bool alpha;
    };
    for (Kind k : {Kind{"rgb.png", false}, Kind{"rgba.png", true}, Kind{"gray.png", false}, Kind{"ga.png", true},
                   Kind{"rgb16.png", false}, Kind{"palette.png", true}}) {
        SCOPED_TRACE(k.file);
        vqz::Image out = convert(dir, k.file);
        ASSERT_EQ(out.width, kW);
        ASSERT_EQ(out.height, kH);
        EXPECT_EQ(out.hasAlpha, k.alpha);
        for (int i = 0; i < kW * kH; ++i) {
            uint8_t p[4];
            pattern(i, p);
            std::string name = k.file;
            if (name == "gray.png" || name == "ga.png") p[1] = p[2] = p[0];
            if (name == "palette.png") std::memcpy(p, palette + 4 * (i % 4), 4);
            const uint8_t* q = out.at(i % kW, i / kW);
            EXPECT_EQ(q[0], p[0]) << i;
            EXPECT_EQ(q[1], p[1]) << i;
            EXPECT_EQ(q[2], p[2]) << i;
            if (k.alpha) {
                EXPECT_EQ(q[3], p[3]) << i;
            }
        }
    }
}

TEST_F(ToolImageTest, AlphaBecomesTheMaskPicture) {
    TempDir dir;
    std::vector<uint8_t> rgba;
    for (int i = 0; i < kW * kH; ++i) {
        uint8_t p[4];
        pattern(i, p);
        rgba.insert(rgba.end(), p, p + 4);
    }
    writePng(dir / "rgba.png", PNG_FORMAT_RGBA, rgba.data());
    // The plugin sees a mask where the host holds one.
    Ref pic = makeHostPicture(kW, kH), mask = makeHostPicture(kW, kH);
    standin::setMask(pic.get(), mask.get());
    bool hasMask = callBool("HasMaskVQZ as boolean", pic.get());
    for (const char* host : {"desktop", "console"}) {
        SCOPED_TRACE(host);
        vqztool::ToolRun run = runTool({"--host", host, "eval", "rgba.png", "HasMaskVQZ"}, dir.path());
        EXPECT_EQ(run.status, 0) << vqztool::describe(run);
        EXPECT_EQ(run.out, hasMask ? "true\n" : "false\n");
    }
}

TEST_F(ToolImageTest, WritesEveryFormat) {
    TempDir dir;
    // A smooth picture, so that JPEG keeps it close.
    vqz::Image image(64, 48);
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x) image.set(x, y, uint32_t(x * 4) << 16 | uint32_t(y * 5) << 8 | uint32_t(128));
    vqztool::writePpm(dir / "in.ppm", image);
    for (const char* out : {"out.ppm", "out.pgm", "out.jpg", "out.png"}) {
        SCOPED_TRACE(out);
        vqztool::ToolRun run = runTool({"apply", "in.ppm", out, "--quality", "95"}, dir.path());
        ASSERT_EQ(run.status, 0) << vqztool::describe(run);
        vqz::Image back = vqztool::readPicture(dir / out);
        ASSERT_EQ(back.width, 64);
        ASSERT_EQ(back.height, 48);
        int worst = 0;
        for (int y = 0; y < 48; ++y)
            for (int x = 0; x < 64; ++x) {
                const uint8_t* a = image.at(x, y);
                const uint8_t* b = back.at(x, y);
                if (std::string(out) == "out.pgm") {
                    int luma = (299 * a[0] + 587 * a[1] + 114 * a[2] + 500) / 1000;
                    worst = std::max(worst, std::abs(luma - b[0]));
                } else {
                    for (int c = 0; c < 3; ++c) worst = std::max(worst, std::abs(a[c] - b[c]));
                }
            }
        EXPECT_LE(worst, std::string(out) == "out.jpg" ? 12 : 0);
    }
}

TEST_F(ToolImageTest, ReadsPlainAndWidePnm) {
    TempDir dir;
    dir.write("plain.ppm", "P3\n# a comment\n2 1\n1000\n0 500 1000  1000 0 2\n");
    dir.write("gray.pgm", std::string("P5 2 1 65535\n\xff\xff\x80\x00", 17));
    dir.write("plain.pgm", "P2\n2 1\n15\n0 15\n");
    vqz::Image a = convert(dir, "plain.ppm");
    EXPECT_EQ(a.rgb(0, 0), 0x0080FFu);
    EXPECT_EQ(a.rgb(1, 0), 0xFF0001u);
    vqz::Image b = convert(dir, "gray.pgm");
    EXPECT_EQ(b.rgb(0, 0), 0xFFFFFFu);
    EXPECT_EQ(b.rgb(1, 0), 0x808080u);
    vqz::Image c = convert(dir, "plain.pgm");
    EXPECT_EQ(c.rgb(0, 0), 0x000000u);
    EXPECT_EQ(c.rgb(1, 0), 0xFFFFFFu);
}

}  // namespace

#endif  // VQZ_TOOL_PATH
