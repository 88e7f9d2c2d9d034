// Image files in and out: PNG of every color type and depth, JPEG, PPM and PGM;
// an alpha channel becomes the picture's mask picture.
#ifdef VQZ_TOOL_PATH

#include <png.h>

#include <cstdlib>
#include <cstring>

#include "tests/support/fixture.h"
#include "tests/tools/tool_runner.h"

namespace {

using namespace vqztest;
using namespace vqztool;

// Runs `vqz apply IN out.png` (no calls) and returns the picture written.
vqz::Image convert(const TempDir& dir, const std::string& in) {
    ToolRun run = runTool({"apply", in, "out.png"}, dir.path());
    EXPECT_EQ(run.status, 0) << describe(run);
    return vqz::readImage(dir / "out.png");
}

class ToolImageTest : public PluginTest {};

TEST_F(ToolImageTest, ReadsPngOfEveryKindWithAlphaAsTheMask) {
    constexpr int kW = 11, kH = 7;
    TempDir dir;
    const uint8_t palette[4 * 4] = {10, 20, 30, 255, 200, 100, 50, 0, 0, 0, 0, 128, 255, 255, 255, 255};
    for (uint32_t format :
         std::initializer_list<uint32_t>{PNG_FORMAT_RGB, PNG_FORMAT_RGBA, PNG_FORMAT_GRAY, PNG_FORMAT_GA,
                                         PNG_FORMAT_LINEAR_RGB, PNG_FORMAT_RGBA_COLORMAP}) {
        SCOPED_TRACE("PNG_FORMAT " + std::to_string(format));
        const bool gray = !(format & PNG_FORMAT_FLAG_COLOR), alpha = format & PNG_FORMAT_FLAG_ALPHA;
        // The file's samples, and the 8-bit RGBA they stand for.
        vqz::Image want(kW, kH);
        std::vector<uint8_t> samples;
        std::vector<uint16_t> wide;
        for (int i = 0; i < kW * kH; ++i) {
            uint8_t* p = want.at(i % kW, i / kW);
            const uint8_t pattern[4] = {uint8_t(i * 37), uint8_t(255 - i * 11), uint8_t(i * 5 + 3),
                                        uint8_t(i * 23 + 40)};
            std::memcpy(p, pattern, 4);
            if (gray) p[1] = p[2] = p[0];
            if (!alpha) p[3] = 255;
            if (format & PNG_FORMAT_FLAG_COLORMAP) {
                std::memcpy(p, palette + 4 * (i % 4), 4);
                samples.push_back(uint8_t(i % 4));
            } else if (format & PNG_FORMAT_FLAG_LINEAR) {
                for (int c = 0; c < 3; ++c) wide.push_back(uint16_t(p[c] * 257));
            } else {
                samples.insert(samples.end(), {p[0], p[1], p[2]});
                if (gray) samples.resize(samples.size() - 2);
                if (alpha) samples.push_back(p[3]);
            }
        }
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        image.width = kW;
        image.height = kH;
        image.format = format;
        image.colormap_entries = format & PNG_FORMAT_FLAG_COLORMAP ? 4 : 0;
        ASSERT_TRUE(png_image_write_to_file(&image, (dir / "in.png").c_str(), 0,
                                            wide.empty() ? static_cast<const void*>(samples.data()) : wide.data(), 0,
                                            palette))
            << image.message;
        vqz::Image out = convert(dir, "in.png");
        EXPECT_EQ(out.width, kW);
        EXPECT_EQ(out.hasAlpha, alpha);
        EXPECT_EQ(out.rgba, want.rgba);

        // The plugin sees a mask where the host holds one, in hosts of both kinds of picture.
        Ref pic = makeHostPicture(kW, kH), mask = makeHostPicture(kW, kH);
        if (alpha) standin::setMask(pic.get(), mask.get());
        bool hasMask = callBool("HasMaskVQZ as boolean", pic.get());
        for (const char* host : {"desktop", "console"}) {
            ToolRun run = runTool({"--host", host, "eval", "in.png", "HasMaskVQZ"}, dir.path());
            EXPECT_EQ(run.status, 0) << describe(run);
            EXPECT_EQ(run.out, hasMask ? "true\n" : "false\n") << host;
        }
    }
}

TEST_F(ToolImageTest, WritesEveryFormat) {
    TempDir dir;
    // A smooth picture, so that JPEG keeps it close.
    vqz::Image image(64, 48);
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x) image.set(x, y, uint32_t(x * 4) << 16 | uint32_t(y * 5) << 8 | uint32_t(128));
    vqz::writeImage(dir / "in.ppm", image);
    for (std::string out : {"out.ppm", "out.pgm", "out.jpg", "out.png"}) {
        SCOPED_TRACE(out);
        ToolRun run = runTool({"apply", "in.ppm", out, "--quality", "95"}, dir.path());
        ASSERT_EQ(run.status, 0) << describe(run);
        vqz::Image back = vqz::readImage(dir / out);
        ASSERT_EQ(back.width, 64);
        ASSERT_EQ(back.height, 48);
        int worst = 0;
        for (int y = 0; y < 48; ++y)
            for (int x = 0; x < 64; ++x) {
                const uint8_t *a = image.at(x, y), *b = back.at(x, y);
                if (out == "out.pgm")
                    worst = std::max(worst, std::abs((299 * a[0] + 587 * a[1] + 114 * a[2] + 500) / 1000 - b[0]));
                else
                    for (int c = 0; c < 3; ++c) worst = std::max(worst, std::abs(a[c] - b[c]));
            }
        EXPECT_LE(worst, out == "out.jpg" ? 12 : 0);
    }
}

TEST_F(ToolImageTest, ReadsPlainAndWidePnm) {
    TempDir dir;
    struct Pnm {
        std::string bytes;
        uint32_t left, right;
    };
    for (const Pnm& p : {Pnm{"P3\n# a comment\n2 1\n1000\n0 500 1000  1000 0 2\n", 0x0080FF, 0xFF0001},
                         Pnm{std::string("P5 2 1 65535\n\xff\xff\x80\x00", 17), 0xFFFFFF, 0x808080},
                         Pnm{"P2\n2 1\n15\n0 15\n", 0x000000, 0xFFFFFF}}) {
        SCOPED_TRACE(p.bytes.substr(0, 2));
        dir.write("in.pnm", p.bytes);
        vqz::Image out = convert(dir, "in.pnm");
        EXPECT_EQ(out.rgb(0, 0), p.left);
        EXPECT_EQ(out.rgb(1, 0), p.right);
    }
}

}  // namespace

#endif  // VQZ_TOOL_PATH
