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

// The string with one big-endian field replaced.
std::string withField(std::string s, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) s[at + size_t(i)] = char(uint8_t(v >> (24 - 8 * i)));
    return s;
}

// A string in the stored format: header, `filler` bytes, then the pixels.
std::string storedString(int32_t w, int32_t h, const std::vector<uint32_t>& rgb, size_t filler = 0) {
    std::string s = "PPIC" + std::string(36, '\0') + std::string(filler, char(0xEE));
    for (uint32_t c : rgb) s += {char(redOf(c)), char(greenOf(c)), char(blueOf(c))};
    s = withField(withField(withField(s, 8, uint32_t(w)), 12, uint32_t(h)), 16, 32);
    return withField(withField(s, 20, uint32_t(40 + filler)), 4, uint32_t(s.size()));
}

class BinaryStringTest : public PluginFormatTest {
protected:
    Ref toString(void* pic) { return std::move(callGlobal(kToString, {pic ? Value::picture(pic) : Value::nil()}).ref); }
    std::string bytesOf(void* pic) {
        Ref s = toString(pic);
        EXPECT_TRUE(s);
        return s ? standin::stringBytes(s.get()) : std::string();
    }
    Ref toPicture(const std::string& bytes) {
        Ref s = makeString(bytes, kEncodingAsStored);
        return callGlobalPicture(kToPicture, {Value::string(s.get())});
    }
};

// The bytes are the header and the reader's view row after row; reading them back
// (also from behind filler bytes) gives every color, with the mask of written pixels.
TEST_P(BinaryStringTest, RoundTripKeepsEveryColor) {
    std::mt19937 random(7 + GetParam().depth);
    for (int round = 0; round < 6; ++round) {
        const int w = 1 + int(random() % 40), h = 1 + int(random() % 20);
        Ref source = randomPicture(w, h, random());
        const Snapshot src = snapshot(source.get());
        const std::string bytes = bytesOf(source.get());
        EXPECT_EQ(bytes, storedString(w, h, src.rgb));
        for (const std::string& stored : {bytes, storedString(w, h, src.rgb, 4)}) {
            Ref back = toPicture(stored);
            ASSERT_TRUE(back);
            const Snapshot got = snapshot(back.get());
            EXPECT_TRUE(samePixels(src, got));
            for (uint8_t m : got.mask) ASSERT_EQ(m, format().desktop() ? 255 : 0);
        }
    }
}

VQZ_ALL_FORMATS(BinaryStringTest);

class BinaryStringBytesTest : public BinaryStringTest {};

TEST_P(BinaryStringBytesTest, TwoPixelExample) {
    Ref source = picture(2, 1);
    standin::setRGB(source.get(), 0, 0, rgbOf(255, 0, 0));
    standin::setRGB(source.get(), 1, 0, rgbOf(0, 0, 255));
    Ref s = toString(source.get());
    ASSERT_TRUE(s);
    EXPECT_EQ(standin::stringBytes(s.get()), std::string("PPIC\0\0\0\x2E\0\0\0\x02\0\0\0\x01\0\0\0\x20\0\0\0\x28"
                                                         "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\xFF\0\0\0\0\xFF",
                                                         46));
    EXPECT_EQ(standin::stringEncoding(s.get()), uint32_t(kEncodingAsStored));
}

VQZ_READER_FORMATS(BinaryStringBytesTest);

// ---------------------------------------------------------------- invalid strings

class BinaryStringReaderTest : public BinaryStringTest {};

TEST_P(BinaryStringReaderTest, NilShortAndSizesTheWriterRefuses) {
    EXPECT_FALSE(callGlobalPicture(kToPicture, {Value::nil()}));
    EXPECT_FALSE(toString(nullptr));
    const std::string one = storedString(1, 1, {0x123456});
    for (const std::string& s : {std::string(), std::string("PPIC"), std::string("PPIC\0\0\0", 7), storedString(0, 5, {}), storedString(5, 0, {}),
                                 withField(one, 12, 40000), withField(one, 8, 0xFFFFFFFF)})
        EXPECT_FALSE(toPicture(s)) << s.size() << " bytes";

    std::vector<uint32_t> row(32767, 0x102030);
    Ref widest = toPicture(storedString(32767, 1, row));
    ASSERT_TRUE(widest);
    EXPECT_EQ(standin::getRGB(widest.get(), 32766, 0), 0x102030u);
    row.push_back(0x102030);
    EXPECT_FALSE(toPicture(storedString(32768, 1, row)));
}

