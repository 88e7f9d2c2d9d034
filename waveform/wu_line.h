// Anti-aliased lines drawn straight into a writer's pixels, blending the outline
// color of the waveform renderer into what is already there.
#pragma once

#include <cstdint>

#include "picture/editor.h"

// The outline color (0 to 255 each). The renderer sets it at the start of each call;
// DrawPixel reads it. Process-wide, so two renders must not overlap in time.
extern int32_t gOutLineColorR;
extern int32_t gOutLineColorG;
extern int32_t gOutLineColorB;

// The weight scale the renderer always draws with: base weight 0, 256 levels,
// 8 intensity bits taken from the 16-bit error accumulator.
constexpr int kWuBaseWeight = 0;
constexpr int kWuWeightLevels = 256;
constexpr unsigned short kWuIntensityBits = 8;

// Draws the line from (x0, y0) to (x1, y1), both end points included, with Xiaolin
// Wu's walk over a 16-bit error accumulator. Pixels outside the writer are skipped.
void DrawWuLine(PictureWriter& writer, int x0, int y0, int x1, int y1, int baseWeight, int weightLevels,
                unsigned short intensityBits);

// Blends the outline color into the pixel at (x, y): weight 0 paints the outline
// color, 255 keeps the pixel. Does nothing outside the writer.
void DrawPixel(PictureWriter& writer, int x, int y, int weight);
