// Placeholder until this operation is written: every call fails cleanly.
#include "plugin/operations.h"

double ColornessVQZ(REALpictureStruct* picture, int32_t threshold) { return 0.0; }
REALpictureStruct* SaturationPicture(REALpictureStruct* picture, int32_t amount) { return nullptr; }
