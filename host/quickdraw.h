// The QuickDraw state of the stand-in host (current port, pixel locks, regions)
// and the functions that the stand-in ApplicationServices library exports over it.
// The library is a thin C layer; the state lives here, in vqzhost.
#pragma once

#include <cstdint>

#include "plugin/abi.h"

namespace standin {

struct GWorld;
void addGWorld(GWorld* gworld);
// Called when a picture's pixels go; records an error if its port is current.
void removeGWorld(GWorld* gworld);

namespace qd {
PixMapHandle GetGWorldPixMap(GWorldPtr port);
uint8_t LockPixels(PixMapHandle pixMap);
void UnlockPixels(PixMapHandle pixMap);
void* GetPixBaseAddr(PixMapHandle pixMap);
int32_t GetPixRowBytes(PixMapHandle pixMap);
int16_t GetPixDepth(PixMapHandle pixMap);
void GetGWorld(GWorldPtr* port, void** device);
void SetGWorld(GWorldPtr port, void* device);
RgnHandle NewRgn();
void DisposeRgn(RgnHandle region);
void ScrollRect(const Rect* rect, int16_t dh, int16_t dv, RgnHandle updateRegion);

// The port that is current after a reset (a screen port with no picture).
GWorldPtr screenPort();
// The bounds a region was last set to (ScrollRect sets the uncovered area).
Rect regionBounds(RgnHandle region);
}  // namespace qd

}  // namespace standin
