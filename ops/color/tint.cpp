// Placeholder until this operation is written: every call fails cleanly.
#include "plugin/operations.h"

REALpictureStruct* TintPicture(REALpictureStruct* source, uint32_t greyBase, uint32_t sepiaBase) { return nullptr; }
