// The 3D lookup-table filter: its instance data, the tetrahedral interpolation of
// one output channel, and the block mapping that Run uses.
#pragma once

#include <cstdint>

#include "classes/filter_class.h"
#include "picture/editor.h"
#include "plugin/abi.h"

// 18 nodes per axis are stored (and reachable through Table); Run reads nodes 0 to
// 15, which stand for the inputs 0, 17, ..., 255.
constexpr int kLutStoredNodes = 18;
constexpr int kLutUsedNodes = 16;
constexpr int kLutStep = 17;
constexpr int kLutElements = kLutStoredNodes * kLutStoredNodes * kLutStoredNodes * 3;

struct Lut3DClassData {
    REALpictureStruct* SourcePicture;
    REALpictureStruct* DestinationPicture;
    int32_t MinX;
    int32_t MinY;
    int32_t MaxX;
    int32_t MaxY;
    double table[kLutElements];  // [r][g][b][channel], channel fastest
};

constexpr int LutIndex(int r, int g, int b, int channel) {
    return ((r * kLutStoredNodes + g) * kLutStoredNodes + b) * 3 + channel;
}

// One of the six tetrahedra of a lattice cell: the value is
// weight[0]*C000 + weight[1]*C(first) + weight[2]*C(second) + weight[3]*C111, summed
// from left to right. Corners are coded as bits: 4 red, 2 green, 1 blue step.
struct Tetrahedron {
    double weight[4];
    uint8_t first;
    uint8_t second;
};
enum : uint8_t { kCornerRed = 4, kCornerGreen = 2, kCornerBlue = 1 };

// The tetrahedron holding the fractions (fr, fg, fb), each in [0, 1).
Tetrahedron TetrahedronOf(double fr, double fg, double fb);

// The interpolated value of one output channel in the cell from (r0, g0, b0) to (r1, g1, b1).
double SumXYZ(double fr, double fg, double fb, int r0, int g0, int b0, int r1, int g1, int b1, int channel,
              Lut3DClassData* data);

// Maps `block` of the reader's pixels into the same places of the writer through
// the table. False when its scratch memory cannot be had.
bool MapLut3DBlock(PictureReader& reader, PictureWriter& writer, FilterBlock block, const Lut3DClassData& data);
