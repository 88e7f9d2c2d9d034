// PictureLut3DVQZ driven through its properties and its Table accessor in an order
// the input picks: table entries (indices in and out of range, any double), bounds,
// source pictures, Run and Close. Every Run is compared with the plain
// interpolation, every Table read with what was stored.
#include <cmath>

#include "classes/lut3d.h"
#include "fuzz/support/input.h"
#include "fuzz/support/filter_block.h"
#include "tests/reference/lut_reference.h"

namespace {

using namespace fuzz;
using reference::FilterBounds;
using reference::LutTable;

const char* const kClass = "PictureLut3DVQZ";
const char* const kTable = "Table(r as UInt32, g as UInt32, b as UInt32, x as UInt32) as double";

uint32_t tableIndex(FuzzedDataProvider& in, uint32_t size) {
    static const uint32_t kEdges[] = {18, 19, 255, 0x7FFFFFFF, 0x80000000u, 0xFFFFFFFFu};
    if (in.ConsumeIntegralInRange<int>(0, 15) == 0)
        return kEdges[in.ConsumeIntegralInRange<size_t>(0, sizeof kEdges / sizeof kEdges[0] - 1)];
    return in.ConsumeIntegralInRange<uint32_t>(0, size - 1);
}

bool sameBits(double a, double b) { return memcmp(&a, &b, sizeof a) == 0 || (a != a && b != b); }

void setInt(void* object, const char* name, int32_t v) {
    standin::PropValue value;
    value.type = standin::PropValue::Integer;
    value.i = v;
    FUZZ_CHECK(standin::setProperty(object, name, value), std::string("cannot set ") + name);
}

void setPicture(void* object, void* pic) {
    standin::PropValue value;
    value.type = standin::PropValue::Handle;
    value.h = pic;
    FUZZ_CHECK(standin::setProperty(object, "SourcePicture", value), "cannot set SourcePicture");
}

Ref destination(void* object) {
    standin::PropValue value;
    FUZZ_CHECK(standin::getProperty(object, "DestinationPicture", value), "cannot read DestinationPicture");
    return Ref::adopt(value.h);
}

// A whole table to start from: empty, the identity, a constant, or noise.
void startTable(FuzzedDataProvider& in, void* filter, LutTable& table) {
    const int kind = in.ConsumeIntegralInRange<int>(0, 3);
    const double constant = edgyDouble(in);
    uint32_t seed = in.ConsumeIntegral<uint32_t>();
    for (int r = 0; r < 18; ++r)
        for (int g = 0; g < 18; ++g)
            for (int b = 0; b < 18; ++b)
                for (int x = 0; x < 3; ++x) {
                    const int node[3] = {r, g, b};
                    seed = seed * 1664525u + 1013904223u;
                    table.at(r, g, b, x) = kind == 0   ? 0.0
                                           : kind == 1 ? 17.0 * node[x]
                                           : kind == 2 ? constant
                                                       : double(seed >> 20) / 16.0 - 20.0;
                }
    auto* data = static_cast<Lut3DClassData*>(standin::instanceData(filter));
    FUZZ_CHECK(data != nullptr, "no instance data");
    memcpy(data->table, table.element.data(), sizeof data->table);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    Session session(in);
    Ref filter = Ref::adopt(standin::newInstance(kClass));
    FUZZ_CHECK(bool(filter), "no PictureLut3DVQZ instance");
    LutTable table;
    startTable(in, filter.get(), table);
    FilterBounds bounds;
    Ref source;

    for (int step = 0; step < 12 && in.remaining_bytes() > 0; ++step) {
        switch (in.ConsumeIntegralInRange<int>(0, 6)) {
            case 0:
            case 1: {
                const uint32_t r = tableIndex(in, 18), g = tableIndex(in, 18), b = tableIndex(in, 18),
                               x = tableIndex(in, 3);
                const double v = edgyDouble(in);
                const std::vector<Value> at = {Value::uint32(r), Value::uint32(g), Value::uint32(b), Value::uint32(x)};
                standin::invokeSetter(kClass, kTable, filter.get(), at, Value::real(v));
                const bool inside = r < 18 && g < 18 && b < 18 && x < 3;
                if (inside) table.at(int(r), int(g), int(b), int(x)) = v;
                const double back = standin::invoke(kClass, kTable, filter.get(), at).d;
                FUZZ_CHECK(sameBits(back, inside ? v : 0.0), "Table(" + std::to_string(r) + ", " + std::to_string(g) +
                                                            ", " + std::to_string(b) + ", " + std::to_string(x) +
                                                            ") does not read back what was stored");
                break;
            }
            case 2: {
                const int which = in.ConsumeIntegralInRange<int>(0, 3);
                const int32_t side = source ? standin::pictureWidth(source.get()) : 40;
                const int32_t v = edgyInt(in, side);
                static const char* const kNames[] = {"MinX", "MinY", "MaxX", "MaxY"};
                int32_t* fields[] = {&bounds.minX, &bounds.minY, &bounds.maxX, &bounds.maxY};
                setInt(filter.get(), kNames[which], v);
                *fields[which] = v;
                break;
            }
            case 3:
                source = in.ConsumeIntegralInRange<int>(0, 15) == 0 ? Ref()
                                                                     : makeSizedPicture(in, session.otherFormat(in), 40, 40);
                setPicture(filter.get(), source.get());
                break;
            case 4:
                standin::invoke(kClass, "Close", filter.get());
                source = Ref();
                FUZZ_CHECK(!destination(filter.get()), "Close left a DestinationPicture");
                break;
            default: {
                const Snapshot before = vqztest::snapshot(source.get());
                session.armFault();
                const bool ran = standin::invoke(kClass, "Run as boolean", filter.get()).i != 0;
                const bool faulted = session.disarmFault();
                Ref out = destination(filter.get());
                FUZZ_CHECK(ran == bool(out), ran ? "Run succeeded without a DestinationPicture"
                                            : "a failed Run left a DestinationPicture");
                if (source) FUZZ_CHECK(vqztest::snapshot(source.get()) == before, "Run changed the source");
                if (faulted) break;
                FUZZ_CHECK(ran == bool(source), ran ? "Run succeeded without a source" : "Run failed");
                if (!ran) break;
                FUZZ_CHECK(standin::guardsIntact(out.get()), "Run wrote outside the destination's rows");
                const Snapshot expected = cappedFilterBlock(
                    before, freshSnapshot(before.width, before.height), bounds,
                    [&](uint32_t rgb) { return reference::lutColor(table, rgb); });
                const std::string difference = firstDifference(expected, vqztest::snapshot(out.get()));
                FUZZ_CHECK(difference.empty(), "Run with MinX " + std::to_string(bounds.minX) + " MinY " +
                                              std::to_string(bounds.minY) + " MaxX " + std::to_string(bounds.maxX) +
                                              " MaxY " + std::to_string(bounds.maxY) + ": " + difference);
                const std::string masks = maskDifference(
                    out.get(), [&](int x, int y) { return reference::inFilterBlock(before.width, before.height, bounds, x, y); },
                    true);
                FUZZ_CHECK(masks.empty(), "Run: " + masks);
                break;
            }
        }
    }
    return 0;
}
