// vqz encode and decode: the bytes and pictures of the binary string methods.
#ifdef VQZ_TOOL_PATH

#include "tests/support/fixture.h"
#include "tests/tools/tool_runner.h"

namespace {

using namespace vqztest;
using vqztool::runTool;
using vqztool::TempDir;

class ToolCodecTest : public PluginFormatTest {
protected:
    vqztool::ToolRun tool(const TempDir& dir, std::vector<std::string> args) {
        std::vector<std::string> all = vqztool::formatArgs(format());
        all.insert(all.end(), args.begin(), args.end());
        return runTool(all, dir.path());
    }
};

TEST_P(ToolCodecTest, EncodeWritesTheStringAndDecodeReadsItBack) {
    TempDir dir;
    vqz::Image image = vqztool::randomImage(13, 7, 41);
    vqztool::writePpm(dir / "in.ppm", image);
    vqztool::ToolRun run = tool(dir, {"encode", "in.ppm", "in.ppic"});

    Ref pic = vqztool::hostPicture(format(), image);
    Value text = callGlobal("PicturetoBinaryStringVQZ(p as picture) as string", {Value::picture(pic.get())});
    if (text.isNil()) {
        EXPECT_EQ(run.status, 2) << vqztool::describe(run);
        EXPECT_FALSE(dir.exists("in.ppic"));
        return;
    }
    ASSERT_EQ(run.status, 0) << vqztool::describe(run);
    std::string bytes = standin::stringBytes(text.ref.get());
    EXPECT_EQ(dir.read("in.ppic"), bytes);

    run = tool(dir, {"decode", "in.ppic", "back.png"});
    Ref back = callGlobalPicture("BinaryStringtoPictureVQZ(data as String) as Picture",
                                 {Value::object(TypeName::String, makeString(bytes, kEncodingAsStored))});
    if (!back) {
        EXPECT_EQ(run.status, 2) << vqztool::describe(run);
        return;
    }
    ASSERT_EQ(run.status, 0) << vqztool::describe(run);
    EXPECT_TRUE(samePixels(snapshot(back.get()), vqztool::snapshotOf(vqztool::readPicture(dir / "back.png"))));
}

TEST_P(ToolCodecTest, DecodingAnInvalidStringLeavesNoOutput) {
    TempDir dir;
    for (const std::string& bytes : {std::string("PPIC\0\0\0\x09x", 9), std::string("not a picture at all"),
                                     std::string()}) {
        SCOPED_TRACE(::testing::PrintToString(bytes));
        dir.write("bad.ppic", bytes);
        vqztool::ToolRun run = tool(dir, {"decode", "bad.ppic", "out.png"});
        Ref direct = callGlobalPicture("BinaryStringtoPictureVQZ(data as String) as Picture",
                                       {Value::object(TypeName::String, makeString(bytes, kEncodingAsStored))});
        if (direct) {
            EXPECT_EQ(run.status, 0) << vqztool::describe(run);
            continue;
        }
        EXPECT_EQ(run.status, 2) << vqztool::describe(run);
        EXPECT_EQ(run.err,
                  "vqz: bad.ppic: BinaryStringtoPictureVQZ returned nil: not a valid binary string picture\n");
        EXPECT_EQ(dir.entries(), std::vector<std::string>{"bad.ppic"});
    }
}

VQZ_READER_FORMATS(ToolCodecTest);

}  // namespace

#endif  // VQZ_TOOL_PATH
