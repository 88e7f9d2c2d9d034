// Host pictures: layouts, padding and guards, new pictures, masks, description locks.
#include <cstring>
#include <utility>

#include "tests/host/host_fixture.h"

namespace hosttest {
namespace {

struct PixelKind {
    const char* name;
    int depth;  // 0: bitmap
    int bytes;
    int maskAt;            // the mask byte within a pixel, -1: none
    uint32_t sample;       // a color the format keeps exactly...
    const char* sampleAt;  // ...and its bytes in the pixel, from offset sampleOffset
    int sampleOffset;
};
void PrintTo(const PixelKind& k, std::ostream* os) { *os << k.name; }

void* makePicture(const PixelKind& k, int w, int h) {
    return k.depth ? newGWorldPicture(w, h, k.depth) : newBitmapPicture(w, h);
}

class PixelLayout : public HostTest, public ::testing::WithParamInterface<PixelKind> {};

TEST_P(PixelLayout, RowsPixelsAndGuards) {
    const PixelKind& k = GetParam();
    for (int w : {1, 5, 17}) {
        Ref p = Ref::adopt(makePicture(k, w, 3));
        ASSERT_TRUE(p);
        EXPECT_EQ(bytesPerPixel(p.get()), k.bytes);
        REALpictureDescription d{};
        api.lockDescription(p.pic(), &d);
        EXPECT_EQ(d.width, w);
        EXPECT_EQ(d.height, 3);
        if (k.depth) {
            EXPECT_EQ(d.pictureType, kPictureTypeGWorld);
            ptrdiff_t rowBytes = pixelAddress(p.get(), 0, 1) - pixelAddress(p.get(), 0, 0);
            EXPECT_GE(rowBytes, w * k.bytes + 8);
            EXPECT_LE(rowBytes, w * k.bytes + 20);
        } else {
            EXPECT_EQ(d.pictureType, kPictureTypeBitmap);
            auto* record = static_cast<ConsoleBitmapRecord*>(d.pictureData);
            EXPECT_EQ(record->format, 0);
            EXPECT_EQ(record->width, w);
            EXPECT_EQ(record->height, 3);
            EXPECT_NE(record->pixelStore, nullptr);
            for (int y = 0; y < 3; ++y) EXPECT_EQ(record->rowTable[y], pixelAddress(p.get(), 0, y));
        }
        api.unlockDescription(p.pic());

        // New pixels are white with the new mask byte; exact colors round-trip in place.
        if (k.maskAt >= 0) EXPECT_EQ(pixelAddress(p.get(), w - 1, 2)[k.maskAt], kNewPictureMaskByte);
        for (uint32_t rgb : {0x000000u, 0xFF0000u, 0x00FF00u, 0x0000FFu, 0xFFFFFFu}) {
            setRGB(p.get(), 0, 0, rgb);
            EXPECT_EQ(getRGB(p.get(), 0, 0), rgb);
        }
        setRGB(p.get(), w / 2, 1, k.sample);
        EXPECT_EQ(getRGB(p.get(), w / 2, 1), k.sample);
        EXPECT_EQ(std::memcmp(pixelAddress(p.get(), w / 2, 1) + k.sampleOffset, k.sampleAt, std::strlen(k.sampleAt)), 0);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < w; ++x)
                if (x != w / 2 || y != 1) ASSERT_EQ(getRGB(p.get(), x, y), 0xFFFFFFu) << x << "," << y;

        // One byte past a row's pixels is padding (or a bitmap row's guard).
        EXPECT_TRUE(guardsIntact(p.get()));
        uint8_t* past = pixelAddress(p.get(), w - 1, 2) + k.bytes;
        *past ^= 1;
        EXPECT_FALSE(guardsIntact(p.get()));
        *past ^= 1;
        EXPECT_TRUE(guardsIntact(p.get()));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, PixelLayout,
    ::testing::Values(PixelKind{"gworld32", 32, 4, 0, 0x112233, "\x11\x22\x33", 1},  // code 13: mask, r, g, b
                      PixelKind{"gworld24", 24, 3, -1, 0x112233, "\x11\x22\x33", 0},  // code 12: r, g, b
                      PixelKind{"gworld16", 16, 2, -1, 0xFF00FF, "\x1F\x7C", 0},      // word x-5-5-5: 0x7C1F
                      PixelKind{"gworld8", 8, 1, -1, 0xFF00FF, "\xE3", 0},            // 3 red, 3 green, 2 blue
                      PixelKind{"bitmap", 0, 4, 3, 0x112233, "\x33\x22\x11", 0}),     // code 8: b, g, r, mask
    [](const auto& info) { return std::string(info.param.name); });

using PicturesTest = HostTest;

TEST_F(PicturesTest, NewPictureFollowsTheApplicationKind) {
    for (AppKind kind : {AppKind::Desktop, AppKind::Console, AppKind::Web}) {
        useHost(hostConfig(kind));
        Ref p = Ref::adopt(api.newPicture(7, 5, 32));
        ASSERT_TRUE(p);
        EXPECT_EQ(pictureKind(p.get()), kind == AppKind::Desktop ? PictureKind::GWorld : PictureKind::Bitmap);
        EXPECT_EQ(pictureDepth(p.get()), 32);
        int32_t w = 0, h = 0;
        EXPECT_TRUE(api.getPropInt(p.obj(), "Width", &w) && api.getPropInt(p.obj(), "Height", &h));
        EXPECT_EQ(std::make_pair(w, h), std::make_pair(7, 5));
        EXPECT_FALSE(api.getPropInt(p.obj(), "Depthx", &w));
        EXPECT_FALSE(api.setPropInt(p.obj(), "Width", 3));
    }
}

TEST_F(PicturesTest, NewPictureSizeLimitsAndFault) {
    Ref wide = Ref::adopt(api.newPicture(32768, 1, 32));  // beyond the plugin's own limit
    Ref widest = Ref::adopt(api.newPicture(65535, 1, 32));
    EXPECT_TRUE(wide && widest);
    for (auto [w, h] : std::initializer_list<std::pair<int, int>>{{65536, 1}, {0, 5}, {-1, 5}, {5, 0}})
        EXPECT_EQ(api.newPicture(w, h, 32), nullptr) << w << "x" << h;
    failNth(Fault::PictureCreation, 1);
    EXPECT_EQ(api.newPicture(5, 5, 32), nullptr);
    EXPECT_EQ(occurrences(Fault::PictureCreation), 7);
}

TEST_F(PicturesTest, MaskAndClearCache) {
    Ref p = Ref::adopt(api.newPicture(2, 2, 32));
    EXPECT_EQ(api.getMask(p.pic(), 0), nullptr);
    Ref m = Ref::adopt(newGWorldPicture(2, 2, 32));
    setMask(p.get(), m.get());
    Pic got = api.getMask(p.pic(), 0);
    EXPECT_EQ(got, m.pic());
    EXPECT_EQ(refCount(m.get()), 3);  // ours, the picture's, the one handed out
    release(got);
    api.clearCache(p.pic());
    api.clearCache(p.pic());
    EXPECT_EQ(clearCacheCount(p.get()), 2);
    EXPECT_EQ(clearCacheCount(m.get()), 0);
    p = Ref();  // the picture lets go of its mask
    EXPECT_EQ(refCount(m.get()), 1);
}

TEST_F(PicturesTest, VectorPicturesHaveNoPixels) {
    Ref v = Ref::adopt(newVectorPicture(4, 4, 0x336699));
    REALpictureDescription d{};
    api.lockDescription(v.pic(), &d);
    EXPECT_EQ(d.pictureType, 1);
    EXPECT_EQ(d.pictureData, nullptr);
    EXPECT_EQ(d.width, 4);
    api.unlockDescription(v.pic());
    EXPECT_EQ(pixelAddress(v.get(), 0, 0), nullptr);
    EXPECT_EQ(getRGB(v.get(), 2, 2), 0x336699u);
    EXPECT_EQ(pictureDepth(v.get()), 0);
}

// ---------------------------------------------------------------- description locks

struct LockCase {
    const char* name;
    bool hasVersion;
    double version;
    bool failedLockHeld;  // what an old host leaves after a failed typed lock
};
void PrintTo(const LockCase& c, std::ostream* os) { *os << c.name; }

class DescriptionLocks : public HostTest, public ::testing::WithParamInterface<LockCase> {};

TEST_P(DescriptionLocks, TypedLockSucceedsOnlyForTheMatchingType) {
    const LockCase& c = GetParam();
    useHost(hostConfig(AppKind::Desktop, c.version, c.hasVersion));
    Ref gworld = Ref::adopt(newGWorldPicture(3, 3, 24));
    Ref bitmap = Ref::adopt(newBitmapPicture(3, 3));
    REALpictureDescription d{};
    EXPECT_TRUE(api.lockDescriptionOfType(gworld.pic(), &d, kPictureTypeGWorld));
    EXPECT_EQ(d.pictureType, kPictureTypeGWorld);
    EXPECT_NE(d.pictureData, nullptr);
    EXPECT_TRUE(api.lockDescriptionOfType(bitmap.pic(), &d, kPictureTypeBitmap));
    EXPECT_EQ(ledger().descriptionLocks, 2);
    api.unlockDescription(gworld.pic());
    api.unlockDescription(bitmap.pic());

    // A type mismatch, then an injected failure.
    auto expectFailedLock = [&](Pic pic, int32_t type) {
        EXPECT_FALSE(api.lockDescriptionOfType(pic, &d, type));
        EXPECT_EQ(ledger().descriptionLocks, c.failedLockHeld ? 1 : 0);
        if (c.failedLockHeld) api.unlockDescription(pic);
    };
    expectFailedLock(gworld.pic(), kPictureTypeBitmap);
    failNth(Fault::DescriptionLock, 1);
    expectFailedLock(bitmap.pic(), kPictureTypeBitmap);
}

INSTANTIATE_TEST_SUITE_P(Versions, DescriptionLocks,
                         ::testing::Values(LockCase{"noVersion", false, 2013.0, true},
                                           LockCase{"v2011", true, 2011.9, true},
                                           LockCase{"v2012", true, 2012.0, false},
                                           LockCase{"v2013", true, 2013.0, false}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(PicturesTest, UntypedLockFaultAndUnbalancedUnlock) {
    Ref p = Ref::adopt(newGWorldPicture(2, 2, 32));
    REALpictureDescription d{77, nullptr, 77, 77};
    failNth(Fault::DescriptionLock, 1);
    api.lockDescription(p.pic(), &d);
    EXPECT_EQ(d.pictureType, 77);  // untouched
    EXPECT_EQ(ledger().descriptionLocks, 0);
    api.lockDescription(p.pic(), &d);
    EXPECT_EQ(d.pictureType, kPictureTypeGWorld);
    EXPECT_EQ(ledger().descriptionLocks, 1);
    EXPECT_NE(ledger().detail.find("description lock"), std::string::npos);
    api.unlockDescription(p.pic());
    api.unlockDescription(p.pic());  // one too many
    expectErrorsAndReset(1);
    p.take();
}

TEST_F(PicturesTest, DestroyingALockedPictureIsAnError) {
    Pic p = api.newPicture(2, 2, 32);
    REALpictureDescription d{};
    api.lockDescription(p, &d);
    release(p);
    EXPECT_EQ(ledger().descriptionLocks, 0);
    expectErrorsAndReset(1);
}

}  // namespace
}  // namespace hosttest
