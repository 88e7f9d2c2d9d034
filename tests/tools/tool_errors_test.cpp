// What bad input gets: unknown names, arguments that fit no overload, plugin
// exceptions, nil results, usage mistakes; and never a partial output file.
#ifdef VQZ_TOOL_PATH

#include "tests/support/fixture.h"
#include "tests/tools/tool_runner.h"

namespace {

using namespace vqztest;
using vqztool::runTool;
using vqztool::TempDir;

// A directory with one small input picture.
struct Workspace {
    TempDir dir;
    Workspace() { vqztool::writePpm(dir / "in.ppm", vqztool::randomImage(9, 6, 3)); }
    vqztool::ToolRun run(std::vector<std::string> args) { return runTool(args, dir.path()); }
    // Only the input is left: no output, no temporary file.
    void expectUntouched() { EXPECT_EQ(dir.entries(), std::vector<std::string>{"in.ppm"}); }
};

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST(ToolErrors, UnknownMethodSuggestsTheNearestNames) {
    Workspace w;
    vqztool::ToolRun run = w.run({"apply", "in.ppm", "out.png", "InvertVQ"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "vqz: unknown method 'InvertVQ'; did you mean InvertVQZ? (vqz list shows every method)\n");
    run = w.run({"eval", "in.ppm", "ChangeContrast(1)"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(contains(run.err, "did you mean ChangeContrastVQZ")) << run.err;
    w.expectUntouched();
}

TEST(ToolErrors, WrongArgumentsListTheOverloads) {
    Workspace w;
    vqztool::ToolRun run = w.run({"apply", "in.ppm", "out.png", "InvertVQZ(1, 2)"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(contains(run.err, "'InvertVQZ(1, 2)' fits no form of InvertVQZ:")) << run.err;
    EXPECT_TRUE(contains(run.err, "InvertVQZ(left as integer,top as integer,width as integer,height as integer) as picture"))
        << run.err;
    EXPECT_TRUE(contains(run.err, "InvertVQZ as picture")) << run.err;
    EXPECT_TRUE(contains(run.err, "width as integer is missing and has no default")) << run.err;

    run = w.run({"apply", "in.ppm", "out.png", "ChangeContrastVQZ(strong)"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(contains(run.err, "'strong' is not a number")) << run.err;

    run = w.run({"apply", "in.ppm", "out.png", "ReplaceRedChannelVQZ(missing.png)"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(contains(run.err, "'missing.png' is not nil or a picture file")) << run.err;

    run = w.run({"apply", "in.ppm", "out.png", "InvertVQZ = in.ppm"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(contains(run.err, "cannot be assigned to")) << run.err;

    run = w.run({"apply", "in.ppm", "out.png", "InvertVQZ(1, 2"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "vqz: cannot read the call 'InvertVQZ(1, 2': missing ')'\n");

    run = w.run({"apply", "in.ppm", "out.png", "PictureSepiaVQZ"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(contains(run.err, "PictureSepiaVQZ is a class")) << run.err;
    w.expectUntouched();
}

class ToolFailureTest : public PluginTest {};

TEST_F(ToolFailureTest, PluginExceptionsGiveClassMessageAndStatusThree) {
    Workspace w;
    vqztool::ToolRun run = w.run({"apply", "in.ppm", "out.png", "ReplaceRedChannelVQZ(nil)"});
    Ref pic = makeHostPicture(9, 6);
    callPicture("ReplaceRedChannelVQZ(RedChannel as picture) as picture", pic.get(), {Value::nil()});
    standin::PendingException e = takeException();
    if (e.className.empty()) {
        EXPECT_EQ(run.status, 2) << vqztool::describe(run);
    } else {
        EXPECT_EQ(run.status, 3) << vqztool::describe(run);
        EXPECT_EQ(run.err, "vqz: " + e.className + ": " + e.message + "\n");
    }
    w.expectUntouched();
}

TEST_F(ToolFailureTest, NilResultsGiveStatusTwo) {
    Workspace w;
    // Pictures of different sizes merge to nil.
    vqztool::writePpm(w.dir / "small.ppm", vqztool::randomImage(3, 3, 4));
    vqztool::ToolRun run = w.run({"apply", "in.ppm", "out.png", "MergePictureVQZ(small.ppm)"});
    Ref a = makeHostPicture(9, 6), b = makeHostPicture(3, 3);
    Ref merged = callGlobalPicture("MergePictureVQZ(source1 as picture, source2 as picture) as picture",
                                   {Value::picture(a.get()), Value::picture(b.get())});
    ASSERT_FALSE(merged);
    EXPECT_EQ(run.status, 2) << vqztool::describe(run);
    EXPECT_EQ(run.err, "vqz: MergePictureVQZ(small.ppm) returned nil: the plugin made no picture (MergePictureVQZ(source1 "
                       "as picture, source2 as picture) as picture)\n");
    EXPECT_EQ(w.dir.entries(), (std::vector<std::string>{"in.ppm", "small.ppm"}));
}

TEST(ToolErrors, BadFilesAreOneLineNamingTheFile) {
    Workspace w;
    w.dir.write("text.png", "just some text");
    w.dir.write("cut.png", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0", 18));
    struct Case {
        std::vector<std::string> args;
        std::string err;
    };
    const Case cases[] = {
        {{"apply", "missing.png", "out.png"}, "vqz: missing.png: cannot read: No such file or directory\n"},
        {{"apply", "text.png", "out.png"}, "vqz: text.png: not a PNG, JPEG, PPM or PGM file\n"},
        {{"apply", "in.ppm", "out.gif"}, "vqz: out.gif: unsupported output format '.gif' (use .png, .jpg, .ppm or .pgm)\n"},
        {{"apply", "in.ppm", "nodir/out.png"}, "vqz: nodir/out.png: cannot write: No such file or directory\n"},
    };
    for (const Case& c : cases) {
        vqztool::ToolRun run = w.run(c.args);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err, c.err);
    }
    vqztool::ToolRun run = w.run({"apply", "cut.png", "out.png"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err.rfind("vqz: cut.png: broken PNG file", 0), 0u) << run.err;
    EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
    EXPECT_EQ(w.dir.entries(), (std::vector<std::string>{"cut.png", "in.ppm", "text.png"}));
}

TEST(ToolErrors, UsageMistakes) {
    Workspace w;
    struct Case {
        std::vector<std::string> args;
        std::string err;
    };
    const Case cases[] = {
        {{"aply"}, "vqz: unknown command 'aply'; did you mean apply? (see vqz --help)\n"},
        {{"apply", "in.ppm"}, "vqz: apply: IN and OUT are needed (see vqz apply --help)\n"},
        {{"apply", "in.ppm", "out.png", "--frobnicate"}, "vqz: unknown option --frobnicate for 'apply' (see vqz apply --help)\n"},
        {{"--host", "phone", "list"}, "vqz: --host: 'phone' is not desktop, console or web\n"},
        {{"--depth", "12", "list"}, "vqz: --depth: '12' is not 32, 24, 16 or 8\n"},
        {{"sepia", "in.ppm", "out.png", "--weights", "1,2"}, "vqz: --weights: '1,2' should be 3 values separated by commas\n"},
        {{"lut", "in.ppm", "out.png"}, "vqz: lut: IN, CUBE and OUT are needed (see vqz lut --help)\n"},
        {{"list", "--plugin", "/nonexistent/vqzpicture.so"},
         "vqz: /nonexistent/vqzpicture.so: the plugin module does not exist (build it, or pass --plugin PATH)\n"},
    };
    for (const Case& c : cases) {
        vqztool::ToolRun run = w.run(c.args);
        EXPECT_EQ(run.status, 1) << ::testing::PrintToString(c.args);
        EXPECT_EQ(run.err, c.err);
    }
    w.expectUntouched();
}

TEST(ToolErrors, EveryCommandHasHelp) {
    for (const char* command :
         {"list", "apply", "eval", "lut", "sepia", "waveform", "encode", "decode", "find", "histogram", "gallery", "demo"}) {
        vqztool::ToolRun run = runTool({command, "--help"});
        EXPECT_EQ(run.status, 0) << command;
        EXPECT_EQ(run.out.rfind(std::string("usage: vqz ") + command, 0), 0u) << run.out;
        EXPECT_EQ(run.err, "");
    }
    vqztool::ToolRun run = runTool({"--help"});
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(contains(run.out, "--host desktop|console|web"));
    run = runTool({"--version"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out.rfind("vqz ", 0), 0u);
}

}  // namespace

#endif  // VQZ_TOOL_PATH
