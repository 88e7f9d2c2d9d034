// vqz apply: every kind of call (Picture methods, global methods, overloads,
// defaults, picture and MemoryBlock arguments from files, in-place methods,
// setters, chains) gives exactly the picture the plugin gives when called directly,
// in every host format.
#ifdef VQZ_TOOL_PATH

#include <algorithm>
#include <functional>

#include "tests/support/fixture.h"
#include "tests/tools/tool_runner.h"

namespace {

using namespace vqztest;
using vqztool::runTool;
using vqztool::TempDir;

constexpr int kW = 23, kH = 17;

// One apply case: the calls given to the tool, and the same work done directly.
// `direct` returns the final picture (null for nil) and may print what the tool
// should print.
struct ApplyCase {
    const char* name;
    std::vector<std::string> calls;
    std::function<Ref(PluginTest&, void* picture, const HostFormat& f, std::string& printed)> direct;
};

struct Inputs {
    vqz::Image main = vqztool::randomImage(kW, kH, 11);
    vqz::Image other = vqztool::randomImage(kW, kH, 12);
    vqz::Image third = vqztool::randomImage(kW, kH, 13);
};

Value fromImage(const HostFormat& f, const vqz::Image& image) {
    return Value::object(TypeName::Picture, vqztool::hostPicture(f, image));
}

Value tableBlock(int shift) {
    Ref block = Ref::adopt(standin::newMemoryBlock(256));
    for (int i = 0; i < 256; ++i) standin::memoryBlockData(block.get())[i] = uint8_t((i * 7 + shift) & 0xFF);
    return Value::object(TypeName::MemoryBlock, block);
}

std::string table(int shift) {
    std::string bytes(256, '\0');
    for (int i = 0; i < 256; ++i) bytes[size_t(i)] = char((i * 7 + shift) & 0xFF);
    return bytes;
}

class ToolApplyTest : public PluginFormatTest {
protected:
    // Runs the tool on the inputs and compares its output with `c.direct`.
    void check(const ApplyCase& c) {
        SCOPED_TRACE(c.name);
        TempDir dir;
        Inputs in;
        vqztool::writePpm(dir / "in.ppm", in.main);
        vqztool::writePpm(dir / "other.ppm", in.other);
        vqztool::writePpm(dir / "third.ppm", in.third);
        dir.write("t1.bin", table(1));
        dir.write("t2.bin", table(2));
        dir.write("t3.bin", table(3));

        std::vector<std::string> args = vqztool::formatArgs(format());
        args.insert(args.end(), {"apply", "in.ppm", "out.png"});
        args.insert(args.end(), c.calls.begin(), c.calls.end());
        vqztool::ToolRun run = runTool(args, dir.path());

        std::string printed;
        Ref source = vqztool::hostPicture(format(), in.main);
        Ref expected = c.direct(*this, source.get(), format(), printed);
        standin::PendingException raised = takeException();
        if (!raised.className.empty()) {
            EXPECT_EQ(run.status, 3) << vqztool::describe(run);
            EXPECT_NE(run.err.find(raised.className + ": " + raised.message), std::string::npos) << run.err;
            EXPECT_FALSE(dir.exists("out.png"));
        } else if (!expected) {
            EXPECT_EQ(run.status, 2) << vqztool::describe(run);
            EXPECT_NE(run.err.find("returned nil"), std::string::npos) << run.err;
            EXPECT_FALSE(dir.exists("out.png"));
        } else {
            ASSERT_EQ(run.status, 0) << vqztool::describe(run);
            EXPECT_EQ(run.out, printed);
            EXPECT_TRUE(samePixels(snapshot(expected.get()), vqztool::snapshotOf(vqztool::readPicture(dir / "out.png"))));
        }
        // Nothing but the inputs and the output: no temporary files left behind.
        std::vector<std::string> expectedFiles = {"in.ppm", "other.ppm", "t1.bin", "t2.bin", "t3.bin", "third.ppm"};
        if (expected && raised.className.empty()) expectedFiles.insert(expectedFiles.begin() + 2, "out.png");
        EXPECT_EQ(dir.entries(), expectedFiles);
    }
};

const Inputs kInputs;

const std::vector<ApplyCase>& cases() {
    static const std::vector<ApplyCase> all = {
        {"method without arguments", {"InvertVQZ"},
         [](PluginTest& t, void* pic, const HostFormat&, std::string&) {
             return standin::invoke("Picture", "InvertVQZ as picture", pic).ref;
         }},
        {"overload by argument count", {"ChangeContrastVQZ(0.5)"},
         [](PluginTest&, void* pic, const HostFormat&, std::string&) {
             return standin::invoke("Picture", "ChangeContrastVQZ(Contrast as double) as picture", pic,
                                    {Value::real(0.5)})
                 .ref;
         }},
        {"three-channel overload", {"ChangeContrastVQZ(0.5, -0.25, 1)"},
         [](PluginTest&, void* pic, const HostFormat&, std::string&) {
             return standin::invoke("Picture",
                                    "ChangeContrastVQZ(ContrastRed as double, ContrastGreen as double, ContrastBlue as "
                                    "double) as picture",
                                    pic, {Value::real(0.5), Value::real(-0.25), Value::real(1)})
                 .ref;
         }},
        {"rectangle with a negative height", {"InvertVQZ(10, 10, 200, -1)"},
         [](PluginTest&, void* pic, const HostFormat&, std::string&) {
             return standin::invoke("Picture",
                                    "InvertVQZ(left as integer,top as integer,width as integer,height as integer) as "
                                    "picture",
                                    pic, {Value::integer(10), Value::integer(10), Value::integer(200), Value::integer(-1)})
                 .ref;
         }},
        {"global method with colors", {"TintPictureVQZ(&c555555, &cFFE0B0)"},
         [](PluginTest&, void* pic, const HostFormat&, std::string&) {
             return standin::invoke("", "TintPictureVQZ(source as picture, GreyBase as color, SepiaBase as color) as picture",
                                    nullptr, {Value::picture(pic), Value::color(0x555555), Value::color(0xFFE0B0)})
                 .ref;
         }},
        {"picture argument from a file", {"ReplaceRedChannelVQZ(other.ppm)"},
         [](PluginTest&, void* pic, const HostFormat& f, std::string&) {
             return standin::invoke("Picture", "ReplaceRedChannelVQZ(RedChannel as picture) as picture", pic,
                                    {fromImage(f, kInputs.other)})
                 .ref;
         }},
        {"global method with the current picture first", {"CombinePicturesVQZ(other.ppm, third.ppm)"},
         [](PluginTest&, void* pic, const HostFormat& f, std::string&) {
             return standin::invoke("",
                                    "CombinePicturesVQZ(red as picture, blue as picture, green as picture) as picture",
                                    nullptr, {Value::picture(pic), fromImage(f, kInputs.other), fromImage(f, kInputs.third)})
                 .ref;
         }},
        {"MemoryBlock arguments from files and a default", {"TransformColorsVQZ(t1.bin, t2.bin, t3.bin)"},
         [](PluginTest&, void* pic, const HostFormat&, std::string&) {
             return standin::invoke("Picture",
                                    "TransformColorsVQZ(red as memoryblock, blue as memoryblock, green as memoryblock, "
                                    "dest as picture = nil) as picture",
                                    pic, {tableBlock(1), tableBlock(2), tableBlock(3)})
                 .ref;
         }},
        {"hexadecimal integer", {"ChangeSaturationVQZ(&h40)"},
         [](PluginTest&, void* pic, const HostFormat&, std::string&) {
             return standin::invoke("Picture", "ChangeSaturationVQZ(Amount as integer) as picture", pic,
                                    {Value::integer(0x40)})
                 .ref;
         }},
        {"chain of calls", {"ChangeBrightnessLinearVQZ(-30)", "InvertGrayVQZ", "ChangeCustomVQZ(1.5, -20)"},
         [](PluginTest&, void* pic, const HostFormat&, std::string&) {
             Ref a = standin::invoke("Picture", "ChangeBrightnessLinearVQZ(Brightness as double) as picture", pic,
                                     {Value::real(-30)})
                         .ref;
             if (!a) return a;
             Ref b = standin::invoke("Picture", "InvertGrayVQZ as picture", a.get()).ref;
             if (!b) return b;
             return standin::invoke("Picture", "ChangeCustomVQZ(a as double, b as double) as picture", b.get(),
                                    {Value::real(1.5), Value::real(-20)})
                 .ref;
         }},
        {"method that changes the picture in place", {"ScrollVQZ(3, 2, true, false)"},
         [](PluginTest&, void* pic, const HostFormat&, std::string& printed) {
             Value r = standin::invoke("Picture",
                                       "ScrollVQZ(deltaX as integer, deltaY as integer, wrap as boolean, scrollmask as "
                                       "boolean) as boolean",
                                       pic, {Value::integer(3), Value::integer(2), Value::boolean(true),
                                             Value::boolean(false)});
             printed = std::string("ScrollVQZ(3, 2, true, false) = ") + (r.i ? "true" : "false") + "\n";
             return Ref::share(pic);
         }},
        {"assignment through a setter", {"EmbeddedMaskVQZ(true) = other.ppm", "EmbeddedMaskVQZ(false)"},
         [](PluginTest&, void* pic, const HostFormat& f, std::string&) {
             standin::invokeSetter("Picture", "EmbeddedMaskVQZ(swap as boolean) as picture", pic,
                                   {Value::boolean(true)}, fromImage(f, kInputs.other));
             return standin::invoke("Picture", "EmbeddedMaskVQZ(swap as boolean) as picture", pic,
                                    {Value::boolean(false)})
                 .ref;
         }},
        {"results and byref arguments are printed", {"isGrayVQZ", "FindPicture(in.ppm)", "InvertVQZ"},
         [](PluginTest&, void* pic, const HostFormat&, std::string& printed) {
             Value gray = standin::invoke("Picture", "isGrayVQZ(tolerance as integer = 0) as boolean", pic);
             std::vector<Value> args = {Value::picture(pic), Value::integer(0), Value::integer(0)};
             Value found = standin::invokeRef(
                 "Picture", "FindPicture(pic as picture, byref x as integer, byref y as integer) as boolean", pic, args);
             printed = std::string("isGrayVQZ = ") + (gray.i ? "true" : "false") + "\n" +
                       "FindPicture(in.ppm) = " + (found.i ? "true" : "false") + "\n" +
                       "FindPicture(in.ppm): x = " + std::to_string(args[1].i) + "\n" +
                       "FindPicture(in.ppm): y = " + std::to_string(args[2].i) + "\n";
             return standin::invoke("Picture", "InvertVQZ as picture", pic).ref;
         }},
    };
    return all;
}

TEST_P(ToolApplyTest, GivesThePictureOfDirectCalls) {
    for (const ApplyCase& c : cases()) check(c);
}

TEST_P(ToolApplyTest, WithoutCallsConvertsThePicture) {
    TempDir dir;
    vqz::Image in = vqztool::randomImage(kW, kH, 5);
    vqztool::writePpm(dir / "in.ppm", in);
    std::vector<std::string> args = vqztool::formatArgs(format());
    args.insert(args.end(), {"apply", dir / "in.ppm", dir / "out.png"});
    vqztool::ToolRun run = runTool(args);
    ASSERT_EQ(run.status, 0) << vqztool::describe(run);
    // What the host stores (16 and 8 bits quantize) comes back out.
    Ref pic = vqztool::hostPicture(format(), in);
    EXPECT_TRUE(samePixels(snapshot(pic.get()), vqztool::snapshotOf(vqztool::readPicture(dir / "out.png"))));
}

VQZ_ALL_FORMATS(ToolApplyTest);

}  // namespace

#endif  // VQZ_TOOL_PATH
