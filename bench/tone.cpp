// Tone adjustments and picture tests on big random pictures, to compare with the
// floors (a copy into a new picture for the methods that make one, a read of the
// picture for the tests and the colorness measure).
#include <string>
#include <vector>

#include "bench/support.h"

namespace {

using standin::Value;

void addPictureMethod(const std::string& name, const std::string& declaration, std::vector<Value> args) {
    bench::addPictureBenchmark(name, [declaration, args](void* picture, const bench::Format&) {
        bench::run("Picture", declaration, picture, args);
    });
}

// The tests look at every pixel only of a picture that passes: one of a single color,
// made before the timed loop (after bench::picture has loaded this format's host) and
// dropped after it.
void addPassingTest(const std::string& name, const std::string& declaration, uint32_t rgb, std::vector<Value> args) {
    for (const bench::Format& format : bench::readerFormats()) {
        bench::addBenchmark(name + "/" + format.name, [format, declaration, rgb, args](benchmark::State& state) {
            bench::picture(format);
            const bool desktop = format.kind == standin::AppKind::Desktop;
            standin::Ref uniform = standin::Ref::adopt(desktop ? standin::newGWorldPicture(bench::kSide, bench::kSide, format.depth)
                                                               : standin::newBitmapPicture(bench::kSide, bench::kSide));
            for (int y = 0; y < bench::kSide; ++y)
                for (int x = 0; x < bench::kSide; ++x) standin::setRGB(uniform.get(), x, y, rgb);
            for (auto _ : state) bench::run("Picture", declaration, uniform.get(), args);
        }, double(bench::kSide) * bench::kSide, format.kind);
    }
}

}  // namespace

VQZ_BENCHMARKS(tone) {
    addPictureMethod("ChangeBrightnessLinearVQZ", "ChangeBrightnessLinearVQZ(Brightness as double) as picture",
                     {Value::real(40)});
    addPictureMethod("ChangeContrastBrightnessAbsoluteVQZ",
                     "ChangeContrastBrightnessAbsoluteVQZ(ContrastRed as double, ContrastGreen as double, ContrastBlue "
                     "as double, BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture",
                     {Value::real(0.2), Value::real(0.3), Value::real(0.4), Value::real(-10), Value::real(5), Value::real(20)});
    addPictureMethod("ChangeCustomVQZ", "ChangeCustomVQZ(a as double, b as double) as picture",
                     {Value::real(1.5), Value::real(-20)});
    addPictureMethod("ChangeSaturationVQZ", "ChangeSaturationVQZ(Amount as integer) as picture", {Value::integer(60)});
    // Both pictures are made before the timed loop.
    for (const bench::Format& format : bench::readerFormats()) {
        bench::addBenchmark("ReplaceGreenChannelVQZ/" + std::string(format.name), [format](benchmark::State& state) {
            void* receiver = bench::picture(format);
            void* channel = bench::secondPicture(format);
            for (auto _ : state)
                bench::run("Picture", "ReplaceGreenChannelVQZ(GreenChannel as picture) as picture", receiver,
                           {Value::picture(channel)});
        }, double(bench::kSide) * bench::kSide, format.kind);
    }
    addPictureMethod("ColornessVQZ", "ColornessVQZ(threshold as integer = 10) as double", {Value::integer(10)});
    addPassingTest("isBlackVQZ", "isBlackVQZ as boolean", 0x000000, {});
    addPassingTest("isWhiteVQZ", "isWhiteVQZ as boolean", 0xFFFFFF, {});
    addPassingTest("isGrayVQZ", "isGrayVQZ(tolerance as integer = 0) as boolean", 0x808080, {});
    addPassingTest("isGrayVQZ_tolerance", "isGrayVQZ(tolerance as integer = 0) as boolean", 0x808080,
                   {Value::integer(8)});
}
