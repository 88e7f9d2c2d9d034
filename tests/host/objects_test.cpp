// Reference counting, the ledger, misuse detection, MemoryBlocks, faults and reset.
#include <algorithm>
#include <cstdlib>
#include <string>

#include "tests/host/host_fixture.h"

namespace hosttest {
namespace {

using ObjectsTest = HostTest;

TEST_F(ObjectsTest, ReferencesAreCountedAndLeaksShowInTheLedger) {
    auto* p = reinterpret_cast<Obj>(api.newPicture(4, 3, 32));
    api.lockObject(p);
    EXPECT_EQ(refCount(p), 2);
    api.unlockObject(p);
    Ledger l = ledger();
    EXPECT_FALSE(l.clean());
    EXPECT_EQ(l.liveObjects, 1);
    for (const char* part : {"Picture", "4x3", "refs 1"}) EXPECT_NE(l.detail.find(part), std::string::npos) << l.detail;
    api.unlockObject(p);
    EXPECT_EQ(refCount(p), 0);
}

TEST_F(ObjectsTest, MisuseIsRecordedNotFatal) {
    auto* p = reinterpret_cast<Obj>(api.newPicture(2, 2, 32));
    api.unlockObject(p);
    api.unlockObject(p);  // double release
    int local = 0;
    api.lockObject(reinterpret_cast<Obj>(&local));  // not a host object
    Ref block = Ref::adopt(api.newMemoryBlock(8));
    EXPECT_EQ(api.cString(reinterpret_cast<Str>(block.get())), nullptr);  // not a string
    int32_t width = -1;
    EXPECT_FALSE(api.getPropInt(block.obj(), "Width", &width));  // no such property: no error
    EXPECT_EQ(width, -1);
    Ledger l = ledger();
    ASSERT_EQ(l.errors.size(), 3u) << l.detail;
    EXPECT_NE(l.errors[0].find("after its last release"), std::string::npos) << l.errors[0];
    EXPECT_NE(l.errors[1].find("unknown handle"), std::string::npos) << l.errors[1];
    expectErrorsAndReset(3);
    block.take();  // the reset forgot it
}

TEST_F(ObjectsTest, MemoryBlocksAreZeroFilledAndSized) {
    Ref block = Ref::adopt(api.newMemoryBlock(100)), empty = Ref::adopt(api.newMemoryBlock(0));
    ASSERT_TRUE(block && empty);
    auto* bytes = static_cast<uint8_t*>(api.blockPtr(block.block()));
    ASSERT_EQ(bytes, memoryBlockData(block.get()));
    EXPECT_EQ(std::count(bytes, bytes + 100, 0), 100);
    EXPECT_EQ(std::make_pair(api.blockSize(block.block()), api.blockSize(empty.block())), std::make_pair(100, 0));
    EXPECT_NE(api.blockPtr(empty.block()), nullptr);
    EXPECT_EQ(api.newMemoryBlock(-1), nullptr);
}

TEST_F(ObjectsTest, FaultsHitTheNthOccurrenceOnly) {
    failNth(Fault::MemoryBlockCreation, 2);
    Ref a = Ref::adopt(api.newMemoryBlock(1)), b = Ref::adopt(api.newMemoryBlock(1));
    Ref c = Ref::adopt(api.newMemoryBlock(1));
    EXPECT_TRUE(a && !b && c);
    EXPECT_EQ(occurrences(Fault::MemoryBlockCreation), 3);
    failNth(Fault::PictureCreation, 1);
    failNth(Fault::PictureCreation, 0);  // disarmed
    Ref p = Ref::adopt(api.newPicture(1, 1, 32));
    ASSERT_TRUE(p);
    failNth(Fault::InstanceCreation, 1);
    failNth(Fault::GraphicsCreation, 1);
    failNth(Fault::StringCreation, 1);
    EXPECT_EQ(api.newInstance("RuntimeException"), nullptr);
    EXPECT_EQ(api.graphics(p.pic()), nullptr);
    EXPECT_EQ(api.buildString("x", 1), nullptr);
}

TEST_F(ObjectsTest, ResetClearsRegistrationCountersAndTheHiddenFramework) {
    const char* before = std::getenv("VQZ_FRAMEWORKS_DIR");
    const std::string saved = before ? before : "";
    static REALmethodDefinition method = {nullptr, nullptr, "Nothing()", 0};
    api.registerMethod(&method);
    failNth(Fault::PictureCreation, 5);
    release(api.newPicture(1, 1, 32));
    HostConfig c = hostConfig(AppKind::Console);
    c.frameworkMissing = true;  // points the plugin's library lookup nowhere
    reset(c);
    EXPECT_TRUE(registeredGlobalMethods().empty());
    EXPECT_EQ(occurrences(Fault::PictureCreation), 0);
    EXPECT_EQ(config().kind, AppKind::Console);
    const char* hidden = std::getenv("VQZ_FRAMEWORKS_DIR");
    EXPECT_TRUE(hidden && std::string(hidden) != saved);
    reset(hostConfig(AppKind::Desktop));
    const char* after = std::getenv("VQZ_FRAMEWORKS_DIR");
    EXPECT_EQ(after ? std::string(after) : std::string(), saved);
}

}  // namespace
}  // namespace hosttest
