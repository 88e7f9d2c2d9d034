// The shared plugin test fixture itself: hosts, pictures of every format, snapshots.
#include "tests/support/fixture.h"

#include <gtest/gtest-spi.h>

#include <algorithm>

namespace vqztest {
namespace {

class FixtureTest : public PluginTest {};

TEST_F(FixtureTest, LoadsADesktopHostAndReplacesIt) {
    EXPECT_TRUE(loaded());
    EXPECT_EQ(std::make_pair(hostConfig().kind, hostConfig().version), std::make_pair(AppKind::Desktop, 2013.0));
    Ref pic = makeHostPicture(4, 4);
    EXPECT_EQ(standin::pictureKind(pic.get()), standin::PictureKind::GWorld);
    pic = Ref();  // everything made in one host is gone before the next load
    load(AppKind::Console, 2012.5);
    ASSERT_TRUE(loaded());
    EXPECT_EQ(std::make_pair(hostConfig().kind, standin::config().version), std::make_pair(AppKind::Console, 2012.5));
    Ref bitmap = makeHostPicture(6, 4);
    EXPECT_EQ(standin::pictureKind(bitmap.get()), standin::PictureKind::Bitmap);
    EXPECT_EQ(intProperty(bitmap.get(), "Width"), 6);
    // Held references are released when the test ends.
    void* block = hold(makeBlock(12));
    EXPECT_EQ(std::make_pair(standin::refCount(block), standin::memoryBlockSize(block)), std::make_pair(1, 12));
    EXPECT_EQ(standin::stringBytes(makeString("abc").get()), "abc");
}

TEST_F(FixtureTest, FailedCallsAndPropertiesFailTheTest) {
    EXPECT_NONFATAL_FAILURE(EXPECT_TRUE(standin::invoke("Picture", "NoSuchMethodVQZ as picture", nullptr).isNil()),
                            "\"NoSuchMethodVQZ as picture\" is not registered under class 'Picture'");
    EXPECT_NONFATAL_FAILURE(intProperty(nullptr, "NoSuchProperty"), "cannot read property \"NoSuchProperty\"");
}

// Raises an exception with a message, as the plugin does.
void raise(const char* className, const char* message) {
    Ref e = Ref::adopt(standin::newInstance(className)), s = Ref::adopt(standin::newString(message, kEncodingUTF8));
    ASSERT_TRUE(standin::setProperty(e.get(), "Message", {standin::PropValue::Handle, 0, 0, s.get()}));
    reinterpret_cast<void (*)(REALobjectStruct*)>(standin::resolve("RuntimeRaiseException"))(e.obj());
}

TEST_F(FixtureTest, ExceptionsAreTakenAndChecked) {
    raise("NilObjectException", "nothing here");
    EXPECT_TRUE(exceptionRaised("NilObjectException", "nothing here"));
    EXPECT_FALSE(exceptionRaised("NilObjectException"));  // already taken
    raise("RuntimeException", "other");
    ::testing::AssertionResult r = exceptionRaised("NilObjectException");
    EXPECT_STREQ(r.message(), "RuntimeException was raised, expected NilObjectException");
    raise("NilObjectException", "text");
    EXPECT_FALSE(exceptionRaised("NilObjectException", "other text"));
}

TEST(FixtureSnapshots, SamePixelsNamesTheDifferences) {
    Snapshot a{2, 2, {1, 2, 3, 4}, {}}, b = a;
    EXPECT_TRUE(samePixels(a, b));
    b.rgb[3] = 0xABCDEF;
    std::string message = samePixels(a, b).message();
    EXPECT_NE(message.find("1 of 4 pixels differ"), std::string::npos) << message;
    EXPECT_NE(message.find("(1, 1): expected #000004, got #ABCDEF"), std::string::npos) << message;
    b.width = 4;
    b.height = 1;
    EXPECT_FALSE(samePixels(a, b));
    EXPECT_EQ(expectedFrom(a, [](int, int, uint32_t c) { return c ^ 0xFFFFFF; }).at(1, 0), 0xFFFFFDu);
}

class FixtureFormatTest : public PluginFormatTest {};

TEST_P(FixtureFormatTest, PicturesOfTheFormatAndRepeatableRandomFill) {
    EXPECT_EQ(hostConfig().kind, format().kind);
    Ref pic = picture(5, 3);
    ASSERT_TRUE(pic);
    EXPECT_EQ(std::make_tuple(standin::pictureWidth(pic.get()), standin::pictureHeight(pic.get()),
                              standin::pictureDepth(pic.get()), standin::pictureKind(pic.get())),
              std::make_tuple(5, 3, format().depth,
                              format().desktop() ? standin::PictureKind::GWorld : standin::PictureKind::Bitmap));
    EXPECT_EQ(rawPixels(pic.get()).size(), size_t(5 * 3 * standin::bytesPerPixel(pic.get())));
    Snapshot white = snapshot(pic.get());
    ASSERT_EQ(white.rgb.size(), 15u);
    EXPECT_EQ(white.rgb, std::vector<uint32_t>(15, format().depth >= 24 ? standin::kNewPictureRGB : white.rgb[0]));
    EXPECT_EQ(white.mask.size(), format().depth == 32 ? 15u : 0u);

    Ref a = randomPicture(9, 7, 17), b = randomPicture(9, 7, 17), c = randomPicture(9, 7, 18);
    EXPECT_EQ(snapshot(a.get()), snapshot(b.get()));
    EXPECT_EQ(rawPixels(a.get()), rawPixels(b.get()));
    EXPECT_NE(snapshot(a.get()).rgb, snapshot(c.get()).rgb);
    EXPECT_TRUE(standin::guardsIntact(a.get()));
    if (format().depth == 32) {  // mask bytes vary too (readers must ignore them)
        std::vector<uint8_t> mask = snapshot(a.get()).mask;
        ASSERT_FALSE(mask.empty());
        EXPECT_NE(std::count(mask.begin(), mask.end(), mask[0]), long(mask.size()));
    }
    fillColor(c.get(), 0x000000);
    EXPECT_EQ(snapshot(c.get()).rgb, std::vector<uint32_t>(63, 0));
}

VQZ_ALL_FORMATS(FixtureFormatTest);

}  // namespace
}  // namespace vqztest
