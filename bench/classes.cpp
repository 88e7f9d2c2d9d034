// The filter classes and the stored picture format on big random pictures. The
// lookup table also runs on a 6000 x 4000 picture with the table that
// bench/peers/lut3d.py gives ffmpeg, for the comparison with its lut3d filter.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <string>

#include "bench/support.h"
#include "classes/lut3d.h"

namespace {

using standin::PropValue;
using standin::Ref;
using standin::Value;

// The table of the ffmpeg comparison, node (r, g, b) for the input (17r, 17g, 17b);
// bench/peers/lut3d.py writes the same function as a .cube file (on a 0..1 scale).
double peerTable(int r, int g, int b, int channel) {
    const double R = r / 15.0, G = g / 15.0, B = b / 15.0;
    double v;
    switch (channel) {
        case 0: v = std::min(1.0, 0.1 + 0.8 * std::pow(R, 0.8) + 0.1 * G); break;
        case 1: v = 0.5 * G + 0.3 * B * R + 0.2 * G * G; break;
        default: v = std::min(1.0, std::pow(B, 1.2) * 0.9 + 0.1 * R); break;
    }
    return 255.0 * v;
}

void setPicture(void* instance, const char* name, void* picture) {
    PropValue v;
    v.type = PropValue::Handle;
    v.h = picture;
    standin::setProperty(instance, name, v);
}

Ref newLutFilter(void* source) {
    Ref filter = Ref::adopt(standin::newInstance("PictureLut3DVQZ"));
    auto* data = static_cast<Lut3DClassData*>(standin::instanceData(filter.get()));
    for (int r = 0; r < 16; ++r)
        for (int g = 0; g < 16; ++g)
            for (int b = 0; b < 16; ++b)
                for (int x = 0; x < 3; ++x) data->table[LutIndex(r, g, b, x)] = peerTable(r, g, b, x);
    setPicture(filter.get(), "SourcePicture", source);
    return filter;
}

// A 6000 x 4000 desktop picture of depth 24 (rgb24, like ffmpeg's input) with random
// pixels, written row by row so that making it takes a moment only.
Ref peerSizedPicture() {
    bench::picture(bench::readerFormats()[1]);  // loads the desktop host
    Ref made = Ref::adopt(standin::newGWorldPicture(6000, 4000, 24));
    std::mt19937 random(6000);
    for (int y = 0; y < 4000; ++y) {
        uint8_t* row = standin::pixelAddress(made.get(), 0, y);
        for (int i = 0; i < 6000 * 3; i += 3) {
            const uint32_t v = random();
            row[i] = uint8_t(v), row[i + 1] = uint8_t(v >> 8), row[i + 2] = uint8_t(v >> 16);
        }
    }
    return made;
}

}  // namespace

VQZ_BENCHMARKS(classes) {
    for (const bench::Format& format : bench::readerFormats()) {
        bench::addBenchmark("PictureLut3DVQZ.Run/" + std::string(format.name), [format](benchmark::State& state) {
            Ref filter = newLutFilter(bench::picture(format));
            for (auto _ : state) bench::run("PictureLut3DVQZ", "Run as boolean", filter.get());
        }, double(bench::kSide) * bench::kSide, format.kind);

        bench::addBenchmark("PictureSepiaVQZ.Run/" + std::string(format.name), [format](benchmark::State& state) {
            void* source = bench::picture(format);
            Ref filter = Ref::adopt(standin::newInstance("PictureSepiaVQZ"));
            setPicture(filter.get(), "SourcePicture", source);
            for (auto _ : state) bench::run("PictureSepiaVQZ", "Run as boolean", filter.get());
        }, double(bench::kSide) * bench::kSide, format.kind);

        bench::addBenchmark("PicturetoBinaryStringVQZ/" + std::string(format.name), [format](benchmark::State& state) {
            void* source = bench::picture(format);
            for (auto _ : state) bench::run("", "PicturetoBinaryStringVQZ(p as picture) as string", nullptr, {Value::picture(source)});
        }, double(bench::kSide) * bench::kSide, format.kind);

        bench::addBenchmark("BinaryStringtoPictureVQZ/" + std::string(format.name), [format](benchmark::State& state) {
            void* source = bench::picture(format);
            const Value stored = standin::invoke("", "PicturetoBinaryStringVQZ(p as picture) as string", nullptr,
                                                 {Value::picture(source)});
            for (auto _ : state)
                bench::run("", "BinaryStringtoPictureVQZ(data as String) as Picture", nullptr, {Value::string(stored.ref.get())});
        }, double(bench::kSide) * bench::kSide, format.kind);
    }
    // The ffmpeg comparison: rgb24 pixels in (code 12), a new picture out.
    bench::addBenchmark("PictureLut3DVQZ.Run 6000x4000 code12", [](benchmark::State& state) {
        Ref source = peerSizedPicture();
        Ref filter = newLutFilter(source.get());
        for (auto _ : state) bench::run("PictureLut3DVQZ", "Run as boolean", filter.get());
    }, 6000.0 * 4000.0, standin::AppKind::Desktop);
}
