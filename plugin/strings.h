// Host strings and MemoryBlocks as plain bytes for the length of one call.
#pragma once

#include "plugin/abi.h"

class rbData {
public:
    // The bytes of a string as stored (no conversion).
    explicit rbData(REALstringStruct* s);
    // `length` bytes of a block from `offset`; a length of 0 means the whole block.
    rbData(REALmemoryBlockStruct* block, unsigned long offset, unsigned long length);
    ~rbData();
    rbData(const rbData&) = delete;
    rbData& operator=(const rbData&) = delete;

    REALstringStruct* string;
    REALmemoryBlockStruct* memoryBlock;
    REALstringData stringData;
    uint8_t ownsStringData;
    const uint8_t* data;
    int32_t size;

private:
    void clear();
};

bool REALGetStringData(REALstringStruct* s, unsigned long encoding, REALstringData* out);
REALstringStruct* REALBuildUnicodeString(const void* bytes, long long length, unsigned long encoding);
void* REALLoadFrameworkMethod(const char* declaration);
