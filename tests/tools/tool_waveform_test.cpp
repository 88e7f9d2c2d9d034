// vqz waveform: audio files of several kinds become the sample block that
// RenderSamplesVQZ draws, with the options passed as its arguments.
#ifdef VQZ_TOOL_PATH

#include <sndfile.h>

#include <cmath>
#include <cstring>

#include "tests/support/fixture.h"
#include "tests/tools/tool_runner.h"

namespace {

using namespace vqztest;
using vqztool::runTool;
using vqztool::TempDir;

const char* const kRender =
    "RenderSamplesVQZ(Samples as memoryblock, SampleCount as integer, Smooth as integer, Width as integer, Height as "
    "integer, outlinewidth as integer, BackColor as color=&c88B5C4, ForeColor as color=&c274C5A, OutLineColor as "
    "color=&c203F4E, Bits as Integer = 8, AutoScale as boolean = false) as Picture";

// A test signal: `frames` frames of `channels` channels in [-1, 1].
std::vector<double> signal(size_t frames, int channels) {
    std::vector<double> s(frames * size_t(channels));
    for (size_t f = 0; f < frames; ++f)
        for (int c = 0; c < channels; ++c)
            s[f * size_t(channels) + size_t(c)] = 0.9 * std::sin(0.05 * double(f) * (c + 1)) * (double(f % 97) / 97.0);
    return s;
}

void writeSound(const std::string& path, int format, int channels, const std::vector<double>& samples) {
    SF_INFO info;
    std::memset(&info, 0, sizeof info);
    info.samplerate = 8000;
    info.channels = channels;
    info.format = format;
    SNDFILE* f = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(f, nullptr) << sf_strerror(nullptr);
    sf_write_double(f, samples.data(), sf_count_t(samples.size()));
    sf_close(f);
}

// The block the tool should hand over: read back through libsndfile as 16-bit,
// mixed to mono; unsigned 8-bit files keep their bytes.
std::vector<unsigned char> expectedBlock(const std::string& path, bool unsigned8, int& count) {
    SF_INFO info;
    std::memset(&info, 0, sizeof info);
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
    std::vector<short> all(size_t(info.frames) * size_t(info.channels));
    sf_readf_short(f, all.data(), info.frames);
    sf_close(f);
    count = int(info.frames);
    std::vector<unsigned char> block;
    for (sf_count_t i = 0; i < info.frames; ++i) {
        int sum = 0;
        for (int c = 0; c < info.channels; ++c) sum += all[size_t(i) * size_t(info.channels) + size_t(c)];
        int mono = sum / info.channels;
        if (unsigned8) {
            block.push_back(uint8_t(mono / 256 + 128));
        } else {
            int16_t s = int16_t(mono);
            unsigned char b[2];
            std::memcpy(b, &s, 2);
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
        bool unsigned8;
    };
    const Kind kinds[] = {
        {"u8.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 1, true},
        {"u8stereo.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 2, true},
        {"s16stereo.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2, false},
        {"float.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 1, false},
        {"s24.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 1, false},
        {"tone.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, 1, false},
    };
    struct Options {
        std::vector<std::string> args;
        int width, height, smooth, outline;
        uint32_t colors[3];  // 0xFFFFFFFF: the declaration's default
        bool autoscale;
    };
    const uint32_t kDefault = 0xFFFFFFFF;
    const Options options[] = {
        {{}, 800, 200, 1, 1, {kDefault, kDefault, kDefault}, false},
        {{"--width", "97", "--height", "41", "--smooth", "4", "--outline", "0", "--autoscale"}, 97, 41, 4, 0,
         {kDefault, kDefault, kDefault}, true},
        {{"--width", "150", "--height", "60", "--outline", "3", "--colors", "#102030,&cFFEEDD,&c00FF00"}, 150, 60, 1, 3,
         {0x102030, 0xFFEEDD, 0x00FF00}, false},
    };
    for (const Kind& k : kinds) {
        writeSound(dir / k.file, k.format, k.channels, signal(1200, k.channels));
        int count = 0;
        std::vector<unsigned char> bytes = expectedBlock(dir / k.file, k.unsigned8, count);
        for (const Options& o : options) {
            std::vector<std::string> args = {"waveform", k.file, "out.png"};
            args.insert(args.end(), o.args.begin(), o.args.end());
            SCOPED_TRACE(::testing::PrintToString(args));
            vqztool::ToolRun run = runTool(args, dir.path());

            Ref block = makeBlock(int32_t(bytes.size()));
            std::memcpy(standin::memoryBlockData(block.get()), bytes.data(), bytes.size());
            std::vector<Value> call = {Value::block(block.get()), Value::integer(count), Value::integer(o.smooth),
                                       Value::integer(o.width), Value::integer(o.height), Value::integer(o.outline)};
            const uint32_t defaults[3] = {0x88B5C4, 0x274C5A, 0x203F4E};
            for (int c = 0; c < 3; ++c) call.push_back(Value::color(o.colors[c] == kDefault ? defaults[c] : o.colors[c]));
            call.push_back(Value::integer(k.unsigned8 ? 8 : 15));
            call.push_back(Value::boolean(o.autoscale));
            Ref expected = callGlobalPicture(kRender, call);
            if (!expected) {
                EXPECT_EQ(run.status, 2) << vqztool::describe(run);
                continue;
            }
            ASSERT_EQ(run.status, 0) << vqztool::describe(run);
            EXPECT_TRUE(samePixels(snapshot(expected.get()), vqztool::snapshotOf(vqztool::readPicture(dir / "out.png"))));
        }
    }
}

TEST(ToolWaveform, UnreadableAudioIsOneLine) {
    TempDir dir;
    dir.write("noise.wav", "RIFF but not really a wave file");
    vqztool::ToolRun run = runTool({"waveform", "noise.wav", "out.png"}, dir.path());
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err.rfind("vqz: noise.wav: not an audio file", 0), 0u) << run.err;
    EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
    run = runTool({"waveform", "missing.wav", "out.png"}, dir.path());
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "vqz: missing.wav: cannot read: No such file or directory\n");
    EXPECT_EQ(dir.entries(), std::vector<std::string>{"noise.wav"});
}

}  // namespace

#endif  // VQZ_TOOL_PATH
