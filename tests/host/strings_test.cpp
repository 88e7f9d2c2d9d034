// Host strings: encodings, conversion, string data copies and the old layout.
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

#include "tests/host/host_fixture.h"

namespace hosttest {
namespace {

using StringsTest = HostTest;

// "A", e-acute, the euro sign and U+1F600: one to four bytes in UTF-8.
const std::string kText = "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";

struct Conversion {
    const char* name;
    uint32_t encoding;
    std::string bytes;   // kText in the encoding
    std::string backTo;  // and converted back to UTF-8
};
void PrintTo(const Conversion& c, std::ostream* os) { *os << c.name; }

std::string bytesOf(const REALstringData& d) { return std::string(static_cast<const char*>(d.data), size_t(d.length)); }

class Conversions : public HostTest, public ::testing::WithParamInterface<Conversion> {};

TEST_P(Conversions, ThroughCodePointsAndBackAndAsStringData) {
    const Conversion& c = GetParam();
    Ref utf8 = Ref::adopt(newString(kText, kEncodingUTF8));
    Ref converted = Ref::adopt(api.convertString(utf8.str(), c.encoding));
    ASSERT_TRUE(converted);
    EXPECT_EQ(std::make_pair(stringBytes(converted.get()), api.getEncoding(converted.str())),
              std::make_pair(c.bytes, c.encoding));
    Ref back = Ref::adopt(api.convertString(converted.str(), kEncodingUTF8));
    EXPECT_EQ(stringBytes(back.get()), c.backTo);

    REALstringData data{};
    ASSERT_TRUE(api.getStringData(utf8.str(), c.encoding, &data));
    EXPECT_EQ(std::make_pair(bytesOf(data), data.encoding), std::make_pair(c.bytes, c.encoding));
    EXPECT_EQ(std::memcmp(static_cast<char*>(data.data) + data.length, "\0\0\0\0", 4), 0);  // zero-terminated
    EXPECT_EQ(ledger().stringData, 1);
    api.disposeStringData(&data);
}

INSTANTIATE_TEST_SUITE_P(
    Encodings, Conversions,
    ::testing::Values(Conversion{"utf8", kEncodingUTF8, kText, kText},
                      Conversion{"utf16", kEncodingUTF16, std::string("A\0\xE9\0\xAC\x20\x3D\xD8\x00\xDE", 10), kText},
                      Conversion{"utf32", kEncodingUTF32,
                                 std::string("A\0\0\0\xE9\0\0\0\xAC\x20\0\0\x00\xF6\x01\0", 16), kText},
                      Conversion{"latin1", kEncodingLatin1, "A\xE9??", "A\xC3\xA9??"},
                      Conversion{"ascii", kEncodingASCII, "A???", "A???"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(StringsTest, BuiltStringsAreBytesWithoutEncoding) {
    Ref s = Ref::adopt(api.buildString("\xE9t\xE9", 3));
    ASSERT_TRUE(s);
    EXPECT_EQ(api.getEncoding(s.str()), kEncodingAsStored);
    // From "as stored" the bytes stay and only the encoding changes.
    Ref kept = Ref::adopt(api.convertString(s.str(), kEncodingUTF8));
    EXPECT_EQ(std::make_pair(stringBytes(kept.get()), api.getEncoding(kept.str())),
              std::make_pair(std::string("\xE9t\xE9"), uint32_t(kEncodingUTF8)));
    api.setEncoding(s.str(), kEncodingLatin1);  // marked as Latin-1 it converts
    Ref utf8 = Ref::adopt(api.convertString(s.str(), kEncodingUTF8));
    EXPECT_EQ(stringBytes(utf8.get()), "\xC3\xA9t\xC3\xA9");
    EXPECT_EQ(stringUTF8(s.get()), "\xC3\xA9t\xC3\xA9");
    Ref empty = Ref::adopt(api.buildString(nullptr, 0));
    ASSERT_TRUE(empty);
    EXPECT_STREQ(api.cString(empty.str()), "");
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
    // Undisposed data shows in the ledger; disposing data the host did not hand out is an error.
    ASSERT_TRUE(api.getStringData(s.str(), kEncodingUTF8, &data));
    EXPECT_FALSE(ledger().clean());
    api.disposeStringData(&data);
    REALstringData foreign{const_cast<char*>("abc"), 3, kEncodingUTF8};
    api.disposeStringData(&foreign);
    expectErrorsAndReset(1);
    s.take();
}

TEST_F(StringsTest, HandleIsTheOldStringLayout) {
    Ref s = Ref::adopt(newString("hello", kEncodingUTF8));
    // Read the header the way an old-host reader does: by byte offsets.
    OldHostString header;
    std::memcpy(&header, s.get(), sizeof header);
    EXPECT_EQ(std::make_pair(header.refCount, header.length), std::make_pair(1, 5));
    EXPECT_STREQ(header.storage + 1, "hello");  // NUL-terminated after the text
    EXPECT_EQ(header.storage + 1, api.cString(s.str()));
}

}  // namespace
}  // namespace hosttest
