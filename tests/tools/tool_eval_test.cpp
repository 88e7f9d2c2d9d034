// vqz eval, find, histogram, encode and decode give what the plugin answers when
// called directly.
#ifdef VQZ_TOOL_PATH

#include <cstdio>
#include <cstring>
#include <sstream>

#include "tests/support/fixture.h"
#include "tests/tools/tool_runner.h"
#include "tools/arguments.h"

namespace {

using namespace vqztest;
using namespace vqztool;

std::string yes(bool b) { return b ? "true" : "false"; }

// A picture with some exact colors to count and a gray area.
vqz::Image testImage() {
    vqz::Image image = randomImage(19, 13, 21);
    for (int y = 0; y < 13; ++y)
        for (int x = 0; x < 7; ++x) image.set(x, y, y < 6 ? 0xFFFFFF : x < 5 ? 0x404244 : image.rgb(x, y));
    return image;
}

vqz::Image crop(const vqz::Image& image, int left, int top, int width, int height) {
    vqz::Image part(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) part.set(x, y, image.rgb(x + left, y + top));
    return part;
}

class ToolEvalTest : public PluginFormatTest {
protected:
    void SetUp() override {
        PluginFormatTest::SetUp();
        vqz::writeImage(dir / "in.ppm", image);
        vqz::writeImage(dir / "part.ppm", part);
        vqz::writeImage(dir / "absent.ppm", absent);
        pic = hold(hostPicture(format(), image));
    }
    ToolRun tool(const std::vector<std::string>& args) { return runTool(format(), args, dir.path()); }

    // FindPicture on the input: found, x, y.
    std::vector<Value> find(const vqz::Image& needle) {
        std::vector<Value> args = {Value::object(TypeName::Picture, hostPicture(format(), needle)), Value::integer(0),
                                   Value::integer(0)};
        Value found = callMethodRef(
            "Picture", "FindPicture(pic as picture, byref x as integer, byref y as integer) as boolean", pic, args);
        args[0] = found;
        return args;
    }
    // CountColorsVQZ on the input: the red, blue and green blocks and the count.
    std::vector<Value> countColors() {
        std::vector<Value> count = {Value::nil(), Value::nil(), Value::nil(), Value::integer(0)};
        callMethodRef("Picture",
                      "CountColorsVQZ(byref red as memoryblock, byref blue as memoryblock, byref green as memoryblock, "
                      "byref count as integer)",
                      pic, count);
        return count;
    }

