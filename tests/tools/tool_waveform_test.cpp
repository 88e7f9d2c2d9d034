// vqz waveform: audio files of several kinds become the sample block that
// RenderSamplesVQZ draws, with the options passed as its arguments.
#ifdef VQZ_TOOL_PATH

#include <sndfile.h>

#include <array>
#include <cmath>
#include <cstring>

#include "tests/support/fixture.h"
#include "tests/tools/tool_runner.h"

namespace {

using namespace vqztest;
using namespace vqztool;

const char* const kRender =
    "RenderSamplesVQZ(Samples as memoryblock, SampleCount as integer, Smooth as integer, Width as integer, Height as "
    "integer, outlinewidth as integer, BackColor as color=&c88B5C4, ForeColor as color=&c274C5A, OutLineColor as "
    "color=&c203F4E, Bits as Integer = 8, AutoScale as boolean = false) as Picture";

// Writes a test signal of 1200 frames in [-1, 1] and returns the block the tool should
// hand over: the file read back through libsndfile as 16-bit and mixed to mono, or
// its bytes for unsigned 8-bit files; `frames` the number of frames.
std::vector<unsigned char> writeSound(const std::string& path, int format, int channels, int& frames) {
    SF_INFO info{};
    info.samplerate = 8000;
    info.channels = channels;
    info.format = format;
    std::vector<double> samples(1200 * size_t(channels));
    for (size_t i = 0; i < samples.size(); ++i) {
        double f = double(i / size_t(channels));
        samples[i] = 0.9 * std::sin(0.05 * f * double(i % size_t(channels) + 1)) * (std::fmod(f, 97) / 97.0);
    }
    SNDFILE* out = sf_open(path.c_str(), SFM_WRITE, &info);
    if (!out) {
        ADD_FAILURE() << sf_strerror(nullptr);
        return {};
    }
    sf_write_double(out, samples.data(), sf_count_t(samples.size()));
    sf_close(out);

    SNDFILE* in = sf_open(path.c_str(), SFM_READ, &info);
    std::vector<short> all(size_t(info.frames) * size_t(channels));
    sf_readf_short(in, all.data(), info.frames);
    sf_close(in);
    frames = int(info.frames);
    std::vector<unsigned char> block;
    for (size_t i = 0; i < size_t(frames); ++i) {
        int sum = 0;
        for (size_t c = 0; c < size_t(channels); ++c) sum += all[i * size_t(channels) + c];
        int mono = sum / channels;
        if ((format & SF_FORMAT_SUBMASK) == SF_FORMAT_PCM_U8) {
            block.push_back(uint8_t(mono / 256 + 128));
        } else {
            int16_t s16 = int16_t(mono);
            unsigned char b[2];
            std::memcpy(b, &s16, 2);
            block.insert(block.end(), b, b + 2);
        }
    }
    return block;
}

class ToolWaveformTest : public PluginTest {};

TEST_F(ToolWaveformTest, DrawsEveryKindOfFileAsTheMethodDoes) {
    TempDir dir;
    struct Kind {
        const char* file;
        int format;
        int channels;
    };
    const Kind kinds[] = {
        {"u8.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 1},        {"u8stereo.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 2},
        {"s16stereo.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2}, {"float.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 1},
        {"s24.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 1},     {"tone.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, 1},
    };
    // The options and the arguments they become; without options, the declaration's defaults.
    struct Options {
        std::vector<std::string> args;
        std::array<int, 4> smoothWidthHeightOutline;
        std::array<uint32_t, 3> backForeOutline;
        bool autoscale;
    };
    const Options options[] = {
        {{}, {1, 800, 200, 1}, {0x88B5C4, 0x274C5A, 0x203F4E}, false},
        {{"--width", "97", "--height", "41", "--smooth", "4", "--outline", "0", "--autoscale"},
         {4, 97, 41, 0},
         {0x88B5C4, 0x274C5A, 0x203F4E},
         true},
        {{"--width", "150", "--height", "60", "--outline", "3", "--colors", "#102030,&cFFEEDD,&c00FF00"},
         {1, 150, 60, 3},
         {0x102030, 0xFFEEDD, 0x00FF00},
         false},
    };
    for (const Kind& k : kinds) {
        const bool unsigned8 = (k.format & SF_FORMAT_SUBMASK) == SF_FORMAT_PCM_U8;
        int count = 0;
        std::vector<unsigned char> bytes = writeSound(dir / k.file, k.format, k.channels, count);
        for (const Options& o : options) {
            std::vector<std::string> args = {"waveform", k.file, "out.png"};
            args.insert(args.end(), o.args.begin(), o.args.end());
            SCOPED_TRACE(::testing::PrintToString(args));
            ToolRun run = runTool(args, dir.path());

            Ref block = makeBlock(int32_t(bytes.size()));
            std::memcpy(standin::memoryBlockData(block.get()), bytes.data(), bytes.size());
            std::vector<Value> call = {Value::block(block.get()), Value::integer(count)};
            for (int v : o.smoothWidthHeightOutline) call.push_back(Value::integer(v));
            for (uint32_t c : o.backForeOutline) call.push_back(Value::color(c));
            call.push_back(Value::integer(unsigned8 ? 8 : 15));
            call.push_back(Value::boolean(o.autoscale));
            Ref expected = callGlobalPicture(kRender, call);
            expectOutput(run, expected, dir / "out.png");
        }
    }
}

}  // namespace

#endif  // VQZ_TOOL_PATH
