// Declarations and checks shared by the color operation tests that run through the
// stand-in host.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/support/fixture.h"

namespace colortest {

inline const char* const kTint = "TintPictureVQZ(source as picture, GreyBase as color, SepiaBase as color) as picture";
inline const char* const kMask = "EmbeddedMaskVQZ(swap as boolean) as picture";
inline const char* const kHasMask = "HasMaskVQZ as boolean";
inline const char* const kMerge = "MergePictureVQZ(source1 as picture, source2 as picture) as picture";
inline const char* const kCombine = "CombinePicturesVQZ(red as picture, blue as picture, green as picture) as picture";
inline const char* const kTransform =
    "TransformColorsVQZ(red as memoryblock, blue as memoryblock, green as memoryblock, dest as picture = nil) as picture";
inline const char* const kReplace = "ReplaceColorVQZ(SearchColor as color, ReplaceWithColor as color) as picture";
inline const char* const kExtract =
    "ExtractColorVQZ(SearchColor as color, ReplaceWithColor as color, BackGroundColor as color) as picture";
inline const char* const kCountColor = "CountColorVQZ(col as color) as integer";
inline const char* const kCountColors =
    "CountColorsVQZ(byref red as memoryblock, byref blue as memoryblock, byref green as memoryblock, byref count as integer)";

// A result written in full by a writer: the expected colors everywhere, and the
// writer's mask byte in every pixel (255 in a desktop picture, 0 in a console one).
inline ::testing::AssertionResult writtenPicture(const vqztest::Snapshot& expected, void* result, bool desktop) {
    if (!result) return ::testing::AssertionFailure() << "no picture";
    const vqztest::Snapshot got = vqztest::snapshot(result);
    ::testing::AssertionResult same = vqztest::samePixels(expected, got);
    if (!same) return same;
    for (size_t i = 0; i < got.mask.size(); ++i)
        if (got.mask[i] != (desktop ? 255 : 0))
            return ::testing::AssertionFailure() << "mask byte " << int(got.mask[i]) << " at pixel " << i;
    return ::testing::AssertionSuccess();
}

// A picture of `like`'s size in one color.
inline vqztest::Snapshot filled(const vqztest::Snapshot& like, uint32_t rgb) {
    return vqztest::expectedFrom(like, [=](int, int, uint32_t) { return rgb; });
}

}  // namespace colortest
