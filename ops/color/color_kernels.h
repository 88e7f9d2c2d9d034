// The pixel loops of the color operations, apart from the host-facing functions that
// open the pictures, so that each can be run on any pair of pixel formats. Every
// loop covers the reader's whole width and height, walking the editors row by row
// from their current row; the writer must be at least as large as the reader.
#pragma once

#include <cstdint>

#include "picture/editor.h"
#include "picture/pixel_formats.h"

// Tint: a brightness from one color's weights, colored by another color. TintPixels
// picks one of the two ways, which give the same bytes: plain doubles, or a table
// indexed by an integer form of the brightness (false when there is no memory for it).
void TintPixels(PictureReader& reader, PictureWriter& writer, uint32_t greyBase, uint32_t sepiaBase);
void TintPixelsInDoubles(PictureReader& reader, PictureWriter& writer, uint32_t greyBase, uint32_t sepiaBase);
bool TintPixelsThroughTable(PictureReader& reader, PictureWriter& writer, uint32_t greyBase, uint32_t sepiaBase);

// Embedded masks: the mask byte of each pixel as a gray picture, and back.
void MaskToGray(PictureReader& reader, PictureWriter& writer, bool swap);
void GrayToMask(PictureEditor& picture, PictureEditor& mask, bool swap);

// Channel-wise maximum of two pictures, and a picture assembled from three.
void MergePixels(PictureReader& source1, PictureReader& source2, PictureWriter& writer);
void CombinePixels(PictureReader& red, PictureReader& green, PictureReader& blue, PictureWriter& writer);

// Color counting and lookup tables.
uint32_t CountMatchingPixels(PictureReader& reader, RGB color);
struct ChannelHistograms {
    uint32_t red[256];
    uint32_t green[256];
    uint32_t blue[256];
};
void CountChannelValues(PictureReader& reader, ChannelHistograms& histograms);
void MapThroughTables(PictureReader& reader, PictureWriter& writer, const uint8_t* red, const uint8_t* green,
                      const uint8_t* blue);

// Exact color replacement: matching pixels get `replacement`; the others keep their
// color, or get `background` when extracting.
void ReplaceMatchingPixels(PictureReader& reader, PictureWriter& writer, RGB search, RGB replacement);
void ExtractMatchingPixels(PictureReader& reader, PictureWriter& writer, RGB search, RGB replacement, RGB background);
