// Every way a picture is opened, seen from the host through InvertVQZ: the
// directly exposed formats, the copies, and each failure, with no lock or
// reference left behind.
#include <cstdlib>

#include "tests/support/fixture.h"

namespace {

using namespace vqztest;

const char* const kInvert = "InvertVQZ as picture";

// The inverted colors of `pic`, as the host reads them.
Snapshot inverted(void* pic) {
    Snapshot s = snapshot(pic);
    for (uint32_t& c : s.rgb) c ^= 0xFFFFFF;
    s.mask.clear();
    return s;
}

class OpenPathsTest : public PluginTest {};

TEST_F(OpenPathsTest, VectorPicturesAreReadThroughACopyOnTheDesktop) {
    Ref vector = Ref::adopt(standin::newVectorPicture(6, 4, rgbOf(10, 200, 30)));
    Ref out = callPicture(kInvert, vector.get());
    ASSERT_TRUE(out);
    const Snapshot got = snapshot(out.get());
    for (uint32_t c : got.rgb) EXPECT_EQ(c, rgbOf(245, 55, 225));
    EXPECT_GE(standin::drawPictureCalls(), 1);
}

TEST_F(OpenPathsTest, VectorPicturesCannotBeWrittenInPlace) {
    Ref vector = Ref::adopt(standin::newVectorPicture(6, 4, rgbOf(1, 2, 3)));
    // The scroll methods open in place: nothing to write into, so false.
    EXPECT_FALSE(callBool("ScrollVerticalVQZ(delta as integer, wrap as boolean, scrollmask as boolean) as boolean",
                          vector.get(), {Value::integer(1), Value::boolean(true), Value::boolean(false)}));
}

// A console host cannot read a vector picture; a failed bitmap lock is undone on the
// hosts that keep it locked (before 2012.0) and left alone on the others.
class ConsoleLockTest : public PluginTest, public ::testing::WithParamInterface<double> {
protected:
    HostConfig initialConfig() const override { return configFor(AppKind::Console, GetParam()); }
};

TEST_P(ConsoleLockTest, FailedBitmapLockLeavesNothingLocked) {
    Ref vector = Ref::adopt(standin::newVectorPicture(3, 3, 0));
    EXPECT_FALSE(callPicture(kInvert, vector.get()));
    Ref bitmap = makePicture(formatNamed("console"), 3, 2);
    fillRandom(bitmap.get(), 4);
    Ref out = callPicture(kInvert, bitmap.get());
    ASSERT_TRUE(out);
    EXPECT_TRUE(samePixels(inverted(bitmap.get()), snapshot(out.get())));
}

INSTANTIATE_TEST_SUITE_P(HostVersions, ConsoleLockTest, ::testing::Values(0.0, 2010.029, 2011.9, 2012.0, 2013.0));

TEST_F(OpenPathsTest, ApplicationKindUnknownStillReadsBitmaps) {
    HostConfig config = configFor(AppKind::Console);
    config.hidden = {"pluginObjectType"};
    load(config);
    Ref bitmap = makePicture(formatNamed("console"), 5, 3);
    fillRandom(bitmap.get(), 8);
    for (int round = 0; round < 2; ++round) {  // the second open knows the kind
        Ref out = callPicture(kInvert, bitmap.get());
        ASSERT_TRUE(out);
        EXPECT_TRUE(samePixels(inverted(bitmap.get()), snapshot(out.get())));
    }
}

TEST_F(OpenPathsTest, FailedPixelLockGivesNil) {
    Ref pic = makePicture(formatNamed("desktop32"), 4, 4);
    standin::failNth(standin::Fault::PixelLock, 1);
    EXPECT_FALSE(callPicture(kInvert, pic.get()));
    standin::failNth(standin::Fault::PixelLock, 2);  // the writer's lock
    EXPECT_FALSE(callPicture(kInvert, pic.get()));
    EXPECT_TRUE(callPicture(kInvert, pic.get()));
}

TEST_F(OpenPathsTest, MissingQuickDrawIsRetriedOnTheNextCall) {
    HostConfig config = configFor(AppKind::Desktop);
    config.frameworkMissing = true;
    load(config);
    Ref pic = makePicture(formatNamed("desktop32"), 4, 4);
    EXPECT_FALSE(callPicture(kInvert, pic.get()));
    EXPECT_FALSE(callPicture(kInvert, pic.get()));
    const std::string missing = getenv("VQZ_FRAMEWORKS_DIR") ? getenv("VQZ_FRAMEWORKS_DIR") : "";
    setenv("VQZ_FRAMEWORKS_DIR", VQZ_BINARY_DIR "/frameworks", 1);
    EXPECT_TRUE(callPicture(kInvert, pic.get()));
    setenv("VQZ_FRAMEWORKS_DIR", missing.c_str(), 1);
}

TEST_F(OpenPathsTest, WriterSizeLimits) {
    for (AppKind kind : {AppKind::Desktop, AppKind::Console}) {
        load(kind);
        const HostFormat& f = formatNamed(kind == AppKind::Desktop ? "desktop32" : "console");
        Ref widest = makePicture(f, 32767, 1);
        Ref out = callPicture("InvertVQZ(left as integer,top as integer,width as integer,height as integer) as picture",
                              widest.get(), {Value::integer(0), Value::integer(0), Value::integer(1), Value::integer(1)});
        ASSERT_TRUE(out);
        EXPECT_EQ(standin::pictureWidth(out.get()), 32767);
        Ref tooWide = makePicture(f, 32768, 1);
        Ref tooTall = makePicture(f, 1, 32768);
        EXPECT_FALSE(callPicture(kInvert, tooWide.get()));
        EXPECT_FALSE(callPicture(kInvert, tooTall.get()));
    }
}

TEST_F(OpenPathsTest, ResultsTellTheHostTheirPixelsChanged) {
    Ref pic = makePicture(formatNamed("desktop24"), 3, 3);
    Ref out = callPicture(kInvert, pic.get());
    ASSERT_TRUE(out);
    EXPECT_GE(standin::clearCacheCount(out.get()), 1);
    EXPECT_EQ(standin::clearCacheCount(pic.get()), 0) << "a reader does not dirty its picture";
}

TEST_F(OpenPathsTest, HostWithoutClearCacheStillWorks) {
    HostConfig config = configFor(AppKind::Desktop);
    config.hidden = {"REALPictureClearCache"};
    load(config);
    Ref pic = makePicture(formatNamed("desktop32"), 3, 3);
    EXPECT_TRUE(callPicture(kInvert, pic.get()));
}

}  // namespace
