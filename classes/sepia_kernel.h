// Toning a block of pixels: a weighted gray plus a per-channel offset.
#pragma once

#include <cstdint>

#include "classes/filter_class.h"
#include "picture/editor.h"

struct SepiaTone {
    int32_t weight[3];  // red, green, blue weights in 1/1024 steps
    int32_t offset[3];  // added to the gray for red, green, blue
};

// Per pixel: gray = (R * kR + G * kG + B * kB) / 1024, truncated toward zero; each
// channel is gray plus its offset, held to 0..255. The sum is exact for every
// weight (it is formed in 64 bits when 32 bits could overflow).
void ToneSepiaBlock(PictureReader& reader, PictureWriter& writer, FilterBlock block, const SepiaTone& tone);
