// Moving the bytes of four pixels at a time between 3-byte and 4-byte layouts with
// one byte shuffle (SSSE3), for the row loops that only rearrange channels. The
// callers build the shuffle from the formats' own load and store (byte_layout.h)
// and fall back to their plain loops when the processor lacks SSSE3.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define VQZ_HAVE_BYTE_SHUFFLE 1
#endif

namespace shuffle {

// A shuffle: output byte i takes input byte `from[i]` (or 0 when it is negative),
// then `fixed` (one 32-bit word per output pixel) is or-ed in.
struct Control {
    int8_t from[16];
    uint32_t fixed;
};

#if defined(VQZ_HAVE_BYTE_SHUFFLE)

inline bool Available() {
    static const bool available = __builtin_cpu_supports("ssse3");
    return available;
}

// `groups` steps: 16 bytes are read at source + g * sourceStep and 16 bytes written
// at target + g * targetStep. The caller makes sure that every one of those 16-byte
// reads and writes lies inside its buffer (a step of 12 reads or writes 4 bytes
// past the group's own 12; later groups overwrite what is written there).
__attribute__((target("ssse3"))) inline void Run(const uint8_t* source, ptrdiff_t sourceStep, uint8_t* target,
                                                  ptrdiff_t targetStep, int32_t groups, const Control& control) {
    const __m128i mask = _mm_loadu_si128(reinterpret_cast<const __m128i*>(control.from));
    const __m128i fixed = _mm_set1_epi32(static_cast<int32_t>(control.fixed));
    for (int32_t g = 0; g < groups; ++g) {
        const __m128i in = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + g * sourceStep));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + g * targetStep),
                         _mm_or_si128(_mm_shuffle_epi8(in, mask), fixed));
    }
}

#else

inline bool Available() { return false; }
inline void Run(const uint8_t*, ptrdiff_t, uint8_t*, ptrdiff_t, int32_t, const Control&) {}

#endif

// How many leading pixels of a row of `width` 3-byte pixels can go through the
// shuffle in groups of four, so that the 16 bytes a group reads or writes (4 more
// than its own 12) stay within the row.
inline int32_t GroupedPixels(int32_t count, int32_t width) {
    const int32_t limit = count < width - 2 ? count : width - 2;
    return limit > 0 ? limit & ~3 : 0;
}

}  // namespace shuffle
