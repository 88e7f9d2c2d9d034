// vqz histogram: CountColorsVQZ, a summary per channel and a plot.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "tools/commands.h"
#include "tools/errors.h"
#include "tools/image_io.h"
#include "tools/session.h"

namespace vqz {

namespace {

struct ChannelStats {
    uint64_t total = 0;
    double mean = 0;
    int median = 0, min = 0, max = 0, mode = 0;
    uint32_t modeCount = 0;
};

ChannelStats statsOf(const uint32_t* counts) {
    ChannelStats s;
    double sum = 0;
    for (int i = 0; i < 256; ++i) {
        s.total += counts[i];
        sum += double(counts[i]) * i;
        if (counts[i] > s.modeCount) {
            s.modeCount = counts[i];
            s.mode = i;
        }
    }
    if (!s.total) return s;
    s.mean = sum / double(s.total);
    s.min = int(std::find_if(counts, counts + 256, [](uint32_t c) { return c != 0; }) - counts);
    for (int i = 255; i >= 0; --i)
        if (counts[i]) {
            s.max = i;
            break;
        }
    uint64_t half = (s.total + 1) / 2, seen = 0;
    for (int i = 0; i < 256; ++i) {
        seen += counts[i];
        if (seen >= half) {
            s.median = i;
            break;
        }
    }
    return s;
}

// Three overlaid histograms, added light: red, green and blue where they overlap
// mix towards white.
Image plot(const uint32_t counts[3][256]) {
    const int scale = 2, width = 256 * scale, height = 200;
    uint32_t peak = 1;
    for (int c = 0; c < 3; ++c)
        for (int i = 0; i < 256; ++i) peak = std::max(peak, counts[c][i]);
    Image image(width, height);
    for (int x = 0; x < width; ++x) {
        int bin = x / scale;
        int top[3];
        for (int c = 0; c < 3; ++c) top[c] = height - int(double(counts[c][bin]) / peak * (height - 1) + 0.5);
        for (int y = 0; y < height; ++y) {
            uint8_t* p = image.at(x, y);
            for (int c = 0; c < 3; ++c) p[c] = uint8_t(y >= top[c] ? 215 : 24);
            p[3] = 255;
        }
    }
    return image;
}

}  // namespace

int runHistogram(const Args& args, GlobalOptions& globals) {
    ParsedArgs parsed = parseArgs("histogram", args, {{"--output", "-o", true}}, globals);
    const std::vector<std::string>& pos = parsed.positional;
    if (pos.size() != 1) usageError("histogram", "one IN is needed");
    std::string plotPath = parsed.get("--output");
    if (!plotPath.empty()) outputFormat(plotPath);

    Session session(globals);
    Ref picture = session.loadPicture(pos[0]);
    Callable count = session.only("Picture", "CountColorsVQZ");
    std::vector<Value> callArgs = {Value::object(TypeName::MemoryBlock, Ref()), Value::object(TypeName::MemoryBlock, Ref()),
                                   Value::object(TypeName::MemoryBlock, Ref()), Value::integer(0)};
    session.call(count, picture.get(), callArgs);
    if (callArgs[3].i < 0) throw ToolError("CountColorsVQZ could not count " + pos[0] + " (count -1)", kExitNil);
    // The first block counts red, the second green and the third blue.
    uint32_t counts[3][256];
    for (int c = 0; c < 3; ++c) {
        void* block = callArgs[size_t(c)].ref.get();
        if (!block || standin::memoryBlockSize(block) < 1024)
            throw ToolError("CountColorsVQZ returned no histogram for channel " + std::to_string(c + 1), kExitNil);
        std::memcpy(counts[c], standin::memoryBlockData(block), sizeof counts[c]);
    }

    std::printf("pixels   %lld\n", static_cast<long long>(callArgs[3].i));
    std::printf("channel  mean     median  min  max  most common\n");
    const char* names[3] = {"red", "green", "blue"};
    for (int c = 0; c < 3; ++c) {
        ChannelStats s = statsOf(counts[c]);
        std::printf("%-8s %-8.3f %-7d %-4d %-4d %d (%u pixels)\n", names[c], s.mean, s.median, s.min, s.max, s.mode,
                    unsigned(s.modeCount));
    }
    std::fflush(stdout);
    if (!plotPath.empty()) writeImage(plotPath, plot(counts), globals.jpegQuality);
    return kExitOk;
}

}  // namespace vqz
