// Scrolling with wrap, the color rectangle mask and sub-picture search.
//
// - Scroll*: in place on the 4096 x 4096 random picture (compare with floor_copy).
// - ExtractColorRectangleMaskVQZ: 4096 x 4096 gray picture with 100,000 isolated
//   colored pixels, each its own rectangle.
// - FindPicture: a 2048 x 2048 receiver and its own bottom-right 64 x 64 block; the
//   receiver is the raw RGB file named by VQZ_SEARCH_RECEIVER when that is set
//   (bench/peers/search.py hands OpenCV the same file), else random. The
//   adversarial pair is a receiver of one color and a block of that color whose
//   last pixel differs. Compare both with FindReadFloor, one read of the receiver.
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "bench/support.h"

namespace {

using standin::Ref;
using standin::Value;

constexpr int kReceiverSide = 2048;
constexpr int kBlockSide = 64;
constexpr int kColoredPixels = 100000;

Ref NewPicture(const bench::Format& format, int w, int h) {
    return Ref::adopt(format.kind == standin::AppKind::Desktop ? standin::newGWorldPicture(w, h, format.depth)
                                                               : standin::newBitmapPicture(w, h));
}

// The receiver's colors, row-major 0x00RRGGBB: from VQZ_SEARCH_RECEIVER or random.
const std::vector<uint32_t>& ReceiverColors() {
    static const std::vector<uint32_t> colors = [] {
        std::vector<uint32_t> out(size_t(kReceiverSide) * kReceiverSide);
        const char* path = getenv("VQZ_SEARCH_RECEIVER");
        std::vector<uint8_t> raw(out.size() * 3);
        FILE* f = path && *path ? fopen(path, "rb") : nullptr;
        const bool fromFile = f && fread(raw.data(), 1, raw.size(), f) == raw.size();
        if (f) fclose(f);
        if (path && *path && !fromFile) {
            fprintf(stderr, "cannot read %zu bytes of RGB from %s\n", raw.size(), path);
            exit(1);
        }
        std::mt19937 random(77);
        for (size_t i = 0; i < out.size(); ++i)
            out[i] = fromFile ? uint32_t(raw[3 * i]) << 16 | uint32_t(raw[3 * i + 1]) << 8 | raw[3 * i + 2]
                              : uint32_t(random()) & 0xFFFFFF;
        return out;
    }();
    return colors;
}

void Fill(void* pic, int x0, int y0, int w, int h, const std::vector<uint32_t>& colors, int stride) {
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) standin::setRGB(pic, x, y, colors[size_t(y0 + y) * size_t(stride) + size_t(x0 + x)]);
}

void AddScroll(const std::string& name, const std::string& declaration, std::vector<Value> args) {
    bench::addPictureBenchmark(name, [declaration, args](void* picture, const bench::Format&) {
        bench::run("Picture", declaration, picture, args);
    });
}

void AddRectangleMask(const bench::Format& format) {
    bench::addBenchmark("ExtractColorRectangleMaskVQZ/" + std::string(format.name), [format](benchmark::State& state) {
        bench::picture(format);  // loads this format's host
        const int side = bench::kSide;
        Ref pic = NewPicture(format, side, side);
        std::mt19937 random(5);
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x) {
                const uint32_t level = random() & 0xFF;
                standin::setRGB(pic.get(), x, y, level * 0x010101u);
            }
        // On even columns and rows only, so that no two touch, not even at a corner.
        for (int i = 0; i < kColoredPixels; ++i) {
            const int x = int(random() % (side / 2)) * 2, y = int(random() % (side / 2)) * 2;
            standin::setRGB(pic.get(), x, y, 0xC03010);
        }
        for (auto _ : state) bench::run("Picture", "ExtractColorRectangleMaskVQZ as picture", pic.get());
    }, double(bench::kSide) * bench::kSide, format.kind);
}