TEST_P(BinaryStringReaderTest, DataOutsideTheStringGivesNil) {
    const std::string valid = storedString(2, 2, {0x010203, 0x040506, 0x070809, 0x0A0B0C});
    ASSERT_TRUE(toPicture(valid));
    for (uint32_t offset : {41u, 52u, 53u, 1000u, 0x7FFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFF8u})
        EXPECT_FALSE(toPicture(withField(valid, 20, offset))) << "data offset " << offset;
    // Offsets inside the string are used, even inside the header.
    for (uint32_t offset : {0u, 4u, 39u, 40u}) {
        const std::string s = withField(valid, 20, offset);
        Ref pic = toPicture(s);
        ASSERT_TRUE(pic) << "data offset " << offset;
        const uint8_t* p = reinterpret_cast<const uint8_t*>(s.data()) + offset;
        EXPECT_EQ(standin::getRGB(pic.get(), 1, 1), rgbOf(p[9], p[10], p[11])) << "data offset " << offset;
    }
    EXPECT_FALSE(toPicture(withField(valid, 12, 3)));  // more pixels than the string holds
}

// Every cut of a valid string (with the length field as it was, and rewritten to
// the cut length, so that a header cut short says it is whole) and every byte changed in turn: nil or a picture, never a read
// past the end (the sanitizer build watches that).
TEST_P(BinaryStringReaderTest, EveryTruncationAndCorruption) {
    std::mt19937 random(31);
    Ref source = randomPicture(5, 3, 17);
    const std::string valid = bytesOf(source.get());
    ASSERT_EQ(valid.size(), 85u);
    for (size_t n = 0; n < valid.size(); ++n) {
        EXPECT_FALSE(toPicture(valid.substr(0, n))) << n << " bytes";
        if (n >= 8) {
            EXPECT_FALSE(toPicture(withField(valid.substr(0, n), 4, uint32_t(n)))) << n << " bytes, length rewritten";
        }
    }
    EXPECT_FALSE(toPicture(valid + 'x'));

    const Snapshot expected = snapshot(source.get());
    for (size_t i = 0; i < valid.size(); ++i) {
        SCOPED_TRACE(::testing::Message() << "byte " << i);
        std::string damaged = valid;
        damaged[i] = char(damaged[i] ^ (1 + random() % 255));
        Ref pic = toPicture(damaged);
        if (i < 8) {
            EXPECT_FALSE(pic);  // magic or length field
        } else if (i < 16 || (i >= 20 && i < 24)) {
            // Width, height or data offset: valid only if it still fits the string.
            if (pic) {
                EXPECT_LE(40 + 3 * standin::pictureWidth(pic.get()) * standin::pictureHeight(pic.get()), 85);
            }
        } else {
            // Depth and reserved bytes are not read; a pixel byte changes that pixel alone.
            ASSERT_TRUE(pic);
            const Snapshot got = snapshot(pic.get());
            ASSERT_EQ(got.rgb.size(), 15u);
            for (size_t p = 0; p < 15; ++p)
                EXPECT_EQ(got.rgb[p] == expected.rgb[p], i < 40 || p != (i - 40) / 3) << "pixel " << p;
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

// Hosts before 2013 expose a string's own storage instead of a copy.
TEST_P(BinaryStringReaderTest, OldHostRoundTrip) {
    load(configFor(GetParam(), 2012.0));
    Ref source = randomPicture(7, 3, 12);
    Ref stored = toString(source.get());
    ASSERT_TRUE(stored);
    Ref back = callGlobalPicture(kToPicture, {Value::string(stored.get())});
    ASSERT_TRUE(back);
    EXPECT_TRUE(samePixels(snapshot(source.get()), snapshot(back.get())));
}

INSTANTIATE_TEST_SUITE_P(HostKinds, BinaryStringReaderTest,
                         ::testing::Values(formatNamed("desktop32"), formatNamed("console")), FormatName());

}  // namespace
