// Placeholder until this operation is written: every call fails cleanly.
#include "plugin/operations.h"

signed char ScrollVerticalVQZ(REALpictureStruct* picture, int32_t delta, signed char wrap, signed char scrollmask) { return 0; }
signed char ScrollHorizontalVQZ(REALpictureStruct* picture, int32_t delta, signed char wrap, signed char scrollmask) { return 0; }
signed char ScrollVQZ(REALpictureStruct* picture, int32_t deltaX, int32_t deltaY, signed char wrap, signed char scrollmask) { return 0; }
