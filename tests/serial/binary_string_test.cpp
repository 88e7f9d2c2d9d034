// The stored picture format: the exact bytes of the writer, round trips in every
// format, and a reader that answers nil to every cut or damaged string without
// reading past its end.
#include <cstring>
#include <random>
#include <string>

#include "tests/support/fixture.h"

namespace {

using namespace vqztest;

const char* const kToString = "PicturetoBinaryStringVQZ(p as picture) as string";
const char* const kToPicture = "BinaryStringtoPictureVQZ(data as String) as Picture";

void putBigEndian(std::string& s, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) s[at + size_t(i)] = char(uint8_t(v >> (24 - 8 * i)));
}

// A string in the stored format: header, `filler` bytes, then the pixels.
std::string storedString(int32_t w, int32_t h, const std::vector<uint32_t>& rgb, size_t filler = 0) {
    std::string s(40 + filler, '\0');
    memcpy(&s[0], "PPIC", 4);
    putBigEndian(s, 8, uint32_t(w));
    putBigEndian(s, 12, uint32_t(h));
    putBigEndian(s, 16, 32);
    putBigEndian(s, 20, uint32_t(40 + filler));
    for (size_t i = 40; i < s.size(); ++i) s[i] = char(0xEE);
    for (uint32_t c : rgb) s += {char(redOf(c)), char(greenOf(c)), char(blueOf(c))};
    putBigEndian(s, 4, uint32_t(s.size()));
    return s;
}

class BinaryStringTest : public PluginFormatTest {
protected:
    Ref toString(void* pic) {
        Value v = callGlobal(kToString, {pic ? Value::picture(pic) : Value::nil()});
        return std::move(v.ref);
    }
    std::string bytesOf(void* pic) {
        Ref s = toString(pic);
        EXPECT_TRUE(s);
        return s ? standin::stringBytes(s.get()) : std::string();
    }
    Ref toPicture(const std::string& bytes) {
        Ref s = makeString(bytes, kEncodingAsStored);
        return callGlobalPicture(kToPicture, {Value::string(s.get())});
    }
    // The mask byte every pixel of a decoded picture must carry.
    uint8_t writtenMask() const { return format().desktop() ? 255 : 0; }
};

TEST_P(BinaryStringTest, RoundTripKeepsEveryColor) {
    std::mt19937 random(7 + GetParam().depth);
    for (int round = 0; round < 6; ++round) {
        const int w = 1 + int(random() % 40), h = 1 + int(random() % 20);
        Ref source = randomPicture(w, h, random());
        const std::string bytes = bytesOf(source.get());
        ASSERT_EQ(bytes.size(), size_t(40 + 3 * w * h));
        Ref back = toPicture(bytes);
        ASSERT_TRUE(back);
        const Snapshot src = snapshot(source.get()), got = snapshot(back.get());
        EXPECT_TRUE(samePixels(src, got));
        for (uint8_t m : got.mask) ASSERT_EQ(m, writtenMask());
        // The pixel data is the reader's view, row after row.
        std::vector<uint32_t> rgb(src.rgb);
        EXPECT_EQ(bytes, storedString(w, h, rgb));
    }
}

TEST_P(BinaryStringTest, HeaderFieldsThatAreNotReadChangeNothing) {
    Ref source = randomPicture(9, 4, 3);
    const std::string bytes = bytesOf(source.get());
    const Snapshot expected = snapshot(source.get());
    std::string changed = bytes;
    for (size_t i = 16; i < 20; ++i) changed[i] = char(0x5A + i);
    for (size_t i = 24; i < 40; ++i) changed[i] = char(0xC3 ^ i);
    Ref back = toPicture(changed);
    ASSERT_TRUE(back);
    EXPECT_TRUE(samePixels(expected, snapshot(back.get())));

    // A data offset of 44 with four filler bytes reads the same picture.
    Ref shifted = toPicture(storedString(9, 4, expected.rgb, 4));
    ASSERT_TRUE(shifted);
    EXPECT_TRUE(samePixels(expected, snapshot(shifted.get())));
}

