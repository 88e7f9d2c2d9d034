// vqz eval, find and histogram print what the plugin answers when called directly.
#ifdef VQZ_TOOL_PATH

#include <cstdlib>
#include <cstring>
#include <sstream>

#include "tests/support/fixture.h"
#include "tests/tools/tool_runner.h"

namespace {

using namespace vqztest;
using vqztool::runTool;
using vqztool::TempDir;

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string l; std::getline(in, l);) out.push_back(l);
    return out;
}

// A picture with some exact colors to count and a gray area.
vqz::Image testImage() {
    vqz::Image image = vqztool::randomImage(19, 13, 21);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 7; ++x) image.set(x, y, 0xFFFFFF);
    for (int y = 6; y < 13; ++y)
        for (int x = 0; x < 5; ++x) image.set(x, y, 0x404244);
    return image;
}

class ToolEvalTest : public PluginFormatTest {
protected:
    vqztool::ToolRun tool(const TempDir& dir, std::vector<std::string> args) {
        std::vector<std::string> all = vqztool::formatArgs(format());
        all.insert(all.end(), args.begin(), args.end());
        return runTool(all, dir.path());
    }
};

TEST_P(ToolEvalTest, PrintsTestsAndMeasures) {
    TempDir dir;
    vqz::Image image = testImage();
    vqztool::writePpm(dir / "in.ppm", image);
    vqztool::ToolRun run = tool(dir, {"eval", "in.ppm", "isGrayVQZ(5)", "ColornessVQZ", "CountColorVQZ(&cFFFFFF)",
                                      "isWhiteVQZ(0, 0, 7, 6)", "isGrayVQZ(3, 0, 6, 5, 7)", "isBlackVQZ"});
    ASSERT_EQ(run.status, 0) << vqztool::describe(run);
    std::vector<std::string> out = lines(run.out);
    ASSERT_EQ(out.size(), 6u) << run.out;

    Ref pic = vqztool::hostPicture(format(), image);
    auto boolText = [](bool b) { return std::string(b ? "true" : "false"); };
    EXPECT_EQ(out[0], boolText(callBool("isGrayVQZ(tolerance as integer = 0) as boolean", pic.get(), {Value::integer(5)})));
    // The measure prints a double that reads back to exactly the plugin's answer.
    EXPECT_EQ(std::strtod(out[1].c_str(), nullptr),
              callDouble("ColornessVQZ(threshold as integer = 10) as double", pic.get()));
    EXPECT_EQ(out[2], std::to_string(callInt("CountColorVQZ(col as color) as integer", pic.get(),
                                             {Value::color(0xFFFFFF)})));
    EXPECT_EQ(out[3], boolText(callBool("isWhiteVQZ(left as integer,top as integer,width as integer,height as "
                                        "integer) as boolean",
                                        pic.get(),
                                        {Value::integer(0), Value::integer(0), Value::integer(7), Value::integer(6)})));
    EXPECT_EQ(out[4], boolText(callBool("isGrayVQZ(tolerance as integer, left as integer,top as integer,width as "
                                        "integer,height as integer) as boolean",
                                        pic.get(),
                                        {Value::integer(3), Value::integer(0), Value::integer(6), Value::integer(5),
                                         Value::integer(7)})));
    EXPECT_EQ(out[5], boolText(callBool("isBlackVQZ as boolean", pic.get())));
}

TEST_P(ToolEvalTest, PrintsByrefArguments) {
    TempDir dir;
    vqz::Image image = testImage();
    vqztool::writePpm(dir / "in.ppm", image);
    vqz::Image part(4, 3);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x) part.set(x, y, image.rgb(x + 9, y + 7));
    vqztool::writePpm(dir / "part.ppm", part);
    vqztool::ToolRun run = tool(dir, {"eval", "in.ppm", "FindPicture(part.ppm)", "CountColorsVQZ"});
    ASSERT_EQ(run.status, 0) << vqztool::describe(run);

    Ref pic = vqztool::hostPicture(format(), image);
    std::vector<Value> find = {Value::object(TypeName::Picture, vqztool::hostPicture(format(), part)), Value::integer(0),
                               Value::integer(0)};
    Value found = callMethodRef("Picture", "FindPicture(pic as picture, byref x as integer, byref y as integer) as boolean",
                                pic.get(), find);
    std::vector<Value> count = {Value::nil(), Value::nil(), Value::nil(), Value::integer(0)};
    callMethodRef("Picture",
                  "CountColorsVQZ(byref red as memoryblock, byref blue as memoryblock, byref green as memoryblock, "
                  "byref count as integer)",
                  pic.get(), count);
    std::string expected = std::string(found.i ? "true" : "false") + "\nx = " + std::to_string(find[1].i) +
                           "\ny = " + std::to_string(find[2].i) + "\n";
    const char* declared[3] = {"red", "blue", "green"};
    for (size_t i = 0; i < 3; ++i)
        expected += std::string(declared[i]) + " = " +
                    (count[i].isNil() ? std::string("nil")
                                      : "MemoryBlock of " + std::to_string(standin::memoryBlockSize(count[i].ref.get())) +
                                            " bytes") +
                    "\n";
    expected += "count = " + std::to_string(count[3].i) + "\n";
    EXPECT_EQ(run.out, expected);
}

