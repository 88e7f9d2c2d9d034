// The host entry-point wrappers and the helpers built on them.
#include "plugin/host_api.h"
#include "tests/support/linked_plugin.h"

namespace {

using namespace vqztest;

const char* const kInvert = "InvertVQZ as picture";

class EntryPointTest : public PluginTest {};

TEST_F(EntryPointTest, MissingEntryPointsAreAskedForAgainFoundOnesOnce) {
    HostConfig config;
    config.hidden = {"REALPictureClearCache"};
    load(config);
    Ref pic = makePicture(formatNamed("desktop32"), 3, 3);
    EXPECT_TRUE(callPicture(kInvert, pic.get()));
    const int missingAsks = standin::resolverAsks("REALPictureClearCache");
    const int foundAsks = standin::resolverAsks("newPicture");
    EXPECT_GE(missingAsks, 1);
    EXPECT_EQ(foundAsks, 1);
    EXPECT_TRUE(callPicture(kInvert, pic.get()));
    EXPECT_GT(standin::resolverAsks("REALPictureClearCache"), missingAsks);
    EXPECT_EQ(standin::resolverAsks("newPicture"), 1);
}

TEST_F(EntryPointTest, MissingPictureServicesGiveNil) {
    // (Without "REALLockObject" a host cannot count references at all; not a case.)
    for (const char* name : {"newPicture", "lockPictureDescription", "GetGWorldPixMap"}) {
        HostConfig config;
        config.hidden = {name};
        load(config);
        Ref pic = makePicture(formatNamed("desktop32"), 3, 3);
        Ref out = callPicture(kInvert, pic.get());
        if (std::string(name) == "newPicture") EXPECT_FALSE(out) << name;
        EXPECT_EQ(standin::refCount(pic.get()), 1) << name;
    }
}

class CompositeHelperTest : public LinkedPluginTest {};

TEST_F(CompositeHelperTest, PictureSizeOfNothingIsZero) {
    Ref pic = makePicture(formatNamed("desktop24"), 7, 5);
    Ref block = makeBlock(8);
    EXPECT_EQ(GetPictureWidth(pic.pic()), 7);
    EXPECT_EQ(GetPictureHeight(pic.pic()), 5);
    EXPECT_EQ(GetPictureWidth(nullptr), 0);
    EXPECT_EQ(GetPictureHeight(static_cast<REALpictureStruct*>(block.get())), 0);
}

TEST_F(CompositeHelperTest, MemoryBlockSizesOutsideTheHostRangeAreRefused) {
    EXPECT_EQ(REALNewMemoryBlock(-1), nullptr);
    EXPECT_EQ(REALNewMemoryBlock(2147483647LL), nullptr);
    EXPECT_EQ(standin::occurrences(standin::Fault::MemoryBlockCreation), 0) << "the host was never asked";
    Ref empty = Ref::adopt(REALNewMemoryBlock(0));
    ASSERT_TRUE(empty);
    EXPECT_EQ(standin::memoryBlockSize(empty.get()), 0);
    standin::failNth(standin::Fault::MemoryBlockCreation, 1);
    EXPECT_EQ(REALNewMemoryBlock(2147483646LL), nullptr);
    EXPECT_EQ(standin::occurrences(standin::Fault::MemoryBlockCreation), 2) << "the largest size is asked for";
}

// A failed bitmap lock: hosts before 2012.0 keep the description locked and the
// plugin unlocks it; newer hosts hold nothing and must not see an unlock.
class LockDescriptionTest : public LinkedPluginTest, public ::testing::WithParamInterface<double> {
protected:
    HostConfig initialConfig() const override { return configFor(AppKind::Console, GetParam()); }
};

TEST_P(LockDescriptionTest, FailedLockIsBalancedForTheHostVersion) {
    Ref vector = Ref::adopt(standin::newVectorPicture(4, 4, 0));
    REALpictureDescription description = {};
    EXPECT_FALSE(REALLockPictureDescriptionX(vector.pic(), &description, kPictureTypeBitmap));
    Ref bitmap = makePicture(formatNamed("console"), 4, 4);
    ASSERT_TRUE(REALLockPictureDescriptionX(bitmap.pic(), &description, kPictureTypeBitmap));
    EXPECT_EQ(description.pictureType, kPictureTypeBitmap);
    EXPECT_EQ(standin::ledger().descriptionLocks, 1);
    REALUnlockPictureDescription(bitmap.pic());
}

INSTANTIATE_TEST_SUITE_P(HostVersions, LockDescriptionTest, ::testing::Values(0.0, 2011.99, 2012.0, 2013.0));

}  // namespace
