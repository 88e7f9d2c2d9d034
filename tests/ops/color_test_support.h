// Checks shared by the color operation tests that run through the stand-in host.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/support/fixture.h"

namespace colortest {

// A result written in full by a writer: the expected colors everywhere, and the
// writer's mask byte in every pixel (255 in a desktop picture, 0 in a console one).
inline ::testing::AssertionResult writtenPicture(const vqztest::Snapshot& expected, void* result, bool desktop) {
    if (!result) return ::testing::AssertionFailure() << "no picture";
    const vqztest::Snapshot got = vqztest::snapshot(result);
    ::testing::AssertionResult same = vqztest::samePixels(expected, got);
    if (!same) return same;
    const uint8_t mask = desktop ? 255 : 0;
    for (size_t i = 0; i < got.mask.size(); ++i)
        if (got.mask[i] != mask)
            return ::testing::AssertionFailure() << "mask byte " << int(got.mask[i]) << " at pixel " << i;
    return ::testing::AssertionSuccess();
}

}  // namespace colortest
