// Placeholder until this operation is written: every call fails cleanly.
#include "plugin/operations.h"

int32_t CountColorVQZ(REALpictureStruct* picture, uint32_t col) { return 0; }
void CountColorsVQZ(REALpictureStruct* picture, REALmemoryBlockStruct** first, REALmemoryBlockStruct** second, REALmemoryBlockStruct** third, int32_t* count) {}
REALpictureStruct* TransformColorsVQZ(REALpictureStruct* picture, REALmemoryBlockStruct* red, REALmemoryBlockStruct* blue, REALmemoryBlockStruct* green, REALpictureStruct* dest) { return nullptr; }
