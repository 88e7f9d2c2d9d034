// Placeholder until this operation is written: every call fails cleanly.
#include "plugin/operations.h"

REALpictureStruct* RenderSamples(REALmemoryBlockStruct* samples, int32_t sampleCount, int32_t smooth, int32_t width, int32_t height, int32_t outlineWidth, uint32_t backColor, uint32_t foreColor, uint32_t outlineColor, int32_t bits, signed char autoScale) { return nullptr; }
