// The rectangle methods of Picture with rectangles from the input: inversion, gray
// inversion, the black/white/gray tests and the color rectangle mask, each compared
// with its plain version. The receiver must never change.
#include "fuzz/support/input.h"
#include "tests/reference/invert_reference.h"
#include "tests/reference/search_reference.h"

namespace {

using namespace fuzz;

struct Area {
    int32_t left = 0, top = 0, width = -1, height = -1;
};

// Columns max(left, 0) .. min(W, left + width) - 1, likewise rows, a negative size
// standing for the picture's. Sums that leave the 32-bit range have no settled answer.
struct Clip {
    int64_t x0, y0, x1, y1;
    bool settled;
};

Clip clip(const Snapshot& s, Area r) {
    const int64_t w = r.width < 0 ? s.width : r.width, h = r.height < 0 ? s.height : r.height;
    const int64_t right = int64_t(r.left) + w, bottom = int64_t(r.top) + h;
    return Clip{std::max<int64_t>(r.left, 0), std::max<int64_t>(r.top, 0), std::min<int64_t>(right, s.width),
                std::min<int64_t>(bottom, s.height), right <= INT32_MAX && bottom <= INT32_MAX};
}

template <class Predicate>
bool everyPixel(const Snapshot& s, Area r, Predicate ok) {
    const Clip c = clip(s, r);
    for (int64_t y = c.y0; y < c.y1; ++y)
        for (int64_t x = c.x0; x < c.x1; ++x)
            if (!ok(s.at(int(x), int(y)))) return false;
    return true;
}

bool isGrayWithin(uint32_t c, int64_t t) {
    const int64_t r = vqztest::redOf(c), g = vqztest::greenOf(c), b = vqztest::blueOf(c);
    return std::abs(r - g) <= t && std::abs(r - b) <= t && std::abs(g - b) <= t;
}

std::vector<Value> rectArgs(Area r) {
    return {Value::integer(r.left), Value::integer(r.top), Value::integer(r.width), Value::integer(r.height)};
}

std::string describe(const char* method, Area r) {
    return std::string(method) + "(" + std::to_string(r.left) + ", " + std::to_string(r.top) + ", " +
           std::to_string(r.width) + ", " + std::to_string(r.height) + ")";
}

void checkPicture(const Value& result, const Snapshot& expected, const std::string& call) {
    FUZZ_CHECK(!result.isNil(), call + " gave nil");
    FUZZ_CHECK(standin::guardsIntact(result.ref.get()), call + " wrote outside the result's rows");
    const std::string difference = firstDifference(expected, vqztest::snapshot(result.ref.get()));
    FUZZ_CHECK(difference.empty(), call + ": " + difference);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    Session session(in);
    const bool nilReceiver = in.ConsumeIntegralInRange<int>(0, 31) == 0;
    Ref pic = nilReceiver ? Ref() : makeSizedPicture(in, session.format(), 48, 48);
    const Snapshot before = vqztest::snapshot(pic.get());
    const bool pixels = pic && !session.format().vector();

    for (int calls = 0; calls < 4 && in.remaining_bytes() > 0; ++calls) {
        const int method = in.ConsumeIntegralInRange<int>(0, 5);
        const bool whole = in.ConsumeBool();
        Area r;
        if (!whole) {
            r.left = edgyInt(in, before.width);
            r.top = edgyInt(in, before.height);
            r.width = edgyInt(in, before.width);
            r.height = edgyInt(in, before.height);
        }
        const int32_t tolerance = method == 4 ? edgyInt(in, 8) : 0;
        const Clip c = clip(before, r);
        std::vector<Value> args = whole ? std::vector<Value>{} : rectArgs(r);
        Value result;
        std::string call;

        session.armFault();
        switch (method) {
            case 0:
            case 1: {
                const bool gray = method == 1;
                const char* name = gray ? "InvertGrayVQZ" : "InvertVQZ";
                call = describe(name, r);
                result = standin::invoke("Picture", std::string(name) + (whole ? " as picture" :
                                         "(left as integer,top as integer,width as integer,height as integer) as picture"),
                                         pic.get(), args);
                break;
            }
            case 2:
            case 3: {
                const char* name = method == 2 ? "isBlackVQZ" : "isWhiteVQZ";
                call = describe(name, r);
                result = standin::invoke("Picture", std::string(name) + (whole ? " as boolean" :
                                         "(left as integer,top as integer,width as integer,height as integer) as boolean"),
                                         pic.get(), args);
                break;
            }
            case 4: {
                call = "isGrayVQZ tolerance " + std::to_string(tolerance) + " " + describe("", r);
                args.insert(args.begin(), Value::integer(tolerance));
                result = standin::invoke("Picture", whole ? "isGrayVQZ(tolerance as integer = 0) as boolean" :
                                         "isGrayVQZ(tolerance as integer, left as integer,top as integer,width as integer,height as integer) as boolean",
                                         pic.get(), args);
                break;
            }
            default:
                call = describe("ExtractColorRectangleMaskVQZ", r);
                result = standin::invoke("Picture", whole ? "ExtractColorRectangleMaskVQZ as picture" :
                                         "ExtractColorRectangleMaskVQZ(left as integer,top as integer,width as integer,height as integer) as picture",
                                         pic.get(), args);
                break;
        }
        if (session.disarmFault()) continue;

        if (!pic) {
            FUZZ_CHECK(result.isNil() || (result.type == TypeName::Boolean && result.i == 0), call + " on nil answered");
            continue;
        }
        switch (method) {
            case 0:
            case 1: {
                const Snapshot fresh = freshSnapshot(before.width, before.height);
                checkPicture(result, reference::invert(before, fresh, r.left, r.top, r.width, r.height, method == 1),
                             call);
                const reference::Span span =
                    reference::invertedSpan(before.width, before.height, r.left, r.top, r.width, r.height, method == 1);
                const std::string masks =
                    maskDifference(result.ref.get(), [&](int x, int y) { return span.contains(x, y); }, true);
                FUZZ_CHECK(masks.empty(), call + ": " + masks);
                break;
            }
            case 2:
            case 3:
            case 4: {
                if (!c.settled) break;
                bool expected;
                if (method == 2)
                    expected = everyPixel(before, r, [](uint32_t p) { return p == 0; });
                else if (method == 3)
                    expected = everyPixel(before, r, [](uint32_t p) { return p == 0xFFFFFF; });
                else
                    expected = everyPixel(before, r, [&](uint32_t p) { return isGrayWithin(p, std::abs(int64_t(tolerance))); });
                FUZZ_CHECK(result.i == (expected ? 1 : 0), call + " answered " + std::to_string(result.i));
                break;
            }
            default: {
                const std::vector<bool> black = reference::colorRectangleMask(before, r.left, r.top, r.width, r.height);
                Snapshot expected = freshSnapshot(before.width, before.height);
                expected.mask.clear();
                for (size_t i = 0; i < black.size(); ++i) expected.rgb[i] = black[i] ? 0x000000 : 0xFFFFFF;
                checkPicture(result, expected, call);
                const std::string masks = maskDifference(result.ref.get(), [](int, int) { return true; }, false);
                FUZZ_CHECK(masks.empty(), call + ": " + masks);
                break;
            }
        }
    }
    if (pixels) {
        FUZZ_CHECK(vqztest::snapshot(pic.get()) == before, "the receiver changed");
        FUZZ_CHECK(standin::guardsIntact(pic.get()), "the receiver's row padding changed");
    }
    return 0;
}
