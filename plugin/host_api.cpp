#include "plugin/host_api.h"

#include <cstdlib>

REALResolver gResolver = nullptr;
double rbversion_rbversion = 0.0;

void* ResolveEntryPoint(const char* name) { return gResolver ? gResolver(name) : nullptr; }

// Each wrapper keeps the address in a function-local static. A null answer is not
// remembered as final: the host is asked again on the next call.
#define HOST_ENTRY(wrapper, lookup, result, missing, params, args)             \
    result wrapper params {                                                    \
        using EntryPoint = result(*) params;                                   \
        static EntryPoint cached = nullptr;                                    \
        if (!cached) cached = reinterpret_cast<EntryPoint>(ResolveEntryPoint(lookup)); \
        if (!cached) return missing;                                           \
        return cached args;                                                    \
    }
#define HOST_ENTRY_BOOL(wrapper, lookup, params, args)                         \
    bool wrapper params {                                                      \
        using EntryPoint = uint8_t(*) params;                                  \
        static EntryPoint cached = nullptr;                                    \
        if (!cached) cached = reinterpret_cast<EntryPoint>(ResolveEntryPoint(lookup)); \
        if (!cached) return false;                                             \
        return cached args != 0;                                               \
    }
#include "plugin/host_entry_points.def"
#undef HOST_ENTRY
#undef HOST_ENTRY_BOOL

void REALDisposeStringData(REALstringData* data) {
    using EntryPoint = void (*)(REALstringData*);
    static EntryPoint cached = nullptr;
    if (!cached) cached = reinterpret_cast<EntryPoint>(ResolveEntryPoint("PluginDisposeStringData"));
    if (cached) {
        cached(data);
    } else if (data) {
        free(data->data);
        data->data = nullptr;
    }
}

static int32_t PictureDimension(REALpictureStruct* picture, const char* property) {
    if (!picture) return 0;
    int32_t value = 0;
    if (!REALGetPropValueInt32(AsObject(picture), property, &value)) return 0;
    return value;
}

int32_t GetPictureWidth(REALpictureStruct* picture) { return PictureDimension(picture, "Width"); }
int32_t GetPictureHeight(REALpictureStruct* picture) { return PictureDimension(picture, "Height"); }

bool SetGraphicsForeColor(REALgraphicsStruct* graphics, uint32_t color) {
    return REALSetPropValueUInt32(AsObject(graphics), "ForeColor", color);
}
bool SetGraphicsPenWidth(REALgraphicsStruct* graphics, int32_t width) {
    return REALSetPropValueInt32(AsObject(graphics), "PenWidth", width);
}
bool SetGraphicsPenHeight(REALgraphicsStruct* graphics, int32_t height) {
    return REALSetPropValueInt32(AsObject(graphics), "PenHeight", height);
}

REALmemoryBlockStruct* REALNewMemoryBlock(long long size) {
    if (size < 0 || size > 0x7FFFFFFE) return nullptr;
    return REALNewMemoryBlockOriginal(static_cast<int32_t>(size));
}

bool REALLockPictureDescriptionX(REALpictureStruct* picture, REALpictureDescription* description, int32_t type) {
    if (REALLockPictureDescription(picture, description, type)) return true;
    // Hosts before 2012.0 leave the description locked after a failed lock.
    if (!HostIsAtLeast(2012.0)) REALUnlockPictureDescription(picture);
    return false;
}