VQZ_ALL_FORMATS(BinaryStringTest);

// ---------------------------------------------------------------- exact bytes

class BinaryStringBytesTest : public BinaryStringTest {};

TEST_P(BinaryStringBytesTest, TwoPixelExample) {
    Ref source = picture(2, 1);
    standin::setRGB(source.get(), 0, 0, rgbOf(255, 0, 0));
    standin::setRGB(source.get(), 1, 0, rgbOf(0, 0, 255));
    Ref s = toString(source.get());
    ASSERT_TRUE(s);
    const std::string expected("PPIC\0\0\0\x2E\0\0\0\x02\0\0\0\x01\0\0\0\x20\0\0\0\x28"
                               "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
                               "\xFF\0\0\0\0\xFF",
                               46);
    EXPECT_EQ(standin::stringBytes(s.get()), expected);
    EXPECT_EQ(standin::stringEncoding(s.get()), uint32_t(kEncodingAsStored));
}

VQZ_READER_FORMATS(BinaryStringBytesTest);

// ---------------------------------------------------------------- invalid strings

class BinaryStringReaderTest : public BinaryStringTest {};

TEST_P(BinaryStringReaderTest, ShortEmptyAndNilStrings) {
    EXPECT_FALSE(toPicture("PPIC\0\0\0"));
    EXPECT_FALSE(toPicture(std::string("PPIC\0\0\0\x07", 8).substr(0, 7)));
    EXPECT_FALSE(toPicture(""));
    EXPECT_FALSE(callGlobalPicture(kToPicture, {Value::nil()}));
    EXPECT_FALSE(toString(nullptr));
}

TEST_P(BinaryStringReaderTest, SizesTheWriterRefuses) {
    EXPECT_FALSE(toPicture(storedString(0, 5, {})));
    EXPECT_FALSE(toPicture(storedString(5, 0, {})));
    std::string tall = storedString(1, 1, {0x123456});
    putBigEndian(tall, 12, 40000);
    EXPECT_FALSE(toPicture(tall));
    std::string negative = storedString(1, 1, {0x123456});
    putBigEndian(negative, 8, 0xFFFFFFFF);
    EXPECT_FALSE(toPicture(negative));

    std::vector<uint32_t> row(32767, 0x102030);
    Ref widest = toPicture(storedString(32767, 1, row));
    ASSERT_TRUE(widest);
    EXPECT_EQ(standin::getRGB(widest.get(), 32766, 0), 0x102030u);
    row.push_back(0x102030);
    EXPECT_FALSE(toPicture(storedString(32768, 1, row)));
}

TEST_P(BinaryStringReaderTest, DataOutsideTheStringGivesNil) {
    const std::vector<uint32_t> pixels = {0x010203, 0x040506, 0x070809, 0x0A0B0C};
    const std::string valid = storedString(2, 2, pixels);
    ASSERT_TRUE(toPicture(valid));
    for (uint32_t offset : {41u, 52u, 53u, 1000u, 0x7FFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFF8u}) {
        std::string s = valid;
        putBigEndian(s, 20, offset);
        EXPECT_FALSE(toPicture(s)) << "data offset " << offset;
    }
    // Offsets inside the string are used, even inside the header.
    for (uint32_t offset : {0u, 4u, 39u, 40u}) {
        std::string s = valid;
        putBigEndian(s, 20, offset);
        Ref pic = toPicture(s);
        ASSERT_TRUE(pic) << "data offset " << offset;
        const uint8_t* p = reinterpret_cast<const uint8_t*>(s.data()) + offset;
        EXPECT_EQ(standin::getRGB(pic.get(), 1, 1), rgbOf(p[9], p[10], p[11])) << "data offset " << offset;
    }
    // A header that promises more pixels than the string holds.
    std::string bigger = valid;
    putBigEndian(bigger, 12, 3);
    EXPECT_FALSE(toPicture(bigger));
    // A length field that says 8..23: the other fields lie beyond the string.
    for (size_t n = 8; n < 24; ++n) {
        std::string cut = valid.substr(0, n);
        putBigEndian(cut, 4, uint32_t(n));
        EXPECT_FALSE(toPicture(cut)) << n << " bytes";
    }
}

