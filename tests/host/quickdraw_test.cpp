// QuickDraw over the stand-in host's GWorlds: pixel maps, locks, ports, regions, ScrollRect.
#include <dlfcn.h>

#include <string>
#include <utility>

#include "host/quickdraw.h"
#include "tests/host/host_fixture.h"

namespace hosttest {
namespace {

class QuickDrawTest : public HostTest {
protected:
    GWorldPtr gworldOf(const Ref& pic) {
        REALpictureDescription d{};
        api.lockDescription(pic.pic(), &d);
        api.unlockDescription(pic.pic());
        return static_cast<GWorldPtr>(d.pictureData);
    }
};

TEST_F(QuickDrawTest, TheLibraryExportsTheFunctionsByTheirNames) {
    void* library = dlopen(VQZ_BINARY_DIR "/frameworks/ApplicationServices.framework/ApplicationServices",
                           RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    for (const char* name : {"GetGWorldPixMap", "LockPixels", "UnlockPixels", "GetPixBaseAddr", "GetPixRowBytes",
                             "GetPixDepth", "GetGWorld", "SetGWorld", "NewRgn", "DisposeRgn", "ScrollRect"})
        EXPECT_NE(dlsym(library, name), nullptr) << name;
    dlclose(library);
}

TEST_F(QuickDrawTest, PixelMapsOfEveryDepth) {
    for (int depth : {32, 24, 16, 8}) {
        Ref p = Ref::adopt(newGWorldPicture(5, 3, depth));
        PixMapHandle pm = qd::GetGWorldPixMap(gworldOf(p));
        ASSERT_NE(pm, nullptr);
        EXPECT_EQ(qd::GetPixDepth(pm), depth);
        auto* base = static_cast<uint8_t*>(qd::GetPixBaseAddr(pm));
        EXPECT_EQ(std::make_pair(base, base + 2 * qd::GetPixRowBytes(pm)),
                  std::make_pair(pixelAddress(p.get(), 0, 0), pixelAddress(p.get(), 0, 2)));
        EXPECT_GT(qd::GetPixRowBytes(pm), 5 * depth / 8);
    }
}

TEST_F(QuickDrawTest, PixelLocksPortsAndRegionsShowInTheLedger) {
    Ref p = Ref::adopt(newGWorldPicture(2, 2, 32));
    PixMapHandle pm = qd::GetGWorldPixMap(gworldOf(p));
    EXPECT_TRUE(qd::LockPixels(pm));
    EXPECT_EQ(ledger().pixelLocks, 1);
    EXPECT_FALSE(ledger().clean());
    qd::UnlockPixels(pm);
    failNth(Fault::PixelLock, 1);
    EXPECT_FALSE(qd::LockPixels(pm));
    EXPECT_EQ(std::make_pair(ledger().pixelLocks, occurrences(Fault::PixelLock)), std::make_pair(0, 2));

    GWorldPtr saved = nullptr;
    void* device = nullptr;
    qd::GetGWorld(&saved, &device);
    EXPECT_NE(saved, nullptr);
    qd::SetGWorld(gworldOf(p), nullptr);
    RgnHandle rgn = qd::NewRgn();
    EXPECT_EQ(std::make_pair(ledger().portChanged, ledger().liveObjects), std::make_pair(true, 2));  // and the region
    qd::DisposeRgn(rgn);
    qd::SetGWorld(saved, device);
    EXPECT_EQ(std::make_pair(ledger().portChanged, ledger().liveObjects), std::make_pair(false, 1));

    qd::UnlockPixels(pm);  // not locked
    int bogus = 0;
    EXPECT_EQ(qd::GetPixDepth(reinterpret_cast<PixMapHandle>(&bogus)), 0);
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
        qd::GetGWorld(&saved, &device);  // ScrollRect works in the current port
        qd::SetGWorld(gworldOf(p), nullptr);
        RgnHandle rgn = c.region ? qd::NewRgn() : nullptr;
        qd::ScrollRect(&c.r, c.dh, c.dv, rgn);
        if (rgn) qd::DisposeRgn(rgn);
        qd::SetGWorld(saved, device);

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
