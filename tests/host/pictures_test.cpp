// Host pictures: layouts, padding and guards, new pictures, masks, description locks.
#include <cstring>

#include "tests/host/host_fixture.h"

namespace hosttest {
namespace {

struct PixelKind {
    const char* name;
    int depth;  // 0: bitmap
    int bytes;
};
void PrintTo(const PixelKind& k, std::ostream* os) { *os << k.name; }

void* makePicture(const PixelKind& k, int w, int h) {
    return k.depth ? newGWorldPicture(w, h, k.depth) : newBitmapPicture(w, h);
}

class PixelLayout : public HostTest, public ::testing::WithParamInterface<PixelKind> {};

TEST_P(PixelLayout, RowsArePaddedAndGuarded) {
    const PixelKind& k = GetParam();
    for (int w : {1, 5, 17}) {
        Ref p = Ref::adopt(makePicture(k, w, 3));
        ASSERT_TRUE(p);
        EXPECT_EQ(bytesPerPixel(p.get()), k.bytes);
        EXPECT_TRUE(guardsIntact(p.get()));
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
        // One byte past a row's pixels is padding (or a bitmap row's guard).
        uint8_t* last = pixelAddress(p.get(), w - 1, 2);
        last[k.bytes] ^= 1;
        EXPECT_FALSE(guardsIntact(p.get()));
        last[k.bytes] ^= 1;
        EXPECT_TRUE(guardsIntact(p.get()));
    }
}

TEST_P(PixelLayout, NewPixelsAreWhiteAndColorsRoundTrip) {
    const PixelKind& k = GetParam();
    Ref p = Ref::adopt(makePicture(k, 3, 2));
    EXPECT_EQ(getRGB(p.get(), 2, 1), 0xFFFFFFu);
    if (k.bytes == 4) {
        int maskAt = k.depth ? 0 : 3;
        EXPECT_EQ(pixelAddress(p.get(), 1, 1)[maskAt], kNewPictureMaskByte);
    }
    // Colors every format represents exactly.
    for (uint32_t rgb : {0x000000u, 0xFF0000u, 0x00FF00u, 0x0000FFu, 0xFFFFFFu}) {
        setRGB(p.get(), 1, 0, rgb);
        EXPECT_EQ(getRGB(p.get(), 1, 0), rgb);
    }
    setRGB(p.get(), 0, 1, 0x123456);
    uint32_t got = getRGB(p.get(), 0, 1);
    if (k.bytes >= 3) {
        EXPECT_EQ(got, 0x123456u);
    }
    EXPECT_EQ(getRGB(p.get(), 1, 1), 0xFFFFFFu);  // neighbours untouched
    EXPECT_TRUE(guardsIntact(p.get()));
}

TEST_P(PixelLayout, ByteOrderOfThePixelFormats) {
    const PixelKind& k = GetParam();
    Ref p = Ref::adopt(makePicture(k, 1, 1));
    setRGB(p.get(), 0, 0, k.bytes >= 3 ? 0x112233 : 0xFF00FF);
    const uint8_t* px = pixelAddress(p.get(), 0, 0);
    uint16_t x555;
    std::memcpy(&x555, px, 2);
    switch (k.depth) {
        case 32: EXPECT_EQ(std::memcmp(px + 1, "\x11\x22\x33", 3), 0); break;  // code 13: mask, r, g, b
        case 24: EXPECT_EQ(std::memcmp(px, "\x11\x22\x33", 3), 0); break;      // code 12
        case 16: EXPECT_EQ(x555, 0x7C1F); break;                                // x, 5 red, 5 green, 5 blue
        case 8: EXPECT_EQ(px[0], 0xE3); break;                                  // 3 red, 3 green, 2 blue
        default: EXPECT_EQ(std::memcmp(px, "\x33\x22\x11", 3), 0); break;     // code 8: b, g, r, mask
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, PixelLayout,
                         ::testing::Values(PixelKind{"gworld32", 32, 4}, PixelKind{"gworld24", 24, 3},
                                           PixelKind{"gworld16", 16, 2}, PixelKind{"gworld8", 8, 1},
                                           PixelKind{"bitmap", 0, 4}),
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
        EXPECT_TRUE(api.getPropInt(p.obj(), "Width", &w));
        EXPECT_TRUE(api.getPropInt(p.obj(), "Height", &h));
        EXPECT_EQ(w, 7);
        EXPECT_EQ(h, 5);
        EXPECT_FALSE(api.getPropInt(p.obj(), "Depthx", &w));
        EXPECT_FALSE(api.setPropInt(p.obj(), "Width", 3));
    }
}

TEST_F(PicturesTest, NewPictureSizeLimits) {
    Ref wide = Ref::adopt(api.newPicture(32768, 1, 32));  // beyond the plugin's own limit
    EXPECT_TRUE(wide);
    Ref widest = Ref::adopt(api.newPicture(65535, 1, 32));
    EXPECT_TRUE(widest);
    EXPECT_EQ(api.newPicture(65536, 1, 32), nullptr);
    EXPECT_EQ(api.newPicture(0, 5, 32), nullptr);
    EXPECT_EQ(api.newPicture(-1, 5, 32), nullptr);
    EXPECT_EQ(api.newPicture(5, 0, 32), nullptr);
    failNth(Fault::PictureCreation, 1);
    EXPECT_EQ(api.newPicture(5, 5, 32), nullptr);
    EXPECT_EQ(occurrences(Fault::PictureCreation), 7);
}

TEST_F(PicturesTest, MaskAndClearCache) {
    Ref p = Ref::adopt(api.newPicture(2, 2, 32));
    EXPECT_EQ(api.getMask(p.pic(), 0), nullptr);
    Ref m = Ref::adopt(newGWorldPicture(2, 2, 32));
    setMask(p.get(), m.get());
    EXPECT_EQ(refCount(m.get()), 2);
    REALpictureStruct* got = api.getMask(p.pic(), 0);
    EXPECT_EQ(got, m.pic());
    EXPECT_EQ(refCount(m.get()), 3);
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

    EXPECT_FALSE(api.lockDescriptionOfType(gworld.pic(), &d, kPictureTypeBitmap));
    EXPECT_EQ(ledger().descriptionLocks, c.failedLockHeld ? 1 : 0);
    if (c.failedLockHeld) api.unlockDescription(gworld.pic());

    failNth(Fault::DescriptionLock, 1);
    EXPECT_FALSE(api.lockDescriptionOfType(bitmap.pic(), &d, kPictureTypeBitmap));
    EXPECT_EQ(ledger().descriptionLocks, c.failedLockHeld ? 1 : 0);
    if (c.failedLockHeld) api.unlockDescription(bitmap.pic());
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
    REALpictureStruct* p = api.newPicture(2, 2, 32);
    REALpictureDescription d{};
    api.lockDescription(p, &d);
    release(p);
    Ledger l = ledger();
    EXPECT_EQ(l.descriptionLocks, 0);
    ASSERT_EQ(l.errors.size(), 1u);
    expectErrorsAndReset(1);
}

}  // namespace
}  // namespace hosttest
