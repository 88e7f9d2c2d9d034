// The stored picture format: any bytes as a string for BinaryStringtoPictureVQZ
// (optionally with a valid magic and length, so that the header's other fields get
// exercised), and pictures of every format through PicturetoBinaryStringVQZ. Every
// picture read is checked against the bytes it came from, and every string written
// against the picture, then read back.
#include "fuzz/support/input.h"

namespace {

using namespace fuzz;

const char* const kDecode = "BinaryStringtoPictureVQZ(data as String) as Picture";
const char* const kEncode = "PicturetoBinaryStringVQZ(p as picture) as string";

uint32_t bigEndian(const std::string& s, size_t at) {
    return uint32_t(uint8_t(s[at])) << 24 | uint32_t(uint8_t(s[at + 1])) << 16 | uint32_t(uint8_t(s[at + 2])) << 8 |
           uint32_t(uint8_t(s[at + 3]));
}

void putBigEndian(std::string& s, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) s[at + size_t(i)] = char(uint8_t(v >> (24 - 8 * i)));
}

// The canonical string of a picture's colors.
std::string stored(const Snapshot& s) {
    std::string out(40, '\0');
    memcpy(&out[0], "PPIC", 4);
    putBigEndian(out, 4, uint32_t(40 + 3 * s.width * s.height));
    putBigEndian(out, 8, uint32_t(s.width));
    putBigEndian(out, 12, uint32_t(s.height));
    putBigEndian(out, 16, 32);
    putBigEndian(out, 20, 40);
    for (uint32_t c : s.rgb) {
        out += char(uint8_t(c >> 16));
        out += char(uint8_t(c >> 8));
        out += char(uint8_t(c));
    }
    return out;
}

// What reading `bytes` must give: no picture (an invalid string, also one whose
// header or pixels reach past its end), or the picture whose colors follow.
bool expectedPicture(const std::string& bytes, Snapshot* out) {
    if (bytes.size() < 8 || bytes.compare(0, 4, "PPIC") != 0 || bigEndian(bytes, 4) != bytes.size()) return false;
    if (bytes.size() < 24) return false;
    const int32_t w = int32_t(bigEndian(bytes, 8)), h = int32_t(bigEndian(bytes, 12));
    const uint64_t offset = bigEndian(bytes, 20);
    if (w < 1 || h < 1 || w > 32767 || h > 32767) return false;
    if (offset + 3 * uint64_t(w) * uint64_t(h) > bytes.size()) return false;
    out->width = w;
    out->height = h;
    out->rgb.clear();
    out->mask.clear();
    for (int64_t i = 0; i < int64_t(w) * h; ++i) {
        const size_t at = size_t(offset) + size_t(3 * i);
        out->rgb.push_back(vqztest::rgbOf(uint8_t(bytes[at]), uint8_t(bytes[at + 1]), uint8_t(bytes[at + 2])));
    }
    return true;
}

void checkPicture(const Value& result, const Snapshot& expected, const char* what) {
    FUZZ_CHECK(!result.isNil(), std::string(what) + ": no picture");
    FUZZ_CHECK(standin::guardsIntact(result.ref.get()), std::string(what) + ": wrote outside the rows");
    const std::string difference = firstDifference(expected, vqztest::snapshot(result.ref.get()));
    FUZZ_CHECK(difference.empty(), std::string(what) + ": " + difference);
    const std::string masks = maskDifference(result.ref.get(), [](int, int) { return true; }, false);
    FUZZ_CHECK(masks.empty(), std::string(what) + ": " + masks);
}

// Writes the picture's string, checks it, and reads it back.
void roundTrip(Session& session, void* pic) {
    const Snapshot colors = vqztest::snapshot(pic);
    session.armFault();
    Value text = standin::invoke("", kEncode, {}, {Value::picture(pic)});
    const bool faulted = session.disarmFault();
    if (text.isNil()) {
        FUZZ_CHECK(faulted || !pic, "PicturetoBinaryStringVQZ gave nil for a picture");
        return;
    }
    FUZZ_CHECK(pic != nullptr, "PicturetoBinaryStringVQZ gave a string for nil");
    // A fault may have left a copy undrawn (no Graphics): only the size is certain then.
    if (faulted) return;
    const std::string bytes = standin::stringBytes(text.ref.get()), expected = stored(colors);
    if (bytes != expected) {
        size_t at = 0;
        while (at < bytes.size() && at < expected.size() && bytes[at] == expected[at]) ++at;
        fail("PicturetoBinaryStringVQZ of a " + std::to_string(colors.width) + "x" + std::to_string(colors.height) +
             " picture (depth " + std::to_string(standin::pictureDepth(pic)) + ") wrote " +
             std::to_string(bytes.size()) + " bytes, expected " + std::to_string(expected.size()) +
             "; first difference at byte " + std::to_string(at) + ": " +
             std::to_string(uint8_t(bytes[at])) + " instead of " + std::to_string(uint8_t(expected[at])));
    }
    Value back = standin::invoke("", kDecode, {}, {Value::string(text.ref.get())});
    checkPicture(back, colors, "reading a written string");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    Session session(in);
    const int mode = in.ConsumeIntegralInRange<int>(0, 3);

    if (mode == 3) {
        // A picture of the host's formats (or nil) written and read back.
        const bool nil = in.ConsumeIntegralInRange<int>(0, 15) == 0;
        Ref pic = nil ? Ref() : makeSizedPicture(in, session.format(), 40, 40);
        roundTrip(session, pic.get());
        return 0;
    }

    static const uint32_t kEncodings[] = {kEncodingAsStored, kEncodingUTF8, kEncodingASCII, kEncodingLatin1,
                                          kEncodingUTF16};
    const uint32_t encoding = kEncodings[in.ConsumeIntegralInRange<int>(0, 4)];
    const bool nil = in.ConsumeIntegralInRange<int>(0, 31) == 0;
    std::string bytes = in.ConsumeRemainingBytesAsString();
    // Mode 1 makes the magic and the length right; mode 2 also a small size and a
    // data offset at or past the header.
    if (mode >= 1 && bytes.size() >= 8) {
        memcpy(&bytes[0], "PPIC", 4);
        putBigEndian(bytes, 4, uint32_t(bytes.size()));
    }
    if (mode == 2 && bytes.size() >= 24) {
        putBigEndian(bytes, 8, bigEndian(bytes, 8) % 9);
        putBigEndian(bytes, 12, bigEndian(bytes, 12) % 9);
        putBigEndian(bytes, 20, 40 + bigEndian(bytes, 20) % 8);
    }

    Ref text = nil ? Ref() : Ref::adopt(standin::newString(bytes, encoding));
    const std::string held = text ? standin::stringBytes(text.get()) : std::string();
    session.armFault();
    Value result = standin::invoke("", kDecode, {}, {Value::string(text.get())});
    const bool faulted = session.disarmFault();

    Snapshot expected;
    const bool valid = expectedPicture(held, &expected);
    if (faulted) return 0;
    if (!valid) {
        FUZZ_CHECK(result.isNil(), "BinaryStringtoPictureVQZ made a picture of an invalid string of " +
                                  std::to_string(held.size()) + " bytes");
        return 0;
    }
    checkPicture(result, expected, "BinaryStringtoPictureVQZ");
    roundTrip(session, result.ref.get());
    return 0;
}
