// The registration tables of the Picture class extension and of the global methods.
#include "plugin/operations.h"
#include "plugin/registration.h"

#define FN(function) reinterpret_cast<REALproc>(function)

static REALmethodDefinition pictureMethods[] = {
    {FN(ColornessVQZ), nullptr, "ColornessVQZ(threshold as integer = 10) as double", 0},
    {FN(ScrollVerticalVQZ), nullptr, "ScrollVerticalVQZ(delta as integer, wrap as boolean, scrollmask as boolean) as boolean", 0},
    {FN(ScrollHorizontalVQZ), nullptr, "ScrollHorizontalVQZ(delta as integer, wrap as boolean, scrollmask as boolean) as boolean", 0},
    {FN(ScrollVQZ), nullptr, "ScrollVQZ(deltaX as integer, deltaY as integer, wrap as boolean, scrollmask as boolean) as boolean", 0},
    {FN(PictureHasMask), nullptr, "HasMaskVQZ as boolean", kPluginConsoleSafe},
    {FN(ContrastAbsBrightnessPicture3), nullptr, "ChangeContrastBrightnessAbsoluteVQZ(ContrastRed as double, ContrastGreen as double, ContrastBlue as double, BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture", kPluginConsoleSafe},
    {FN(ContrastLinBrightnessPicture3), nullptr, "ChangeContrastBrightnessLinearVQZ(ContrastRed as double, ContrastGreen as double, ContrastBlue as double, BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture", kPluginConsoleSafe},
    {FN(ContrastAbsBrightnessPicture1), nullptr, "ChangeContrastBrightnessAbsoluteVQZ(Contrast as double, Brightness as double) as picture", kPluginConsoleSafe},
    {FN(ContrastLinBrightnessPicture1), nullptr, "ChangeContrastBrightnessLinearVQZ(Contrast as double, Brightness as double) as picture", kPluginConsoleSafe},
    {FN(AbsBrightnessPicture3), nullptr, "ChangeBrightnessAbsoluteVQZ(BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture", kPluginConsoleSafe},
    {FN(LinBrightnessPicture3), nullptr, "ChangeBrightnessLinearVQZ(BrightnessRed as double, BrightnessGreen as double, BrightnessBlue as double) as picture", kPluginConsoleSafe},
    {FN(AbsBrightnessPicture1), nullptr, "ChangeBrightnessAbsoluteVQZ(Brightness as double) as picture", kPluginConsoleSafe},
    {FN(LinBrightnessPicture1), nullptr, "ChangeBrightnessLinearVQZ(Brightness as double) as picture", kPluginConsoleSafe},
    {FN(ContrastPicture1), nullptr, "ChangeContrastVQZ(Contrast as double) as picture", kPluginConsoleSafe},
    {FN(ContrastPicture3), nullptr, "ChangeContrastVQZ(ContrastRed as double, ContrastGreen as double, ContrastBlue as double) as picture", kPluginConsoleSafe},
    {FN(TransformPicture), nullptr, "ChangeCustomVQZ(a as double, b as double) as picture", kPluginConsoleSafe},
    {FN(InvertPicture), nullptr, "InvertVQZ(left as integer,top as integer,width as integer,height as integer) as picture", kPluginConsoleSafe},
    {FN(InvertPicture2), nullptr, "InvertVQZ as picture", kPluginConsoleSafe},
    {FN(InvertGrayPicture), nullptr, "InvertGrayVQZ(left as integer,top as integer,width as integer,height as integer) as picture", kPluginConsoleSafe},
    {FN(InvertGrayPicture2), nullptr, "InvertGrayVQZ as picture", kPluginConsoleSafe},
    {FN(ExtractColorRectangleMaskVQZ), nullptr, "ExtractColorRectangleMaskVQZ(left as integer,top as integer,width as integer,height as integer) as picture", kPluginConsoleSafe},
    {FN(ExtractColorRectangleMaskVQZ2), nullptr, "ExtractColorRectangleMaskVQZ as picture", kPluginConsoleSafe},
    {FN(GetEmbededMask), FN(SetEmbededMask), "EmbeddedMaskVQZ(swap as boolean) as picture", kPluginConsoleSafe},
    {FN(CountColorVQZ), nullptr, "CountColorVQZ(col as color) as integer", kPluginConsoleSafe},
    {FN(CountColorsVQZ), nullptr, "CountColorsVQZ(byref red as memoryblock, byref blue as memoryblock, byref green as memoryblock, byref count as integer)", 0},
    {FN(TransformColorsVQZ), nullptr, "TransformColorsVQZ(red as memoryblock, blue as memoryblock, green as memoryblock, dest as picture = nil) as picture", 0},
    {FN(ReplaceColorVQZ), nullptr, "ReplaceColorVQZ(SearchColor as color, ReplaceWithColor as color) as picture", 0},
    {FN(ExtractColorVQZ), nullptr, "ExtractColorVQZ(SearchColor as color, ReplaceWithColor as color, BackGroundColor as color) as picture", 0},
    {FN(SaturationPicture), nullptr, "ChangeSaturationVQZ(Amount as integer) as picture", kPluginConsoleSafe},
    {FN(ReplaceRedChannel), nullptr, "ReplaceRedChannelVQZ(RedChannel as picture) as picture", kPluginConsoleSafe},
    {FN(ReplaceGreenChannel), nullptr, "ReplaceGreenChannelVQZ(GreenChannel as picture) as picture", kPluginConsoleSafe},
    {FN(ReplaceBlueChannel), nullptr, "ReplaceBlueChannelVQZ(BlueChannel as picture) as picture", kPluginConsoleSafe},
    {FN(FindPicture), nullptr, "FindPicture(pic as picture, byref x as integer, byref y as integer) as boolean", kPluginConsoleSafe},
    {FN(isWhite2), nullptr, "isWhiteVQZ as boolean", kPluginConsoleSafe},
    {FN(isWhite), nullptr, "isWhiteVQZ(left as integer,top as integer,width as integer,height as integer) as boolean", kPluginConsoleSafe},
    {FN(isBlack2), nullptr, "isBlackVQZ as boolean", kPluginConsoleSafe},
    {FN(isBlack), nullptr, "isBlackVQZ(left as integer,top as integer,width as integer,height as integer) as boolean", kPluginConsoleSafe},
    {FN(isGray2), nullptr, "isGrayVQZ(tolerance as integer = 0) as boolean", kPluginConsoleSafe},
    {FN(isGray), nullptr, "isGrayVQZ(tolerance as integer, left as integer,top as integer,width as integer,height as integer) as boolean", kPluginConsoleSafe},
};

