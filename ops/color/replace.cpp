// Placeholder until this operation is written: every call fails cleanly.
#include "plugin/operations.h"

REALpictureStruct* ReplaceColorVQZ(REALpictureStruct* picture, uint32_t searchColor, uint32_t replaceWithColor) { return nullptr; }
REALpictureStruct* ExtractColorVQZ(REALpictureStruct* picture, uint32_t searchColor, uint32_t replaceWithColor, uint32_t backgroundColor) { return nullptr; }
