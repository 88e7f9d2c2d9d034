// The stand-in ApplicationServices library, loaded the way the plugin loads it.
#include <dlfcn.h>

#include <string>
#include <utility>

#include "tests/host/host_fixture.h"

namespace hosttest {
namespace {

struct QuickDraw {
    void* library = dlopen((std::string(VQZ_BINARY_DIR) + "/frameworks/ApplicationServices.framework/ApplicationServices")
                               .c_str(), RTLD_NOW | RTLD_LOCAL);
    void* sym(const char* name) {
        void* f = library ? dlsym(library, name) : nullptr;
        EXPECT_TRUE(f || !library) << name;
        return f;
    }
    Entry<PixMapHandle(GWorldPtr)> GetGWorldPixMap{sym("GetGWorldPixMap")};
    Entry<uint8_t(PixMapHandle)> LockPixels{sym("LockPixels")};
    Entry<void(PixMapHandle)> UnlockPixels{sym("UnlockPixels")};
    Entry<void*(PixMapHandle)> GetPixBaseAddr{sym("GetPixBaseAddr")};
    Entry<int32_t(PixMapHandle)> GetPixRowBytes{sym("GetPixRowBytes")};
    Entry<int16_t(PixMapHandle)> GetPixDepth{sym("GetPixDepth")};
    Entry<void(GWorldPtr*, void**)> GetGWorld{sym("GetGWorld")};
    Entry<void(GWorldPtr, void*)> SetGWorld{sym("SetGWorld")};
    Entry<RgnHandle()> NewRgn{sym("NewRgn")};
    Entry<void(RgnHandle)> DisposeRgn{sym("DisposeRgn")};
    Entry<void(const Rect*, int16_t, int16_t, RgnHandle)> ScrollRect{sym("ScrollRect")};
    ~QuickDraw() { if (library) dlclose(library); }
};

class QuickDrawTest : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        ASSERT_NE(qd.library, nullptr) << dlerror();
    }
    GWorldPtr gworldOf(void* pic) {
        REALpictureDescription d{};
        api.lockDescription(static_cast<Pic>(pic), &d);
        api.unlockDescription(static_cast<Pic>(pic));
        return static_cast<GWorldPtr>(d.pictureData);
    }
    QuickDraw qd;
};

TEST_F(QuickDrawTest, PixelMapsOfEveryDepth) {
    for (int depth : {32, 24, 16, 8}) {
        Ref p = Ref::adopt(newGWorldPicture(5, 3, depth));
        PixMapHandle pm = qd.GetGWorldPixMap(gworldOf(p.get()));
        ASSERT_NE(pm, nullptr);
        EXPECT_EQ(qd.GetPixDepth(pm), depth);
        EXPECT_EQ(qd.GetPixBaseAddr(pm), pixelAddress(p.get(), 0, 0));
        EXPECT_EQ(static_cast<uint8_t*>(qd.GetPixBaseAddr(pm)) + 2 * qd.GetPixRowBytes(pm),
                  pixelAddress(p.get(), 0, 2));
        EXPECT_GT(qd.GetPixRowBytes(pm), 5 * depth / 8);
    }
}

TEST_F(QuickDrawTest, PixelLocksPortsAndRegionsShowInTheLedger) {
    Ref p = Ref::adopt(newGWorldPicture(2, 2, 32));
    PixMapHandle pm = qd.GetGWorldPixMap(gworldOf(p.get()));
    EXPECT_TRUE(qd.LockPixels(pm));
    EXPECT_EQ(ledger().pixelLocks, 1);
    EXPECT_FALSE(ledger().clean());
    qd.UnlockPixels(pm);
    failNth(Fault::PixelLock, 1);
    EXPECT_FALSE(qd.LockPixels(pm));
    EXPECT_EQ(std::make_pair(ledger().pixelLocks, occurrences(Fault::PixelLock)), std::make_pair(0, 2));

    GWorldPtr saved = nullptr;
    void* device = nullptr;
    qd.GetGWorld(&saved, &device);
    EXPECT_NE(saved, nullptr);
    qd.SetGWorld(gworldOf(p.get()), nullptr);
    RgnHandle rgn = qd.NewRgn();
    EXPECT_EQ(std::make_pair(ledger().portChanged, ledger().liveObjects), std::make_pair(true, 2));  // and the region
    qd.DisposeRgn(rgn);
    qd.SetGWorld(saved, device);
    EXPECT_EQ(std::make_pair(ledger().portChanged, ledger().liveObjects), std::make_pair(false, 1));

    qd.UnlockPixels(pm);  // not locked
    int bogus = 0;
    EXPECT_EQ(qd.GetPixDepth(reinterpret_cast<PixMapHandle>(&bogus)), 0);
    expectErrorsAndReset(2);
    p.take();
}

// Distinct colors: red = x * 16, green = y * 16, blue 0x80.
uint32_t pattern(int x, int y) { return uint32_t(x * 16) << 16 | uint32_t(y * 16) << 8 | 0x80; }

struct ScrollCase {
    Rect r;  // top, left, bottom, right
    int16_t dh, dv;
    bool region;  // with an update region, or null
};

class ScrollRect : public QuickDrawTest, public ::testing::WithParamInterface<int> {};

TEST_P(ScrollRect, MovesPixelsInsideTheRectangleAndPaintsTheUncoveredPartWhite) {
    for (const ScrollCase& c : {ScrollCase{{0, 0, 5, 6}, 2, -1, true}, ScrollCase{{1, 1, 3, 3}, 0, 1, false}}) {
        Ref p = Ref::adopt(newGWorldPicture(6, 5, GetParam()));
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 6; ++x) setRGB(p.get(), x, y, pattern(x, y));
        GWorldPtr saved;
        void* device;
        qd.GetGWorld(&saved, &device);  // ScrollRect works in the current port
        qd.SetGWorld(gworldOf(p.get()), nullptr);
        RgnHandle rgn = c.region ? qd.NewRgn() : nullptr;
        qd.ScrollRect(&c.r, c.dh, c.dv, rgn);
        if (rgn) qd.DisposeRgn(rgn);
        qd.SetGWorld(saved, device);

        auto inside = [&](int x, int y) { return x >= c.r.left && x < c.r.right && y >= c.r.top && y < c.r.bottom; };
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 6; ++x) {
                int sx = x - c.dh, sy = y - c.dv;
                uint32_t want = !inside(x, y) ? pattern(x, y) : inside(sx, sy) ? pattern(sx, sy) : 0xFFFFFF;
                ASSERT_EQ(getRGB(p.get(), x, y), want) << x << "," << y;
            }
        }
        if (GetParam() == 32) { EXPECT_EQ(pixelAddress(p.get(), c.r.left, c.r.top)[0], kNewPictureMaskByte); }
        EXPECT_TRUE(guardsIntact(p.get()));
    }
}

INSTANTIATE_TEST_SUITE_P(Depths, ScrollRect, ::testing::Values(32, 24));

}  // namespace
}  // namespace hosttest