const char* const kFind = "FindPicture(pic as picture, byref x as integer, byref y as integer) as boolean";

void RunFind(benchmark::State& state, void* receiver, void* block, int expectX, int expectY, bool expectFound) {
    for (auto _ : state) {
        std::vector<Value> args = {Value::picture(block), Value::integer(0), Value::integer(0)};
        const Value found = standin::invokeRef("Picture", kFind, receiver, args);
        if ((found.i != 0) != expectFound || (expectFound && (args[1].i != expectX || args[2].i != expectY))) {
            state.SkipWithError("FindPicture gave the wrong answer");
            break;
        }
    }
}

void AddFind(const bench::Format& format) {
    const double pixels = double(kReceiverSide) * kReceiverSide;
    bench::addBenchmark("FindPicture/" + std::string(format.name), [format](benchmark::State& state) {
        bench::picture(format);
        Ref receiver = NewPicture(format, kReceiverSide, kReceiverSide);
        Fill(receiver.get(), 0, 0, kReceiverSide, kReceiverSide, ReceiverColors(), kReceiverSide);
        const int corner = kReceiverSide - kBlockSide;
        Ref block = NewPicture(format, kBlockSide, kBlockSide);
        Fill(block.get(), corner, corner, kBlockSide, kBlockSide, ReceiverColors(), kReceiverSide);
        RunFind(state, receiver.get(), block.get(), corner, corner, true);
    }, pixels, format.kind);

    bench::addBenchmark("FindPictureAdversarial/" + std::string(format.name), [format](benchmark::State& state) {
        bench::picture(format);
        Ref receiver = NewPicture(format, kReceiverSide, kReceiverSide);
        const std::vector<uint32_t> ground(size_t(kReceiverSide) * kReceiverSide, 0x336699);
        Fill(receiver.get(), 0, 0, kReceiverSide, kReceiverSide, ground, kReceiverSide);
        Ref block = NewPicture(format, kBlockSide, kBlockSide);
        Fill(block.get(), 0, 0, kBlockSide, kBlockSide, ground, kReceiverSide);
        standin::setRGB(block.get(), kBlockSide - 1, kBlockSide - 1, 0x33669A);
        RunFind(state, receiver.get(), block.get(), 0, 0, false);
    }, pixels, format.kind);

    // One read of a receiver's pixels, the yardstick of the search.
    bench::addBenchmark("FindReadFloor/" + std::string(format.name), [format](benchmark::State& state) {
        void* receiver = bench::picture(format, kReceiverSide);
        const size_t rowSize = size_t(kReceiverSide) * size_t(standin::bytesPerPixel(receiver));
        for (auto _ : state) {
            uint64_t sum = 0;
            for (int y = 0; y < kReceiverSide; ++y) {
                const uint8_t* row = standin::pixelAddress(receiver, 0, y);
                for (size_t i = 0; i < rowSize; ++i) sum += row[i];
            }
            benchmark::DoNotOptimize(sum);
        }
    }, pixels, format.kind);
}

}  // namespace

VQZ_BENCHMARKS(search) {
    const Value wrap = Value::boolean(true), noMask = Value::boolean(false);
    AddScroll("ScrollVerticalVQZ", "ScrollVerticalVQZ(delta as integer, wrap as boolean, scrollmask as boolean) as boolean",
              {Value::integer(1234), wrap, noMask});
    AddScroll("ScrollHorizontalVQZ",
              "ScrollHorizontalVQZ(delta as integer, wrap as boolean, scrollmask as boolean) as boolean",
              {Value::integer(-1234), wrap, noMask});
    AddScroll("ScrollVQZ",
              "ScrollVQZ(deltaX as integer, deltaY as integer, wrap as boolean, scrollmask as boolean) as boolean",
              {Value::integer(2000), Value::integer(-2000), wrap, noMask});
    for (const bench::Format& format : bench::readerFormats()) {
        AddRectangleMask(format);
        AddFind(format);
    }
}
