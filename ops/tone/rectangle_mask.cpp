// Placeholder until this operation is written: every call fails cleanly.
#include "plugin/operations.h"

REALpictureStruct* ExtractColorRectangleMaskVQZ(REALpictureStruct* picture, int32_t left, int32_t top, int32_t width, int32_t height) { return nullptr; }
REALpictureStruct* ExtractColorRectangleMaskVQZ2(REALpictureStruct* picture) { return nullptr; }
