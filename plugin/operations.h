// Every function the plugin registers with the host, with the exact C types the
// host calls it with: integer int32_t, color uint32_t, boolean signed char,
// byref arguments as pointers.
#pragma once

#include "plugin/abi.h"

// Invert and gray invert (ops/color/invert.cpp)
REALpictureStruct* InvertPicture(REALpictureStruct* picture, int32_t left, int32_t top, int32_t width, int32_t height);
REALpictureStruct* InvertPicture2(REALpictureStruct* picture);
REALpictureStruct* InvertGrayPicture(REALpictureStruct* picture, int32_t left, int32_t top, int32_t width, int32_t height);
REALpictureStruct* InvertGrayPicture2(REALpictureStruct* picture);

// Tint (ops/color/tint.cpp)
REALpictureStruct* TintPicture(REALpictureStruct* source, uint32_t greyBase, uint32_t sepiaBase);

// Masks (ops/color/masks.cpp)
REALpictureStruct* GetEmbededMask(REALpictureStruct* picture, signed char swap);
void SetEmbededMask(REALpictureStruct* picture, signed char swap, REALpictureStruct* mask);
signed char PictureHasMask(REALpictureStruct* picture);

// Scrolling (ops/color/scroll.cpp)
signed char ScrollVerticalVQZ(REALpictureStruct* picture, int32_t delta, signed char wrap, signed char scrollmask);
signed char ScrollHorizontalVQZ(REALpictureStruct* picture, int32_t delta, signed char wrap, signed char scrollmask);
signed char ScrollVQZ(REALpictureStruct* picture, int32_t deltaX, int32_t deltaY, signed char wrap, signed char scrollmask);

// Merge and combine (ops/color/merge.cpp)
REALpictureStruct* MergePicture(REALpictureStruct* source1, REALpictureStruct* source2);
REALpictureStruct* CombinePicturesVQZ(REALpictureStruct* red, REALpictureStruct* blue, REALpictureStruct* green);

// Color counting and color tables (ops/color/color_tables.cpp)
int32_t CountColorVQZ(REALpictureStruct* picture, uint32_t col);
void CountColorsVQZ(REALpictureStruct* picture, REALmemoryBlockStruct** first, REALmemoryBlockStruct** second,
                    REALmemoryBlockStruct** third, int32_t* count);
REALpictureStruct* TransformColorsVQZ(REALpictureStruct* picture, REALmemoryBlockStruct* red, REALmemoryBlockStruct* blue,
                                      REALmemoryBlockStruct* green, REALpictureStruct* dest);

// Replace and extract color (ops/color/replace.cpp)
REALpictureStruct* ReplaceColorVQZ(REALpictureStruct* picture, uint32_t searchColor, uint32_t replaceWithColor);
REALpictureStruct* ExtractColorVQZ(REALpictureStruct* picture, uint32_t searchColor, uint32_t replaceWithColor,
                                   uint32_t backgroundColor);

// Brightness and contrast (ops/tone/brightness.cpp)
REALpictureStruct* ContrastAbsBrightnessPicture3(REALpictureStruct* picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue);
REALpictureStruct* ContrastLinBrightnessPicture3(REALpictureStruct* picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue);
REALpictureStruct* ContrastAbsBrightnessPicture1(REALpictureStruct* picture, double contrast, double brightness);
REALpictureStruct* ContrastLinBrightnessPicture1(REALpictureStruct* picture, double contrast, double brightness);
REALpictureStruct* AbsBrightnessPicture3(REALpictureStruct* picture, double red, double green, double blue);
REALpictureStruct* LinBrightnessPicture3(REALpictureStruct* picture, double red, double green, double blue);
REALpictureStruct* AbsBrightnessPicture1(REALpictureStruct* picture, double brightness);
REALpictureStruct* LinBrightnessPicture1(REALpictureStruct* picture, double brightness);
REALpictureStruct* ContrastPicture1(REALpictureStruct* picture, double contrast);
REALpictureStruct* ContrastPicture3(REALpictureStruct* picture, double red, double green, double blue);
REALpictureStruct* TransformPicture(REALpictureStruct* picture, double a, double b);

// Saturation and colorness (ops/tone/saturation.cpp)
double ColornessVQZ(REALpictureStruct* picture, int32_t threshold);
REALpictureStruct* SaturationPicture(REALpictureStruct* picture, int32_t amount);

// Channel replacement (ops/tone/channels.cpp)
REALpictureStruct* ReplaceRedChannel(REALpictureStruct* picture, REALpictureStruct* channel);
REALpictureStruct* ReplaceGreenChannel(REALpictureStruct* picture, REALpictureStruct* channel);
REALpictureStruct* ReplaceBlueChannel(REALpictureStruct* picture, REALpictureStruct* channel);

// Picture tests (ops/tone/picture_tests.cpp)
signed char isWhite2(REALpictureStruct* picture);
signed char isWhite(REALpictureStruct* picture, int32_t left, int32_t top, int32_t width, int32_t height);
signed char isBlack2(REALpictureStruct* picture);
signed char isBlack(REALpictureStruct* picture, int32_t left, int32_t top, int32_t width, int32_t height);
signed char isGray2(REALpictureStruct* picture, int32_t tolerance);
signed char isGray(REALpictureStruct* picture, int32_t tolerance, int32_t left, int32_t top, int32_t width, int32_t height);

// Color rectangle mask (ops/tone/rectangle_mask.cpp)
REALpictureStruct* ExtractColorRectangleMaskVQZ(REALpictureStruct* picture, int32_t left, int32_t top, int32_t width,
                                                int32_t height);
REALpictureStruct* ExtractColorRectangleMaskVQZ2(REALpictureStruct* picture);

// Sub-picture search (ops/tone/find_picture.cpp)
signed char FindPicture(REALpictureStruct* picture, REALpictureStruct* pic, int32_t* x, int32_t* y);

// Waveform rendering (waveform/render_samples.cpp)
REALpictureStruct* RenderSamples(REALmemoryBlockStruct* samples, int32_t sampleCount, int32_t smooth, int32_t width,
                                 int32_t height, int32_t outlineWidth, uint32_t backColor, uint32_t foreColor,
                                 uint32_t outlineColor, int32_t bits, signed char autoScale);

// Binary string picture format (serial/binary_string.cpp)
REALpictureStruct* BinaryStringtoPicture(REALstringStruct* data);
REALstringStruct* PicturetoBinaryString(REALpictureStruct* picture);
