#include "bench/support.h"

VQZ_BENCHMARKS(invert) {
    bench::addPictureBenchmark("InvertVQZ", [](void* picture, const bench::Format&) {
        bench::run("Picture", "InvertVQZ as picture", picture);
    });
    bench::addPictureBenchmark("InvertGrayVQZ", [](void* picture, const bench::Format&) {
        bench::run("Picture", "InvertGrayVQZ as picture", picture);
    });
}
