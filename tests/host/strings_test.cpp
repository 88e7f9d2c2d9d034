// Host strings: encodings, conversion, string data copies and the old layout.
#include <cstddef>
#include <cstring>

#include "tests/host/host_fixture.h"

namespace hosttest {
namespace {

using StringsTest = HostTest;

// "Grüße €" followed by U+1F600, in UTF-8.
const std::string kText = "Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC\xF0\x9F\x98\x80";

std::string bytesOf(REALstringData& d) { return std::string(static_cast<char*>(d.data), size_t(d.length)); }

class EncodingRoundTrip : public HostTest, public ::testing::WithParamInterface<uint32_t> {};

TEST_P(EncodingRoundTrip, ConvertsThroughCodePointsAndBack) {
    uint32_t encoding = GetParam();
    Ref utf8 = Ref::adopt(newString(kText, kEncodingUTF8));
    Ref converted = Ref::adopt(api.convertString(utf8.str(), encoding));
    ASSERT_TRUE(converted);
    EXPECT_EQ(api.getEncoding(converted.str()), encoding);
    Ref back = Ref::adopt(api.convertString(converted.str(), kEncodingUTF8));
    ASSERT_TRUE(back);
    EXPECT_EQ(stringBytes(back.get()), kText);

    REALstringData data{};
    ASSERT_TRUE(api.getStringData(utf8.str(), encoding, &data));
    EXPECT_EQ(bytesOf(data), stringBytes(converted.get()));
    EXPECT_EQ(data.encoding, encoding);
    EXPECT_EQ(std::memcmp(static_cast<char*>(data.data) + data.length, "\0\0\0\0", 4), 0);
    EXPECT_EQ(ledger().stringData, 1);
    api.disposeStringData(&data);
    EXPECT_EQ(ledger().stringData, 0);
}

INSTANTIATE_TEST_SUITE_P(Unicode, EncodingRoundTrip,
                         ::testing::Values(kEncodingUTF8, kEncodingUTF16, kEncodingUTF32));

TEST_F(StringsTest, UnicodeEncodingsHaveTheExpectedBytes) {
    Ref s = Ref::adopt(newString("A\xC3\xA9\xF0\x9F\x98\x80", kEncodingUTF8));  // A, e-acute, U+1F600
    Ref u16 = Ref::adopt(api.convertString(s.str(), kEncodingUTF16));
    EXPECT_EQ(stringBytes(u16.get()), std::string("A\0\xE9\0\x3D\xD8\x00\xDE", 8));
    Ref u32 = Ref::adopt(api.convertString(s.str(), kEncodingUTF32));
    EXPECT_EQ(stringBytes(u32.get()), std::string("A\0\0\0\xE9\0\0\0\x00\xF6\x01\0", 12));
    Ref latin1 = Ref::adopt(api.convertString(s.str(), kEncodingLatin1));
    EXPECT_EQ(stringBytes(latin1.get()), "A\xE9?");
    Ref ascii = Ref::adopt(api.convertString(s.str(), kEncodingASCII));
    EXPECT_EQ(stringBytes(ascii.get()), "A??");
    Ref fromLatin1 = Ref::adopt(api.convertString(latin1.str(), kEncodingUTF8));
    EXPECT_EQ(stringBytes(fromLatin1.get()), "A\xC3\xA9?");
}

TEST_F(StringsTest, BuiltStringsAreBytesWithoutEncoding) {
    Ref s = Ref::adopt(api.buildString("\xE9t\xE9", 3));
    ASSERT_TRUE(s);
    EXPECT_EQ(api.getEncoding(s.str()), kEncodingAsStored);
    // From 0xFFFF the bytes stay and only the encoding changes.
    Ref kept = Ref::adopt(api.convertString(s.str(), kEncodingUTF8));
    EXPECT_EQ(stringBytes(kept.get()), "\xE9t\xE9");
    EXPECT_EQ(api.getEncoding(kept.str()), kEncodingUTF8);
    // Marked as Latin-1 it converts.
    api.setEncoding(s.str(), kEncodingLatin1);
    Ref utf8 = Ref::adopt(api.convertString(s.str(), kEncodingUTF8));
    EXPECT_EQ(stringBytes(utf8.get()), "\xC3\xA9t\xC3\xA9");
    EXPECT_EQ(stringUTF8(s.get()), "\xC3\xA9t\xC3\xA9");

    Ref empty = Ref::adopt(api.buildString(nullptr, 0));
    ASSERT_TRUE(empty);
    EXPECT_EQ(std::string(api.cString(empty.str())), "");
    EXPECT_EQ(api.buildString("x", -1), nullptr);
}

TEST_F(StringsTest, StringDataAsStoredAndFailures) {
    Ref s = Ref::adopt(newString(std::string("a\0b", 3), kEncodingUTF16));
    REALstringData data{};
    ASSERT_TRUE(api.getStringData(s.str(), kEncodingAsStored, &data));
    EXPECT_EQ(bytesOf(data), std::string("a\0b", 3));
    api.disposeStringData(&data);
    EXPECT_FALSE(api.getStringData(nullptr, kEncodingUTF8, &data));
    EXPECT_FALSE(api.getStringData(s.str(), 0x12345, &data));
    EXPECT_EQ(api.convertString(nullptr, kEncodingUTF8), nullptr);
    failNth(Fault::StringCreation, 1);
    EXPECT_EQ(api.convertString(s.str(), kEncodingUTF8), nullptr);
}

TEST_F(StringsTest, UndisposedDataShowsAndForeignDisposeIsAnError) {
    Ref s = Ref::adopt(newString("abc", kEncodingASCII));
    REALstringData data{};
    ASSERT_TRUE(api.getStringData(s.str(), kEncodingUTF8, &data));
    Ledger l = ledger();
    EXPECT_EQ(l.stringData, 1);
    EXPECT_FALSE(l.clean());
    api.disposeStringData(&data);
    REALstringData foreign{const_cast<char*>("abc"), 3, kEncodingUTF8};
    api.disposeStringData(&foreign);
    expectErrorsAndReset(1);
    s.take();
}

TEST_F(StringsTest, HandleIsTheOldStringLayout) {
    Ref s = Ref::adopt(newString("hello", kEncodingUTF8));
    const auto* raw = static_cast<const unsigned char*>(s.get());
    // Read the header the way an old-host reader does: by byte offsets.
    const size_t storageAt = offsetof(OldHostString, storage), lengthAt = offsetof(OldHostString, length);
    EXPECT_EQ(storageAt, sizeof(void*) == 4 ? 4u : 8u);
    EXPECT_EQ(lengthAt, sizeof(void*) == 4 ? 12u : 20u);
    const char* storage;
    int32_t length, refs;
    std::memcpy(&storage, raw + storageAt, sizeof storage);
    std::memcpy(&length, raw + lengthAt, sizeof length);
    std::memcpy(&refs, raw, sizeof refs);
    EXPECT_EQ(length, 5);
    EXPECT_EQ(std::string(storage + 1), "hello");  // NUL-terminated after the text
    EXPECT_EQ(storage + 1, api.cString(s.str()));
    EXPECT_EQ(refs, 1);
    api.lockString(s.str());
    std::memcpy(&refs, raw, sizeof refs);
    EXPECT_EQ(refs, 2);
    api.unlockString(s.str());
    std::memcpy(&refs, raw, sizeof refs);
    EXPECT_EQ(refs, 1);
}

}  // namespace
}  // namespace hosttest
