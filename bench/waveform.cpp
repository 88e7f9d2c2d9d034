// RenderSamplesVQZ on ten minutes of 44.1 kHz mono 16-bit samples (26,460,000) drawn
// into 2000 x 500, the job of the ffmpeg showwavespic comparison in
// bench/peers/waveform.py. The samples are the raw signed 16-bit native-order file
// named by VQZ_WAVEFORM_SAMPLES when it is set (the peer script passes the samples it
// gives ffmpeg), else a generated signal. The Mpix/s column counts samples here.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench/support.h"

namespace {

using standin::Ref;
using standin::Value;

constexpr int32_t kSampleCount = 26460000;
const char* const kRender =
    "RenderSamplesVQZ(Samples as memoryblock, SampleCount as integer, Smooth as integer, Width as integer, Height as "
    "integer, outlinewidth as integer, BackColor as color=&c88B5C4, ForeColor as color=&c274C5A, OutLineColor as "
    "color=&c203F4E, Bits as Integer = 8, AutoScale as boolean = false) as Picture";

// Music-like: a few tones under a slow swell, with some noise.
std::vector<int16_t> GeneratedSignal() {
    std::vector<int16_t> samples(kSampleCount);
    uint32_t noise = 12345;
    for (int32_t i = 0; i < kSampleCount; ++i) {
        const double t = i / 44100.0;
        const double swell = 0.55 + 0.45 * std::sin(2 * M_PI * 0.05 * t);
        noise = noise * 1664525u + 1013904223u;
        const double v = swell * (0.4 * std::sin(2 * M_PI * 220 * t) + 0.25 * std::sin(2 * M_PI * 331 * t)) +
                         0.15 * (double(noise >> 16) / 32768.0 - 1.0);
        samples[size_t(i)] = int16_t(std::lrint(std::max(-1.0, std::min(1.0, v)) * 32767.0));
    }
    return samples;
}

const std::vector<int16_t>& Samples() {
    static const std::vector<int16_t> samples = [] {
        const char* path = getenv("VQZ_WAVEFORM_SAMPLES");
        if (!path || !*path) return GeneratedSignal();
        std::vector<int16_t> read;
        if (FILE* f = fopen(path, "rb")) {
            read.resize(kSampleCount);
            read.resize(fread(read.data(), sizeof(int16_t), read.size(), f));
            fclose(f);
        }
        if (read.empty()) {
            fprintf(stderr, "cannot read samples from %s\n", path);
            exit(1);
        }
        return read;
    }();
    return samples;
}

void AddRender(const std::string& name, const bench::Format& host, int32_t outlineWidth) {
    bench::addBenchmark(name, [host, outlineWidth](benchmark::State& state) {
        bench::picture(host, 1);  // loads the plugin into a host of this kind
        const std::vector<int16_t>& samples = Samples();
        const int32_t bytes = int32_t(samples.size() * sizeof(int16_t));
        Ref block = Ref::adopt(standin::newMemoryBlock(bytes));
        memcpy(standin::memoryBlockData(block.get()), samples.data(), size_t(bytes));
        for (auto _ : state)
            bench::run("", kRender, nullptr,
                       {Value::block(block.get()), Value::integer(0), Value::integer(1), Value::integer(2000),
                        Value::integer(500), Value::integer(outlineWidth), Value::color(0x88B5C4),
                        Value::color(0x274C5A), Value::color(0x203F4E), Value::integer(15), Value::boolean(false)});
    }, double(kSampleCount), host.kind);
}

}  // namespace

VQZ_BENCHMARKS(waveform) {
    const bench::Format& desktop = bench::readerFormats()[0];
    const bench::Format& console = bench::readerFormats()[2];
    AddRender("RenderSamplesVQZ 26.46M s16 2000x500 no outline", desktop, 0);
    AddRender("RenderSamplesVQZ 26.46M s16 2000x500 outline 1", desktop, 1);
    AddRender("RenderSamplesVQZ 26.46M s16 2000x500 outline 1 console", console, 1);
    AddRender("RenderSamplesVQZ 26.46M s16 2000x500 outline 3", desktop, 3);
}