// Every cut of a valid string (with the length field as it was, and rewritten to
// the cut length) and every byte changed in turn: nil or a picture, never a read
// past the end (the sanitizer build watches that).
TEST_P(BinaryStringReaderTest, EveryTruncationAndCorruption) {
    std::mt19937 random(31);
    Ref source = randomPicture(5, 3, 17);
    const std::string valid = bytesOf(source.get());
    ASSERT_EQ(valid.size(), 85u);
    for (size_t n = 0; n < valid.size(); ++n) {
        std::string cut = valid.substr(0, n);
        EXPECT_FALSE(toPicture(cut)) << n << " bytes";
        if (n >= 8) {
            putBigEndian(cut, 4, uint32_t(n));
            EXPECT_FALSE(toPicture(cut)) << n << " bytes, length field rewritten";
        }
    }
    EXPECT_FALSE(toPicture(valid + 'x'));

    const Snapshot expected = snapshot(source.get());
    for (size_t i = 0; i < valid.size(); ++i) {
        std::string damaged = valid;
        damaged[i] = char(damaged[i] ^ (1 + random() % 255));
        Ref pic = toPicture(damaged);
        SCOPED_TRACE(::testing::Message() << "byte " << i);
        if (i < 8) {
            EXPECT_FALSE(pic);  // magic or length field
        } else if (i < 16 || (i >= 20 && i < 24)) {
            // Width, height or data offset: valid only if it still fits the string.
            if (pic) {
                EXPECT_LE(40 + 3 * standin::pictureWidth(pic.get()) * standin::pictureHeight(pic.get()), 85);
            }
        } else if (i < 40) {
            ASSERT_TRUE(pic);
            EXPECT_TRUE(samePixels(expected, snapshot(pic.get())));
        } else {
            ASSERT_TRUE(pic);
            const int pixel = int(i - 40) / 3;
            const Snapshot got = snapshot(pic.get());
            for (int p = 0; p < 15; ++p) {
                if (p == pixel) {
                    EXPECT_NE(got.rgb[size_t(p)], expected.rgb[size_t(p)]);
                } else {
                    EXPECT_EQ(got.rgb[size_t(p)], expected.rgb[size_t(p)]);
                }
            }
        }
    }
}

TEST_P(BinaryStringReaderTest, FailuresReleaseEverything) {
    Ref source = randomPicture(4, 4, 2);
    const std::string valid = bytesOf(source.get());
    standin::failNth(standin::Fault::PictureCreation, 1);
    EXPECT_FALSE(toPicture(valid));
    // The picture cannot be opened.
    standin::failNth(format().desktop() ? standin::Fault::PixelLock : standin::Fault::DescriptionLock, 1);
    EXPECT_FALSE(toString(source.get()));
    standin::failNth(standin::Fault::StringCreation, 1);
    EXPECT_FALSE(toString(source.get()));
    EXPECT_TRUE(toPicture(valid));
}

INSTANTIATE_TEST_SUITE_P(HostKinds, BinaryStringReaderTest,
                         ::testing::Values(formatNamed("desktop32"), formatNamed("console")), FormatName());

// Hosts before 2013 expose a string's own storage instead of a copy.
class BinaryStringOldHostTest : public PluginTest {
protected:
    HostConfig initialConfig() const override { return configFor(AppKind::Desktop, 2012.0); }
};

TEST_F(BinaryStringOldHostTest, RoundTrip) {
    Ref source = makePicture(formatNamed("desktop32"), 7, 3);
    fillRandom(source.get(), 12);
    Value s = callGlobal(kToString, {Value::picture(source.get())});
    ASSERT_TRUE(s.ref);
    Ref back = callGlobalPicture(kToPicture, {Value::string(s.ref.get())});
    ASSERT_TRUE(back);
    EXPECT_TRUE(samePixels(snapshot(source.get()), snapshot(back.get())));
}

}  // namespace
