#include "fuzz/support/input.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <cstdio>
#include <limits>
#include <random>

namespace fuzz {

int32_t edgyInt(FuzzedDataProvider& in, int32_t size) {
    static const int32_t kEdges[] = {INT32_MIN, INT32_MIN + 1, -65537, -65536, -32769, -32768, -32767, -256,
                                     -1,        0,             1,      255,    256,    32767,  32768,  32769,
                                     65535,     65536,         65537,  INT32_MAX - 1, INT32_MAX};
    switch (in.ConsumeIntegralInRange<int>(0, 7)) {
        case 0: return kEdges[in.ConsumeIntegralInRange<size_t>(0, sizeof kEdges / sizeof kEdges[0] - 1)];
        case 1: return in.ConsumeIntegral<int32_t>();
        case 2: {
            // Around the size and its negative and double.
            const int64_t base = int64_t(size) * in.ConsumeIntegralInRange<int>(-2, 2);
            const int64_t v = base + in.ConsumeIntegralInRange<int>(-2, 2);
            return static_cast<int32_t>(std::max<int64_t>(INT32_MIN, std::min<int64_t>(INT32_MAX, v)));
        }
        default: return in.ConsumeIntegralInRange<int32_t>(-4, size + 4);
    }
}

double edgyDouble(FuzzedDataProvider& in) {
    static const double kEdges[] = {0.0,
                                    -0.0,
                                    1.0,
                                    -1.0,
                                    255.0,
                                    255.5,
                                    256.0,
                                    -0.5,
                                    1e-300,
                                    -1e-300,
                                    1e300,
                                    -1e300,
                                    2147483647.0,
                                    2147483648.0,
                                    -2147483649.0,
                                    std::numeric_limits<double>::denorm_min(),
                                    std::numeric_limits<double>::max(),
                                    std::numeric_limits<double>::infinity(),
                                    -std::numeric_limits<double>::infinity(),
                                    std::numeric_limits<double>::quiet_NaN()};
    switch (in.ConsumeIntegralInRange<int>(0, 5)) {
        case 0: return kEdges[in.ConsumeIntegralInRange<size_t>(0, sizeof kEdges / sizeof kEdges[0] - 1)];
        case 1: {
            // Any bit pattern.
            const uint64_t bits = in.ConsumeIntegral<uint64_t>();
            double d;
            memcpy(&d, &bits, sizeof d);
            return d;
        }
        case 2: return in.ConsumeFloatingPointInRange<double>(-3000.0, 3000.0);
        default: return in.ConsumeFloatingPointInRange<double>(-2.0, 300.0);
    }
}

namespace {

bool maskByteIndex(void* pic, int* index) {
    switch (standin::pictureKind(pic)) {
        case standin::PictureKind::GWorld:
            if (standin::pictureDepth(pic) != 32) return false;
            *index = 0;
            return true;
        case standin::PictureKind::Bitmap:
            *index = 3;
            return true;
        default:
            return false;
    }
}

uint32_t gray(uint32_t v) { return (v & 0xFF) * 0x010101u; }

}  // namespace

void fillPicture(FuzzedDataProvider& in, void* pic) {
    if (!pic || standin::pictureKind(pic) == standin::PictureKind::Vector) return;
    const int w = standin::pictureWidth(pic), h = standin::pictureHeight(pic);
    const int mode = in.ConsumeIntegralInRange<int>(0, 4);
    std::mt19937 rng(in.ConsumeIntegral<uint32_t>());
    uint32_t palette[4];
    for (uint32_t& c : palette) c = in.ConsumeIntegral<uint32_t>() & 0xFFFFFF;
    if (mode == 1) {
        palette[0] = 0x000000;
        palette[1] = 0xFFFFFF;
        palette[2] = gray(palette[2]);
    }
    // Pixels come from the input as long as it lasts, then from the generator.
    auto next = [&]() -> uint32_t { return in.remaining_bytes() ? in.ConsumeIntegral<uint8_t>() : rng() & 0xFF; };
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            uint32_t c;
            switch (mode) {
                case 0:
                case 1: c = palette[next() & 3]; break;                               // few colors
                case 2: c = (next() < 8) ? palette[0] : gray(next()); break;          // gray, odd pixels
                case 3: c = (rng() % 64 == 0) ? palette[1 + rng() % 3] : palette[0]; break;  // flat
                default: c = uint32_t(rng()) & 0xFFFFFF; break;                       // noise
            }
            standin::setRGB(pic, x, y, c);
        }
    }
    int maskIndex = 0;
    if (maskByteIndex(pic, &maskIndex))
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) standin::pixelAddress(pic, x, y)[maskIndex] = uint8_t(rng());
}

