#include "plugin/errors.h"

#include <cstdlib>
#include <cstring>

#include "plugin/host_api.h"
#include "plugin/strings.h"

void RaiseException(const char* className, const char* message, unsigned long encoding) {
    REALstringStruct* text = message ? REALBuildUnicodeString(message, static_cast<long long>(strlen(message)), encoding)
                                     : nullptr;
    REALobjectStruct* exception = REALnewInstance(className);
    if (!exception) exception = REALnewInstance("RuntimeException");
    if (exception) {
        REALSetPropValueString(exception, "Message", text);
        REALRaiseException(exception);
        REALUnlockObject(exception);
    }
    if (text) REALUnlockString(text);
}

void* AllocateClearMemory(long long size) {
    if (size < 1 || size > 0x7FFFFFFF) return nullptr;
    return calloc(1, static_cast<size_t>(size));
}

void FreeMemoryNow(const void* p) { free(const_cast<void*>(p)); }
