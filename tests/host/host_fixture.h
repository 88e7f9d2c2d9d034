// Tests of the stand-in host drive it the way the plugin does: through function
// pointers from resolve(), of the C types the plugin uses. Every test starts from
// a reset host and ends with a clean ledger.
#pragma once

#include <gtest/gtest.h>

#include "host/host.h"

namespace hosttest {

using namespace standin;

// One C function found by name (through the resolver) or by address (dlsym),
// called with the signature the plugin uses.
template <class F>
struct Entry;
template <class R, class... A>
struct Entry<R(A...)> {
    explicit Entry(const char* name) : Entry(resolve(name)) {}
    explicit Entry(void* address) : fn(reinterpret_cast<R (*)(A...)>(address)) {}
    R operator()(A... a) const { return fn(a...); }
    R (*fn)(A...);
};

using Obj = REALobjectStruct*;
using Pic = REALpictureStruct*;
using Str = REALstringStruct*;
using Block = REALmemoryBlockStruct*;
using Gfx = REALgraphicsStruct*;

// The host entry points the tests call.
struct HostApi {
    Entry<void(Obj)> lockObject{"REALLockObject"}, unlockObject{"REALUnlockObject"}, raise{"RuntimeRaiseException"};
    Entry<void(Str)> unlockString{"REALUnlockString"};
    Entry<Obj(const char*)> newInstance{"PluginNewInstance"};
    Entry<void*(const char*)> objectType{"pluginObjectType"};
    Entry<void(REALclassDefinition*)> registerClass{"PluginRegisterClass"};
    Entry<void(REALmethodDefinition*)> registerMethod{"PluginRegisterMethod"};
    Entry<void*(Obj, const char*)> loadObjectMethod{"REALLoadObjectMethod"};
    Entry<void*(const char*, const char*)> loadGlobalMethod{"REALLoadGlobalMethod"};
    Entry<uint8_t(Obj, const char*, int32_t*)> getPropInt{"REALGetPropValueInt"};
    Entry<uint8_t(Obj, const char*, int32_t)> setPropInt{"REALSetPropValueInt"};
    Entry<uint8_t(Obj, const char*, uint32_t)> setPropUInt32{"REALSetPropValueUInt32"};
    Entry<uint8_t(Obj, const char*, Str)> setPropString{"REALSetPropValueString"};
    Entry<Pic(int32_t, int32_t, int32_t)> newPicture{"newPicture"};
    Entry<Gfx(Pic)> graphics{"pluginPictureGraphicsGetter"};
    Entry<Pic(Pic, uint8_t)> getMask{"REALGetPictureMask"};
    Entry<void(Pic)> clearCache{"REALPictureClearCache"}, unlockDescription{"unlockPictureDescription"};
    Entry<void(Pic, REALpictureDescription*)> lockDescription{"lockPictureDescription"};
    Entry<uint8_t(Pic, REALpictureDescription*, int32_t)> lockDescriptionOfType{"REALLockPictureDescription"};
    Entry<void(Gfx, int32_t, int32_t, int32_t, int32_t)> drawLine{"RuntimeGraphicsDrawLine"};
    Entry<Block(int32_t)> newMemoryBlock{"newMemoryBlock"};
    Entry<void*(Block)> blockPtr{"memoryBlockGetPtr"};
    Entry<int32_t(Block)> blockSize{"memoryBlockGetSize"};
    Entry<Str(const char*, int32_t)> buildString{"REALBuildString"};
    Entry<uint32_t(Str)> getEncoding{"REALGetStringEncoding"};
    Entry<void(Str, uint32_t)> setEncoding{"REALSetStringEncoding"};
    Entry<Str(Str, uint32_t)> convertString{"REALConvertString"};
    Entry<uint8_t(Str, uint32_t, REALstringData*)> getStringData{"PluginGetStringData"};
    Entry<void(REALstringData*)> disposeStringData{"PluginDisposeStringData"};
    Entry<const char*(Str)> cString{"StringGetCString"};
};

inline HostConfig hostConfig(AppKind kind, double version = 2013.0, bool hasVersion = true) {
    return HostConfig{kind, hasVersion, version, {}, false};
}

class HostTest : public ::testing::Test {
protected:
    void SetUp() override {
        reset(hostConfig(AppKind::Desktop));
        api = HostApi();  // after the reset: the last test's host may have hidden some names
    }
    void TearDown() override { EXPECT_TRUE(ledger().clean()) << ledger().detail; }
    // For tests that provoke misuse: checks the recorded errors, then starts over
    // so that the test ends clean.
    void expectErrorsAndReset(size_t count) {
        Ledger l = ledger();
        EXPECT_EQ(l.errors.size(), count) << l.detail;
        reset(config());
    }
    HostApi api;
};

}  // namespace hosttest
