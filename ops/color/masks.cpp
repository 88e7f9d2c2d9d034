// Placeholder until this operation is written: every call fails cleanly.
#include "plugin/operations.h"

REALpictureStruct* GetEmbededMask(REALpictureStruct* picture, signed char swap) { return nullptr; }
void SetEmbededMask(REALpictureStruct* picture, signed char swap, REALpictureStruct* mask) {}
signed char PictureHasMask(REALpictureStruct* picture) { return 0; }
