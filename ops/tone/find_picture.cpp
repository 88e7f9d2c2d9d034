// Finding an exact copy of a smaller picture inside a picture: the first position in
// reading order (rows top to bottom, then columns left to right) where every pixel
// has the same red, green and blue. Mask bytes do not count, and the two pictures
// may have different pixel formats.
//
// The search starts by plain comparison, which rejects most positions by their first
// pixel. Where that costs too much (large areas that nearly match, as in flat
// pictures), it goes on from the same position with a rolling hash of every
// w x h window, so that the whole search stays linear in the picture: only
// windows whose hash equals the hash of the picture sought are compared pixel by
// pixel, and the first that really matches is the answer.
#include <cstring>

#include "picture/editor.h"
#include "picture/pixel_loop.h"
#include "plugin/errors.h"
#include "plugin/operations.h"

namespace {

// Pixels compared side by side; the comparisons done are counted in `work`.
template <class In, class Pic>
bool SamePixels(const uint8_t* a, const uint8_t* b, int32_t count, uint64_t& work) {
    // Blocks of 16 so that the compiler can compare a block at a time.
    constexpr int32_t kBlock = 16;
    int32_t done = 0;
    for (; done + kBlock <= count; done += kBlock) {
        unsigned differ = 0;
        for (int32_t i = done; i < done + kBlock; ++i) {
            const RGB p = In::load(a + static_cast<ptrdiff_t>(i) * In::bytes);
            const RGB q = Pic::load(b + static_cast<ptrdiff_t>(i) * Pic::bytes);
            differ |= static_cast<unsigned>((p.r ^ q.r) | (p.g ^ q.g) | (p.b ^ q.b));
        }
        work += kBlock;
        if (differ) return false;
    }
    for (; done < count; ++done) {
        ++work;
        if (!SameRGB(In::load(a + static_cast<ptrdiff_t>(done) * In::bytes),
                     Pic::load(b + static_cast<ptrdiff_t>(done) * Pic::bytes)))
            return false;
    }
    return true;
}

template <class In, class Pic>
class Search {
public:
    Search(PictureReader& receiver, PictureReader& pic) : receiver_(receiver), pic_(pic) {
        W_ = receiver.width, H_ = receiver.height, w_ = pic.width, h_ = pic.height;
    }

    // True with the position of the first copy.
    bool run(int32_t& foundX, int32_t& foundY) {
        int32_t x = 0, y = 0;
        if (plainSearch(x, y)) return found(x, y, foundX, foundY);
        if (y > H_ - h_) return false;
        // Plain comparison stopped early at (x, y): the windows from there on are hashed.
        return hashSearch(x, y, foundX, foundY);
    }

private:
    bool found(int32_t x, int32_t y, int32_t& foundX, int32_t& foundY) {
        foundX = x, foundY = y;
        return true;
    }

    // Compares the window at (x, y) with the picture sought, first row first.
    bool matchesAt(int32_t x, int32_t y, uint64_t& work) {
        const ptrdiff_t offset = static_cast<ptrdiff_t>(x) * In::bytes;
        for (int32_t i = 0; i < h_; ++i)
            if (!SamePixels<In, Pic>(receiver_.GetRow(y + i) + offset, pic_.GetRow(i), w_, work)) return false;
        return true;
    }

    // Position by position in reading order, rejecting a position at the first
    // differing pixel. Gives up once it has compared more than a few pixels per
    // position tried (beyond one full comparison), leaving in (x, y) the first
    // position not yet decided; then y is past the last row when everything was tried.
    bool plainSearch(int32_t& x, int32_t& y) {
        constexpr uint64_t kPixelsPerPosition = 8;
        const uint64_t allowance = static_cast<uint64_t>(w_) * static_cast<uint64_t>(h_) + 64;
        const RGB first = Pic::load(pic_.GetRow(0));
        uint64_t work = 0, tried = 0;
        for (y = 0; y <= H_ - h_; ++y) {
            const uint8_t* row = receiver_.GetRow(y);
            for (x = 0; x <= W_ - w_; ++x) {
                if (work > tried * kPixelsPerPosition + allowance) return false;
                ++tried, ++work;
                if (!SameRGB(In::load(row + static_cast<ptrdiff_t>(x) * In::bytes), first)) continue;
                if (matchesAt(x, y, work)) return true;
            }
        }
        x = 0;
        return false;
    }

    // A pixel's key for hashing: its color, scrambled so that every channel reaches
    // the low bits of the hash (a bijection: equal keys mean equal colors).
    template <class F>
    static uint64_t key(const uint8_t* p) {
        const RGB c = F::load(p);
        uint32_t v = (uint32_t(c.r) << 16 | uint32_t(c.g) << 8 | uint32_t(c.b)) * 0x9E3779B1u;
        v ^= v >> 15;
        return v;
    }

