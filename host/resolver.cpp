// The resolver: one table of (lookup name, address). Each row names the C type
// the plugin calls the entry point through; the cast refuses to compile when the
// function does not have exactly that type.
#include <cstring>
#include <map>
#include <string>

#include "host/entry_points.h"
#include "host/host.h"
#include "host/modules.h"

namespace standin {
namespace {

struct EntryPoint {
    const char* name;
    void* address;
};

// F is the C type of the row; a function of any other type does not convert to F*.
template <class F>
void* address(F* function) {
    return reinterpret_cast<void*>(function);
}

#define VQZ_ENTRY(name, ...) {#name, address<__VA_ARGS__>(&entry::name)}

const EntryPoint kEntryPoints[] = {
    VQZ_ENTRY(RegisterPluginVersion, void(int32_t)),
    VQZ_ENTRY(REALGetRBVersion, double()),
    VQZ_ENTRY(REALLockObject, void(REALobjectStruct*)),
    VQZ_ENTRY(REALUnlockObject, void(REALobjectStruct*)),
    VQZ_ENTRY(REALLockString, void(REALstringStruct*)),
    VQZ_ENTRY(REALUnlockString, void(REALstringStruct*)),
    VQZ_ENTRY(PluginNewInstance, REALobjectStruct*(const char*)),
    VQZ_ENTRY(pluginObjectType, void*(const char*)),
    VQZ_ENTRY(RuntimeRaiseException, void(REALobjectStruct*)),
    VQZ_ENTRY(PluginRegisterClass, void(REALclassDefinition*)),
    VQZ_ENTRY(PluginRegisterClassExtension, void(REALclassDefinition*)),
    VQZ_ENTRY(PluginRegisterMethod, void(REALmethodDefinition*)),
    VQZ_ENTRY(REALLoadObjectMethod, void*(REALobjectStruct*, const char*)),
    VQZ_ENTRY(REALLoadGlobalMethod, void*(const char*, const char*)),
    VQZ_ENTRY(REALGetPropValueInt, uint8_t(REALobjectStruct*, const char*, int32_t*)),
    VQZ_ENTRY(REALSetPropValueInt, uint8_t(REALobjectStruct*, const char*, int32_t)),
    VQZ_ENTRY(REALSetPropValueUInt32, uint8_t(REALobjectStruct*, const char*, uint32_t)),
    VQZ_ENTRY(REALSetPropValueString, uint8_t(REALobjectStruct*, const char*, REALstringStruct*)),
    VQZ_ENTRY(newPicture, REALpictureStruct*(int32_t, int32_t, int32_t)),
    VQZ_ENTRY(pluginPictureGraphicsGetter, REALgraphicsStruct*(REALpictureStruct*)),
    VQZ_ENTRY(REALGetPictureMask, REALpictureStruct*(REALpictureStruct*, uint8_t)),
    VQZ_ENTRY(REALPictureClearCache, void(REALpictureStruct*)),
    VQZ_ENTRY(lockPictureDescription, void(REALpictureStruct*, REALpictureDescription*)),
    VQZ_ENTRY(REALLockPictureDescription, uint8_t(REALpictureStruct*, REALpictureDescription*, int32_t)),
    VQZ_ENTRY(unlockPictureDescription, void(REALpictureStruct*)),
    VQZ_ENTRY(RuntimeGraphicsDrawLine, void(REALgraphicsStruct*, int32_t, int32_t, int32_t, int32_t)),
    VQZ_ENTRY(newMemoryBlock, REALmemoryBlockStruct*(int32_t)),
    VQZ_ENTRY(memoryBlockGetPtr, void*(REALmemoryBlockStruct*)),
    VQZ_ENTRY(memoryBlockGetSize, int32_t(REALmemoryBlockStruct*)),
    VQZ_ENTRY(REALBuildString, REALstringStruct*(const char*, int32_t)),
    VQZ_ENTRY(REALGetStringEncoding, uint32_t(REALstringStruct*)),
    VQZ_ENTRY(REALSetStringEncoding, void(REALstringStruct*, uint32_t)),
    VQZ_ENTRY(REALConvertString, REALstringStruct*(REALstringStruct*, uint32_t)),
    VQZ_ENTRY(PluginGetStringData, uint8_t(REALstringStruct*, uint32_t, REALstringData*)),
    VQZ_ENTRY(PluginDisposeStringData, void(REALstringData*)),
    VQZ_ENTRY(StringGetCString, const char*(REALstringStruct*)),
};

#undef VQZ_ENTRY

}  // namespace

namespace {
std::map<std::string, int>& asks() {
    static std::map<std::string, int> counts;
    return counts;
}
}  // namespace

int resolverAsks(const std::string& name) {
    auto it = asks().find(name);
    return it == asks().end() ? 0 : it->second;
}

void resetResolverAsks() { asks().clear(); }

void* resolve(const char* name) {
    if (!name) return nullptr;
    ++asks()[name];
    const HostConfig& c = config();
    if (c.hidden.count(name)) return nullptr;
    if (!c.hasVersion && std::strcmp(name, "REALGetRBVersion") == 0) return nullptr;
    for (const EntryPoint& e : kEntryPoints)
        if (std::strcmp(e.name, name) == 0) return e.address;
    return nullptr;
}

std::vector<std::string> entryPointNames() {
    std::vector<std::string> names;
    for (const EntryPoint& e : kEntryPoints) names.push_back(e.name);
    return names;
}

}  // namespace standin
