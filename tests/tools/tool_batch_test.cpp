// vqz apply -o DIR: many inputs, in one process or several, give the same files
// as one run per input; a bad input fails alone.
#ifdef VQZ_TOOL_PATH

#include "tests/support/fixture.h"
#include "tests/tools/tool_runner.h"

namespace {

using vqztool::runTool;
using vqztool::TempDir;

TEST(ToolBatch, SeveralProcessesWriteWhatSingleRunsWrite) {
    TempDir dir;
    std::vector<std::string> names;
    for (int i = 0; i < 7; ++i) {
        std::string name = "in" + std::to_string(i) + ".ppm";
        vqztool::writePpm(dir / name, vqztool::randomImage(9 + i, 5 + i, uint32_t(100 + i)));
        names.push_back(name);
    }
    const std::vector<std::string> calls = {"ChangeContrastVQZ(0.3)", "InvertVQZ(1, 1, 4, 4)"};
    for (const std::string& name : names) {
        std::vector<std::string> args = {"apply", name, "single-" + name.substr(0, name.size() - 4) + ".png"};
        args.insert(args.end(), calls.begin(), calls.end());
        vqztool::ToolRun run = runTool(args, dir.path());
        if (run.status != 0) GTEST_SKIP() << "the calls do not make pictures yet: " << run.err;
    }
    for (const char* jobs : {"1", "3"}) {
        SCOPED_TRACE(std::string("-j ") + jobs);
        std::string out = std::string("out") + jobs;
        std::vector<std::string> args = {"apply", "-o", out, "-j", jobs, "--format", "png"};
        args.insert(args.end(), names.begin(), names.end());
        args.insert(args.end(), calls.begin(), calls.end());
        vqztool::ToolRun run = runTool(args, dir.path());
        ASSERT_EQ(run.status, 0) << vqztool::describe(run);
        EXPECT_EQ(run.err, "");  // no progress bar when stderr is not a terminal
        for (const std::string& name : names) {
            std::string png = name.substr(0, name.size() - 4) + ".png";
            EXPECT_TRUE(dir.read(out + "/" + png) == dir.read("single-" + png)) << png;
        }
    }
}

TEST(ToolBatch, ABadInputFailsAlone) {
    TempDir dir;
    vqztool::writePpm(dir / "a.ppm", vqztool::randomImage(6, 4, 1));
    dir.write("b.ppm", "P6\n6 4\n255\nshort");
    vqztool::writePpm(dir / "c.ppm", vqztool::randomImage(6, 4, 2));
    vqztool::ToolRun run = runTool({"apply", "-o", "out", "-j", "2", "a.ppm", "b.ppm", "c.ppm", "InvertGrayVQZ"},
                                   dir.path());
    vqztool::ToolRun single = runTool({"apply", "a.ppm", "single.ppm", "InvertGrayVQZ"}, dir.path());
    int expected = single.status == 0 ? 1 : single.status;
    EXPECT_EQ(run.status, expected) << vqztool::describe(run);
    EXPECT_NE(run.err.find("vqz: b.ppm: the file is truncated\n"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("of 3 inputs failed"), std::string::npos) << run.err;
    if (single.status == 0) {
        EXPECT_TRUE(dir.exists("out/a.ppm"));
        EXPECT_TRUE(dir.exists("out/c.ppm"));
        EXPECT_TRUE(dir.read("out/a.ppm") == dir.read("single.ppm"));
    }
    EXPECT_FALSE(dir.exists("out/b.ppm"));
}

TEST(ToolBatch, OutputsMayNotCollide) {
    TempDir dir;
    vqztool::writePpm(dir / "a.ppm", vqztool::randomImage(3, 3, 1));
    dir.write("a.pgm", "P2\n1 1\n1\n1\n");
    vqztool::ToolRun run = runTool({"apply", "-o", "out", "--format", "png", "a.ppm", "a.pgm", "InvertVQZ"}, dir.path());
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "vqz: apply: two inputs would both be written to out/a.png\n");
    EXPECT_FALSE(dir.exists("out"));
}

}  // namespace

#endif  // VQZ_TOOL_PATH
