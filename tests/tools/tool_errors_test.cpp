// What bad input gets: unknown names, arguments that fit no overload, bad files,
// usage mistakes; always status 1, a message naming the culprit, and never a
// partial output file. (Plugin exceptions and nil results are in the apply tests.)
#ifdef VQZ_TOOL_PATH

#include <gmock/gmock.h>

#include <algorithm>

#include "tests/tools/tool_runner.h"

namespace {

using namespace ::testing;
using vqztool::runTool;

// A single line starting with `prefix`.
Matcher<const std::string&> oneLine(const std::string& prefix) {
    return AllOf(StartsWith(prefix),
                 ResultOf([](const std::string& s) { return std::count(s.begin(), s.end(), '\n'); }, 1),
                 EndsWith("\n"));
}

struct ErrorCase {
    std::vector<std::string> args;
    Matcher<const std::string&> err;
};

TEST(ToolErrors, BadInputFailsWithStatusOneAndWritesNothing) {
    vqztool::TempDir dir;
    vqz::writeImage(dir / "in.ppm", vqztool::randomImage(9, 6, 3));
    dir.write("in.pgm", "P2\n1 1\n1\n1\n");
    dir.write("text.png", "just some text");
    dir.write("cut.png", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0", 18));
    dir.write("noise.wav", "RIFF but not really a wave file");
    dir.write("bad.cube", "LUT_3D_SIZE 2\n0 0 0\n1 0 zero\n");
    const std::vector<std::string> files = dir.entries();
    const ErrorCase cases[] = {
        // Names and calls.
        {{"apply", "in.ppm", "out.png", "InvertVQ"},
         Eq("vqz: unknown method 'InvertVQ'; did you mean InvertVQZ? (vqz list shows every method)\n")},
        {{"eval", "in.ppm", "ChangeContrast(1)"}, HasSubstr("did you mean ChangeContrastVQZ")},
        {{"apply", "in.ppm", "out.png", "InvertVQZ(1, 2)"},
         AllOf(HasSubstr("'InvertVQZ(1, 2)' fits no form of InvertVQZ:"),
               HasSubstr("InvertVQZ(left as integer,top as integer,width as integer,height as integer) as picture"),
               HasSubstr("InvertVQZ as picture"), HasSubstr("width as integer is missing and has no default"))},
        {{"apply", "in.ppm", "out.png", "ChangeContrastVQZ(strong)"}, HasSubstr("'strong' is not a number")},
        {{"apply", "in.ppm", "out.png", "ReplaceRedChannelVQZ(missing.png)"},
         HasSubstr("'missing.png' is not nil or a picture file")},
        {{"apply", "in.ppm", "out.png", "InvertVQZ = in.ppm"}, HasSubstr("cannot be assigned to")},
        {{"apply", "in.ppm", "out.png", "InvertVQZ(1, 2"},
         Eq("vqz: cannot read the call 'InvertVQZ(1, 2': missing ')'\n")},
        {{"apply", "in.ppm", "out.png", "PictureSepiaVQZ"}, HasSubstr("PictureSepiaVQZ is a class")},
        // Files.
        {{"apply", "missing.png", "out.png"}, Eq("vqz: missing.png: cannot read: No such file or directory\n")},
        {{"apply", "text.png", "out.png"}, Eq("vqz: text.png: not a PNG, JPEG, PPM or PGM file\n")},
        {{"apply", "cut.png", "out.png"}, oneLine("vqz: cut.png: broken PNG file")},
        {{"apply", "in.ppm", "out.gif"},
         Eq("vqz: out.gif: unsupported output format '.gif' (use .png, .jpg, .ppm or .pgm)\n")},
        {{"apply", "in.ppm", "nodir/out.png"}, Eq("vqz: nodir/out.png: cannot write: No such file or directory\n")},
        {{"apply", "-o", "out", "--format", "png", "in.ppm", "in.pgm", "InvertVQZ"},
         Eq("vqz: apply: two inputs would both be written to out/in.png\n")},
        {{"lut", "in.ppm", "bad.cube", "out.png"}, Eq("vqz: bad.cube:3: 'zero' is not a number\n")},
        {{"waveform", "noise.wav", "out.png"}, oneLine("vqz: noise.wav: not an audio file")},
        {{"waveform", "missing.wav", "out.png"}, Eq("vqz: missing.wav: cannot read: No such file or directory\n")},
        // Usage.
        {{"aply"}, Eq("vqz: unknown command 'aply'; did you mean apply? (see vqz --help)\n")},
        {{"apply", "in.ppm"}, Eq("vqz: apply: IN and OUT are needed (see vqz apply --help)\n")},
        {{"apply", "in.ppm", "out.png", "--frobnicate"},
         Eq("vqz: unknown option --frobnicate for 'apply' (see vqz apply --help)\n")},
        {{"--host", "phone", "list"}, Eq("vqz: --host: 'phone' is not desktop, console or web\n")},
        {{"--depth", "12", "list"}, Eq("vqz: --depth: '12' is not 32, 24, 16 or 8\n")},
        {{"sepia", "in.ppm", "out.png", "--weights", "1,2"},
         Eq("vqz: --weights: '1,2' should be 3 values separated by commas\n")},
        {{"lut", "in.ppm", "out.png"}, Eq("vqz: lut: IN, CUBE and OUT are needed (see vqz lut --help)\n")},
        {{"list", "nothing-like-this"}, Eq("vqz: list: nothing registered matches 'nothing-like-this'\n")},
        {{"list", "--plugin", "/nonexistent/vqzpicture.so"},
         Eq("vqz: /nonexistent/vqzpicture.so: the plugin module does not exist (build it, or pass --plugin PATH)\n")},
    };
    for (const ErrorCase& c : cases) {
        SCOPED_TRACE(PrintToString(c.args));
        vqztool::ToolRun run = runTool(c.args, dir.path());
        EXPECT_EQ(run.status, 1) << vqztool::describe(run);
        EXPECT_THAT(run.err, c.err);
    }
    EXPECT_EQ(dir.entries(), files);
}

TEST(ToolErrors, EveryCommandHasHelp) {
    for (const char* command : {"list", "apply", "eval", "lut", "sepia", "waveform", "encode", "decode", "find",
                                "histogram", "gallery", "demo"}) {
        vqztool::ToolRun run = runTool({command, "--help"});
        EXPECT_EQ(run.status, 0) << command;
        EXPECT_THAT(run.out, StartsWith(std::string("usage: vqz ") + command));
        EXPECT_EQ(run.err, "");
    }
}

}  // namespace

#endif  // VQZ_TOOL_PATH
