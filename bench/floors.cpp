// The two floors every operation is compared with, per reader format: the host
// creating a new 32-bit picture and copying the rows of a 32-bit picture into it,
// and one read of the picture's pixels.
#include <cstring>

#include "bench/support.h"

namespace {

void copyFloor(void* source, const bench::Format& format) {
    // Copy a 32-bit picture of the same host kind: the cheapest thing an operation
    // that returns a new picture could do.
    bench::Format full = format;
    full.depth = 32;
    void* from = format.depth == 32 ? source : bench::picture(full);
    const int w = standin::pictureWidth(from), h = standin::pictureHeight(from);
    standin::Ref copy = standin::Ref::adopt(standin::newHostPicture(w, h));
    for (int y = 0; y < h; ++y) memcpy(standin::pixelAddress(copy.get(), 0, y), standin::pixelAddress(from, 0, y), size_t(w) * 4);
    benchmark::ClobberMemory();
}

void readFloor(void* source, const bench::Format&) {
    const int w = standin::pictureWidth(source), h = standin::pictureHeight(source);
    const size_t rowSize = size_t(w) * standin::bytesPerPixel(source);
    uint64_t sum = 0;
    for (int y = 0; y < h; ++y) {
        const uint8_t* row = standin::pixelAddress(source, 0, y);
        for (size_t i = 0; i < rowSize; ++i) sum += row[i];
    }
    benchmark::DoNotOptimize(sum);
}

}  // namespace

VQZ_BENCHMARKS(floors) {
    bench::addPictureBenchmark("floor_copy", copyFloor);
    bench::addPictureBenchmark("floor_read", readFloor);
}