TEST_P(ToolEvalTest, FindPrintsTheCornerOrFailsWithStatusOne) {
    TempDir dir;
    vqz::Image image = testImage();
    vqztool::writePpm(dir / "hay.ppm", image);
    vqz::Image part(5, 4);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 5; ++x) part.set(x, y, image.rgb(x + 11, y + 6));
    vqztool::writePpm(dir / "part.ppm", part);
    vqz::Image absent = vqztool::randomImage(5, 4, 99);
    vqztool::writePpm(dir / "absent.ppm", absent);

    for (const char* needle : {"part.ppm", "absent.ppm"}) {
        SCOPED_TRACE(needle);
        vqztool::ToolRun run = tool(dir, {"find", "hay.ppm", needle});
        Ref hay = vqztool::hostPicture(format(), image);
        std::vector<Value> args = {
            Value::object(TypeName::Picture, vqztool::hostPicture(format(), std::string(needle) == "part.ppm" ? part : absent)),
            Value::integer(0), Value::integer(0)};
        Value found = callMethodRef(
            "Picture", "FindPicture(pic as picture, byref x as integer, byref y as integer) as boolean", hay.get(), args);
        if (found.i) {
            EXPECT_EQ(run.status, 0) << vqztool::describe(run);
            EXPECT_EQ(run.out, std::to_string(args[1].i) + " " + std::to_string(args[2].i) + "\n");
        } else {
            EXPECT_EQ(run.status, 1) << vqztool::describe(run);
            EXPECT_EQ(run.out, "");
            EXPECT_NE(run.err.find("was not found"), std::string::npos) << run.err;
        }
    }
}

TEST_P(ToolEvalTest, HistogramSummarizesTheCountsAndPlots) {
    TempDir dir;
    vqz::Image image = testImage();
    vqztool::writePpm(dir / "in.ppm", image);
    vqztool::ToolRun run = tool(dir, {"histogram", "in.ppm", "-o", "plot.png"});

    Ref pic = vqztool::hostPicture(format(), image);
    std::vector<Value> count = {Value::nil(), Value::nil(), Value::nil(), Value::integer(0)};
    callMethodRef("Picture",
                  "CountColorsVQZ(byref red as memoryblock, byref blue as memoryblock, byref green as memoryblock, "
                  "byref count as integer)",
                  pic.get(), count);
    if (count[3].i < 0 || count[0].isNil()) {
        EXPECT_EQ(run.status, 2) << vqztool::describe(run);
        return;
    }
    ASSERT_EQ(run.status, 0) << vqztool::describe(run);
    std::vector<std::string> out = lines(run.out);
    ASSERT_EQ(out.size(), 5u) << run.out;
    EXPECT_EQ(out[0], "pixels   " + std::to_string(count[3].i));
    // Means from the blocks: the first counts red, the second green, the third blue.
    const char* names[3] = {"red", "green", "blue"};
    for (int c = 0; c < 3; ++c) {
        uint32_t counts[256];
        std::memcpy(counts, standin::memoryBlockData(count[size_t(c)].ref.get()), sizeof counts);
        double sum = 0, n = 0;
        for (int i = 0; i < 256; ++i) {
            sum += double(counts[i]) * i;
            n += counts[i];
        }
        char mean[32];
        std::snprintf(mean, sizeof mean, "%-8.3f", sum / n);
        EXPECT_EQ(out[size_t(c) + 2].substr(0, 17), std::string(names[c]) + std::string(9 - std::strlen(names[c]), ' ') + mean)
            << out[size_t(c) + 2];
    }
    vqz::Image plot = vqztool::readPicture(dir / "plot.png");
    EXPECT_EQ(plot.width, 512);
    EXPECT_EQ(plot.height, 200);
}

VQZ_READER_FORMATS(ToolEvalTest);

}  // namespace

#endif  // VQZ_TOOL_PATH
