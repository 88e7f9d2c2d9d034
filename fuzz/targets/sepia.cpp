// PictureSepiaVQZ driven through its properties in an order the input picks: the
// three weights (any double), the offsets, the bounds, source pictures, Run and
// Close. Runs whose weights keep the sums in 32 bits are compared with the formula.
#include <cmath>

#include "fuzz/support/input.h"
#include "fuzz/support/filter_block.h"

namespace {

using namespace fuzz;
using reference::FilterBounds;

const char* const kClass = "PictureSepiaVQZ";

struct Settings {
    double weight[3] = {0.299, 0.587, 0.114};  // red, green, blue
    int32_t offset[3] = {0, 0, 0};
};

void setInt(void* object, const char* name, int32_t v) {
    standin::PropValue value;
    value.type = standin::PropValue::Integer;
    value.i = v;
    FUZZ_CHECK(standin::setProperty(object, name, value), std::string("cannot set ") + name);
}

double getDouble(void* object, const char* name) {
    standin::PropValue value;
    FUZZ_CHECK(standin::getProperty(object, name, value), std::string("cannot read ") + name);
    return value.d;
}

Ref getPicture(void* object, const char* name) {
    standin::PropValue value;
    FUZZ_CHECK(standin::getProperty(object, name, value), std::string("cannot read ") + name);
    return Ref::adopt(value.h);
}

bool sameBits(double a, double b) { return memcmp(&a, &b, sizeof a) == 0 || (a != a && b != b); }

// The weight in 1024ths, when it is one that keeps 3 * 255 * |k| inside 32 bits.
bool settledWeight(double w, int64_t* k) {
    const double scaled = w * 1024.0;
    if (!(std::fabs(scaled) < 2700.0)) return false;
    *k = int64_t(std::trunc(scaled));
    return true;
}

int clampChannel(int64_t v) { return v < 0 ? 0 : v > 255 ? 255 : int(v); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    Session session(in);
    Ref filter = Ref::adopt(standin::newInstance(kClass));
    FUZZ_CHECK(bool(filter), "no PictureSepiaVQZ instance");
    Settings s;
    FilterBounds bounds;
    Ref source;

    for (int step = 0; step < 12 && in.remaining_bytes() > 0; ++step) {
        switch (in.ConsumeIntegralInRange<int>(0, 6)) {
            case 0: {
                // FactorBlue holds the green weight and FactorGreen the blue one.
                static const char* const kNames[] = {"FactorRed", "FactorBlue", "FactorGreen"};
                const int which = in.ConsumeIntegralInRange<int>(0, 2);
                const double v = in.ConsumeBool() ? edgyDouble(in) : in.ConsumeFloatingPointInRange<double>(-1.5, 1.5);
                standin::PropValue value;
                value.type = standin::PropValue::Double;
                value.d = v;
                FUZZ_CHECK(standin::setProperty(filter.get(), kNames[which], value), "cannot set a weight");
                s.weight[which] = v;
                FUZZ_CHECK(sameBits(getDouble(filter.get(), kNames[which]), v), "a weight does not read back");
                break;
            }
            case 1: {
                static const char* const kNames[] = {"SepiaRed", "SepiaGreen", "SepiaBlue"};
                const int which = in.ConsumeIntegralInRange<int>(0, 2);
                s.offset[which] = edgyInt(in, 128);
                setInt(filter.get(), kNames[which], s.offset[which]);
                break;
            }
            case 2: {
                static const char* const kNames[] = {"MinX", "MinY", "MaxX", "MaxY"};
                int32_t* fields[] = {&bounds.minX, &bounds.minY, &bounds.maxX, &bounds.maxY};
                const int which = in.ConsumeIntegralInRange<int>(0, 3);
                *fields[which] = edgyInt(in, source ? standin::pictureWidth(source.get()) : 40);
                setInt(filter.get(), kNames[which], *fields[which]);
                break;
            }
            case 3: {
                source = in.ConsumeIntegralInRange<int>(0, 15) == 0 ? Ref()
                                                                     : makeSizedPicture(in, session.otherFormat(in), 40, 40);
                standin::PropValue value;
                value.type = standin::PropValue::Handle;
                value.h = source.get();
                FUZZ_CHECK(standin::setProperty(filter.get(), "SourcePicture", value), "cannot set SourcePicture");
                break;
            }
            case 4:
                standin::invoke(kClass, "Close", filter.get());
                source = Ref();
                FUZZ_CHECK(!getPicture(filter.get(), "DestinationPicture"), "Close left a DestinationPicture");
                break;
            default: {
                const Snapshot before = vqztest::snapshot(source.get());
                Ref previous = getPicture(filter.get(), "DestinationPicture");
                session.armFault();
                const bool ran = standin::invoke(kClass, "Run as boolean", filter.get()).i != 0;
                const bool faulted = session.disarmFault();
                Ref out = getPicture(filter.get(), "DestinationPicture");
                if (!ran) FUZZ_CHECK(out.get() == previous.get(), "a failed Run changed DestinationPicture");
                if (ran) FUZZ_CHECK(out && out.get() != previous.get(), "Run succeeded without a new DestinationPicture");
                if (source) FUZZ_CHECK(vqztest::snapshot(source.get()) == before, "Run changed the source");
                if (faulted) break;
                FUZZ_CHECK(ran == bool(source), ran ? "Run succeeded without a source" : "Run failed");
                if (!ran) break;
                FUZZ_CHECK(standin::guardsIntact(out.get()), "Run wrote outside the destination's rows");
                int64_t k[3];
                if (!settledWeight(s.weight[0], &k[0]) || !settledWeight(s.weight[1], &k[1]) ||
                    !settledWeight(s.weight[2], &k[2]))
                    break;
                const Snapshot expected = cappedFilterBlock(
                    before, freshSnapshot(before.width, before.height), bounds, [&](uint32_t rgb) {
                        const int64_t g =
                            (vqztest::redOf(rgb) * k[0] + vqztest::greenOf(rgb) * k[1] + vqztest::blueOf(rgb) * k[2]) / 1024;
                        return vqztest::rgbOf(clampChannel(g + s.offset[0]), clampChannel(g + s.offset[1]),
                                              clampChannel(g + s.offset[2]));
                    });
                const std::string difference = firstDifference(expected, vqztest::snapshot(out.get()));
                FUZZ_CHECK(difference.empty(), "Run with weights " + std::to_string(k[0]) + " " + std::to_string(k[1]) +
                                              " " + std::to_string(k[2]) + ", offsets " + std::to_string(s.offset[0]) +
                                              " " + std::to_string(s.offset[1]) + " " + std::to_string(s.offset[2]) +
                                              ", MinX " + std::to_string(bounds.minX) + " MinY " +
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
