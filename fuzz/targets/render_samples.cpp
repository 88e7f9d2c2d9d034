// RenderSamplesVQZ with the block's contents and every parameter from the input, the
// picture compared with the plain renderer (bars and the 1-pixel outline pixel by
// pixel, a wider outline by the lines handed to the host's Graphics).
#include <cstdio>
#include <cstdlib>

#include "fuzz/support/input.h"
#include "tests/reference/waveform_reference.h"

namespace {

using namespace fuzz;

const char* const kRender =
    "RenderSamplesVQZ(Samples as memoryblock, SampleCount as integer, Smooth as integer, Width as integer, "
    "Height as integer, outlinewidth as integer, BackColor as color=&c88B5C4, ForeColor as color=&c274C5A, "
    "OutLineColor as color=&c203F4E, Bits as Integer = 8, AutoScale as boolean = false) as Picture";

int32_t pick(FuzzedDataProvider& in, int32_t low, int32_t high, std::initializer_list<int32_t> edges) {
    if (in.ConsumeIntegralInRange<int>(0, 7) != 0) return in.ConsumeIntegralInRange<int32_t>(low, high);
    const int32_t* e = edges.begin();
    return e[in.ConsumeIntegralInRange<size_t>(0, edges.size() - 1)];
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    Session session(in);

    waveform_reference::Params p;
    const bool nil = in.ConsumeIntegralInRange<int>(0, 31) == 0;
    const int32_t blockSize = in.ConsumeIntegralInRange<int32_t>(0, 1500);
    p.sampleCount = pick(in, -2, 1600, {INT32_MIN, -1, 0, blockSize / 2, blockSize / 2 + 1, blockSize + 1, INT32_MAX});
    p.smooth = pick(in, -3, 40, {INT32_MIN, INT32_MIN + 1, -2, -1, 0, 1, 1000000, INT32_MAX - 1, INT32_MAX});
    // Big sides only with a small other side, so that each run stays quick.
    const bool wide = in.ConsumeIntegralInRange<int>(0, 15) == 0;
    p.width = wide ? pick(in, 1, 4, {0, -1, 32767, 32768, 65536, INT32_MAX, INT32_MIN})
                   : in.ConsumeIntegralInRange<int32_t>(-2, 320);
    const bool tall = !wide && in.ConsumeIntegralInRange<int>(0, 15) == 0;
    if (wide && (p.width > 4 || p.width < 1))
        p.height = in.ConsumeIntegralInRange<int32_t>(1, 3);
    else if (tall)
        p.width = in.ConsumeIntegralInRange<int32_t>(1, 4),
        p.height = pick(in, 500, 2000, {0, -1, 32767, 32768, INT32_MAX, INT32_MIN});
    else
        p.height = in.ConsumeIntegralInRange<int32_t>(-2, 200);
    p.outlineWidth = pick(in, -2, 9, {INT32_MIN, -1, 0, 1, 2, 3, 64, INT32_MAX});
    // The host draws a thick outline point by point with its pen, painting the pen's
    // whole rectangle at every point: lines that run 2^30 rows (the non-finite levels
    // of Smooth -1) or pens far larger than the picture take it minutes. Such outlines
    // are drawn only where the host can do it quickly; the plugin's part, the lines it
    // hands over, is the same.
    if (p.outlineWidth > 1 && p.smooth == -1) p.outlineWidth = in.ConsumeIntegralInRange<int32_t>(-1, 1);
    if (p.outlineWidth > 9) {
        p.width = in.ConsumeIntegralInRange<int32_t>(1, 12);
        p.height = in.ConsumeIntegralInRange<int32_t>(1, 12);
    }
    p.backColor = in.ConsumeIntegral<uint32_t>();
    p.foreColor = in.ConsumeIntegral<uint32_t>();
    p.outlineColor = in.ConsumeIntegral<uint32_t>();
    static const int32_t kBits[] = {7, 8, 15, 16};
    p.bits = in.ConsumeIntegralInRange<int>(0, 15) == 0 ? in.ConsumeIntegral<int32_t>()
                                                        : kBits[in.ConsumeIntegralInRange<int>(0, 3)];
    p.autoScale = in.ConsumeBool();
    // Without a sample count the width follows the block; keep such pictures small too.
    Ref block = nil ? Ref() : makeBlock(in, blockSize);

    std::vector<Value> args = {Value::object(TypeName::MemoryBlock, block),
                               Value::integer(p.sampleCount),
                               Value::integer(p.smooth),
                               Value::integer(p.width),
                               Value::integer(p.height),
                               Value::integer(p.outlineWidth),
                               Value::color(p.backColor),
                               Value::color(p.foreColor),
                               Value::color(p.outlineColor),
                               Value::integer(p.bits),
                               Value::boolean(p.autoScale)};
    const std::string call = "RenderSamplesVQZ(" + std::to_string(blockSize) + " bytes, " +
                             std::to_string(p.sampleCount) + ", " + std::to_string(p.smooth) + ", " +
                             std::to_string(p.width) + ", " + std::to_string(p.height) + ", " +
                             std::to_string(p.outlineWidth) + ", bits " + std::to_string(p.bits) +
                             (p.autoScale ? ", AutoScale)" : ")");
    if (std::getenv("VQZ_FUZZ_VERBOSE")) std::fprintf(stderr, "%s\n", call.c_str());
    const size_t linesBefore = standin::drawnLines().size();
    session.armFault();
    Value result = standin::invoke("", kRender, {}, args);
    const bool faulted = session.disarmFault();

    // A fault may also hit the exception's instance or message.
    std::string className;
    const std::string message = session.takeExceptionMessage(&className);
    if (nil) FUZZ_CHECK(result.isNil(), "a nil block gave a picture");
    if (faulted) return 0;
    if (nil) {
        FUZZ_CHECK(className == "NilObjectException" && message == "memoryblock is nil",
              "a nil block raised \"" + className + "\" \"" + message + "\"");
        return 0;
    }
    FUZZ_CHECK(className.empty(), "RenderSamplesVQZ raised " + className);

    const uint8_t* bytes = standin::memoryBlockData(block.get());
    const std::vector<uint8_t> samples(bytes, bytes + blockSize);
    const waveform_reference::Result expected = waveform_reference::Render(samples, p);
    if (expected.nil) {
        FUZZ_CHECK(result.isNil(), call + " gave a picture");
        return 0;
    }
    FUZZ_CHECK(!result.isNil(), call + " gave nil");
    FUZZ_CHECK(standin::guardsIntact(result.ref.get()), call + " wrote outside the picture's rows");
    const Snapshot got = vqztest::snapshot(result.ref.get());
    FUZZ_CHECK(got.width == expected.image.width && got.height == expected.image.height,
          call + " gave " + std::to_string(got.width) + "x" + std::to_string(got.height));
    if (p.outlineWidth <= 1) {
        for (int y = 0; y < got.height; ++y)
            for (int x = 0; x < got.width; ++x) {
                const uint32_t want = expected.image.rgb[size_t(y) * size_t(got.width) + size_t(x)];
                if (got.at(x, y) != want)
                    fail(call + ": pixel (" + std::to_string(x) + ", " + std::to_string(y) + ") is " +
                         hex(got.at(x, y)) + ", expected " + hex(want));
            }
        FUZZ_CHECK(standin::drawnLines().size() == linesBefore, call + " drew host lines");
        const std::string masks = maskDifference(result.ref.get(), [](int, int) { return true; }, false);
        FUZZ_CHECK(masks.empty(), call + ": " + masks);
    } else {
        const std::vector<standin::LineRecord>& lines = standin::drawnLines();
        FUZZ_CHECK(lines.size() - linesBefore == expected.lines.size(),
              call + " drew " + std::to_string(lines.size() - linesBefore) + " host lines, expected " +
                  std::to_string(expected.lines.size()));
        for (size_t i = 0; i < expected.lines.size(); ++i) {
            const standin::LineRecord& l = lines[linesBefore + i];
            const waveform_reference::Line& e = expected.lines[i];
            if (l.x1 != e.x1 || l.y1 != e.y1 || l.x2 != e.x2 || l.y2 != e.y2)
                fail(call + ": host line " + std::to_string(i) + " differs");
            if (l.penWidth != p.outlineWidth || l.penHeight != p.outlineWidth ||
                (l.color & 0xFFFFFF) != (p.outlineColor & 0xFFFFFF))
                fail(call + ": host line " + std::to_string(i) + " has another pen or color");
        }
    }
    return 0;
}
