// Placeholder until this operation is written: every call fails cleanly.
#include "plugin/operations.h"

REALpictureStruct* MergePicture(REALpictureStruct* source1, REALpictureStruct* source2) { return nullptr; }
REALpictureStruct* CombinePicturesVQZ(REALpictureStruct* red, REALpictureStruct* blue, REALpictureStruct* green) { return nullptr; }
