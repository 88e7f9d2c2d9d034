// Placeholder until this operation is written: every call fails cleanly.
#include "plugin/operations.h"

REALpictureStruct* ReplaceRedChannel(REALpictureStruct* picture, REALpictureStruct* channel) { return nullptr; }
REALpictureStruct* ReplaceGreenChannel(REALpictureStruct* picture, REALpictureStruct* channel) { return nullptr; }
REALpictureStruct* ReplaceBlueChannel(REALpictureStruct* picture, REALpictureStruct* channel) { return nullptr; }
