// Tests of the stand-in host drive it the way the plugin does: through function
// pointers from resolve(), of the C types the plugin uses. Every test starts from
// a reset host and ends with a clean ledger.
#pragma once

#include <gtest/gtest.h>

#include "host/host.h"

namespace hosttest {

using namespace standin;

// The entry points, typed as the plugin calls them.
struct HostApi {
    template <class F>
    static F* get(const char* name) {
        return reinterpret_cast<F*>(resolve(name));
    }
    void (*lockObject)(REALobjectStruct*) = get<void(REALobjectStruct*)>("REALLockObject");
    void (*unlockObject)(REALobjectStruct*) = get<void(REALobjectStruct*)>("REALUnlockObject");
    void (*lockString)(REALstringStruct*) = get<void(REALstringStruct*)>("REALLockString");
    void (*unlockString)(REALstringStruct*) = get<void(REALstringStruct*)>("REALUnlockString");
    REALobjectStruct* (*newInstance)(const char*) = get<REALobjectStruct*(const char*)>("PluginNewInstance");
    void* (*objectType)(const char*) = get<void*(const char*)>("pluginObjectType");
    void (*raise)(REALobjectStruct*) = get<void(REALobjectStruct*)>("RuntimeRaiseException");
    void (*registerClass)(REALclassDefinition*) = get<void(REALclassDefinition*)>("PluginRegisterClass");
    void (*registerExtension)(REALclassDefinition*) = get<void(REALclassDefinition*)>("PluginRegisterClassExtension");
    void (*registerMethod)(REALmethodDefinition*) = get<void(REALmethodDefinition*)>("PluginRegisterMethod");
    void* (*loadObjectMethod)(REALobjectStruct*, const char*) =
        get<void*(REALobjectStruct*, const char*)>("REALLoadObjectMethod");
    void* (*loadGlobalMethod)(const char*, const char*) = get<void*(const char*, const char*)>("REALLoadGlobalMethod");
    uint8_t (*getPropInt)(REALobjectStruct*, const char*, int32_t*) =
        get<uint8_t(REALobjectStruct*, const char*, int32_t*)>("REALGetPropValueInt");
    uint8_t (*setPropInt)(REALobjectStruct*, const char*, int32_t) =
        get<uint8_t(REALobjectStruct*, const char*, int32_t)>("REALSetPropValueInt");
    uint8_t (*setPropUInt32)(REALobjectStruct*, const char*, uint32_t) =
        get<uint8_t(REALobjectStruct*, const char*, uint32_t)>("REALSetPropValueUInt32");
    uint8_t (*setPropString)(REALobjectStruct*, const char*, REALstringStruct*) =
        get<uint8_t(REALobjectStruct*, const char*, REALstringStruct*)>("REALSetPropValueString");
    REALpictureStruct* (*newPicture)(int32_t, int32_t, int32_t) =
        get<REALpictureStruct*(int32_t, int32_t, int32_t)>("newPicture");
    REALgraphicsStruct* (*graphics)(REALpictureStruct*) =
        get<REALgraphicsStruct*(REALpictureStruct*)>("pluginPictureGraphicsGetter");
    REALpictureStruct* (*getMask)(REALpictureStruct*, uint8_t) =
        get<REALpictureStruct*(REALpictureStruct*, uint8_t)>("REALGetPictureMask");
    void (*clearCache)(REALpictureStruct*) = get<void(REALpictureStruct*)>("REALPictureClearCache");
    void (*lockDescription)(REALpictureStruct*, REALpictureDescription*) =
        get<void(REALpictureStruct*, REALpictureDescription*)>("lockPictureDescription");
    uint8_t (*lockDescriptionOfType)(REALpictureStruct*, REALpictureDescription*, int32_t) =
        get<uint8_t(REALpictureStruct*, REALpictureDescription*, int32_t)>("REALLockPictureDescription");
    void (*unlockDescription)(REALpictureStruct*) = get<void(REALpictureStruct*)>("unlockPictureDescription");
    void (*drawLine)(REALgraphicsStruct*, int32_t, int32_t, int32_t, int32_t) =
        get<void(REALgraphicsStruct*, int32_t, int32_t, int32_t, int32_t)>("RuntimeGraphicsDrawLine");
    REALmemoryBlockStruct* (*newMemoryBlock)(int32_t) = get<REALmemoryBlockStruct*(int32_t)>("newMemoryBlock");
    void* (*blockPtr)(REALmemoryBlockStruct*) = get<void*(REALmemoryBlockStruct*)>("memoryBlockGetPtr");
    int32_t (*blockSize)(REALmemoryBlockStruct*) = get<int32_t(REALmemoryBlockStruct*)>("memoryBlockGetSize");
    REALstringStruct* (*buildString)(const char*, int32_t) = get<REALstringStruct*(const char*, int32_t)>("REALBuildString");
    uint32_t (*getEncoding)(REALstringStruct*) = get<uint32_t(REALstringStruct*)>("REALGetStringEncoding");
    void (*setEncoding)(REALstringStruct*, uint32_t) = get<void(REALstringStruct*, uint32_t)>("REALSetStringEncoding");
    REALstringStruct* (*convertString)(REALstringStruct*, uint32_t) =
        get<REALstringStruct*(REALstringStruct*, uint32_t)>("REALConvertString");
    uint8_t (*getStringData)(REALstringStruct*, uint32_t, REALstringData*) =
        get<uint8_t(REALstringStruct*, uint32_t, REALstringData*)>("PluginGetStringData");
    void (*disposeStringData)(REALstringData*) = get<void(REALstringData*)>("PluginDisposeStringData");
    const char* (*cString)(REALstringStruct*) = get<const char*(REALstringStruct*)>("StringGetCString");
};

using DrawPictureFn = void(REALgraphicsStruct*, REALpictureStruct*, int32_t, int32_t, int32_t, int32_t,
                           int32_t, int32_t, int32_t, int32_t);
constexpr const char* kDrawPictureDeclaration =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
    "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";

inline HostConfig hostConfig(AppKind kind, double version = 2013.0, bool hasVersion = true) {
    HostConfig c;
    c.kind = kind;
    c.version = version;
    c.hasVersion = hasVersion;
    return c;
}

class HostTest : public ::testing::Test {
protected:
    void SetUp() override { useHost(hostConfig(AppKind::Desktop)); }
    void TearDown() override {
        Ledger l = ledger();
        EXPECT_TRUE(l.clean()) << l.detail;
    }
    // Switches the host (nothing may be held across).
    void useHost(const HostConfig& c) {
        reset(c);
        api = HostApi();
    }
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
