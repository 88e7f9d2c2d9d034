// vqz apply: every kind of call (Picture methods, global methods, overloads,
// defaults, picture and MemoryBlock arguments from files, in-place methods,
// setters, chains, exceptions and nil results) gives exactly what the plugin gives
// when called directly, in every host format; batches give what single runs give.
#ifdef VQZ_TOOL_PATH

#include <cstdio>
#include <cstring>
#include <functional>

#include "tests/support/fixture.h"
#include "tests/tools/tool_runner.h"

namespace {

using namespace vqztest;
using namespace vqztool;

const vqz::Image kMain = randomImage(23, 17, 11), kOther = randomImage(23, 17, 12), kThird = randomImage(23, 17, 13),
                 kSmall = randomImage(3, 3, 4);

std::string table(int shift) {
    std::string bytes(256, '\0');
    for (int i = 0; i < 256; ++i) bytes[size_t(i)] = char((i * 7 + shift) & 0xFF);
    return bytes;
}

// The work of one case done directly on `pic`, the input picture in the host.
struct Direct {
    void* pic;
    const HostFormat& format;
    std::string printed;  // what the tool should print

    Value picture(const vqz::Image& image) { return Value::object(TypeName::Picture, hostPicture(format, image)); }
    Value block(int shift) {
        Ref b = Ref::adopt(standin::newMemoryBlock(256));
        std::memcpy(standin::memoryBlockData(b.get()), table(shift).data(), 256);
        return Value::object(TypeName::MemoryBlock, b);
    }
    // A Picture method on `on`; nil stays nil, so that chains stop where the tool stops.
    Ref method(void* on, const std::string& declaration, std::vector<Value> args = {}) {
        return on ? standin::invoke("Picture", declaration, on, std::move(args)).ref : Ref();
    }
    Ref global(const std::string& declaration, std::vector<Value> args) {
        return standin::invoke("", declaration, nullptr, std::move(args)).ref;
    }
};

struct ApplyCase {
    std::vector<std::string> calls;
    std::function<Ref(Direct&)> direct;  // the final picture, null for nil
    std::string nilMessage = "";         // the exact message of a case that makes no picture
};

// A case that calls one Picture method on the input.
std::function<Ref(Direct&)> onInput(const std::string& declaration, std::vector<Value> args = {}) {
    return [=](Direct& d) { return d.method(d.pic, declaration, args); };
}

const std::vector<ApplyCase> kCases = {
    {{}, [](Direct& d) { return Ref::share(d.pic); }},  // the picture as the host stores it
    {{"InvertVQZ"}, onInput("InvertVQZ as picture")},
    // The overload that takes three arguments, given in declared order.
    {{"ChangeContrastVQZ(0.5, -0.25, 1)"},
     onInput("ChangeContrastVQZ(ContrastRed as double, ContrastGreen as double, ContrastBlue as double) as picture",
             {Value::real(0.5), Value::real(-0.25), Value::real(1)})},
    {{"InvertVQZ(10, &hA, 200, -1)"},
     onInput("InvertVQZ(left as integer,top as integer,width as integer,height as integer) as picture",
             {Value::integer(10), Value::integer(10), Value::integer(200), Value::integer(-1)})},
    // A global method gets the current picture first; pictures and MemoryBlocks come from files.
    {{"CombinePicturesVQZ(other.ppm, third.ppm)"},
     [](Direct& d) {
         return d.global("CombinePicturesVQZ(red as picture, blue as picture, green as picture) as picture",
                         {Value::picture(d.pic), d.picture(kOther), d.picture(kThird)});
     }},
    {{"TransformColorsVQZ(t1.bin, t2.bin, t3.bin)"},
     [](Direct& d) {
         return d.method(d.pic,
                         "TransformColorsVQZ(red as memoryblock, blue as memoryblock, green as memoryblock, dest as "
                         "picture = nil) as picture",
                         {d.block(1), d.block(2), d.block(3)});
     }},
    {{"ChangeBrightnessLinearVQZ(-30)", "TintPictureVQZ(&c555555, &cFFE0B0)", "ChangeCustomVQZ(1.5, -20)"},
     [](Direct& d) {
         Ref a = d.method(d.pic, "ChangeBrightnessLinearVQZ(Brightness as double) as picture", {Value::real(-30)});
         Ref b = a ? d.global("TintPictureVQZ(source as picture, GreyBase as color, SepiaBase as color) as picture",
                              {Value::picture(a.get()), Value::color(0x555555), Value::color(0xFFE0B0)})
                   : Ref();
         return d.method(b.get(), "ChangeCustomVQZ(a as double, b as double) as picture",
                         {Value::real(1.5), Value::real(-20)});
     }},
    // A method that changes the picture in place; results and byref arguments are printed.
    {{"ScrollVQZ(3, 2, true, false)", "isGrayVQZ", "FindPicture(in.ppm)", "InvertVQZ"},
     [](Direct& d) {
         Value scrolled = standin::invoke(
             "Picture",
             "ScrollVQZ(deltaX as integer, deltaY as integer, wrap as boolean, scrollmask as boolean) as boolean",
             d.pic, {Value::integer(3), Value::integer(2), Value::boolean(true), Value::boolean(false)});
         Value gray = standin::invoke("Picture", "isGrayVQZ(tolerance as integer = 0) as boolean", d.pic);
         // The file is the input as read, not as scrolled.
         std::vector<Value> args = {d.picture(kMain), Value::integer(0), Value::integer(0)};
         Value found = standin::invokeRef(
             "Picture", "FindPicture(pic as picture, byref x as integer, byref y as integer) as boolean", d.pic, args);
         auto yes = [](const Value& v) { return v.i ? "true\n" : "false\n"; };
         d.printed = std::string("ScrollVQZ(3, 2, true, false) = ") + yes(scrolled) + "isGrayVQZ = " + yes(gray) +
                     "FindPicture(in.ppm) = " + yes(found) + "FindPicture(in.ppm): x = " + std::to_string(args[1].i) +
                     "\nFindPicture(in.ppm): y = " + std::to_string(args[2].i) + "\n";
         return d.method(d.pic, "InvertVQZ as picture");
     }},
    {{"EmbeddedMaskVQZ(true) = other.ppm", "EmbeddedMaskVQZ(false)"},
     [](Direct& d) {
         standin::invokeSetter("Picture", "EmbeddedMaskVQZ(swap as boolean) as picture", d.pic, {Value::boolean(true)},
                               d.picture(kOther));
         return d.method(d.pic, "EmbeddedMaskVQZ(swap as boolean) as picture", {Value::boolean(false)});
     }},
    // A plugin exception, and a nil result: pictures of different sizes do not merge.
    {{"ReplaceRedChannelVQZ(nil)"}, onInput("ReplaceRedChannelVQZ(RedChannel as picture) as picture", {Value::nil()})},
    {{"MergePictureVQZ(small.ppm)"},
     [](Direct& d) {
         return d.global("MergePictureVQZ(source1 as picture, source2 as picture) as picture",
                         {Value::picture(d.pic), d.picture(kSmall)});
     },
     "vqz: MergePictureVQZ(small.ppm) returned nil: the plugin made no picture (MergePictureVQZ(source1 as picture, "
     "source2 as picture) as picture)\n"},
};

class ToolApplyTest : public PluginFormatTest {};

TEST_P(ToolApplyTest, GivesWhatDirectCallsGive) {
    TempDir dir;
    vqz::writeImage(dir / "in.ppm", kMain);
    vqz::writeImage(dir / "other.ppm", kOther);
    vqz::writeImage(dir / "third.ppm", kThird);
    vqz::writeImage(dir / "small.ppm", kSmall);
    for (int i = 1; i <= 3; ++i) dir.write("t" + std::to_string(i) + ".bin", table(i));
    const std::vector<std::string> inputs = dir.entries();

    for (const ApplyCase& c : kCases) {
        SCOPED_TRACE(::testing::PrintToString(c.calls));
        std::vector<std::string> args = {"apply", "in.ppm", "out.png"};
        args.insert(args.end(), c.calls.begin(), c.calls.end());
        ToolRun run = runTool(format(), args, dir.path());

        Ref source = hostPicture(format(), kMain);
        Direct direct{source.get(), format(), ""};
        Ref expected = c.direct(direct);
        standin::PendingException raised = takeException();
        if (!raised.className.empty()) {
            EXPECT_EQ(run.status, 3) << describe(run);
            EXPECT_EQ(run.err, "vqz: " + raised.className + ": " + raised.message + "\n");
        } else if (!expected) {
            EXPECT_EQ(run.status, 2) << describe(run);
            if (c.nilMessage.empty())
                EXPECT_NE(run.err.find("returned nil"), std::string::npos) << run.err;
            else
                EXPECT_EQ(run.err, c.nilMessage);
        } else {
            EXPECT_TRUE(c.nilMessage.empty()) << "the plugin made a picture";
            ASSERT_EQ(run.status, 0) << describe(run);
            EXPECT_EQ(run.out, direct.printed);
            EXPECT_TRUE(samePixels(snapshot(expected.get()), fileSnapshot(dir / "out.png")));
        }
        // Only a run that made a picture leaves the output, and no run leaves a temporary file.
        EXPECT_EQ(std::remove((dir / "out.png").c_str()) == 0, expected && raised.className.empty());
        EXPECT_EQ(dir.entries(), inputs);
    }
}

VQZ_ALL_FORMATS(ToolApplyTest);

// With -o DIR, many inputs in one process or several give the same pictures as one
// run per input, and a bad input fails alone.
TEST(ToolBatch, OneOrSeveralProcessesWriteWhatSingleRunsWrite) {
    TempDir dir;
    std::vector<std::string> names;
    for (int i = 0; i < 7; ++i) {
        names.push_back("in" + std::to_string(i));
        vqz::writeImage(dir / (names.back() + ".ppm"), randomImage(9 + i, 5 + i, uint32_t(100 + i)));
    }
    dir.write("bad.ppm", "P6\n6 4\n255\nshort");
    const std::vector<std::string> calls = {"ChangeContrastVQZ(0.3)", "InvertVQZ(1, 1, 4, 4)"};
    for (const std::string& name : names) {
        std::vector<std::string> args = {"apply", name + ".ppm", "single-" + name + ".png"};
        args.insert(args.end(), calls.begin(), calls.end());
        ToolRun run = runTool(args, dir.path());
        ASSERT_EQ(run.status, 0) << describe(run);
    }
    // One process keeps the inputs' format; three processes write the one asked for.
    struct Run {
        std::vector<std::string> options;
        std::string ext;
    };
    for (const Run& r : {Run{{"-j", "1"}, ".ppm"}, Run{{"-j", "3", "--format", "png"}, ".png"}}) {
        SCOPED_TRACE(r.options[1]);
        std::string out = "out" + r.options[1];
        std::vector<std::string> args = {"apply", "-o", out};
        args.insert(args.end(), r.options.begin(), r.options.end());
        args.push_back("bad.ppm");
        for (const std::string& name : names) args.push_back(name + ".ppm");
        args.insert(args.end(), calls.begin(), calls.end());
        ToolRun run = runTool(args, dir.path());
        EXPECT_EQ(run.status, 1) << describe(run);
        // No progress bar either: stderr is not a terminal.
        EXPECT_EQ(run.err, "vqz: bad.ppm: the file is truncated\nvqz: 1 of 8 inputs failed\n");
        EXPECT_FALSE(dir.exists(out + "/bad" + r.ext));
        for (const std::string& name : names)
            EXPECT_EQ(fileSnapshot(dir / (out + "/" + name + r.ext)), fileSnapshot(dir / ("single-" + name + ".png")));
    }
}

}  // namespace

#endif  // VQZ_TOOL_PATH
