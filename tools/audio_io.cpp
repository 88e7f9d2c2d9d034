#include "tools/audio_io.h"

#include <sndfile.h>

#include <climits>
#include <cstring>

#include "tools/errors.h"
#include "tools/files.h"

namespace vqz {

SampleBlock readAudio(const std::string& path) {
    if (!fileExists(path)) {
        readFile(path);  // names the reason: missing, unreadable, a directory
        throw ToolError(path + ": cannot read");
    }
    SF_INFO info;
    std::memset(&info, 0, sizeof info);
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (!file) throw ToolError(path + ": not an audio file libsndfile can read (" + sf_strerror(nullptr) + ")");
    SampleBlock block;
    block.sampleRate = info.samplerate;
    block.channels = info.channels;
    bool unsigned8 = (info.format & SF_FORMAT_SUBMASK) == SF_FORMAT_PCM_U8;
    block.bits = unsigned8 ? 8 : 15;
    size_t bytesPerSample = unsigned8 ? 1 : 2;
    if (info.channels < 1 || info.frames < 0 || uint64_t(info.frames) * bytesPerSample > uint64_t(INT32_MAX)) {
        sf_close(file);
        throw ToolError(path + ": too many samples for a MemoryBlock");
    }
    size_t frames = size_t(info.frames);
    size_t channels = size_t(info.channels);
    std::vector<short> interleaved(frames * channels);
    sf_count_t got = frames ? sf_readf_short(file, interleaved.data(), sf_count_t(frames)) : 0;
    std::string error = sf_strerror(file);
    sf_close(file);
    if (got < 0 || (got == 0 && frames > 0)) throw ToolError(path + ": cannot read the samples (" + error + ")");
    frames = size_t(got);

    block.count = int32_t(frames);
    block.bytes.resize(frames * bytesPerSample);
    for (size_t f = 0; f < frames; ++f) {
        int32_t sum = 0;
        for (size_t c = 0; c < channels; ++c) sum += interleaved[f * channels + c];
        int32_t mono = sum / int32_t(channels);
        if (unsigned8) {
            // libsndfile reads an unsigned byte u as (u - 128) * 256.
            block.bytes[f] = uint8_t(mono / 256 + 128);
        } else {
            int16_t s = int16_t(mono);
            std::memcpy(&block.bytes[f * 2], &s, 2);
        }
    }
    return block;
}

void writeWav16(const std::string& path, const std::vector<int16_t>& samples, int sampleRate) {
    SF_INFO info;
    std::memset(&info, 0, sizeof info);
    info.samplerate = sampleRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    // A WAV file of 16-bit samples is a fixed header and the samples; libsndfile
    // writes it to a virtual file in memory so that the output appears whole.
    struct Memory {
        std::vector<unsigned char> bytes;
        sf_count_t pos = 0;
    } mem;
    SF_VIRTUAL_IO io;
    io.get_filelen = [](void* u) -> sf_count_t { return sf_count_t(static_cast<Memory*>(u)->bytes.size()); };
    io.seek = [](sf_count_t offset, int whence, void* u) -> sf_count_t {
        Memory* m = static_cast<Memory*>(u);
        sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? m->pos : sf_count_t(m->bytes.size());
        m->pos = base + offset;
        return m->pos;
    };
    io.read = [](void* ptr, sf_count_t count, void* u) -> sf_count_t {
        Memory* m = static_cast<Memory*>(u);
        sf_count_t avail = sf_count_t(m->bytes.size()) - m->pos;
        if (count > avail) count = avail > 0 ? avail : 0;
        if (count > 0) std::memcpy(ptr, m->bytes.data() + m->pos, size_t(count));
        m->pos += count;
        return count;
    };
    io.write = [](const void* ptr, sf_count_t count, void* u) -> sf_count_t {
        Memory* m = static_cast<Memory*>(u);
        size_t end = size_t(m->pos + count);
        if (end > m->bytes.size()) m->bytes.resize(end);
        std::memcpy(m->bytes.data() + m->pos, ptr, size_t(count));
        m->pos += count;
        return count;
    };
    io.tell = [](void* u) -> sf_count_t { return static_cast<Memory*>(u)->pos; };
    SNDFILE* file = sf_open_virtual(&io, SFM_WRITE, &info, &mem);
    if (!file) throw ToolError(path + ": cannot write audio: " + sf_strerror(nullptr));
    sf_count_t written = sf_write_short(file, samples.data(), sf_count_t(samples.size()));
    sf_close(file);
    if (written != sf_count_t(samples.size())) throw ToolError(path + ": cannot write audio");
    writeFileAtomically(path, mem.bytes);
}

}  // namespace vqz
