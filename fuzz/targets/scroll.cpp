// The scroll methods with deltas from the input, with and without wrap, with and
// without a mask (of any format and size) that scrolls along. A model of the
// picture and its mask predicts every result and every pixel: wrap rotates rows or
// columns of pictures that can be written in place; without wrap QuickDraw shifts a
// GWorld by the 16-bit delta and paints the uncovered strip white.
#include "fuzz/support/input.h"

namespace {

using namespace fuzz;

struct Model {
    void* handle = nullptr;
    const Format* format = nullptr;
    Snapshot pixels;
};

int64_t rem(int64_t a, int64_t n) { return ((a % n) + n) % n; }

// Moves the pixels by (dx, dy): with wrap, modulo the size; else uncovered pixels
// turn white.
void move(Snapshot& s, int64_t dx, int64_t dy, bool wrap) {
    Snapshot out = s;
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; ++x) {
            int64_t sx = x - dx, sy = y - dy;
            if (wrap) {
                sx = rem(sx, s.width);
                sy = rem(sy, s.height);
            }
            const bool inside = sx >= 0 && sx < s.width && sy >= 0 && sy < s.height;
            out.rgb[size_t(y) * size_t(s.width) + size_t(x)] = inside ? s.at(int(sx), int(sy)) : 0xFFFFFF;
        }
    out.mask.clear();
    s.rgb = out.rgb;
}

// One direction of one picture: the result the method gives, and the pixels after.
bool scrollOne(Model& m, bool vertical, int32_t delta, bool wrap) {
    if (delta == 0) return true;
    if (!m.handle) return false;
    if (wrap) {
        if (!m.format->editable()) return false;
        move(m.pixels, vertical ? 0 : delta, vertical ? delta : 0, true);
        return true;
    }
    if (!m.format->desktop() || m.format->vector()) return false;
    const int16_t d = static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint32_t>(delta)));
    move(m.pixels, vertical ? 0 : d, vertical ? d : 0, false);
    return true;
}

bool scrollVertical(Model& pic, Model* mask, int32_t delta, bool wrap) {
    if (mask && !scrollOne(*mask, true, delta, wrap)) return false;
    return scrollOne(pic, true, delta, wrap);
}

bool scrollHorizontal(Model& pic, Model* mask, int32_t delta, bool wrap) {
    if (mask) scrollOne(*mask, false, delta, wrap);
    scrollOne(pic, false, delta, wrap);
    return true;
}

void checkModel(const Model& m, const std::string& call, const char* which) {
    if (!m.handle || m.format->vector()) return;
    FUZZ_CHECK(standin::guardsIntact(m.handle), call + " wrote outside the " + which + "'s rows");
    const std::string difference = firstDifference(m.pixels, vqztest::snapshot(m.handle));
    FUZZ_CHECK(difference.empty(), call + ", " + which + ": " + difference);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    Session session(in);
    const bool nil = in.ConsumeIntegralInRange<int>(0, 31) == 0;
    Ref pic = nil ? Ref() : makeSizedPicture(in, session.format(), 24, 24);
    Model picture{pic.get(), &session.format(), vqztest::snapshot(pic.get())};

    Model mask;
    Ref maskRef;
    if (pic && in.ConsumeBool()) {
        mask.format = &session.otherFormat(in);
        const bool sameSize = in.ConsumeBool();
        maskRef = sameSize ? makePicture(in, *mask.format, picture.pixels.width, picture.pixels.height)
                           : makeSizedPicture(in, *mask.format, 24, 24);
        mask.handle = maskRef.get();
        mask.pixels = vqztest::snapshot(mask.handle);
        standin::setMask(pic.get(), maskRef.get());
    }

    for (int calls = 0; calls < 4 && in.remaining_bytes() > 0; ++calls) {
        const int method = in.ConsumeIntegralInRange<int>(0, 2);
        const int32_t dx = edgyInt(in, picture.pixels.width), dy = edgyInt(in, picture.pixels.height);
        const bool wrap = in.ConsumeBool(), scrollMask = in.ConsumeBool();
        Model* withMask = scrollMask && mask.handle ? &mask : nullptr;
        bool expected;
        Value result;
        std::string call;
        const std::string flags = std::string(wrap ? ", wrap" : "") + (scrollMask ? ", mask" : "") + ") on " +
                                  picture.format->name + (withMask ? std::string(" with a ") + mask.format->name + " mask" : "");
        session.armFault();
        switch (method) {
            case 0:
                call = "ScrollVerticalVQZ(" + std::to_string(dy) + flags;
                result = standin::invoke("Picture",
                                         "ScrollVerticalVQZ(delta as integer, wrap as boolean, scrollmask as boolean) as boolean",
                                         pic.get(), {Value::integer(dy), Value::boolean(wrap), Value::boolean(scrollMask)});
                break;
            case 1:
                call = "ScrollHorizontalVQZ(" + std::to_string(dx) + flags;
                result = standin::invoke("Picture",
                                         "ScrollHorizontalVQZ(delta as integer, wrap as boolean, scrollmask as boolean) as boolean",
                                         pic.get(), {Value::integer(dx), Value::boolean(wrap), Value::boolean(scrollMask)});
                break;
            default:
                call = "ScrollVQZ(" + std::to_string(dx) + ", " + std::to_string(dy) + flags;
                result = standin::invoke(
                    "Picture",
                    "ScrollVQZ(deltaX as integer, deltaY as integer, wrap as boolean, scrollmask as boolean) as boolean",
                    pic.get(), {Value::integer(dx), Value::integer(dy), Value::boolean(wrap), Value::boolean(scrollMask)});
                break;
        }
        if (session.disarmFault()) {
            // The pixels are now whatever the failure left: take them as they are.
            picture.pixels = vqztest::snapshot(picture.handle);
            if (mask.handle) mask.pixels = vqztest::snapshot(mask.handle);
            continue;
        }
        switch (method) {
            case 0: expected = scrollVertical(picture, withMask, dy, wrap); break;
            case 1: expected = scrollHorizontal(picture, withMask, dx, wrap); break;
            default:
                scrollHorizontal(picture, withMask, dx, wrap);
                expected = scrollVertical(picture, withMask, dy, wrap);
                break;
        }
        FUZZ_CHECK((result.i != 0) == expected, call + " answered " + std::to_string(result.i));
        checkModel(picture, call, "picture");
        checkModel(mask, call, "mask");
    }
    if (pic) standin::setMask(pic.get(), nullptr);
    return 0;
}
