// Reference counting, the ledger, misuse detection, MemoryBlocks and faults.
#include <cstdlib>
#include <cstring>
#include <string>

#include "tests/host/host_fixture.h"

namespace hosttest {
namespace {

using ObjectsTest = HostTest;

TEST_F(ObjectsTest, ReferencesAreCountedAndLeaksShowInTheLedger) {
    REALpictureStruct* p = api.newPicture(4, 3, 32);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(refCount(p), 1);
    api.lockObject(reinterpret_cast<REALobjectStruct*>(p));
    EXPECT_EQ(refCount(p), 2);
    api.unlockObject(reinterpret_cast<REALobjectStruct*>(p));

    Ledger l = ledger();
    EXPECT_EQ(l.liveObjects, 1);
    EXPECT_FALSE(l.clean());
    EXPECT_NE(l.detail.find("Picture"), std::string::npos) << l.detail;
    EXPECT_NE(l.detail.find("4x3"), std::string::npos) << l.detail;
    EXPECT_NE(l.detail.find("refs 1"), std::string::npos) << l.detail;

    api.unlockObject(reinterpret_cast<REALobjectStruct*>(p));
    EXPECT_EQ(refCount(p), 0);
    EXPECT_EQ(ledger().liveObjects, 0);
}

TEST_F(ObjectsTest, MisuseIsRecordedNotFatal) {
    REALobjectStruct* p = reinterpret_cast<REALobjectStruct*>(api.newPicture(2, 2, 32));
    api.unlockObject(p);
    api.unlockObject(p);  // double release
    int local = 0;
    api.lockObject(reinterpret_cast<REALobjectStruct*>(&local));  // not a host object
    Ledger l = ledger();
    ASSERT_EQ(l.errors.size(), 2u) << l.detail;
    EXPECT_NE(l.errors[0].find("after its last release"), std::string::npos) << l.errors[0];
    EXPECT_NE(l.errors[1].find("unknown handle"), std::string::npos) << l.errors[1];
    EXPECT_FALSE(l.clean());
    expectErrorsAndReset(2);
}

TEST_F(ObjectsTest, WrongKindOfHandleIsAnError) {
    Ref block = Ref::adopt(api.newMemoryBlock(8));
    EXPECT_EQ(api.cString(reinterpret_cast<REALstringStruct*>(block.get())), nullptr);
    int32_t width = -1;
    EXPECT_FALSE(api.getPropInt(block.obj(), "Width", &width));
    EXPECT_EQ(width, -1);
    expectErrorsAndReset(1);
    block.take();  // the reset forgot it
}

TEST_F(ObjectsTest, RefHelperBalancesReferences) {
    void* s = newString("abc", kEncodingASCII);
    {
        Ref a = Ref::adopt(s);
        Ref b = a;
        EXPECT_EQ(refCount(s), 2);
        Ref c = std::move(b);
        EXPECT_EQ(refCount(s), 2);
    }
    EXPECT_EQ(refCount(s), 0);
}

TEST_F(ObjectsTest, MemoryBlocksAreZeroFilledAndSized) {
    Ref block = Ref::adopt(api.newMemoryBlock(100));
    ASSERT_TRUE(block);
    EXPECT_EQ(api.blockSize(block.block()), 100);
    auto* bytes = static_cast<uint8_t*>(api.blockPtr(block.block()));
    ASSERT_NE(bytes, nullptr);
    for (int i = 0; i < 100; ++i) ASSERT_EQ(bytes[i], 0);
    EXPECT_EQ(bytes, memoryBlockData(block.get()));

    Ref empty = Ref::adopt(api.newMemoryBlock(0));
    ASSERT_TRUE(empty);
    EXPECT_EQ(api.blockSize(empty.block()), 0);
    EXPECT_NE(api.blockPtr(empty.block()), nullptr);
    EXPECT_EQ(api.newMemoryBlock(-1), nullptr);
}

TEST_F(ObjectsTest, FaultsHitTheNthOccurrenceOnly) {
    failNth(Fault::MemoryBlockCreation, 2);
    Ref a = Ref::adopt(api.newMemoryBlock(1));
    REALmemoryBlockStruct* b = api.newMemoryBlock(1);
    Ref c = Ref::adopt(api.newMemoryBlock(1));
    EXPECT_TRUE(a);
    EXPECT_EQ(b, nullptr);
    EXPECT_TRUE(c);
    EXPECT_EQ(occurrences(Fault::MemoryBlockCreation), 3);

    failNth(Fault::PictureCreation, 1);
    failNth(Fault::PictureCreation, 0);  // disarmed
    Ref p = Ref::adopt(api.newPicture(1, 1, 32));
    EXPECT_TRUE(p);

    failNth(Fault::InstanceCreation, 1);
    EXPECT_EQ(api.newInstance("RuntimeException"), nullptr);
    failNth(Fault::GraphicsCreation, 1);
    EXPECT_EQ(api.graphics(p.pic()), nullptr);
    failNth(Fault::StringCreation, 1);
    EXPECT_EQ(api.buildString("x", 1), nullptr);
}

TEST_F(ObjectsTest, ResetClearsRegistrationAndCounters) {
    static REALmethodDefinition method = {nullptr, nullptr, "Nothing()", 0};
    api.registerMethod(&method);
    failNth(Fault::PictureCreation, 5);
    release(api.newPicture(1, 1, 32));
    reset(hostConfig(AppKind::Console));
    EXPECT_TRUE(registeredGlobalMethods().empty());
    EXPECT_EQ(occurrences(Fault::PictureCreation), 0);
    EXPECT_EQ(config().kind, AppKind::Console);
}

TEST_F(ObjectsTest, MissingFrameworkPointsThePluginNowhere) {
    const char* before = std::getenv("VQZ_FRAMEWORKS_DIR");
    std::string saved = before ? before : "";
    HostConfig c = hostConfig(AppKind::Desktop);
    c.frameworkMissing = true;
    useHost(c);
    const char* missing = std::getenv("VQZ_FRAMEWORKS_DIR");
    ASSERT_NE(missing, nullptr);
    EXPECT_NE(std::string(missing), saved);
    useHost(hostConfig(AppKind::Desktop));
    const char* after = std::getenv("VQZ_FRAMEWORKS_DIR");
    EXPECT_EQ(after ? std::string(after) : std::string(), saved);
}

}  // namespace
}  // namespace hosttest