Ref makePicture(FuzzedDataProvider& in, const Format& f, int w, int h) {
    Ref pic;
    if (f.vector())
        pic = Ref::adopt(standin::newVectorPicture(w, h, in.ConsumeIntegral<uint32_t>() & 0xFFFFFF));
    else if (f.desktop())
        pic = Ref::adopt(standin::newGWorldPicture(w, h, f.depth));
    else
        pic = Ref::adopt(standin::newBitmapPicture(w, h));
    FUZZ_CHECK(bool(pic), std::string("the host made no ") + f.name + " picture of " + std::to_string(w) + "x" +
                         std::to_string(h));
    fillPicture(in, pic.get());
    return pic;
}

Ref makeSizedPicture(FuzzedDataProvider& in, const Format& f, int maxWidth, int maxHeight) {
    const int w = in.ConsumeIntegralInRange<int>(1, maxWidth);
    const int h = in.ConsumeIntegralInRange<int>(1, maxHeight);
    return makePicture(in, f, w, h);
}

Ref cropPicture(void* from, const Format& f, int x0, int y0, int w, int h) {
    Ref pic;
    if (f.desktop())
        pic = Ref::adopt(standin::newGWorldPicture(w, h, f.vector() ? 32 : f.depth));
    else
        pic = Ref::adopt(standin::newBitmapPicture(w, h));
    FUZZ_CHECK(bool(pic), "the host made no picture to crop into");
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) standin::setRGB(pic.get(), x, y, standin::getRGB(from, x0 + x, y0 + y));
    return pic;
}

Ref makeBlock(FuzzedDataProvider& in, int32_t size) {
    Ref block = Ref::adopt(standin::newMemoryBlock(size));
    FUZZ_CHECK(bool(block), "the host made no MemoryBlock of " + std::to_string(size) + " bytes");
    uint8_t* data = standin::memoryBlockData(block.get());
    std::mt19937 rng(in.ConsumeIntegral<uint32_t>());
    for (int32_t i = 0; i < size; ++i) data[i] = in.remaining_bytes() ? in.ConsumeIntegral<uint8_t>() : uint8_t(rng());
    return block;
}

Snapshot freshSnapshot(int w, int h) {
    Ref fresh = Ref::adopt(standin::newHostPicture(w, h));
    FUZZ_CHECK(bool(fresh), "the host made no picture for a reference");
    return vqztest::snapshot(fresh.get());
}

int writtenMaskByte(void* pic) {
    switch (standin::pictureKind(pic)) {
        case standin::PictureKind::GWorld: return standin::pictureDepth(pic) == 32 ? 255 : -1;
        case standin::PictureKind::Bitmap: return 0;
        default: return -1;
    }
}

std::string hex(uint32_t rgb) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "#%06X", unsigned(rgb & 0xFFFFFF));
    return buf;
}

std::string firstDifference(const Snapshot& expected, const Snapshot& actual) {
    if (expected.width != actual.width || expected.height != actual.height)
        return "size " + std::to_string(actual.width) + "x" + std::to_string(actual.height) + ", expected " +
               std::to_string(expected.width) + "x" + std::to_string(expected.height);
    for (int y = 0; y < expected.height; ++y)
        for (int x = 0; x < expected.width; ++x)
            if (expected.at(x, y) != actual.at(x, y))
                return "pixel (" + std::to_string(x) + ", " + std::to_string(y) + ") is " + hex(actual.at(x, y)) +
                       ", expected " + hex(expected.at(x, y));
    return "";
}

}  // namespace fuzz
