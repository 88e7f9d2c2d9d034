// Placeholder until this operation is written: every call fails cleanly.
#include "plugin/operations.h"

signed char FindPicture(REALpictureStruct* picture, REALpictureStruct* pic, int32_t* x, int32_t* y) { return 0; }
