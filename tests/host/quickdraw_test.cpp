// The stand-in ApplicationServices library, loaded the way the plugin loads it.
#include <dlfcn.h>

#include <string>

#include "tests/host/host_fixture.h"

namespace hosttest {
namespace {

struct QuickDraw {
    void* library = nullptr;
    PixMapHandle (*GetGWorldPixMap)(GWorldPtr) = nullptr;
    uint8_t (*LockPixels)(PixMapHandle) = nullptr;
    void (*UnlockPixels)(PixMapHandle) = nullptr;
    void* (*GetPixBaseAddr)(PixMapHandle) = nullptr;
    int32_t (*GetPixRowBytes)(PixMapHandle) = nullptr;
    int16_t (*GetPixDepth)(PixMapHandle) = nullptr;
    void (*GetGWorld)(GWorldPtr*, void**) = nullptr;
    void (*SetGWorld)(GWorldPtr, void*) = nullptr;
    RgnHandle (*NewRgn)() = nullptr;
    void (*DisposeRgn)(RgnHandle) = nullptr;
    void (*ScrollRect)(const Rect*, int16_t, int16_t, RgnHandle) = nullptr;

    QuickDraw() {
        std::string path = std::string(VQZ_BINARY_DIR) + "/frameworks/ApplicationServices.framework/ApplicationServices";
        library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!library) return;
        load(GetGWorldPixMap, "GetGWorldPixMap");
        load(LockPixels, "LockPixels");
        load(UnlockPixels, "UnlockPixels");
        load(GetPixBaseAddr, "GetPixBaseAddr");
        load(GetPixRowBytes, "GetPixRowBytes");
        load(GetPixDepth, "GetPixDepth");
        load(GetGWorld, "GetGWorld");
        load(SetGWorld, "SetGWorld");
        load(NewRgn, "NewRgn");
        load(DisposeRgn, "DisposeRgn");
        load(ScrollRect, "ScrollRect");
    }
    ~QuickDraw() {
        if (library) dlclose(library);
    }
    template <class F>
    void load(F& f, const char* name) {
        f = reinterpret_cast<F>(dlsym(library, name));
        EXPECT_NE(f, nullptr) << name;
    }
};

class QuickDrawTest : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        ASSERT_NE(qd.library, nullptr) << dlerror();
    }
    GWorldPtr gworldOf(void* pic) {
        REALpictureDescription d{};
        api.lockDescription(static_cast<REALpictureStruct*>(pic), &d);
        api.unlockDescription(static_cast<REALpictureStruct*>(pic));
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

TEST_F(QuickDrawTest, PixelLocksAreCountedAndCanFail) {
    Ref p = Ref::adopt(newGWorldPicture(2, 2, 32));
    PixMapHandle pm = qd.GetGWorldPixMap(gworldOf(p.get()));
    EXPECT_TRUE(qd.LockPixels(pm));
    EXPECT_EQ(ledger().pixelLocks, 1);
    EXPECT_FALSE(ledger().clean());
    qd.UnlockPixels(pm);
    EXPECT_EQ(ledger().pixelLocks, 0);
    failNth(Fault::PixelLock, 1);
    EXPECT_FALSE(qd.LockPixels(pm));
    EXPECT_EQ(ledger().pixelLocks, 0);
    EXPECT_EQ(occurrences(Fault::PixelLock), 2);

    qd.UnlockPixels(pm);  // not locked
    int bogus = 0;
    EXPECT_EQ(qd.GetPixDepth(reinterpret_cast<PixMapHandle>(&bogus)), 0);
    expectErrorsAndReset(2);
    p.take();
}

TEST_F(QuickDrawTest, CurrentPortAndRegionsShowInTheLedger) {
    Ref p = Ref::adopt(newGWorldPicture(2, 2, 32));
    GWorldPtr saved = nullptr;
    void* device = nullptr;
    qd.GetGWorld(&saved, &device);
    EXPECT_NE(saved, nullptr);
    qd.SetGWorld(gworldOf(p.get()), nullptr);
    RgnHandle rgn = qd.NewRgn();
    Ledger l = ledger();
    EXPECT_TRUE(l.portChanged);
    EXPECT_EQ(l.liveObjects, 2);  // the picture and the region
    qd.DisposeRgn(rgn);
    qd.SetGWorld(saved, device);
    EXPECT_FALSE(ledger().portChanged);
    EXPECT_EQ(ledger().liveObjects, 1);
}

// Fills a picture with distinct colors: red = x * 16, green = y * 16, blue 0x80.
void fillPattern(void* p) {
    for (int y = 0; y < pictureHeight(p); ++y)
        for (int x = 0; x < pictureWidth(p); ++x) setRGB(p, x, y, uint32_t(x * 16) << 16 | uint32_t(y * 16) << 8 | 0x80);
}

class ScrollRect : public QuickDrawTest, public ::testing::WithParamInterface<int> {};

TEST_P(ScrollRect, MovesPixelsAndPaintsTheUncoveredStripWhite) {
    Ref p = Ref::adopt(newGWorldPicture(6, 5, GetParam()));
    fillPattern(p.get());
    GWorldPtr saved;
    void* device;
    qd.GetGWorld(&saved, &device);
    qd.SetGWorld(gworldOf(p.get()), nullptr);
    RgnHandle rgn = qd.NewRgn();
    Rect r{0, 0, 5, 6};  // top, left, bottom, right
    qd.ScrollRect(&r, 2, -1, rgn);
    qd.DisposeRgn(rgn);
    qd.SetGWorld(saved, device);

    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 6; ++x) {
            int sx = x - 2, sy = y + 1;
            bool moved = sx >= 0 && sy < 5;
            uint32_t want = moved ? (uint32_t(sx * 16) << 16 | uint32_t(sy * 16) << 8 | 0x80) : 0xFFFFFF;
            ASSERT_EQ(getRGB(p.get(), x, y), want) << x << "," << y;
        }
    }
    if (GetParam() == 32) {
        EXPECT_EQ(pixelAddress(p.get(), 0, 0)[0], kNewPictureMaskByte);
    }
    EXPECT_TRUE(guardsIntact(p.get()));
}

INSTANTIATE_TEST_SUITE_P(Depths, ScrollRect, ::testing::Values(32, 24));

TEST_F(QuickDrawTest, ScrollRectStaysInsideTheRectangle) {
    Ref p = Ref::adopt(newGWorldPicture(4, 4, 32));
    fillPattern(p.get());
    GWorldPtr saved;
    void* device;
    qd.GetGWorld(&saved, &device);
    qd.SetGWorld(gworldOf(p.get()), nullptr);
    Rect r{1, 1, 3, 3};
    qd.ScrollRect(&r, 0, 1, nullptr);
    qd.SetGWorld(saved, device);
    EXPECT_EQ(getRGB(p.get(), 1, 1), 0xFFFFFFu);
    EXPECT_EQ(getRGB(p.get(), 1, 2), (16u << 16) | (16u << 8) | 0x80);
    EXPECT_EQ(getRGB(p.get(), 1, 3), (16u << 16) | (48u << 8) | 0x80);  // outside: unchanged
    EXPECT_EQ(getRGB(p.get(), 0, 1), (16u << 8) | 0x80u);
}

}  // namespace
}  // namespace hosttest
