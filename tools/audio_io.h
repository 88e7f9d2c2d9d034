// Audio files through libsndfile (WAV, FLAC, Ogg and whatever else it reads),
// turned into the sample block the waveform renderer takes: 8-bit unsigned audio
// stays 8-bit unsigned (Bits 8), everything else becomes 16-bit signed in the
// machine's byte order (Bits 15). Channels are mixed to mono.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vqz {

struct SampleBlock {
    int bits = 15;                     // 8 or 15, as the renderer's Bits argument
    int32_t count = 0;                 // samples
    std::vector<unsigned char> bytes;  // the block's contents
    int sampleRate = 0;
    int channels = 0;  // of the file, before mixing
};

// Throws ToolError "PATH: problem".
SampleBlock readAudio(const std::string& path);

// Writes mono 16-bit PCM as a WAV file (all or nothing).
void writeWav16(const std::string& path, const std::vector<int16_t>& samples, int sampleRate);

}  // namespace vqz
