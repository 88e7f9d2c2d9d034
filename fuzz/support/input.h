// Turning fuzz input into host objects and arguments: numbers that sit on edges,
// pictures of every host format with contents that make matches likely (few colors,
// gray areas, single odd pixels), and MemoryBlocks.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/support/session.h"
#include "tests/support/fixture.h"

namespace fuzz {

using vqztest::Snapshot;

// A 32-bit argument: mostly small values around 0 and around `size` (a picture side),
// sometimes the ends of the 16- and 32-bit ranges, sometimes any value.
int32_t edgyInt(FuzzedDataProvider& in, int32_t size);
// A double: mostly modest values, sometimes 0, negative zero, huge, tiny, infinite or NaN.
double edgyDouble(FuzzedDataProvider& in);

// A picture of `f` of w x h (each at least 1) filled from the input.
Ref makePicture(FuzzedDataProvider& in, const Format& f, int w, int h);
// The same with the size taken from the input: 1..maxWidth by 1..maxHeight.
Ref makeSizedPicture(FuzzedDataProvider& in, const Format& f, int maxWidth, int maxHeight);
// Fills a pixel picture: a small palette, gray levels with odd pixels, one color with
// a few others, or noise; random mask bytes in 32-bit pixels (readers ignore them).
void fillPicture(FuzzedDataProvider& in, void* pic);
// Copies the w x h area at (x, y) of `from` into a new picture of `f` (same colors as
// far as the format holds them).
Ref cropPicture(void* from, const Format& f, int x, int y, int w, int h);

// A MemoryBlock of `size` bytes whose first bytes come from the input (the rest from a
// generator seeded by it).
Ref makeBlock(FuzzedDataProvider& in, int32_t size);

// The colors of a new host picture of w x h, as results start out.
Snapshot freshSnapshot(int w, int h);

// The mask byte of pixels that an operation wrote into `pic`: 255 in code 13, 0 in
// code 8; -1 for pixels without one.
int writtenMaskByte(void* pic);
// Checks the mask bytes of `pic` against the writing rule where `written(x, y)`, and
// (when `othersAsNew`) that the other pixels keep the mask byte of a new picture.
// Answers "" or the first pixel that breaks it.
template <class Written>
std::string maskDifference(void* pic, Written written, bool othersAsNew) {
    const int rule = writtenMaskByte(pic);
    if (rule < 0) return "";
    const Snapshot s = vqztest::snapshot(pic);
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; ++x) {
            const bool w = written(x, y);
            if (!w && !othersAsNew) continue;
            const int want = w ? rule : standin::kNewPictureMaskByte;
            if (s.maskAt(x, y) != want)
                return "mask byte of (" + std::to_string(x) + ", " + std::to_string(y) + ") is " +
                       std::to_string(s.maskAt(x, y)) + ", expected " + std::to_string(want);
        }
    return "";
}

std::string hex(uint32_t rgb);
// The first pixel where two snapshots differ, for messages ("" when equal in color).
std::string firstDifference(const Snapshot& expected, const Snapshot& actual);

}  // namespace fuzz
