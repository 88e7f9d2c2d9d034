// Host pictures: layouts, padding and guards, new pictures, masks, description locks.
#include <cstring>
#include <utility>

#include "tests/host/host_fixture.h"

namespace hosttest {
namespace {

struct PixelKind {
    const char* name;
    int depth, bytes;         // depth 0: bitmap
    int maskAt;               // the mask byte within a pixel, -1: none
    uint32_t sample;          // a color the format keeps exactly...
    const char* sampleBytes;  // ...and its bytes in the pixel, from sampleOffset
    int sampleOffset;
};
void PrintTo(const PixelKind& k, std::ostream* os) { *os << k.name; }

class PixelLayout : public HostTest, public ::testing::WithParamInterface<PixelKind> {};

TEST_P(PixelLayout, RowsPixelsAndGuards) {
    const PixelKind& k = GetParam();
    for (int w : {1, 5, 17}) {
        Ref p = Ref::adopt(k.depth ? newGWorldPicture(w, 3, k.depth) : newBitmapPicture(w, 3));
        ASSERT_TRUE(p);
        EXPECT_EQ(bytesPerPixel(p.get()), k.bytes);
        REALpictureDescription d{};
        api.lockDescription(p.pic(), &d);
        EXPECT_EQ(std::make_tuple(d.pictureType, d.width, d.height),
                  std::make_tuple(k.depth ? kPictureTypeGWorld : kPictureTypeBitmap, w, 3));
        if (k.depth) {  // rows are padded, so that stride mistakes show
            ptrdiff_t rowBytes = pixelAddress(p.get(), 0, 1) - pixelAddress(p.get(), 0, 0);
            EXPECT_TRUE(rowBytes >= w * k.bytes + 8 && rowBytes <= w * k.bytes + 20) << rowBytes;
        } else {
            auto* r = static_cast<ConsoleBitmapRecord*>(d.pictureData);
            EXPECT_EQ(std::make_tuple(r->format, r->width, r->height), std::make_tuple(0, w, 3));
            EXPECT_NE(r->pixelStore, nullptr);
            for (int y = 0; y < 3; ++y) EXPECT_EQ(r->rowTable[y], pixelAddress(p.get(), 0, y));
        }
        api.unlockDescription(p.pic());

        // New pixels are white with the new mask byte; exact colors round-trip in place.
        if (k.maskAt >= 0) { EXPECT_EQ(pixelAddress(p.get(), w - 1, 2)[k.maskAt], kNewPictureMaskByte); }
        for (uint32_t rgb : {0x000000u, 0xFF0000u, 0x00FF00u, 0x0000FFu, 0xFFFFFFu}) {
            setRGB(p.get(), 0, 0, rgb);
            EXPECT_EQ(getRGB(p.get(), 0, 0), rgb);
        }
        setRGB(p.get(), w / 2, 1, k.sample);
        const uint8_t* sample = pixelAddress(p.get(), w / 2, 1) + k.sampleOffset;
        EXPECT_EQ(std::memcmp(sample, k.sampleBytes, std::strlen(k.sampleBytes)), 0);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < w; ++x)
                ASSERT_EQ(getRGB(p.get(), x, y), x == w / 2 && y == 1 ? k.sample : 0xFFFFFFu) << x << "," << y;

        // One byte past a row's pixels is padding (or a bitmap row's guard).
        EXPECT_TRUE(guardsIntact(p.get()));
        uint8_t* past = pixelAddress(p.get(), w - 1, 2) + k.bytes;
        *past ^= 1;
        EXPECT_FALSE(guardsIntact(p.get()));
        *past ^= 1;
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

TEST_F(PicturesTest, NewPictureFollowsTheApplicationKindWithinTheSizeLimits) {
    for (AppKind kind : {AppKind::Desktop, AppKind::Console, AppKind::Web}) {
        reset(hostConfig(kind));
        Ref p = Ref::adopt(api.newPicture(7, 5, 32));
        ASSERT_TRUE(p);
        EXPECT_EQ(std::make_pair(pictureKind(p.get()), pictureDepth(p.get())),
                  std::make_pair(kind == AppKind::Desktop ? PictureKind::GWorld : PictureKind::Bitmap, 32));
        int32_t w = 0, h = 0;
        EXPECT_TRUE(api.getPropInt(p.obj(), "Width", &w) && api.getPropInt(p.obj(), "Height", &h));
        EXPECT_EQ(std::make_pair(w, h), std::make_pair(7, 5));
        EXPECT_FALSE(api.getPropInt(p.obj(), "Depthx", &w) || api.setPropInt(p.obj(), "Width", 3));
    }
    Ref wide = Ref::adopt(api.newPicture(32768, 1, 32)), widest = Ref::adopt(api.newPicture(65535, 1, 32));
    EXPECT_TRUE(wide && widest);  // wider than the plugin's own limit
    for (auto [w, h] : std::initializer_list<std::pair<int, int>>{{65536, 1}, {0, 5}, {-1, 5}, {5, 0}})
        EXPECT_EQ(api.newPicture(w, h, 32), nullptr) << w << "x" << h;
    failNth(Fault::PictureCreation, 1);
    EXPECT_EQ(api.newPicture(5, 5, 32), nullptr);
    EXPECT_EQ(occurrences(Fault::PictureCreation), 8);  // since the last reset, refused sizes included
}

TEST_F(PicturesTest, MaskClearCacheAndVectorPictures) {
    Ref p = Ref::adopt(api.newPicture(2, 2, 32)), m = Ref::adopt(newGWorldPicture(2, 2, 32));
    EXPECT_EQ(api.getMask(p.pic(), 0), nullptr);
    setMask(p.get(), m.get());
    Pic got = api.getMask(p.pic(), 0);
    EXPECT_EQ(std::make_pair(got, refCount(m.get())), std::make_pair(m.pic(), 3));  // ours, the picture's, the answer's
    release(got);
    api.clearCache(p.pic());
    api.clearCache(p.pic());
    EXPECT_EQ(std::make_pair(clearCacheCount(p.get()), clearCacheCount(m.get())), std::make_pair(2, 0));
    p = Ref();  // the picture lets go of its mask
    EXPECT_EQ(refCount(m.get()), 1);

    Ref v = Ref::adopt(newVectorPicture(4, 4, 0x336699));
    REALpictureDescription d{};
    api.lockDescription(v.pic(), &d);
    EXPECT_EQ(std::make_tuple(d.pictureType, d.pictureData, d.width), std::make_tuple(1, nullptr, 4));
    api.unlockDescription(v.pic());
    EXPECT_EQ(std::make_tuple(pixelAddress(v.get(), 0, 0), getRGB(v.get(), 2, 2), pictureDepth(v.get())),
              std::make_tuple(nullptr, 0x336699u, 0));
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
    reset(hostConfig(AppKind::Desktop, c.version, c.hasVersion));
    Ref gworld = Ref::adopt(newGWorldPicture(3, 3, 24)), bitmap = Ref::adopt(newBitmapPicture(3, 3));
    REALpictureDescription d{};
    EXPECT_TRUE(api.lockDescriptionOfType(gworld.pic(), &d, kPictureTypeGWorld));
    EXPECT_TRUE(d.pictureType == kPictureTypeGWorld && d.pictureData);
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

TEST_F(PicturesTest, UntypedLockFaultUnbalancedUnlockAndDestroyingALockedPicture) {
    Ref p = Ref::adopt(newGWorldPicture(2, 2, 32));
    REALpictureDescription d{77, nullptr, 77, 77};
    failNth(Fault::DescriptionLock, 1);
    api.lockDescription(p.pic(), &d);
    EXPECT_EQ(std::make_pair(d.pictureType, ledger().descriptionLocks), std::make_pair(77, 0));  // untouched
    api.lockDescription(p.pic(), &d);
    EXPECT_EQ(std::make_pair(d.pictureType, ledger().descriptionLocks), std::make_pair(int32_t(kPictureTypeGWorld), 1));
    EXPECT_NE(ledger().detail.find("description lock"), std::string::npos);
    api.unlockDescription(p.pic());
    api.unlockDescription(p.pic());  // one too many
    expectErrorsAndReset(1);
    p.take();

    Pic locked = api.newPicture(2, 2, 32);
    api.lockDescription(locked, &d);
    release(locked);
    EXPECT_EQ(ledger().descriptionLocks, 0);
    expectErrorsAndReset(1);
}

}  // namespace
}  // namespace hosttest
