// Host strings, MemoryBlock bytes, exceptions and scratch memory, on the plugin's
// code linked into the tests.
#include <cstring>

#include "plugin/errors.h"
#include "plugin/strings.h"
#include "tests/support/linked_plugin.h"

namespace {

using namespace vqztest;

class HostStringsTest : public LinkedPluginTest {};

std::string utf32(const std::u32string& text) {
    std::string bytes(text.size() * 4, '\0');
    memcpy(&bytes[0], text.data(), bytes.size());
    return bytes;
}

TEST_F(HostStringsTest, BuildUnicodeStringFromEachEncoding) {
    EXPECT_EQ(REALBuildUnicodeString(nullptr, 4, kEncodingUTF8), nullptr);
    EXPECT_EQ(REALBuildUnicodeString("x", 0, kEncodingUTF8), nullptr);
    EXPECT_EQ(REALBuildUnicodeString("x", -1, kEncodingUTF8), nullptr);

    const std::string ab = utf32(U"AB");
    Ref s = Ref::adopt(REALBuildUnicodeString(ab.data(), 8, kEncodingUTF32));
    ASSERT_TRUE(s);
    EXPECT_EQ(standin::stringBytes(s.get()), "AB");
    EXPECT_EQ(standin::stringEncoding(s.get()), kEncodingUTF8);

    // 800 bytes take the heap path; units above 16 bits keep their low 16 bits.
    const std::string many = utf32(std::u32string(199, U'\u00e9') + U'\U0001F600');
    Ref long_ = Ref::adopt(REALBuildUnicodeString(many.data(), static_cast<long long>(many.size()), kEncodingUTF32));
    ASSERT_TRUE(long_);
    const std::string text = standin::stringUTF8(long_.get());
    EXPECT_EQ(text.substr(0, 4), "\xC3\xA9\xC3\xA9");
    EXPECT_EQ(text.substr(text.size() - 3), "\xEF\x98\x80") << "U+1F600 narrowed to U+F600";

    const char16_t hi[] = u"Hi";
    Ref fromUtf16 = Ref::adopt(REALBuildUnicodeString(hi, 4, kEncodingUTF16));
    EXPECT_EQ(standin::stringBytes(fromUtf16.get()), "Hi");
    EXPECT_EQ(standin::stringEncoding(fromUtf16.get()), kEncodingUTF8);

    Ref ascii = Ref::adopt(REALBuildUnicodeString("abc", 3, kEncodingASCII));
    EXPECT_EQ(standin::stringBytes(ascii.get()), "abc");
    EXPECT_EQ(standin::stringEncoding(ascii.get()), kEncodingASCII);
}

TEST_F(HostStringsTest, StringBytesAreHeldOrCopiedByHostVersion) {
    for (double version : {2012.0, 2013.0}) {
        load(configFor(AppKind::Desktop, version));
        Ref s = makeString(std::string("PP\0IC", 5), kEncodingUTF16);
        {
            rbData bytes(s.str());
            ASSERT_NE(bytes.data, nullptr);
            ASSERT_EQ(bytes.size, 5);
            EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.data), 5), std::string("PP\0IC", 5));
            EXPECT_EQ(bytes.ownsStringData, version >= 2013.0);
            EXPECT_EQ(bytes.string != nullptr, version < 2013.0);
        }
        EXPECT_EQ(standin::refCount(s.get()), 1) << version;
    }
    rbData nothing(static_cast<REALstringStruct*>(nullptr));
    EXPECT_EQ(nothing.data, nullptr);
    EXPECT_EQ(nothing.size, 0);
}

TEST_F(HostStringsTest, MemoryBlockBytes) {
    Ref block = makeBlock(40);
    {
        rbData whole(block.block(), 0, 0);
        EXPECT_EQ(whole.size, 40);
        EXPECT_EQ(whole.data, standin::memoryBlockData(block.get()));
        rbData part(block.block(), 0, 16);
        EXPECT_EQ(part.size, 16);
        EXPECT_EQ(standin::refCount(block.get()), 3);
    }
    EXPECT_EQ(standin::refCount(block.get()), 1);
    rbData none(static_cast<REALmemoryBlockStruct*>(nullptr), 0, 0);
    EXPECT_EQ(none.data, nullptr);
}

TEST_F(HostStringsTest, RaisedExceptionsCarryTheirMessage) {
    RaiseException("NilObjectException", "memoryblock is nil", kEncodingASCII);
    standin::PendingException e = takeException();
    EXPECT_EQ(e.className, "NilObjectException");
    ASSERT_TRUE(e.hasMessage);
    EXPECT_EQ(e.message, "memoryblock is nil");

    RaiseException("NoSuchExceptionClass", "picture is nil", kEncodingASCII);
    e = takeException();
    EXPECT_EQ(e.className, "RuntimeException");
    EXPECT_EQ(e.message, "picture is nil");

    for (const char* nothing : {static_cast<const char*>(nullptr), ""}) {
        RaiseException("NilObjectException", nothing, kEncodingASCII);
        e = takeException();
        EXPECT_EQ(e.className, "NilObjectException");
        EXPECT_FALSE(e.hasMessage);
    }
}

TEST(ScratchMemory, SizesOutsideTheRangeGiveNothing) {
    EXPECT_EQ(AllocateClearMemory(0), nullptr);
    EXPECT_EQ(AllocateClearMemory(-1), nullptr);
    EXPECT_EQ(AllocateClearMemory(0x80000000LL), nullptr);
    auto* one = static_cast<uint8_t*>(AllocateClearMemory(1));
    ASSERT_NE(one, nullptr);
    EXPECT_EQ(*one, 0);
    FreeMemoryNow(one);
    FreeMemoryNow(nullptr);
}

}  // namespace
