// The shared plugin test fixture itself: hosts, pictures of every format, snapshots.
#include "tests/support/fixture.h"

#include <gtest/gtest-spi.h>

#include <algorithm>
#include <cstring>

namespace vqztest {
namespace {

class FixtureTest : public PluginTest {};

TEST_F(FixtureTest, LoadsADesktopHostByDefault) {
    EXPECT_TRUE(loaded());
    EXPECT_EQ(hostConfig().kind, AppKind::Desktop);
    EXPECT_EQ(hostConfig().version, 2013.0);
    EXPECT_EQ(standin::registeredPluginVersion(), 9);
}

TEST_F(FixtureTest, LoadReplacesTheHost) {
    Ref pic = makeHostPicture(4, 4);
    EXPECT_EQ(standin::pictureKind(pic.get()), standin::PictureKind::GWorld);
    pic = Ref();  // everything made in one host is gone before the next load
    load(AppKind::Console, 2012.5);
    ASSERT_TRUE(loaded());
    EXPECT_EQ(hostConfig().kind, AppKind::Console);
    EXPECT_EQ(standin::config().version, 2012.5);
    Ref bitmap = makeHostPicture(4, 4);
    EXPECT_EQ(standin::pictureKind(bitmap.get()), standin::PictureKind::Bitmap);
}

TEST_F(FixtureTest, HeldReferencesAreReleasedAtTheEnd) {
    void* block = hold(makeBlock(12));
    EXPECT_EQ(standin::refCount(block), 1);
    EXPECT_EQ(standin::memoryBlockSize(block), 12);
    Ref s = makeString("abc");
    EXPECT_EQ(standin::stringBytes(s.get()), "abc");
}

TEST_F(FixtureTest, UnregisteredDeclarationFailsTheTest) {
    EXPECT_NONFATAL_FAILURE(
        {
            Value v = standin::invoke("Picture", "NoSuchMethodVQZ as picture", nullptr);
            EXPECT_TRUE(v.isNil());
        },
        "\"NoSuchMethodVQZ as picture\" is not registered under class 'Picture'");
}

// Raises an exception through the entry points, as the plugin does.
void raise(const char* className, const char* message) {
    auto newInstance = reinterpret_cast<REALobjectStruct* (*)(const char*)>(standin::resolve("PluginNewInstance"));
    auto buildString = reinterpret_cast<REALstringStruct* (*)(const char*, int32_t)>(standin::resolve("REALBuildString"));
    auto setString = reinterpret_cast<uint8_t (*)(REALobjectStruct*, const char*, REALstringStruct*)>(
        standin::resolve("REALSetPropValueString"));
    auto raiseException = reinterpret_cast<void (*)(REALobjectStruct*)>(standin::resolve("RuntimeRaiseException"));
    REALobjectStruct* e = newInstance(className);
    ASSERT_NE(e, nullptr);
    REALstringStruct* s = buildString(message, int32_t(std::strlen(message)));
    EXPECT_TRUE(setString(e, "Message", s));
    raiseException(e);
    standin::release(e);
    standin::release(s);
}

TEST_F(FixtureTest, ExceptionsAreTakenAndChecked) {
    raise("NilObjectException", "nothing here");
    EXPECT_TRUE(exceptionRaised("NilObjectException", "nothing here"));
    EXPECT_FALSE(exceptionRaised("NilObjectException"));  // already taken

    raise("RuntimeException", "other");
    ::testing::AssertionResult r = exceptionRaised("NilObjectException");
    EXPECT_FALSE(r);
    EXPECT_NE(std::string(r.message()).find("RuntimeException was raised"), std::string::npos) << r.message();

    raise("NilObjectException", "text");
    EXPECT_FALSE(exceptionRaised("NilObjectException", "other text"));
}

TEST_F(FixtureTest, PropertiesOfHostObjects) {
    Ref pic = makeHostPicture(6, 4);
    EXPECT_EQ(intProperty(pic.get(), "Width"), 6);
    EXPECT_EQ(intProperty(pic.get(), "Height"), 4);
    EXPECT_NONFATAL_FAILURE(intProperty(nullptr, "NoSuchProperty"), "cannot read property \"NoSuchProperty\"");
}

TEST(FixtureFormats, ListsAndNames) {
    ASSERT_EQ(allFormats().size(), 6u);
    EXPECT_STREQ(allFormats()[0].name, "desktop32");
    EXPECT_STREQ(allFormats()[5].name, "web");
    ASSERT_EQ(readerFormats().size(), 3u);
    EXPECT_EQ(readerFormats()[0].code(), 13);
    EXPECT_EQ(readerFormats()[1].code(), 12);
    EXPECT_EQ(readerFormats()[2].code(), 8);
    EXPECT_EQ(formatNamed("desktop16").code(), 0);
    EXPECT_EQ(formatNamed("web").kind, AppKind::Web);
    EXPECT_EQ(::testing::PrintToString(formatNamed("console")), "console");
}

TEST(FixtureSnapshots, SamePixelsNamesTheDifferences) {
    Snapshot a;
    a.width = 2;
    a.height = 2;
    a.rgb = {1, 2, 3, 4};
    Snapshot b = a;
    EXPECT_TRUE(samePixels(a, b));
    b.rgb[3] = 0xABCDEF;
    ::testing::AssertionResult r = samePixels(a, b);
    EXPECT_FALSE(r);
    EXPECT_NE(std::string(r.message()).find("1 of 4 pixels differ"), std::string::npos) << r.message();
    EXPECT_NE(std::string(r.message()).find("(1, 1): expected #000004, got #ABCDEF"), std::string::npos)
        << r.message();
    b.width = 4;
    b.height = 1;
    EXPECT_FALSE(samePixels(a, b));
    Snapshot inverted = expectedFrom(a, [](int, int, uint32_t c) { return c ^ 0xFFFFFF; });
    EXPECT_EQ(inverted.at(1, 0), 0xFFFFFDu);
}

class FixtureFormatTest : public PluginFormatTest {};

TEST_P(FixtureFormatTest, PicturesOfTheFormat) {
    EXPECT_EQ(hostConfig().kind, format().kind);
    Ref pic = picture(5, 3);
    ASSERT_TRUE(pic);
    EXPECT_EQ(standin::pictureWidth(pic.get()), 5);
    EXPECT_EQ(standin::pictureHeight(pic.get()), 3);
    EXPECT_EQ(standin::pictureDepth(pic.get()), format().depth);
    EXPECT_EQ(standin::pictureKind(pic.get()),
              format().desktop() ? standin::PictureKind::GWorld : standin::PictureKind::Bitmap);
    EXPECT_EQ(rawPixels(pic.get()).size(), size_t(5 * 3 * standin::bytesPerPixel(pic.get())));

    Snapshot white = snapshot(pic.get());
    ASSERT_EQ(white.rgb.size(), 15u);
    EXPECT_EQ(white.rgb, std::vector<uint32_t>(15, white.rgb[0]));
    if (format().depth >= 24) {
        EXPECT_EQ(white.rgb[0], standin::kNewPictureRGB);
    }
    EXPECT_EQ(white.mask.size(), format().depth == 32 ? 15u : 0u);
}

TEST_P(FixtureFormatTest, RandomFillIsRepeatable) {
    Ref a = randomPicture(9, 7, 17);
    Ref b = randomPicture(9, 7, 17);
    Ref c = randomPicture(9, 7, 18);
    EXPECT_EQ(snapshot(a.get()), snapshot(b.get()));
    EXPECT_EQ(rawPixels(a.get()), rawPixels(b.get()));
    EXPECT_NE(snapshot(a.get()).rgb, snapshot(c.get()).rgb);
    EXPECT_TRUE(standin::guardsIntact(a.get()));
    if (format().depth == 32) {
        // Mask bytes vary too (readers must ignore them).
        std::vector<uint8_t> mask = snapshot(a.get()).mask;
        EXPECT_NE(std::count(mask.begin(), mask.end(), mask[0]), long(mask.size()));
    }
    fillColor(c.get(), 0x000000);
    EXPECT_EQ(snapshot(c.get()).rgb, std::vector<uint32_t>(63, 0));
}

VQZ_ALL_FORMATS(FixtureFormatTest);

}  // namespace
}  // namespace vqztest
