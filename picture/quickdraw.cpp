#include "picture/quickdraw.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#ifndef VQZ_DEFAULT_FRAMEWORKS_DIR
#define VQZ_DEFAULT_FRAMEWORKS_DIR "/usr/lib/vqz/frameworks"
#endif

void* LoadFrameworkBundle(const char* name) {
    const char* folder = getenv("VQZ_FRAMEWORKS_DIR");
    if (!folder || !*folder) folder = VQZ_DEFAULT_FRAMEWORKS_DIR;
    // The bundle's executable carries the bundle's name without its extension.
    const char* dot = strrchr(name, '.');
    int stem = dot ? static_cast<int>(dot - name) : static_cast<int>(strlen(name));
    char path[4096];
    int n = snprintf(path, sizeof path, "%s/%s/%.*s", folder, name, stem, name);
    if (n < 0 || n >= static_cast<int>(sizeof path)) return nullptr;
    return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

// The library, once loaded, stays loaded for the life of the plugin. A failed
// load or lookup is not remembered: the next call tries again.
static void* ApplicationServicesFramework = nullptr;

static void* FindQuickDrawFunction(const char* name) {
    if (!ApplicationServicesFramework)
        ApplicationServicesFramework = LoadFrameworkBundle("ApplicationServices.framework");
    if (!ApplicationServicesFramework) return nullptr;
    return dlsym(ApplicationServicesFramework, name);
}

#define QUICKDRAW(function, result, missing, params, args)                            \
    result function params {                                                          \
        using Function = result(*) params;                                            \
        static Function _##function = nullptr;                                        \
        if (!_##function) _##function = reinterpret_cast<Function>(FindQuickDrawFunction(#function)); \
        if (!_##function) return missing;                                             \
        return _##function args;                                                      \
    }
#include "picture/quickdraw_functions.def"
#undef QUICKDRAW

void SetRect(Rect* r, int16_t left, int16_t top, int16_t right, int16_t bottom) {
    r->top = top;
    r->left = left;
    r->bottom = bottom;
    r->right = right;
}
