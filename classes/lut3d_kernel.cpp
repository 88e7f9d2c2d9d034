// Mapping a block of pixels through the lookup table, fast and with the exact
// results of SumXYZ.
#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

#include "picture/pixel_words.h"
#include "classes/lut3d.h"
#include "picture/pixel_loop.h"
#include "plugin/errors.h"

namespace {

// The lattice that the row loop reads: nodes 0 to 15 of each axis, plus a node 16
// that repeats node 15, so that the upper corner of every cell is simply the next
// node (an input of 255 sits on node 15 and its "next" node must be node 15 again).
// Each node holds red, green, blue and a zero, so that one vector load takes a node.
constexpr int kLatticeNodes = kLutUsedNodes + 1;
constexpr int kLatticeLanes = 4;
constexpr int kLatticeStride[3] = {kLatticeNodes * kLatticeNodes * kLatticeLanes, kLatticeNodes * kLatticeLanes,
                                   kLatticeLanes};
constexpr int kLatticeDoubles = kLatticeNodes * kLatticeNodes * kLatticeNodes * kLatticeLanes;
constexpr uint32_t kFarCorner = kLatticeStride[0] + kLatticeStride[1] + kLatticeStride[2];

// A pixel's fractions are k / 17 with k from 0 to 16 per channel, so there are 17^3
// tetrahedra with weights; the key of one is kr * 289 + kg * 17 + kb.
constexpr int kFractionSteps = kLutStep;
constexpr int kTetrahedra = kFractionSteps * kFractionSteps * kFractionSteps;

struct LutTables {
    // Per channel and input value: the lattice offset of the cell's lower node (in
    // doubles) in the high half, the channel's share of the tetrahedron key in the
    // low half. The three shares add up without carrying from one half to the other.
    uint32_t channel[3][256];
    double weight[kTetrahedra][4];
    uint16_t corner[kTetrahedra][2];  // offsets of the first and second corner, in doubles

    LutTables() {
        const uint32_t keyScale[3] = {kFractionSteps * kFractionSteps, kFractionSteps, 1};
        for (int c = 0; c < 3; ++c) {
            for (int v = 0; v < 256; ++v) {
                const uint32_t cell = static_cast<uint32_t>(v / kLutStep);
                const uint32_t k = static_cast<uint32_t>(v) - cell * kLutStep;
                channel[c][v] = (cell * kLatticeStride[c]) << 16 | k * keyScale[c];
            }
        }
        for (int kr = 0; kr < kFractionSteps; ++kr) {
            for (int kg = 0; kg < kFractionSteps; ++kg) {
                for (int kb = 0; kb < kFractionSteps; ++kb) {
                    const int key = (kr * kFractionSteps + kg) * kFractionSteps + kb;
                    // The fractions exactly as a pixel computes them.
                    const Tetrahedron t = TetrahedronOf(kr / 17.0, kg / 17.0, kb / 17.0);
                    memcpy(weight[key], t.weight, sizeof t.weight);
                    corner[key][0] = OffsetOf(t.first);
                    corner[key][1] = OffsetOf(t.second);
                }
            }
        }
    }

    static uint16_t OffsetOf(uint8_t code) {
        return static_cast<uint16_t>((code & kCornerRed ? kLatticeStride[0] : 0) +
                                     (code & kCornerGreen ? kLatticeStride[1] : 0) +
                                     (code & kCornerBlue ? kLatticeStride[2] : 0));
    }
};

const LutTables& Tables() {
    static const LutTables tables;
    return tables;
}

void FillLattice(double* lattice, const Lut3DClassData& data) {
    for (int r = 0; r < kLatticeNodes; ++r) {
        for (int g = 0; g < kLatticeNodes; ++g) {
            for (int b = 0; b < kLatticeNodes; ++b) {
                double* node = lattice + r * kLatticeStride[0] + g * kLatticeStride[1] + b * kLatticeStride[2];
                const int last = kLutUsedNodes - 1;
                memcpy(node, &data.table[LutIndex(r < last ? r : last, g < last ? g : last, b < last ? b : last, 0)],
                       3 * sizeof(double));
                node[3] = 0.0;
            }
        }
    }
}

// Without AVX the four-double vectors are pairs of SSE registers; they never cross
// a call (everything is inlined), so the note about their calling convention does
// not apply.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpsabi"
namespace portable {
#include "classes/lut3d_rows.inc"
}  // namespace portable
#pragma GCC diagnostic pop

#if defined(__x86_64__) || defined(__i386__)
#if defined(__clang__)
// clang ignores GCC's target pragma; it gives every function of the region the target.
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2")
#endif
#define VQZ_LUT_WIDE 1
namespace wide {
#include "classes/lut3d_rows.inc"
}  // namespace wide
#undef VQZ_LUT_WIDE
#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif
#define VQZ_HAVE_WIDE_LUT 1
#endif

}  // namespace

bool MapLut3DBlock(PictureReader& reader, PictureWriter& writer, FilterBlock block, const Lut3DClassData& data) {
    if (block.rows < 1 || block.columns < 1) return true;
    auto* lattice = static_cast<double*>(AllocateClearMemory(kLatticeDoubles * static_cast<long long>(sizeof(double))));
    if (!lattice) return false;
    FillLattice(lattice, data);
    const LutTables& tables = Tables();
#if defined(VQZ_HAVE_WIDE_LUT)
    if (__builtin_cpu_supports("avx2"))
        wide::MapBlock(reader, writer, block, tables, lattice);
    else
#endif
        portable::MapBlock(reader, writer, block, tables, lattice);
    FreeMemoryNow(lattice);
    return true;
}