REALclassDefinition pictureClass = {
    9, "Picture", nullptr, 0, 0, nullptr, nullptr, nullptr, 0,
    pictureMethods, sizeof pictureMethods / sizeof pictureMethods[0],
    {0, 0, 0, 0, 0, 0, 0, 0, 0},
    kHostConsoleSafe, nullptr, 0, nullptr, 0,
};

REALmethodDefinition globalMethods[] = {
    {FN(BinaryStringtoPicture), nullptr, "BinaryStringtoPictureVQZ(data as String) as Picture", kPluginConsoleSafe},
    {FN(PicturetoBinaryString), nullptr, "PicturetoBinaryStringVQZ(p as picture) as string", kPluginConsoleSafe},
    {FN(CombinePicturesVQZ), nullptr, "CombinePicturesVQZ(red as picture, blue as picture, green as picture) as picture", kPluginConsoleSafe},
    {FN(MergePicture), nullptr, "MergePictureVQZ(source1 as picture, source2 as picture) as picture", kPluginConsoleSafe},
    {FN(TintPicture), nullptr, "TintPictureVQZ(source as picture, GreyBase as color, SepiaBase as color) as picture", kPluginConsoleSafe},
    {FN(RenderSamples), nullptr, "RenderSamplesVQZ(Samples as memoryblock, SampleCount as integer, Smooth as integer, Width as integer, Height as integer, outlinewidth as integer, BackColor as color=&c88B5C4, ForeColor as color=&c274C5A, OutLineColor as color=&c203F4E, Bits as Integer = 8, AutoScale as boolean = false) as Picture", kPluginConsoleSafe},
};

const int kGlobalMethodCount = sizeof globalMethods / sizeof globalMethods[0];

static_assert(sizeof pictureMethods / sizeof pictureMethods[0] == 39, "the Picture extension has 39 methods");
static_assert(sizeof globalMethods / sizeof globalMethods[0] == 6, "six global methods");
