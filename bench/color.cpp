// Color operations on big random pictures: the methods that make a picture compare
// with the copy floor, the counting methods with the read floor.
#include <string>
#include <vector>

#include "bench/support.h"

namespace {

using standin::Ref;
using standin::Value;

const char* const kTint = "TintPictureVQZ(source as picture, GreyBase as color, SepiaBase as color) as picture";
const char* const kMask = "EmbeddedMaskVQZ(swap as boolean) as picture";
const char* const kMerge = "MergePictureVQZ(source1 as picture, source2 as picture) as picture";
const char* const kCombine = "CombinePicturesVQZ(red as picture, blue as picture, green as picture) as picture";
const char* const kCountColor = "CountColorVQZ(col as color) as integer";
const char* const kCountColors =
    "CountColorsVQZ(byref red as memoryblock, byref blue as memoryblock, byref green as memoryblock, byref count as integer)";
const char* const kTransform =
    "TransformColorsVQZ(red as memoryblock, blue as memoryblock, green as memoryblock, dest as picture = nil) as picture";
const char* const kReplace = "ReplaceColorVQZ(SearchColor as color, ReplaceWithColor as color) as picture";
const char* const kExtract =
    "ExtractColorVQZ(SearchColor as color, ReplaceWithColor as color, BackGroundColor as color) as picture";

constexpr double kPixels = double(bench::kSide) * bench::kSide;

void addPictureMethod(const std::string& name, const std::string& declaration, std::vector<Value> args) {
    bench::addPictureBenchmark(name, [declaration, args](void* picture, const bench::Format&) {
        bench::run("Picture", declaration, picture, args);
    });
}

// A benchmark per reader format with its own set-up before the timed loop.
void addPerFormat(const std::string& name, std::function<void(benchmark::State&, const bench::Format&)> body) {
    for (const bench::Format& format : bench::readerFormats())
        bench::addBenchmark(
            name + "/" + format.name, [format, body](benchmark::State& state) { body(state, format); }, kPixels,
            format.kind);
}

Ref lookupTable(int shift) {
    Ref table = Ref::adopt(standin::newMemoryBlock(256));
    for (int i = 0; i < 256; ++i) standin::memoryBlockData(table.get())[i] = uint8_t(i * 7 + shift);
    return table;
}

}  // namespace

VQZ_BENCHMARKS(color) {
    addPerFormat("TintPictureVQZ", [](benchmark::State& state, const bench::Format& format) {
        void* picture = bench::picture(format);
        for (auto _ : state)
            bench::run("", kTint, nullptr, {Value::picture(picture), Value::color(0x4D9619), Value::color(0xFFE0B0)});
    });
    addPictureMethod("EmbeddedMaskVQZ", kMask, {Value::boolean(true)});
    // The setter changes the picture in place: a copy of the benchmark picture.
    addPerFormat("EmbeddedMaskVQZ_set", [](benchmark::State& state, const bench::Format& format) {
        void* mask = bench::secondPicture(format);
        for (auto _ : state)
            standin::invokeSetter("Picture", kMask, bench::picture(format), {Value::boolean(false)},
                                  Value::picture(mask));
    });
    addPerFormat("MergePictureVQZ", [](benchmark::State& state, const bench::Format& format) {
        void* a = bench::picture(format);
        void* b = bench::secondPicture(format);
        for (auto _ : state) bench::run("", kMerge, nullptr, {Value::picture(a), Value::picture(b)});
    });
    addPerFormat("CombinePicturesVQZ", [](benchmark::State& state, const bench::Format& format) {
        void* a = bench::picture(format);
        void* b = bench::secondPicture(format);
        for (auto _ : state)
            bench::run("", kCombine, nullptr, {Value::picture(a), Value::picture(b), Value::picture(a)});
    });
    addPictureMethod("CountColorVQZ", kCountColor, {Value::color(0x808080)});
    // The blocks are made once and keep accumulating, as a caller's would.
    addPerFormat("CountColorsVQZ", [](benchmark::State& state, const bench::Format& format) {
        void* picture = bench::picture(format);
        std::vector<Value> args = {Value::nil(), Value::nil(), Value::nil(), Value::integer(0)};
        for (auto _ : state) standin::invokeRef("Picture", kCountColors, picture, args);
    });
    addPerFormat("TransformColorsVQZ", [](benchmark::State& state, const bench::Format& format) {
        void* picture = bench::picture(format);
        Ref red = lookupTable(1), blue = lookupTable(2), green = lookupTable(3);
        for (auto _ : state)
            bench::run("Picture", kTransform, picture,
                       {Value::block(red.get()), Value::block(blue.get()), Value::block(green.get())});
    });
    addPictureMethod("ReplaceColorVQZ", kReplace, {Value::color(0x808080), Value::color(0x123456)});
    addPictureMethod("ExtractColorVQZ", kExtract,
                     {Value::color(0x808080), Value::color(0x123456), Value::color(0xFFFFFF)});
}
