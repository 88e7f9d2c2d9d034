#include "plugin/strings.h"

#include <cstdlib>
#include <cstring>

#include "plugin/errors.h"
#include "plugin/host_api.h"

void rbData::clear() {
    string = nullptr;
    memoryBlock = nullptr;
    stringData = REALstringData{nullptr, 0, 0};
    ownsStringData = 0;
    data = nullptr;
    size = 0;
}

rbData::rbData(REALstringStruct* s) {
    clear();
    if (!s) return;
    if (!HostIsAtLeast(2013.0)) {
        // Older hosts: read the string object's own storage while holding it.
        string = s;
        REALLockString(s);
        OldHostString header;
        memcpy(&header, s, sizeof header);
        if (header.storage && header.length > 0) {
            data = reinterpret_cast<const uint8_t*>(header.storage) + 1;
            size = header.length;
        }
        return;
    }
    if (REALGetStringData(s, kEncodingAsStored, &stringData)) {
        ownsStringData = 1;
        data = static_cast<const uint8_t*>(stringData.data);
        size = data ? stringData.length : 0;
    }
}

rbData::rbData(REALmemoryBlockStruct* block, unsigned long offset, unsigned long length) {
    clear();
    if (!block) return;
    memoryBlock = block;
    REALLockObject(AsObject(block));
    if (length == 0) {
        int32_t blockSize = REALMemoryBlockGetSize(block);
        length = blockSize > 0 ? static_cast<unsigned long>(blockSize) : 0;
    }
    auto* bytes = static_cast<const uint8_t*>(REALMemoryBlockGetPtr(block));
    if (!bytes) return;
    size = static_cast<int32_t>(length);
    data = bytes + offset;
}

rbData::~rbData() {
    if (string) REALUnlockString(string);
    if (memoryBlock) REALUnlockObject(AsObject(memoryBlock));
    if (ownsStringData) REALDisposeStringData(&stringData);
    clear();
}

void* REALLoadFrameworkMethod(const char* declaration) {
    using LoadGlobalMethod = void* (*)(const char* module, const char* declaration);
    static LoadGlobalMethod pLoadGlobalMethod = nullptr;
    if (!pLoadGlobalMethod)
        pLoadGlobalMethod = reinterpret_cast<LoadGlobalMethod>(ResolveEntryPoint("REALLoadGlobalMethod"));
    if (!pLoadGlobalMethod) return nullptr;
    return pLoadGlobalMethod(nullptr, declaration);
}

bool REALGetStringData(REALstringStruct* s, unsigned long encoding, REALstringData* out) {
    using GetStringData = uint8_t (*)(REALstringStruct*, uint32_t, REALstringData*);
    static GetStringData pGetStringData = nullptr;
    if (!pGetStringData) pGetStringData = reinterpret_cast<GetStringData>(ResolveEntryPoint("PluginGetStringData"));
    if (pGetStringData) return pGetStringData(s, static_cast<uint32_t>(encoding), out) != 0;

    // Older hosts: copy the bytes through "StringGetCString" and the host's LenB.
    using CString = const char* (*)(REALstringStruct*);
    using LenB = int32_t (*)(REALstringStruct*);
    static CString pCString = nullptr;
    static LenB pLenB = nullptr;
    if (!pCString) pCString = reinterpret_cast<CString>(ResolveEntryPoint("StringGetCString"));
    if (!pLenB) pLenB = reinterpret_cast<LenB>(REALLoadFrameworkMethod("LenB( s as string ) as integer"));
    if (!pCString || !pLenB || !s) return false;

    REALstringStruct* source = s;
    REALstringStruct* converted = nullptr;
    if (encoding != kEncodingAsStored && REALGetStringEncoding(s) != encoding) {
        converted = REALConvertString(s, static_cast<uint32_t>(encoding));
        if (!converted) return false;
        source = converted;
    }
    int32_t length = pLenB(source);
    const char* bytes = pCString(source);
    if (length < 0 || (length > 0 && !bytes)) length = 0;
    // A failed allocation is a failed copy: nothing is handed out.
    auto* copy = static_cast<char*>(malloc(static_cast<size_t>(length) + 4));
    if (copy) {
        if (length > 0) memcpy(copy, bytes, static_cast<size_t>(length));
        memset(copy + length, 0, 4);
    }
    if (converted) REALUnlockString(converted);
    if (!copy) return false;
    out->data = copy;
    out->length = length;
    out->encoding = static_cast<uint32_t>(encoding);
    return true;
}

// Builds a string of `length` bytes, marks it as UTF-16 and hands back its UTF-8
// conversion (the intermediate string is released).
static REALstringStruct* BuildFromUTF16(const void* bytes, int32_t length, bool convertNull) {
    REALstringStruct* utf16 = originalREALBuildString(static_cast<const char*>(bytes), length);
    if (!utf16 && !convertNull) return nullptr;
    if (utf16) REALSetStringEncoding(utf16, kEncodingUTF16);
    REALstringStruct* utf8 = REALConvertString(utf16, kEncodingUTF8);
    if (utf16) REALUnlockString(utf16);
    return utf8;
}

REALstringStruct* REALBuildUnicodeString(const void* bytes, long long length, unsigned long encoding) {
    if (!bytes || length < 1 || length > 0x7FFFFFFE) return nullptr;
    if (encoding == kEncodingUTF32) {
        // Narrow each 32-bit unit to its low 16 bits; no surrogate pairs are formed.
        const long long count = length / 4;
        uint16_t local[200] = {};
        uint16_t* units = local;
        if (length > 799) {
            units = static_cast<uint16_t*>(AllocateClearMemory(2 * count + 4));
            if (!units) return nullptr;
        }
        const auto* source = static_cast<const uint8_t*>(bytes);
        for (long long i = 0; i < count; ++i) {
            uint32_t unit;
            memcpy(&unit, source + 4 * i, 4);
            units[i] = static_cast<uint16_t>(unit);
        }
        REALstringStruct* result = BuildFromUTF16(units, static_cast<int32_t>(2 * count), true);
        if (units != local) FreeMemoryNow(units);
        return result;
    }
    if (encoding == kEncodingUTF16) return BuildFromUTF16(bytes, static_cast<int32_t>(length), false);
    REALstringStruct* s = originalREALBuildString(static_cast<const char*>(bytes), static_cast<int32_t>(length));
    if (!s) return nullptr;
    REALSetStringEncoding(s, static_cast<uint32_t>(encoding));
    return s;
}
