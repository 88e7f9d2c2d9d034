// Placeholder until this operation is written: every call fails cleanly.
#include "plugin/operations.h"

REALpictureStruct* BinaryStringtoPicture(REALstringStruct* data) { return nullptr; }
REALstringStruct* PicturetoBinaryString(REALpictureStruct* picture) { return nullptr; }
