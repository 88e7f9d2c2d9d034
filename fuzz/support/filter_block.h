// The block that the filter classes map, as the plain version in the tests walks it,
// but with the passes over the rows capped at the picture's height: past the last
// row the cursors start again at row 0 and map the same rows to the same colors, so
// the result is the same, and bounds near the ends of the 32-bit range stay quick.
#pragma once

#include <algorithm>
#include <cstdint>

#include "tests/reference/lut_reference.h"

namespace fuzz {

template <class PixelMap>
vqztest::Snapshot cappedFilterBlock(const vqztest::Snapshot& source, const vqztest::Snapshot& fresh,
                              reference::FilterBounds b, PixelMap map) {
    const int64_t yEnd = b.maxY > b.minY && b.maxY < source.height ? b.maxY : source.height;
    const int64_t passes = yEnd - b.minY;
    if (passes > source.height) {
        // The same block with exactly `height` passes: every row once.
        b.minY = 0;
        b.maxY = 0;
    }
    return reference::filterBlock(source, fresh, b, map);
}

}  // namespace fuzz
