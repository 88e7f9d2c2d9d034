// Copying and drawing whole pictures, for the pixels that cannot be exposed directly.
#pragma once

#include "plugin/abi.h"

REALpictureStruct* ClonePicture(REALpictureStruct* source);
bool GraphicsDrawPicture(REALgraphicsStruct* graphics, REALpictureStruct* destination, REALpictureStruct* source,
                         int x, int y, int w, int h, int sx, int sy, int sw, int sh);
bool OwnCopy(REALpictureStruct* destination, REALpictureStruct* source, int x, int y, int w, int h, int sx, int sy,
             int sw, int sh);
