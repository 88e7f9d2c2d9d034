// Placeholder until this operation is written: every call fails cleanly.
#include "plugin/operations.h"

REALpictureStruct* ContrastAbsBrightnessPicture3(REALpictureStruct* picture, double contrastRed, double contrastGreen, double contrastBlue, double brightnessRed, double brightnessGreen, double brightnessBlue) { return nullptr; }
REALpictureStruct* ContrastLinBrightnessPicture3(REALpictureStruct* picture, double contrastRed, double contrastGreen, double contrastBlue, double brightnessRed, double brightnessGreen, double brightnessBlue) { return nullptr; }
REALpictureStruct* ContrastAbsBrightnessPicture1(REALpictureStruct* picture, double contrast, double brightness) { return nullptr; }
REALpictureStruct* ContrastLinBrightnessPicture1(REALpictureStruct* picture, double contrast, double brightness) { return nullptr; }
REALpictureStruct* AbsBrightnessPicture3(REALpictureStruct* picture, double red, double green, double blue) { return nullptr; }
REALpictureStruct* LinBrightnessPicture3(REALpictureStruct* picture, double red, double green, double blue) { return nullptr; }
REALpictureStruct* AbsBrightnessPicture1(REALpictureStruct* picture, double brightness) { return nullptr; }
REALpictureStruct* LinBrightnessPicture1(REALpictureStruct* picture, double brightness) { return nullptr; }
REALpictureStruct* ContrastPicture1(REALpictureStruct* picture, double contrast) { return nullptr; }
REALpictureStruct* ContrastPicture3(REALpictureStruct* picture, double red, double green, double blue) { return nullptr; }
REALpictureStruct* TransformPicture(REALpictureStruct* picture, double a, double b) { return nullptr; }
