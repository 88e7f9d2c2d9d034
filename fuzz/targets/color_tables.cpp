// The MemoryBlock tables: TransformColorsVQZ with lookup tables of every length (short
// ones included), nil arguments and destinations of every size and format (the
// source itself too), CountColorsVQZ with histogram blocks that are nil, short or the
// same block twice, and CountColorVQZ. Each result is checked against the tables.
#include "fuzz/support/input.h"

namespace {

using namespace fuzz;

const char* const kTransform =
    "TransformColorsVQZ(red as memoryblock, blue as memoryblock, green as memoryblock, dest as picture = nil) as picture";
const char* const kCount =
    "CountColorsVQZ(byref red as memoryblock, byref blue as memoryblock, byref green as memoryblock, byref count as integer)";
const char* const kCountOne = "CountColorVQZ(col as color) as integer";

int32_t blockSize(FuzzedDataProvider& in, int32_t full) {
    switch (in.ConsumeIntegralInRange<int>(0, 5)) {
        case 0: return in.ConsumeIntegralInRange<int32_t>(0, full + 4);
        case 1: return full - 1;
        default: return full;
    }
}

std::vector<uint8_t> bytesOf(void* block) {
    const uint8_t* p = standin::memoryBlockData(block);
    return std::vector<uint8_t>(p, p + standin::memoryBlockSize(block));
}

void transform(FuzzedDataProvider& in, Session& session, void* pic, const Snapshot& source) {
    // Tables in argument order: red, blue, green.
    Ref tables[3];
    for (Ref& t : tables)
        if (in.ConsumeIntegralInRange<int>(0, 15) != 0) t = makeBlock(in, blockSize(in, 256));
    Ref dest;
    switch (in.ConsumeIntegralInRange<int>(0, 5)) {
        case 0: break;
        case 1: dest = Ref::share(pic); break;
        default:
            if (source.width > 0)
                dest = makePicture(in, session.otherFormat(in), std::max(1, source.width + in.ConsumeIntegralInRange<int>(-1, 2)),
                                   std::max(1, source.height + in.ConsumeIntegralInRange<int>(-1, 2)));
            break;
    }
    const Snapshot destBefore = vqztest::snapshot(dest.get());
    std::vector<uint8_t> table[3];
    for (int i = 0; i < 3; ++i)
        if (tables[i]) table[i] = bytesOf(tables[i].get());

    session.armFault();
    Value result = standin::invoke("Picture", kTransform, pic,
                                   {Value::object(TypeName::MemoryBlock, tables[0]),
                                    Value::object(TypeName::MemoryBlock, tables[1]),
                                    Value::object(TypeName::MemoryBlock, tables[2]),
                                    Value::object(TypeName::Picture, dest)});
    const bool faulted = session.disarmFault();

    const char* missing = !pic ? "picture is nil"
                          : !tables[0] ? "red memoryblock is nil"
                          : !tables[2] ? "green memoryblock is nil"
                          : !tables[1] ? "blue memoryblock is nil"
                                       : nullptr;
    std::string className;
    const std::string message = session.takeExceptionMessage(&className);
    if (missing) FUZZ_CHECK(result.isNil(), "a nil argument gave a picture");
    // A fault may also hit the exception's instance or message.
    if (faulted) return;
    if (missing) {
        FUZZ_CHECK(className == "NilObjectException" && message == missing,
              std::string("expected \"") + missing + "\", got " + className + " \"" + message + "\"");
        return;
    }
    FUZZ_CHECK(className.empty(), "TransformColorsVQZ raised " + className);
    for (const std::vector<uint8_t>& t : table)
        if (t.size() < 256) {
            FUZZ_CHECK(result.isNil(), "a table of " + std::to_string(t.size()) + " bytes gave a picture");
            return;
        }
    FUZZ_CHECK(!result.isNil(), "TransformColorsVQZ gave nil");
    // The destination is written in place when it is large enough and writable.
    const bool intoDest = dest && destBefore.width >= source.width && destBefore.height >= source.height &&
                          standin::pictureKind(dest.get()) != standin::PictureKind::Vector &&
                          (standin::pictureKind(dest.get()) == standin::PictureKind::Bitmap ||
                           standin::pictureDepth(dest.get()) >= 24);
    FUZZ_CHECK((result.ref.get() == dest.get()) == intoDest,
          intoDest ? "TransformColorsVQZ did not write into its destination" : "TransformColorsVQZ returned dest");
    FUZZ_CHECK(standin::guardsIntact(result.ref.get()), "TransformColorsVQZ wrote outside the result's rows");
    Snapshot expected = intoDest ? destBefore : freshSnapshot(source.width, source.height);
    if (pic == dest.get()) expected = source;
    for (int y = 0; y < source.height; ++y)
        for (int x = 0; x < source.width; ++x) {
            const uint32_t c = source.at(x, y);
            expected.rgb[size_t(y) * size_t(expected.width) + size_t(x)] =
                vqztest::rgbOf(table[0][size_t(vqztest::redOf(c))], table[2][size_t(vqztest::greenOf(c))],
                               table[1][size_t(vqztest::blueOf(c))]);
        }
    const std::string difference = firstDifference(expected, vqztest::snapshot(result.ref.get()));
    FUZZ_CHECK(difference.empty(), std::string("TransformColorsVQZ") + (intoDest ? " into dest" : "") + ": " + difference);
    const std::string masks = maskDifference(
        result.ref.get(), [&](int x, int y) { return x < source.width && y < source.height; }, false);
    FUZZ_CHECK(masks.empty(), "TransformColorsVQZ: " + masks);
}

void countAll(FuzzedDataProvider& in, Session& session, void* pic, const Snapshot& source) {
    // Blocks in argument order (red, "blue" counting green, "green" counting blue);
    // a block may stand in two places.
    std::vector<Value> args(4);
    for (int i = 0; i < 3; ++i) {
        const int kind = in.ConsumeIntegralInRange<int>(0, 4);
        if (kind == 0) args[size_t(i)] = Value::object(TypeName::MemoryBlock, Ref());
        else if (kind == 1 && i > 0) args[size_t(i)] = Value::object(TypeName::MemoryBlock, args[size_t(i - 1)].ref);
        else args[size_t(i)] = Value::object(TypeName::MemoryBlock, makeBlock(in, blockSize(in, 1024)));
    }
    args[3] = Value::integer(in.ConsumeIntegral<int32_t>());
    std::vector<uint8_t> before[3];
    bool allLong = true;
    for (int i = 0; i < 3; ++i) {
        if (args[size_t(i)].ref) before[i] = bytesOf(args[size_t(i)].ref.get());
        else before[i].assign(1024, 0);  // a new block is cleared
        allLong = allLong && before[i].size() >= 1024;
    }

    session.armFault();
    standin::invokeRef("Picture", kCount, pic, args);
    if (session.disarmFault()) return;

    for (int i = 0; i < 3; ++i) FUZZ_CHECK(bool(args[size_t(i)].ref), "CountColorsVQZ left a block nil");
    const int64_t count = args[3].i;
    if (!allLong || !pic) {
        FUZZ_CHECK(count == -1, "CountColorsVQZ counted " + std::to_string(count) + " with a short block or no picture");
        for (int i = 0; i < 3; ++i)
            FUZZ_CHECK(bytesOf(args[size_t(i)].ref.get()) == before[i], "a refused count changed a block");
        return;
    }
    FUZZ_CHECK(count == int64_t(source.width) * source.height, "CountColorsVQZ counted " + std::to_string(count));
    // Additions go through the blocks in order, so a block given twice gets both.
    std::vector<std::vector<uint8_t>> expected;
    std::vector<void*> handles;
    for (int i = 0; i < 3; ++i) {
        void* h = args[size_t(i)].ref.get();
        size_t k = 0;
        while (k < handles.size() && handles[k] != h) ++k;
        if (k == handles.size()) {
            handles.push_back(h);
            expected.push_back(before[i]);
        }
        for (uint32_t c : source.rgb) {
            const int v = i == 0 ? vqztest::redOf(c) : i == 1 ? vqztest::greenOf(c) : vqztest::blueOf(c);
            uint32_t entry;
            memcpy(&entry, &expected[k][size_t(v) * 4], 4);
            ++entry;
            memcpy(&expected[k][size_t(v) * 4], &entry, 4);
        }
    }
    for (size_t k = 0; k < handles.size(); ++k)
        FUZZ_CHECK(bytesOf(handles[k]) == expected[k], "a histogram block holds other counts");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    Session session(in);
    const bool nil = in.ConsumeIntegralInRange<int>(0, 31) == 0;
    Ref pic = nil ? Ref() : makeSizedPicture(in, session.format(), 40, 40);
    const Snapshot source = vqztest::snapshot(pic.get());

    switch (in.ConsumeIntegralInRange<int>(0, 4)) {
        case 0:
        case 1: transform(in, session, pic.get(), source); break;
        case 2:
        case 3: countAll(in, session, pic.get(), source); break;
        default: {
            const uint32_t color = in.ConsumeBool() && !source.rgb.empty()
                                       ? source.rgb[in.ConsumeIntegralInRange<size_t>(0, source.rgb.size() - 1)] |
                                             (in.ConsumeIntegral<uint32_t>() & 0xFF000000u)
                                       : in.ConsumeIntegral<uint32_t>();
            session.armFault();
            const int64_t counted = standin::invoke("Picture", kCountOne, pic.get(), {Value::color(color)}).i;
            if (session.disarmFault()) break;
            int64_t expected = 0;
            for (uint32_t c : source.rgb) expected += c == (color & 0xFFFFFF) ? 1 : 0;
            FUZZ_CHECK(counted == expected, "CountColorVQZ(" + hex(color) + ") counted " + std::to_string(counted) +
                                           ", expected " + std::to_string(expected));
            break;
        }
    }
    return 0;
}
