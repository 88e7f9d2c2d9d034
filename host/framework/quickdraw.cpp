// The stand-in ApplicationServices library: the QuickDraw functions the plugin
// loads by name, as plain C symbols over the stand-in host's GWorlds.
#include "host/quickdraw.h"

#define VQZ_EXPORT extern "C" __attribute__((visibility("default")))

namespace qd = standin::qd;

VQZ_EXPORT PixMapHandle GetGWorldPixMap(GWorldPtr port) { return qd::GetGWorldPixMap(port); }
VQZ_EXPORT uint8_t LockPixels(PixMapHandle pixMap) { return qd::LockPixels(pixMap); }
VQZ_EXPORT void UnlockPixels(PixMapHandle pixMap) { qd::UnlockPixels(pixMap); }
VQZ_EXPORT void* GetPixBaseAddr(PixMapHandle pixMap) { return qd::GetPixBaseAddr(pixMap); }
VQZ_EXPORT int32_t GetPixRowBytes(PixMapHandle pixMap) { return qd::GetPixRowBytes(pixMap); }
VQZ_EXPORT int16_t GetPixDepth(PixMapHandle pixMap) { return qd::GetPixDepth(pixMap); }
VQZ_EXPORT void GetGWorld(GWorldPtr* port, void** device) { qd::GetGWorld(port, device); }
VQZ_EXPORT void SetGWorld(GWorldPtr port, void* device) { qd::SetGWorld(port, device); }
VQZ_EXPORT RgnHandle NewRgn() { return qd::NewRgn(); }
VQZ_EXPORT void DisposeRgn(RgnHandle region) { qd::DisposeRgn(region); }
VQZ_EXPORT void ScrollRect(const Rect* rect, int16_t dh, int16_t dv, RgnHandle updateRegion) {
    qd::ScrollRect(rect, dh, dv, updateRegion);
}
