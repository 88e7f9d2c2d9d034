// Brightness, contrast and custom linear maps. Every channel goes through an affine
// function of its own 8-bit value, so each call evaluates the function once for each
// of the 256 values of each channel, in double precision exactly as written below,
// and then maps the pixels through the three tables.
#include <cstdint>

#include "picture/channel_tables.h"
#include "plugin/operations.h"

namespace {

// Truncation toward zero to a 32-bit integer. Values beyond the 32-bit range saturate
// at its limits and NaN gives 0, so that no parameter (huge, infinite or NaN) reaches
// an undefined conversion.
int32_t TruncateToInt32(double y) {
    if (!(y == y)) return 0;
    if (y >= 2147483648.0) return INT32_MAX;
    if (y <= -2147483649.0) return INT32_MIN;
    return static_cast<int32_t>(y);
}

uint8_t ClampedChannel(double y) {
    const int32_t v = TruncateToInt32(y);
    return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
}

// Linear brightness alone does not clamp: it keeps the low 8 bits.
uint8_t WrappedChannel(double y) { return static_cast<uint8_t>(static_cast<uint32_t>(TruncateToInt32(y)) & 255u); }

// Linear brightness squeezes 0..255 towards black (b < 0) or towards white (b >= 0,
// and NaN, which is not below 0).
struct LinearScale {
    double scale, offset;
};
LinearScale LinearBrightness(double b) {
    if (b < 0) return LinearScale{(255.0 + b) / 255.0, 0.0};
    return LinearScale{(255.0 - b) / 255.0, b};
}

// Fills one channel's table: table[x] = channel(transfer(x)).
template <class Transfer, class Channel>
void FillTable(uint8_t* table, Transfer transfer, Channel channel) {
    for (int x = 0; x < 256; ++x) table[x] = channel(transfer(x));
}

REALpictureStruct* MapPicture(REALpictureStruct* picture, const ChannelTables& tables) {
    PictureReader reader;
    PictureWriter writer;
    if (!reader.GetPictureReader(picture)) return nullptr;
    if (!writer.NewPictureWriter(reader)) return nullptr;
    MapThroughTables(reader, writer, tables);
    REALpictureStruct* result = writer.RenderPictureWriter();
    reader.clear();
    return result;
}

// Builds the three tables from one transfer function per channel and maps the picture.
template <class Make>
REALpictureStruct* MapEachChannel(REALpictureStruct* picture, Make make) {
    ChannelTables tables;
    make(tables.red, 0);
    make(tables.green, 1);
    make(tables.blue, 2);
    return MapPicture(picture, tables);
}

}  // namespace

// ---------------------------------------------------------------- linear brightness

REALpictureStruct* LinBrightnessPicture3(REALpictureStruct* picture, double red, double green, double blue) {
    const double b[3] = {red, green, blue};
    return MapEachChannel(picture, [&](uint8_t* table, int c) {
        const LinearScale l = LinearBrightness(b[c]);
        FillTable(table, [&](int x) { return (double(x) * l.scale) + l.offset; }, WrappedChannel);
    });
}

REALpictureStruct* LinBrightnessPicture1(REALpictureStruct* picture, double brightness) {
    return LinBrightnessPicture3(picture, brightness, brightness, brightness);
}

// ---------------------------------------------------------------- absolute brightness

REALpictureStruct* AbsBrightnessPicture3(REALpictureStruct* picture, double red, double green, double blue) {
    const double b[3] = {red, green, blue};
    return MapEachChannel(picture, [&](uint8_t* table, int c) {
        FillTable(table, [&](int x) { return double(x) + b[c]; }, ClampedChannel);
    });
}

REALpictureStruct* AbsBrightnessPicture1(REALpictureStruct* picture, double brightness) {
    return AbsBrightnessPicture3(picture, brightness, brightness, brightness);
}

// ---------------------------------------------------------------- contrast
// The pivot is 127; x - 127 is formed in integers before it meets the double gain.

REALpictureStruct* ContrastPicture3(REALpictureStruct* picture, double red, double green, double blue) {
    const double k[3] = {red, green, blue};
    return MapEachChannel(picture, [&](uint8_t* table, int c) {
        const double gain = k[c] + 1.0;
        FillTable(table, [&](int x) { return (double(x - 127) * gain) + 127.0; }, ClampedChannel);
    });
}

REALpictureStruct* ContrastPicture1(REALpictureStruct* picture, double contrast) {
    return ContrastPicture3(picture, contrast, contrast, contrast);
}

REALpictureStruct* ContrastLinBrightnessPicture3(REALpictureStruct* picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue) {
    const double k[3] = {contrastRed, contrastGreen, contrastBlue};
    const double b[3] = {brightnessRed, brightnessGreen, brightnessBlue};
    return MapEachChannel(picture, [&](uint8_t* table, int c) {
        const double gain = k[c] + 1.0;
        const LinearScale l = LinearBrightness(b[c]);
        FillTable(table, [&](int x) { return ((((double(x - 127) * gain) + 127.0) * l.scale) + l.offset); },
                  ClampedChannel);
    });
}

REALpictureStruct* ContrastLinBrightnessPicture1(REALpictureStruct* picture, double contrast, double brightness) {
    return ContrastLinBrightnessPicture3(picture, contrast, contrast, contrast, brightness, brightness, brightness);
}

REALpictureStruct* ContrastAbsBrightnessPicture3(REALpictureStruct* picture, double contrastRed, double contrastGreen,
                                                 double contrastBlue, double brightnessRed, double brightnessGreen,
                                                 double brightnessBlue) {
    const double k[3] = {contrastRed, contrastGreen, contrastBlue};
    const double b[3] = {brightnessRed, brightnessGreen, brightnessBlue};
    return MapEachChannel(picture, [&](uint8_t* table, int c) {
        const double gain = k[c] + 1.0;
        FillTable(table, [&](int x) { return ((double(x - 127) * gain) + 127.0) + b[c]; }, ClampedChannel);
    });
}

REALpictureStruct* ContrastAbsBrightnessPicture1(REALpictureStruct* picture, double contrast, double brightness) {
    return ContrastAbsBrightnessPicture3(picture, contrast, contrast, contrast, brightness, brightness, brightness);
}

// ---------------------------------------------------------------- custom map

REALpictureStruct* TransformPicture(REALpictureStruct* picture, double a, double b) {
    return MapEachChannel(picture, [&](uint8_t* table, int) {
        FillTable(table, [&](int x) { return (double(x) * a) + b; }, ClampedChannel);
    });
}
