// FindPicture with receivers and searched pictures of every size relation and format:
// crops of the receiver (sometimes with one pixel changed), small pictures of few
// colors, pictures larger than the receiver, nil. Compared with the plain search.
#include "fuzz/support/input.h"
#include "tests/reference/search_reference.h"

namespace {

using namespace fuzz;

const char* const kFind = "FindPicture(pic as picture, byref x as integer, byref y as integer) as boolean";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    Session session(in);
    const bool nilReceiver = in.ConsumeIntegralInRange<int>(0, 31) == 0;
    Ref receiver = nilReceiver ? Ref() : makeSizedPicture(in, session.format(), 40, 40);
    const Snapshot where = vqztest::snapshot(receiver.get());
    const Format& format = session.otherFormat(in);

    Ref pic;
    switch (in.ConsumeIntegralInRange<int>(0, 4)) {
        case 0:
        case 1:
            if (receiver && !session.format().vector() && !format.vector()) {
                // A piece of the receiver, found at least there unless a pixel changes.
                const int w = in.ConsumeIntegralInRange<int>(1, where.width);
                const int h = in.ConsumeIntegralInRange<int>(1, where.height);
                const int x = in.ConsumeIntegralInRange<int>(0, where.width - w);
                const int y = in.ConsumeIntegralInRange<int>(0, where.height - h);
                pic = cropPicture(receiver.get(), format, x, y, w, h);
                if (in.ConsumeBool()) {
                    const int px = in.ConsumeIntegralInRange<int>(0, w - 1), py = in.ConsumeIntegralInRange<int>(0, h - 1);
                    standin::setRGB(pic.get(), px, py, in.ConsumeIntegral<uint32_t>() & 0xFFFFFF);
                }
                break;
            }
            pic = makeSizedPicture(in, format, 4, 4);
            break;
        case 2: pic = makeSizedPicture(in, format, 4, 4); break;
        case 3: pic = makeSizedPicture(in, format, where.width + 2, where.height + 2); break;
        default: break;  // nil
    }
    const Snapshot what = vqztest::snapshot(pic.get());

    std::vector<Value> args = {Value::object(TypeName::Picture, pic), Value::integer(in.ConsumeIntegral<int32_t>()),
                               Value::integer(in.ConsumeIntegral<int32_t>())};
    session.armFault();
    Value found = standin::invokeRef("Picture", kFind, receiver.get(), args);
    const bool faulted = session.disarmFault();
    const int64_t x = args[1].i, y = args[2].i;

    if (!found.i) FUZZ_CHECK(x == 0 && y == 0, "FindPicture failed with x, y = " + std::to_string(x) + ", " + std::to_string(y));
    if (receiver) FUZZ_CHECK(vqztest::snapshot(receiver.get()) == where, "FindPicture changed the receiver");
    if (pic) FUZZ_CHECK(vqztest::snapshot(pic.get()) == what, "FindPicture changed the searched picture");
    if (faulted) return 0;
    reference::Found expected;
    if (receiver && pic) expected = reference::findPicture(where, what);
    const std::string call = "FindPicture of " + std::to_string(what.width) + "x" + std::to_string(what.height) +
                             " in " + std::to_string(where.width) + "x" + std::to_string(where.height);
    FUZZ_CHECK(bool(found.i) == expected.found, call + (found.i ? " found a copy" : " found nothing"));
    if (expected.found)
        FUZZ_CHECK(x == expected.x && y == expected.y, call + " reported (" + std::to_string(x) + ", " + std::to_string(y) +
                                                      "), expected (" + std::to_string(expected.x) + ", " +
                                                      std::to_string(expected.y) + ")");
    return 0;
}