    TempDir dir;
    const vqz::Image image = testImage(), part = crop(image, 11, 6, 5, 4), absent = randomImage(5, 4, 99);
    void* pic = nullptr;
};

TEST_P(ToolEvalTest, PrintsResultsAndByrefArguments) {
    auto ints = [](std::initializer_list<int> v) {
        std::vector<Value> values;
        for (int i : v) values.push_back(Value::integer(i));
        return values;
    };
    auto block = [](const Value& v) {
        return v.isNil() ? "nil" : "MemoryBlock of " + std::to_string(standin::memoryBlockSize(v.ref.get())) + " bytes";
    };
    std::vector<Value> found = find(part), count = countColors();
    // Each call and what it prints.
    const std::pair<std::string, std::string> calls[] = {
        {"isGrayVQZ(5)", yes(callBool("isGrayVQZ(tolerance as integer = 0) as boolean", pic, ints({5})))},
        // The shortest text that reads back to exactly the plugin's double.
        {"ColornessVQZ", vqz::formatDouble(callDouble("ColornessVQZ(threshold as integer = 10) as double", pic))},
        {"CountColorVQZ(&cFFFFFF)",
         std::to_string(callInt("CountColorVQZ(col as color) as integer", pic, {Value::color(0xFFFFFF)}))},
        {"isWhiteVQZ(0, 0, 7, 6)",
         yes(callBool("isWhiteVQZ(left as integer,top as integer,width as integer,height as integer) as boolean", pic,
                      ints({0, 0, 7, 6})))},
        {"isGrayVQZ(3, 0, 6, 5, 7)",
         yes(callBool("isGrayVQZ(tolerance as integer, left as integer,top as integer,width as integer,height as "
                      "integer) as boolean",
                      pic, ints({3, 0, 6, 5, 7})))},
        {"isBlackVQZ", yes(callBool("isBlackVQZ as boolean", pic))},
        {"FindPicture(part.ppm)",
         yes(found[0].i) + "\nx = " + std::to_string(found[1].i) + "\ny = " + std::to_string(found[2].i)},
        {"CountColorsVQZ", "red = " + block(count[0]) + "\nblue = " + block(count[1]) + "\ngreen = " + block(count[2]) +
                               "\ncount = " + std::to_string(count[3].i)},
    };
    std::vector<std::string> args = {"eval", "in.ppm"};
    std::string want;
    for (const auto& [call, printed] : calls) {
        args.push_back(call);
        want += printed + "\n";
    }
    ToolRun run = tool(args);
    ASSERT_EQ(run.status, 0) << describe(run);
    EXPECT_EQ(run.out, want);
}

TEST_P(ToolEvalTest, FindPrintsTheCornerOrFailsWithStatusOne) {
    for (const char* needle : {"part.ppm", "absent.ppm"}) {
        SCOPED_TRACE(needle);
        ToolRun run = tool({"find", "in.ppm", needle});
        std::vector<Value> found = find(std::strcmp(needle, "part.ppm") == 0 ? part : absent);
        if (found[0].i) {
            EXPECT_EQ(run.status, 0) << describe(run);
            EXPECT_EQ(run.out, std::to_string(found[1].i) + " " + std::to_string(found[2].i) + "\n");
        } else {
            EXPECT_EQ(run.status, 1) << describe(run);
            EXPECT_EQ(run.out, "");
            EXPECT_NE(run.err.find("was not found"), std::string::npos) << run.err;
        }
    }
}

TEST_P(ToolEvalTest, HistogramSummarizesTheCountsAndPlots) {
    ToolRun run = tool({"histogram", "in.ppm", "-o", "plot.png"});
    std::vector<Value> count = countColors();
    if (count[3].i < 0 || count[0].isNil()) {
        EXPECT_EQ(run.status, 2) << describe(run);
        return;
    }
    ASSERT_EQ(run.status, 0) << describe(run);
    std::vector<std::string> out;
    std::istringstream lines(run.out);
    for (std::string l; std::getline(lines, l);) out.push_back(l);
    ASSERT_EQ(out.size(), 5u) << run.out;
    EXPECT_EQ(out[0], "pixels   " + std::to_string(count[3].i));
    // Means from the blocks: the first counts red, the second green, the third blue.
    const char* names[3] = {"red      ", "green    ", "blue     "};
    for (size_t c = 0; c < 3; ++c) {
        uint32_t counts[256];
        std::memcpy(counts, standin::memoryBlockData(count[c].ref.get()), sizeof counts);
        double sum = 0, n = 0;
        for (int i = 0; i < 256; ++i) {
            sum += double(counts[i]) * i;
            n += counts[i];
        }
        char mean[32];
        std::snprintf(mean, sizeof mean, "%-8.3f", sum / n);
        EXPECT_EQ(out[c + 2].substr(0, 17), names[c] + std::string(mean)) << out[c + 2];
    }
    vqz::Image plot = vqz::readImage(dir / "plot.png");
    EXPECT_EQ(plot.width, 512);
    EXPECT_EQ(plot.height, 200);
}

TEST_P(ToolEvalTest, EncodeWritesTheStringAndDecodeReadsStringsBack) {
    ToolRun run = tool({"encode", "in.ppm", "in.ppic"});
    Value text = callGlobal("PicturetoBinaryStringVQZ(p as picture) as string", {Value::picture(pic)});
    std::string encoded;
    if (text.isNil()) {
        EXPECT_EQ(run.status, 2) << describe(run);
    } else {
        ASSERT_EQ(run.status, 0) << describe(run);
        encoded = standin::stringBytes(text.ref.get());
        EXPECT_EQ(dir.read("in.ppic"), encoded);
    }
    // The string the tool wrote, then strings that are no picture.
    for (const std::string& bytes :
         {encoded, std::string(), std::string("PPIC\0\0\0\x09x", 9), std::string("not a picture at all")}) {
        SCOPED_TRACE(::testing::PrintToString(bytes));
        dir.write("in.ppic", bytes);
        run = tool({"decode", "in.ppic", "out.png"});
        Ref direct = callGlobalPicture("BinaryStringtoPictureVQZ(data as String) as Picture",
                                       {Value::object(TypeName::String, makeString(bytes, kEncodingAsStored))});
        expectOutput(run, direct, dir / "out.png");
        if (!direct) {
            EXPECT_EQ(run.err,
                      "vqz: in.ppic: BinaryStringtoPictureVQZ returned nil: not a valid binary string picture\n");
            EXPECT_EQ(dir.entries(), (std::vector<std::string>{"absent.ppm", "in.ppic", "in.ppm", "part.ppm"}));
        }
        std::remove((dir / "out.png").c_str());
    }
}

VQZ_READER_FORMATS(ToolEvalTest);

}  // namespace

#endif  // VQZ_TOOL_PATH
