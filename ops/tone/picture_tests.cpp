// Placeholder until this operation is written: every call fails cleanly.
#include "plugin/operations.h"

signed char isWhite2(REALpictureStruct* picture) { return 0; }
signed char isWhite(REALpictureStruct* picture, int32_t left, int32_t top, int32_t width, int32_t height) { return 0; }
signed char isBlack2(REALpictureStruct* picture) { return 0; }
signed char isBlack(REALpictureStruct* picture, int32_t left, int32_t top, int32_t width, int32_t height) { return 0; }
signed char isGray2(REALpictureStruct* picture, int32_t tolerance) { return 0; }
signed char isGray(REALpictureStruct* picture, int32_t tolerance, int32_t left, int32_t top, int32_t width, int32_t height) { return 0; }
