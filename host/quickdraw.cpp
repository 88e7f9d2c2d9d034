// QuickDraw over the host's GWorlds: pixel maps, pixel locks, the current port,
// regions and ScrollRect. The ApplicationServices stand-in library calls these.
#include "host/quickdraw.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "host/modules.h"
#include "host/pictures.h"

namespace standin {
namespace {

struct Region : Object {
    static constexpr ObjectKind kKind = ObjectKind::Region;
    Region() : Object(kKind) { handle = &master; }
    Rect bounds{0, 0, 0, 0};
    Rect* master = &bounds;  // a RgnHandle points here
    std::string describe() const override { return "QuickDraw region"; }
};

struct QuickDrawState {
    std::unordered_map<const void*, GWorld*> ports;     // GWorldPtr -> GWorld
    std::unordered_map<const void*, GWorld*> pixMaps;   // PixMapHandle -> GWorld
    GWorld screen;
    uint8_t screenPixels[4] = {0, 0xFF, 0xFF, 0xFF};
    char screenDeviceTag = 0;
    GWorldPtr currentPort = nullptr;
    void* currentDevice = nullptr;
    int pixelLocks = 0;
};

QuickDrawState& state() {
    static QuickDrawState* s = [] {
        auto* q = new QuickDrawState;
        q->screen.pixMap.base = q->screenPixels;
        q->screen.pixMap.rowBytes = 4;
        q->screen.pixMap.depth = 32;
        q->screen.pixMap.width = 1;
        q->screen.pixMap.height = 1;
        return q;
    }();
    return *s;
}

void* screenDevice() { return &state().screenDeviceTag; }

GWorld* gworldOfPort(const void* port, const char* who) {
    auto& ports = state().ports;
    auto it = ports.find(port);
    if (it != ports.end()) return it->second;
    if (port) recordError(std::string(who) + ": unknown GWorld " + hexHandle(port));
    return nullptr;
}

GWorld* gworldOfPixMap(const void* pixMap, const char* who) {
    auto& maps = state().pixMaps;
    auto it = maps.find(pixMap);
    if (it != maps.end()) return it->second;
    recordError(std::string(who) + ": unknown pixel map " + hexHandle(pixMap));
    return nullptr;
}

void registerPort(GWorld* g) {
    state().ports[g->port()] = g;
    state().pixMaps[g->pixMapHandle()] = g;
}

}  // namespace

void addGWorld(GWorld* g) { registerPort(g); }

void removeGWorld(GWorld* g) {
    QuickDrawState& s = state();
    if (g->pixMap.locks > 0) {
        recordError("a GWorld picture was destroyed with " + std::to_string(g->pixMap.locks) +
                    " pixel lock(s) held");
        s.pixelLocks -= g->pixMap.locks;
        g->pixMap.locks = 0;
    }
    if (s.currentPort == g->port()) {
        recordError("a GWorld picture was destroyed while it was the current port");
        s.currentPort = s.screen.port();
        s.currentDevice = screenDevice();
    }
    s.ports.erase(g->port());
    s.pixMaps.erase(g->pixMapHandle());
}

void resetQuickDraw() {
    QuickDrawState& s = state();
    s.ports.clear();
    s.pixMaps.clear();
    s.screen.pixMap.locks = 0;
    registerPort(&s.screen);
    s.currentPort = s.screen.port();
    s.currentDevice = screenDevice();
    s.pixelLocks = 0;
}

void ledgerQuickDraw(Ledger& ledger) {
    QuickDrawState& s = state();
    ledger.pixelLocks = s.pixelLocks;
    ledger.portChanged = s.currentPort != s.screen.port() || s.currentDevice != screenDevice();
    if (ledger.portChanged) ledger.detail += "the current QuickDraw port was not restored\n";
}

namespace qd {

GWorldPtr screenPort() { return state().screen.port(); }

PixMapHandle GetGWorldPixMap(GWorldPtr port) {
    GWorld* g = gworldOfPort(port, "GetGWorldPixMap");
    return g ? g->pixMapHandle() : nullptr;
}

uint8_t LockPixels(PixMapHandle pixMap) {
    GWorld* g = gworldOfPixMap(pixMap, "LockPixels");
    if (faultHits(Fault::PixelLock) || !g) return 0;
    ++g->pixMap.locks;
    ++state().pixelLocks;
    return 1;
}

void UnlockPixels(PixMapHandle pixMap) {
    GWorld* g = gworldOfPixMap(pixMap, "UnlockPixels");
    if (!g) return;
    if (g->pixMap.locks == 0) {
        recordError("UnlockPixels: the pixel map is not locked");
        return;
    }
    --g->pixMap.locks;
    --state().pixelLocks;
}

void* GetPixBaseAddr(PixMapHandle pixMap) {
    GWorld* g = gworldOfPixMap(pixMap, "GetPixBaseAddr");
    return g ? g->pixMap.base : nullptr;
}

int32_t GetPixRowBytes(PixMapHandle pixMap) {
    GWorld* g = gworldOfPixMap(pixMap, "GetPixRowBytes");
    return g ? g->pixMap.rowBytes : 0;
}

int16_t GetPixDepth(PixMapHandle pixMap) {
    GWorld* g = gworldOfPixMap(pixMap, "GetPixDepth");
    return g ? g->pixMap.depth : 0;
}

void GetGWorld(GWorldPtr* port, void** device) {
    if (port) *port = state().currentPort;
    if (device) *device = state().currentDevice;
}

void SetGWorld(GWorldPtr port, void* device) {
    if (!gworldOfPort(port, "SetGWorld")) {
        if (!port) recordError("SetGWorld: null port");
        return;
    }
    state().currentPort = port;
    state().currentDevice = device;
}

RgnHandle NewRgn() {
    Object* r = registerObject(std::make_unique<Region>());
    return static_cast<RgnHandle>(r->handle);
}

void DisposeRgn(RgnHandle region) {
    if (!region) return;
    if (lookupKind(region, ObjectKind::Region, "DisposeRgn")) release(region);
}

Rect regionBounds(RgnHandle region) {
    auto* r = static_cast<Region*>(find(region));
    return r && r->kind == ObjectKind::Region ? r->bounds : Rect{0, 0, 0, 0};
}

void ScrollRect(const Rect* rect, int16_t dh, int16_t dv, RgnHandle updateRegion) {
    QuickDrawState& s = state();
    auto* region = static_cast<Region*>(
        updateRegion ? lookupKind(updateRegion, ObjectKind::Region, "ScrollRect") : nullptr);
    GWorld* g = gworldOfPort(s.currentPort, "ScrollRect");
    if (!rect || !g) return;
    PixMap& pm = g->pixMap;
    PixelFormat format = formatOfDepth(pm.depth);
    int bpp = formatBytes(format);
    if (bpp == 0) return;
    int left = std::max<int>(rect->left, 0), top = std::max<int>(rect->top, 0);
    int right = std::min<int>(rect->right, pm.width), bottom = std::min<int>(rect->bottom, pm.height);
    if (left >= right || top >= bottom) return;
    int w = right - left, h = bottom - top;

    // Copy the rectangle aside, then write every pixel from its source or white.
    std::vector<uint8_t> saved(size_t(w) * h * bpp);
    auto at = [&](int x, int y) { return pm.base + size_t(y) * pm.rowBytes + size_t(x) * bpp; };
    for (int y = 0; y < h; ++y) std::memcpy(&saved[size_t(y) * w * bpp], at(left, top + y), size_t(w) * bpp);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            int sx = x - dh, sy = y - dv;
            uint8_t* dst = at(left + x, top + y);
            if (sx >= 0 && sx < w && sy >= 0 && sy < h)
                std::memcpy(dst, &saved[(size_t(sy) * w + sx) * bpp], size_t(bpp));
            else
                paintRGB(dst, format, kNewPictureRGB);
        }
    }
    if (region) {
        // The bounding box of the uncovered strip(s).
        Rect u{0, 0, 0, 0};
        if (dh != 0 || dv != 0) {
            u = Rect{int16_t(top), int16_t(left), int16_t(bottom), int16_t(right)};
            if (dv == 0) {
                if (dh > 0) u.right = int16_t(std::min(right, left + dh));
                else u.left = int16_t(std::max(left, right + dh));
            } else if (dh == 0) {
                if (dv > 0) u.bottom = int16_t(std::min(bottom, top + dv));
                else u.top = int16_t(std::max(top, bottom + dv));
            }
        }
        region->bounds = u;
    }
}

}  // namespace qd
}  // namespace standin