    // Window hashes: a polynomial in the pixel keys, base kAcross along a row and
    // kDown down a column, modulo 2^64. A column hash covers h rows of one column;
    // a window hash combines w neighbouring column hashes.
    static constexpr uint64_t kAcross = 0x9E3779B97F4A7C15ull;
    static constexpr uint64_t kDown = 0xC2B2AE3D27D4EB4Full;

    static uint64_t power(uint64_t base, int32_t n) {
        uint64_t result = 1;
        for (int32_t i = 0; i < n; ++i) result *= base;
        return result;
    }

    // Folds row `add` into the column hashes, taking row `drop` out (null: none).
    template <class F>
    static void foldRow(uint64_t* columns, int32_t count, const uint8_t* add, const uint8_t* drop, uint64_t dropScale) {
        if (drop) {
            for (int32_t x = 0; x < count; ++x)
                columns[x] = columns[x] * kDown + key<F>(add + static_cast<ptrdiff_t>(x) * F::bytes) -
                             key<F>(drop + static_cast<ptrdiff_t>(x) * F::bytes) * dropScale;
        } else {
            for (int32_t x = 0; x < count; ++x)
                columns[x] = columns[x] * kDown + key<F>(add + static_cast<ptrdiff_t>(x) * F::bytes);
        }
    }

    static uint64_t firstWindow(const uint64_t* columns, int32_t w) {
        uint64_t hash = 0;
        for (int32_t j = 0; j < w; ++j) hash = hash * kAcross + columns[j];
        return hash;
    }

    bool hashSearch(int32_t startX, int32_t startY, int32_t& foundX, int32_t& foundY) {
        // Column hashes for the receiver (W of them) and for the picture sought (w).
        uint64_t* columns = static_cast<uint64_t*>(AllocateClearMemory(static_cast<long long>(W_) * 8));
        uint64_t* target = static_cast<uint64_t*>(AllocateClearMemory(static_cast<long long>(w_) * 8));
        bool result = false;
        if (columns && target) {
            result = hashScan(columns, target, startX, startY, foundX, foundY);
        } else {
            // Without scratch memory the plain search finishes the job, at its own pace.
            result = plainFinish(startX, startY, foundX, foundY);
        }
        FreeMemoryNow(columns);
        FreeMemoryNow(target);
        return result;
    }

    bool plainFinish(int32_t x, int32_t y, int32_t& foundX, int32_t& foundY) {
        uint64_t work = 0;
        for (; y <= H_ - h_; ++y, x = 0)
            for (; x <= W_ - w_; ++x)
                if (matchesAt(x, y, work)) return found(x, y, foundX, foundY);
        return false;
    }

    bool hashScan(uint64_t* columns, uint64_t* target, int32_t startX, int32_t startY, int32_t& foundX,
                  int32_t& foundY) {
        const uint64_t downScale = power(kDown, h_);
        const uint64_t acrossScale = power(kAcross, w_);
        for (int32_t i = 0; i < h_; ++i) foldRow<Pic>(target, w_, pic_.GetRow(i), nullptr, 0);
        const uint64_t sought = firstWindow(target, w_);

        for (int32_t i = 0; i < h_; ++i) foldRow<In>(columns, W_, receiver_.GetRow(startY + i), nullptr, 0);
        uint64_t work = 0;
        const int32_t lastX = W_ - w_;
        for (int32_t y = startY; y <= H_ - h_; ++y) {
            if (y > startY)
                foldRow<In>(columns, W_, receiver_.GetRow(y + h_ - 1), receiver_.GetRow(y - 1), downScale);
            uint64_t hash = firstWindow(columns, w_);
            const int32_t fromX = y == startY ? startX : 0;
            for (int32_t x = 0;; ++x) {
                if (hash == sought && x >= fromX && matchesAt(x, y, work)) return found(x, y, foundX, foundY);
                if (x == lastX) break;
                hash = hash * kAcross + columns[x + w_] - columns[x] * acrossScale;
            }
        }
        return false;
    }

    PictureReader& receiver_;
    PictureReader& pic_;
    int32_t W_ = 0, H_ = 0, w_ = 0, h_ = 0;
};

}  // namespace

signed char FindPicture(REALpictureStruct* picture, REALpictureStruct* pic, int32_t* x, int32_t* y) {
    if (x) *x = 0;
    if (y) *y = 0;
    PictureReader receiver, sought;
    if (!receiver.GetPictureReader(picture)) return 0;
    if (!sought.GetPictureReader(pic)) return 0;
    // A picture without pixels has no first pixel to look for: it is never found.
    if (sought.width < 1 || sought.height < 1) return 0;
    if (sought.width > receiver.width || sought.height > receiver.height) return 0;
    int32_t foundX = 0, foundY = 0;
    bool found = false;
    DispatchFormats(receiver.pixelType, sought.pixelType, [&](auto in, auto wanted) {
        found = Search<decltype(in), decltype(wanted)>(receiver, sought).run(foundX, foundY);
    });
    if (!found) return 0;
    if (x) *x = foundX;
    if (y) *y = foundY;
    return 1;
}
